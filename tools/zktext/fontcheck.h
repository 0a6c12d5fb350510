#ifndef ZKTEXT_FONTCHECK_H
#define ZKTEXT_FONTCHECK_H

#include <zkfont.h>
#include <zkstring.h>

#include <string>

namespace zktext
{

/// Looks at each glyph that drawing `units` (as the library draws them, shaped) would ask
/// of a font, before the library is asked. Characters that the font lacks, and glyphs that
/// are damaged, are named on standard error in one line each. Throws `Failure` for a
/// glyph of more than 4096 pixels a side: a hostile font makes gigabytes out of a small
/// size. The font file was opened before.
void checkFont(const std::string &path, const ZkString &units, const ZkFont &font);

} // namespace zktext

#endif
