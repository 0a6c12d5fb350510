#include "zkfontcache.h"

#include "glyph/zkfontlock.h"
#include "zkfreetype.h"

#include <cstdio>
#include <cstdlib>

ZkFontLock zkFontLock;

ZkFontCache *ZkFontCache::m_pMyself = nullptr;
ZkFreetype *ZkFontCache::m_pFtEngine = nullptr;

namespace
{

// Puts a rendered glyph under its key, where `record` stands already or null. A record
// keeps its place; but one that is in use with another size, since its glyph could not be
// loaded before, keeps that: others draw by it. Later requests find the new one.
GlyphBitmap *stored(ZkFonteUnitCache *cache, GlyphBitmap *record, const GlyphBitmap &fresh)
{
    if (record != nullptr && fresh.pixels == nullptr) {
        return record;
    }
    const bool isRefill = record != nullptr && (fresh.isShapedLike(*record) || !record->isUsed());
    return isRefill ? cache->addfontMetrics(fresh) : cache->addFontInfo(fresh);
}

} // namespace

ZkFontCache *ZkFontCache::create()
{
    return zkNew<ZkFontCache>(); // which enters itself
}

ZkFontCache::ZkFontCache()
{
    m_pFtEngine = zkNew<ZkFreetype>();
    m_pMyself = this;
}

ZkFontCache::~ZkFontCache()
{
    ZkFreetype::freetype_Done();
    m_pMyself = nullptr;
    nextGeneration();
}

bool ZkFontCache::setFontFile(const ZkString &path)
{
    const ZkString file = path.isEmpty() ? ZkString(std::getenv("ZK_FONTLIB")) : path;
    if (file.isEmpty()) {
        // Three exclamation marks; the rasteriser's message of the same words has five.
        std::printf("[GUI-FRAMEWORK]: font not specified, set \"ZK_FONTLIB\" env or call "
                    "ZkApplication::setFontFile() !!!\n");
        std::exit(1);
    }
    clean();
    ZkFreetype::freetype_init(file); // closes the font before
    return true;
}

const GlyphBitmap *ZkFontCache::glyph(unsigned short unicode, const ZkFont &font)
{
    ZkFontCache *cache = instance();
    const int recordKey = key(unicode, font.attr());
    const GlyphBitmap *record = nullptr;
    {
        const ZkFontReadLock lock;
        record = cache->find(recordKey);
        if (hasPixels(record)) {
            record->retain();
            return record;
        }
    }
    // A glyph that was missing is not looked up again: between the two locks another
    // thread may have stored it, and then both records stay valid.
    return cache->render(unicode, font, record != nullptr, 1);
}

bool ZkFontCache::cleanCache(bool force)
{
    const ZkFontWriteLock lock;
    const bool trims = force || isOverLimit();
    if (trims) {
        cleanAllFontMetrics();
    }
    return trims;
}

void ZkFontCache::closeFontFile()
{
    clean();
    ZkFreetype::freetype_Done();
}

const GlyphBitmap *ZkFontCache::render(unsigned short unicode, const ZkFont &font, bool look,
                                       unsigned uses)
{
    const ZkFontWriteLock lock;
    GlyphBitmap *record = look ? fontTable(unicode, font) : nullptr;
    // For want of memory a glyph may come out without pixels. Each use tries again, as the
    // same number of single requests would.
    for (unsigned i = 0; i < uses && !hasPixels(record); ++i) {
        m_pFtEngine->setTextFont(font);
        const GlyphBitmap fresh = m_pFtEngine->resloveUnicode(unicode);
        record = stored(this, record, fresh);
    }
    record->retain(uses);
    return record;
}
