// Packs of glyphs, whole and damaged. Half of the inputs get a digest that fits, so that
// what stands behind that check is reached.

#include "zkglyphcache.h"

#include "glyph/zkdigest.h"
#include "tinyfont.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace
{

constexpr std::size_t kDigestAt = 32, kHeader = 40;

const ZkFontChain &chain()
{
    static const ZkFontChain made = [] {
        TinyFont font;
        for (int c = 'A'; c <= 'Z'; ++c) {
            font.addBox(c, 0, 0, c - 'A' + 1, 10, 9);
        }
        const std::string bytes = font.bytes();
        return ZkFontChain(ZkTypeface::fromMemory(bytes.data(), bytes.size()));
    }();
    return made;
}

void look(const ZkGlyph &glyph, bool, std::uint32_t, void *sum)
{
    for (int i = 0; i < glyph.bitmap.width * glyph.bitmap.height; ++i) {
        *static_cast<unsigned *>(sum) += glyph.bitmap.pixels[i];
    }
}

// A header that fits this process, over what the input says.
void repair(std::vector<char> *pack, const std::uint8_t *data)
{
    const std::uint32_t version = 1, order = 0x01020304;
    const auto freeType = static_cast<std::uint32_t>(ZkTypeface::freeTypeVersion());
    std::memcpy(pack->data(), "ZKGLYPHS", 8);
    std::memcpy(pack->data() + 8, &version, 4);
    std::memcpy(pack->data() + 12, &order, 4);
    std::memcpy(pack->data() + 16, &freeType, 4);
    const std::uint64_t font = chain().at(0).digest();
    if ((data[0] & 2) != 0 && pack->size() >= kHeader + sizeof font) {
        std::memcpy(pack->data() + kHeader, &font, sizeof font);
    }
    const std::uint64_t digest = zkDigest(pack->data() + kHeader, pack->size() - kHeader,
                                          zkDigest(pack->data(), kDigestAt, version));
    std::memcpy(pack->data() + kDigestAt, &digest, sizeof digest);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    std::vector<char> pack(data + 1, data + size);
    if ((data[0] & 1) != 0 && pack.size() >= kHeader) {
        repair(&pack, data);
    }
    ZkGlyphCache cache((data[0] & 4) != 0 ? 0 : 16 * 1024);
    ZkString reason;
    const int count = cache.load(pack.data(), pack.size(), chain(), &reason);
    const ZkGlyphCache::Stats stats = cache.stats();
    if (count < 0 ? reason.isEmpty() || stats.glyphs != 0 : stats.glyphs != count) {
        std::abort();
    }
    if (stats.budget != 0 && stats.bytes > stats.budget) {
        std::abort();
    }
    unsigned sum = 0;
    cache.walk(look, &sum);
    ZkGlyphHolder holder(cache);
    holder.glyph(chain().at(0), 3, ZkFont());
    cache.clear();
    return 0;
}
