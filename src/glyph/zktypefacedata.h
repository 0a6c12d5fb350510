#ifndef ZKTYPEFACEDATA_H
#define ZKTYPEFACEDATA_H

#include "glyph/zkfontletters.h"
#include "glyph/zkfontmemory.h"
#include "glyph/zktypefacepages.h"
#include "zktypeface.h"

#include <pthread.h>

/// What a handle points to: enough for one that is not valid.
struct ZkTypefaceData {
    ZkRefCount ref;
    ZkTypeface::Error error;
    const char *errorText;

    static ZkTypefaceData *of(const ZkTypeface &face) { return face.d; }
    static ZkTypeface handle(ZkTypefaceData *data) { return ZkTypeface(data); }
};

/// A typeface that opened. FreeType's face is used under `lock` alone, and under a
/// `ZkFontMemoryScope` of `memory`; what stands before it never changes after opening.
struct ZkOpenTypeface : ZkTypefaceData {
    enum Source { Mapped, Allocated, Borrowed };

    const std::uint8_t *bytes;
    std::size_t size;
    Source source;
    ZkTypeface::Release releaseBytes; ///< of borrowed ones
    void *releaseContext;

    std::uint32_t id;
    ZkTypeface::Options options; ///< without the axes
    FT_Int32 loadFlags;
    FT_Library freetype;
    FT_Face face;
    FT_CharMap symbols; ///< the map of a font whose characters stand at U+F000 and on
    ZkTypeface::Axis *axes;
    int axisCount;
    int instanceCount;
    int strikePosition, strikeThickness; ///< of the stroke through letters; 0 is not told

    mutable pthread_mutex_t lock;
    mutable ZkFontMemory memory;
    mutable int scaledTo;                ///< pixel size of the face, -1 is none
    mutable ZkGlyphPages pages;          ///< characters that were asked for
    mutable std::uint64_t *kerningPairs; ///< see `kerning`, null until it is asked for
    mutable std::uint64_t digest;        ///< 0 until asked for
    mutable ZkFontLetters *letters;      ///< of the fonts that were shaped with first
    mutable int letterCount;             ///< of those fonts

    /// Null for a handle that is not valid.
    static const ZkOpenTypeface *of(const ZkTypeface &face)
    {
        const ZkTypefaceData *const data = ZkTypefaceData::of(face);
        return data != nullptr && data->error == ZkTypeface::NoError
                   ? static_cast<const ZkOpenTypeface *>(data)
                   : nullptr;
    }

    void findStroke();
    bool isScalable() const { return FT_IS_SCALABLE(face); }
    int nearestStrike(int pixelSize) const; ///< -1 without strikes
    int nearestSize(int pixelSize) const;
    ZkTypefaceMetrics measure(int pixelSize) const;
    int strikeSize(int index) const;

    /// What shaping remembers of a font; null for one too many, or without memory.
    ZkFontLetters *lettersOf(ZkFont font) const;

    // Under the lock and an account.
    bool scale(int pixelSize) const; ///< false when FreeType cannot
    std::uint32_t askGlyphIndex(char32_t character) const;

    void releaseRemembered(); ///< what was asked for
    void close();             ///< and frees itself
};

/// Holds a typeface for calls of FreeType.
class ZkTypefaceLock
{
public:
    explicit ZkTypefaceLock(const ZkOpenTypeface &face, bool isTimed = false)
        : m_face((pthread_mutex_lock(&face.lock), face)), m_scope(&face.memory, isTimed)
    {
    }
    ~ZkTypefaceLock() { pthread_mutex_unlock(&m_face.lock); }
    ZkTypefaceLock(const ZkTypefaceLock &) = delete;
    ZkTypefaceLock &operator=(const ZkTypefaceLock &) = delete;

private:
    const ZkOpenTypeface &m_face;
    ZkFontMemoryScope m_scope;
};

/// Drops the glyphs of a typeface that is gone from every cache.
void zkForgetGlyphs(std::uint32_t typefaceId);

#endif
