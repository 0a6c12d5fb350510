#ifndef ZKTEXT_BLOCKS_H
#define ZKTEXT_BLOCKS_H

namespace zktext
{

/// A block of characters as the Unicode Standard names them.
struct Block {
    char32_t first, last;
    const char *name;
};

extern const Block kBlocks[];
extern const int kBlockCount;

} // namespace zktext

#endif
