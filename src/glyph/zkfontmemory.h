#ifndef ZKFONTMEMORY_H
#define ZKFONTMEMORY_H

#include <ft2build.h>
#include FT_FREETYPE_H

#include <cstddef>
#include <cstdint>

/// What FreeType has taken for one typeface, and what it may: its blocks come from
/// `malloc` and are charged to the account that the calling thread has set. Guarded by
/// the lock of the typeface.
struct ZkFontMemory {
    /// Allocations of one call before the clock is looked at. An ordinary glyph takes some
    /// ten, a compound glyph that names itself over and over one for each visit.
    static constexpr unsigned kFreeCalls = 256;
    static constexpr std::int64_t kMostNanoseconds = 500 * 1000 * 1000;

    std::size_t bytes = 0;
    std::size_t limit = 0;
    unsigned calls = 0;
    bool isTimed = false;
    bool isRefused = false; ///< by the limit or the clock: it would be again
    bool isStarved = false; ///< by `malloc`: another time it may work
    std::int64_t startedAt = 0;

    /// Room for `size` more bytes? Records the refusal.
    bool admits(std::size_t size);
};

/// Charges what FreeType allocates in this scope to an account.
class ZkFontMemoryScope
{
public:
    /// With `isTimed` the processor time is bounded too.
    explicit ZkFontMemoryScope(ZkFontMemory *account, bool isTimed = false);
    ~ZkFontMemoryScope();
    ZkFontMemoryScope(const ZkFontMemoryScope &) = delete;
    ZkFontMemoryScope &operator=(const ZkFontMemoryScope &) = delete;

private:
    ZkFontMemory *m_before;
};

/// The one FreeType library of all typefaces: made for the first, gone with the last.
/// FreeType wants faces of one library opened and closed one at a time, which these
/// see to; all else may go on in several faces at once.
namespace ZkFontLibrary
{

/// Opens a face of bytes in memory, or a null one with FreeType's error.
FT_Error openFace(const void *bytes, std::size_t size, FT_Long index, FT_Face *face,
                  FT_Library *library);

/// Opens nothing but says how many faces the bytes hold, 0 when they are no font.
int countFaces(const void *bytes, std::size_t size);

void closeFace(FT_Face face);

/// Of the FreeType that runs: major x 10000 + minor x 100 + patch.
int version();

} // namespace ZkFontLibrary

#endif
