#include "private/zksharedblock.h"

#include <cstdlib>

void zkFreeBlock(void *block, void *buffer) noexcept
{
    std::free(buffer);
    std::free(block);
}
