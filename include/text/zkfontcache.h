#ifndef ZKFONTCACHE_H
#define ZKFONTCACHE_H

#include "zkfonteunitcache.h"
#include "zkstring.h"

class ZkFreetype;

/// The glyph cache: the one place of a process where glyphs come from. It opens
/// the font file, renders what is asked for the first time, keeps every record and
/// trims the pixels of unused ones under a limit of bytes.
///
///     ZkFontCache::instance()->setFontFile("/usr/share/fonts/sans.ttf");
///     const GlyphBitmap *a = ZkFontCache::glyph('a', ZkFont());  // rendered
///     const GlyphBitmap *b = ZkFontCache::glyph('a', ZkFont());  // b == a, useCount 2
///     a->release();
///     b->release();
///
/// Any thread may call `glyph` and `cleanCache`: one reader/writer lock guards store
/// and rasteriser, held for reading while a glyph is looked up and for writing while
/// one is rendered or pixels are trimmed; a process of one thread locks nothing. `instance`,
/// `setFontFile`, `closeFontFile` and the destructor take no lock: call them while no other thread
/// uses the cache.
class ZK_EXPORT ZkFontCache : public ZkFonteUnitCache
{
public:
    /// The instance, and the rasteriser it made. Reserved for the library.
    static ZkFontCache *m_pMyself;
    static ZkFreetype *m_pFtEngine;

    /// The cache of the process, made on the first call. No font is open then.
    static ZkFontCache *instance()
    {
        return __builtin_expect(m_pMyself != nullptr, 1) ? m_pMyself : create();
    }

    /// An empty cache, which becomes the instance.
    ZkFontCache();

    /// Closes the font and drops all glyphs. The rasteriser object is left behind:
    /// whoever still has `m_pFtEngine` may use it with the next cache.
    ~ZkFontCache();

    /// Drops all glyphs and opens a font file, an empty `path` meaning the one that
    /// the environment variable ZK_FONTLIB names. True. Without a name, when FreeType
    /// does not start or when the file is no font, prints why on standard output and
    /// ends the process with status 1. The line about the missing name advises
    /// `ZkApplication::setFontFile()`: that is a framework's call around this one, no
    /// class of this library. Its words stay, for logs are searched for them.
    bool setFontFile(const ZkString &path);

    /// The glyph of a character, rendered if it must be; never null. The record is
    /// good until the font file is set or closed, its pixels until the caller's use
    /// is given back with `release`. Pixels for which there was no memory, at whatever
    /// step, are null and are tried again on the next request; should the glyph's size
    /// be another one then while the record is in use, that request gets a record of
    /// its own. A glyph that the font has in a damaged form is blank, 0 x 0, and is
    /// tried again once it was trimmed. A glyph that is there costs a read lock, a
    /// look-up and an increment, and no allocation.
    ///
    /// Nothing bounds a glyph but FreeType: a hostile font of 2.3 KB makes glyphs of
    /// 29,504 x 17,472 pixels out of a size of 16, half a gigabyte each, under the write
    /// lock. Open only fonts that you trust, or look at them with `zktext coverage`
    /// before; above 65,535 columns or rows a glyph is blank.
    ///
    /// Two threads that miss one glyph at once may both render it: each gets a good
    /// record, later requests the one that was stored last.
    static const GlyphBitmap *glyph(unsigned short unicode, const ZkFont &font);

    /// Drops the pixels of all unused glyphs when `force` is set or the limit is
    /// reached. True when it did so, even if nothing was unused.
    bool cleanCache(bool force);

    /// Drops all glyphs and closes the font.
    void closeFontFile();

private:
    friend class ZkGlyphLease;

    static ZkFontCache *create();

    // Renders a glyph that has no record or no pixels and counts `uses` of it. Takes
    // the write lock; with `look`, the glyph is first looked up under it. Each use
    // that finds no pixels tries to render them, as if it had come alone.
    const GlyphBitmap *render(unsigned short unicode, const ZkFont &font, bool look, unsigned uses)
        __attribute__((noinline));
};
static_assert(sizeof(ZkFontCache) == sizeof(ZkFonteUnitCache), "the cache adds no fields");

#endif
