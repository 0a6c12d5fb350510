// A cache and its holders driven by random operations beside a plain model of what must
// be there, what may be gone, and what the bytes add up to.

#include "zkglyphcache.h"

#include "tinyfont.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace
{

constexpr int kGlyphs = 40, kHolders = 4;

void check(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

ZkTypeface openFace()
{
    static const std::string bytes = [] {
        TinyFont font;
        for (int i = 0; i < kGlyphs; ++i) {
            font.addBox('A' + i, 0, 0, 1 + i % 16, 1 + i % 11, 9);
        }
        return font.bytes();
    }();
    return ZkTypeface::fromBorrowed(bytes.data(), bytes.size(), nullptr, nullptr);
}

/// What a holder must have: the record of each key and a copy of its pixels.
struct Held {
    const ZkGlyph *record;
    std::vector<std::uint8_t> pixels;
};

struct Model {
    ZkGlyphCache cache{16 * 1024};
    ZkTypeface faces[2] = {openFace(), openFace()};
    std::vector<std::unique_ptr<ZkGlyphHolder>> holders;
    std::map<std::uint64_t, Held> held[kHolders];
    std::set<std::uint64_t> asked; ///< ever: nothing else may be in the cache

    Model()
    {
        for (int i = 0; i < kHolders; ++i) {
            holders.push_back(std::make_unique<ZkGlyphHolder>(cache));
        }
    }

    void take(int holder, int face, std::uint32_t glyph, const ZkFont &font)
    {
        const std::uint64_t key = ZkGlyphCache::key(faces[face], glyph, font);
        const ZkGlyph *const record =
            holders[static_cast<std::size_t>(holder)]->glyph(faces[face], glyph, font);
        check(record->key() == key);
        const GlyphBitmap &bitmap = record->bitmap;
        std::vector<std::uint8_t> pixels(bitmap.pixels,
                                         bitmap.pixels + bitmap.width * bitmap.height);
        const auto inserted = held[holder].insert({key, Held{record, pixels}});
        check(inserted.first->second.record == record && inserted.first->second.pixels == pixels);
        asked.insert(key);
    }

    void letGo(int holder)
    {
        holders[static_cast<std::size_t>(holder)]->clear();
        held[holder].clear();
    }

    static void visit(const ZkGlyph &glyph, bool isHeld, std::uint32_t, void *context)
    {
        auto *const there = static_cast<std::map<std::uint64_t, bool> *>(context);
        check(there->insert({glyph.key(), isHeld}).second);
    }

    void verify()
    {
        std::map<std::uint64_t, bool> there;
        cache.walk(visit, &there);
        std::set<std::uint64_t> mustBe;
        for (const auto &of : held) {
            for (const auto &entry : of) {
                const GlyphBitmap &bitmap = entry.second.record->bitmap;
                check(entry.second.record->key() == entry.first);
                check(std::equal(entry.second.pixels.begin(), entry.second.pixels.end(),
                                 bitmap.pixels));
                check(there.count(entry.first) == 1 && there[entry.first]);
                mustBe.insert(entry.first);
            }
        }
        for (const auto &entry : there) {
            check(asked.count(entry.first) == 1 &&
                  entry.second == (mustBe.count(entry.first) == 1));
        }
        const ZkGlyphCache::Stats stats = cache.stats();
        check(stats.glyphs == static_cast<int>(there.size()));
        check(stats.heldGlyphs == static_cast<int>(mustBe.size()));
        check(stats.bytes ==
              stats.pixelBytes + stats.recordBytes + stats.tableBytes + stats.unusedBytes);
        check(stats.recordBytes == there.size() * sizeof(ZkGlyph));
        if (mustBe.empty() && stats.budget != 0) {
            check(stats.bytes <= stats.budget);
        }
        check(stats.misses >= static_cast<std::uint64_t>(stats.glyphs) + stats.evictions);
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Model model;
    const ZkString text("ABCDEFGHabcdefgh");
    for (std::size_t i = 0; i + 3 < size; i += 4) {
        const int holder = data[i] >> 3 & 3;
        const int face = data[i] >> 5 & 1;
        const std::uint32_t glyph = data[i + 1] % (kGlyphs + 2);
        const ZkFont font(ZkFontAttr{data[i + 2], static_cast<std::uint8_t>(data[i + 3] & 7)});
        switch (data[i] & 7) {
        case 5: model.letGo(holder); break;
        case 6:
            if (data[i + 1] < 32) {
                model.cache.setBudget(data[i + 2] * 256u);
            } else if (data[i + 1] < 48) {
                model.cache.clear();
            } else if (data[i + 1] < 64) {
                model.letGo(holder);
                model.holders[static_cast<std::size_t>(holder)] =
                    std::make_unique<ZkGlyphHolder>(model.cache);
            } else {
                model.verify();
            }
            break;
        case 7:
            if (data[i + 1] < 16) { // its glyphs go, but for those that are held
                model.faces[face] = openFace();
            } else {
                for (int c = 0; c < text.size(); ++c) {
                    const std::uint32_t index = model.faces[face].glyphIndex(text.at(c));
                    model.asked.insert(ZkGlyphCache::key(model.faces[face], index, font));
                }
                model.cache.prewarm(ZkFontChain(model.faces[face]), font, text, 0, data[i + 3]);
            }
            break;
        default: model.take(holder, face, glyph, font); break;
        }
    }
    model.verify();
    return 0;
}
