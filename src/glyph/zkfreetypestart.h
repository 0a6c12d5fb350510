#ifndef ZKFREETYPESTART_H
#define ZKFREETYPESTART_H

#include <ft2build.h>
#include FT_FREETYPE_H

/// FreeType as the process-wide rasteriser uses it, told when memory was missing.
///
/// FreeType itself goes on without what it could not allocate in places: a module that
/// does not load at the start is left out, and every glyph then comes out of another
/// one, or unhinted. So its memory comes through here, and whoever asks learns of it.
/// Used under the rasteriser's own rules: the calls that start and end it by one thread,
/// the rest under the write lock.
namespace ZkFreeTypeStart
{

/// What `FT_Init_FreeType` does, but a module without memory is a failure too. Ended
/// by `FT_Done_FreeType`. Null in `library` on failure.
FT_Error open(FT_Library *library);

/// Whether FreeType asked for memory in vain since the last call of this.
bool wasStarved();

} // namespace ZkFreeTypeStart

#endif
