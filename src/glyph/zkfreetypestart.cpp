#include "glyph/zkfreetypestart.h"

#include FT_MODULE_H

#include <cstdlib>

namespace
{

bool isStarved = false; // no test can tell: who opens a library forgets it

void *noted(void *block)
{
    isStarved = isStarved || block == nullptr;
    return block;
}

void *allocate(FT_Memory, long size)
{
    return noted(std::malloc(static_cast<std::size_t>(size)));
}

void release(FT_Memory, void *block)
{
    std::free(block);
}

void *resize(FT_Memory, long, long size, void *block)
{
    return noted(std::realloc(block, static_cast<std::size_t>(size)));
}

} // namespace

FT_Error ZkFreeTypeStart::open(FT_Library *library)
{
    *library = nullptr;
    wasStarved();
    // FT_Done_FreeType frees it with the library.
    FT_Memory memory = static_cast<FT_Memory>(allocate(nullptr, sizeof *memory));
    if (memory == nullptr) {
        return FT_Err_Out_Of_Memory;
    }
    *memory = {nullptr, allocate, release, resize};
    const FT_Error error = FT_New_Library(memory, library);
    if (error != 0 || *library == nullptr) {
        std::free(memory); // no test can tell: who calls ends the process
        *library = nullptr;
        return error != 0 ? error : FT_Error(FT_Err_Invalid_Library_Handle);
    }
    FT_Add_Default_Modules(*library);
    FT_Set_Default_Properties(*library);
    if (wasStarved()) {
        FT_Done_FreeType(*library);
        *library = nullptr;
        return FT_Err_Out_Of_Memory;
    }
    return FT_Err_Ok;
}

bool ZkFreeTypeStart::wasStarved()
{
    const bool was = isStarved;
    isStarved = false;
    return was;
}
