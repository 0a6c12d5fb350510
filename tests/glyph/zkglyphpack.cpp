#include "zkglyphcache.h"

#include "bareglyph.h"
#include "freshprocess.h"
#include "glyph/zkdigest.h"
#include "tinyfont.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace
{

const ZkFont kPlain(16, false, false, false, false);
const ZkFont kOutlined(24, false, false, true, false);

std::string contents(const char *path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(file)), {});
}

std::string text(const ZkString &string)
{
    return string.toUtf8().constData();
}

ZkFontChain chainOf(const char *path)
{
    return ZkFontChain(ZkTypeface::fromFile(path));
}

// The bytes of a pack of 300 glyphs in two styles.
std::string packOf(const ZkFontChain &chain)
{
    ZkGlyphCache cache(0);
    for (std::uint32_t glyph = 30; glyph < 180; ++glyph) {
        ZkGlyphHolder holder(cache);
        holder.glyph(chain.at(0), glyph, kPlain);
        holder.glyph(chain.at(0), glyph, kOutlined);
    }
    const TemporaryFile file("old");
    ZkString reason("?");
    EXPECT_EQ(cache.save(file.path(), chain, &reason), 300) << text(reason);
    EXPECT_EQ(text(reason), "");
    struct stat status = {};
    EXPECT_EQ(stat(file.path(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0644u) << "other users may load it";
    return contents(file.path());
}

int loaded(ZkGlyphCache *cache, const std::string &pack, const ZkFontChain &chain, std::string *why)
{
    ZkString reason;
    const int count = cache->load(pack.data(), pack.size(), chain, &reason);
    *why = text(reason);
    return count;
}

} // namespace

TEST(ZkGlyphPack, GlyphsComeBackWithoutBeingRendered)
{
    const ZkFontChain chain = chainOf(ZK_FONT_DEJAVU);
    const TemporaryFile file(packOf(chain));
    const BareFont bare(ZK_FONT_DEJAVU);
    ZkGlyphCache cache;
    const ZkFontChain again = chainOf(ZK_FONT_DEJAVU); // opened anew, as after a start
    ZkString reason;
    ASSERT_EQ(cache.load(file.path(), again, &reason), 300) << text(reason);
    EXPECT_EQ(cache.stats().glyphs, 300);
    for (std::uint32_t glyph = 30; glyph < 180; ++glyph) {
        for (const ZkFont &font : {kPlain, kOutlined}) {
            ZkGlyphHolder holder(cache);
            const ZkGlyph *const got = holder.glyph(again.at(0), glyph, font);
            expectRecord(got->bitmap, bare.renderGlyph(glyph, font), 0, font);
        }
    }
    EXPECT_EQ(cache.stats().misses, 0u);
    EXPECT_EQ(cache.load(file.path(), again), 0) << "all are there";
}

TEST(ZkGlyphPack, SavesTheGlyphsOfItsChainAlone)
{
    const ZkFontChain chain = chainOf(ZK_FONT_DEJAVU), other = chainOf(ZK_FONT_FREESERIF);
    ZkFontChain both(chain.at(0));
    both.append(other.at(0));
    ZkGlyphCache cache, second;
    ZkGlyphHolder holder(cache);
    holder.glyph(chain.at(0), 40, kPlain);
    holder.glyph(other.at(0), 40, kPlain);
    holder.glyph(other.at(0), 41, kPlain);
    const TemporaryFile file("");
    EXPECT_EQ(cache.save(file.path(), chain), 1);
    EXPECT_EQ(cache.save(file.path(), both), 3);
    EXPECT_EQ(second.load(file.path(), both), 3);
    EXPECT_EQ(cache.save(file.path(), ZkFontChain()), 0);
    EXPECT_EQ(second.load(file.path(), ZkFontChain()), 0);
}

TEST(ZkGlyphPack, StopsAtTheBudget)
{
    const ZkFontChain chain = chainOf(ZK_FONT_DEJAVU);
    const std::string pack = packOf(chain);
    ZkGlyphCache cache(32 << 10);
    ZkGlyphHolder holder(cache);
    holder.glyph(chain.at(0), 700, kPlain);
    std::string why;
    const int count = loaded(&cache, pack, chain, &why);
    EXPECT_GT(count, 50);
    EXPECT_LT(count, 300);
    EXPECT_EQ(cache.stats().evictions, 0u);
    EXPECT_LE(cache.stats().bytes, 32u << 10);
    EXPECT_EQ(cache.stats().glyphs, count + 1);
}

TEST(ZkGlyphPack, RefusesWhatItWasNotMadeFrom)
{
    const ZkFontChain chain = chainOf(ZK_FONT_DEJAVU);
    const std::string pack = packOf(chain);
    ZkTypeface::Options light;
    light.hinting = ZkTypeface::HintLight;
    const auto changed = [&pack](std::size_t at, char value) {
        std::string bytes = pack;
        bytes[at] = value;
        return bytes;
    };
    // Header: magic at 0, version 8, byte order 12, FreeType 16, counts 20, digest 32.
    const struct {
        const char *what;
        std::string bytes;
        ZkFontChain chain;
        const char *reason;
    } kRows[] = {
        {"another font", pack, chainOf(ZK_FONT_FREESERIF),
         "the pack was made from another font, or from one opened otherwise"},
        {"another hinting", pack, ZkFontChain(ZkTypeface::fromFile(ZK_FONT_DEJAVU, light)),
         "the pack was made from another font, or from one opened otherwise"},
        {"no font", pack, ZkFontChain(),
         "the pack was made from another font, or from one opened otherwise"},
        {"nothing", "", chain, "the pack is cut short"},
        {"half a header", pack.substr(0, 39), chain, "the pack is cut short"},
        {"half a pack", pack.substr(0, pack.size() / 2), chain, "the pack is cut short"},
        {"a byte less", pack.substr(0, pack.size() - 1), chain, "the pack is cut short"},
        {"a byte more", pack + "x", chain, "the pack is longer than it says"},
        {"another magic", changed(0, 'Y'), chain, "this is no pack of glyphs"},
        {"another version", changed(8, 2), chain, "the pack has another version"},
        {"another byte order", changed(12, 1), chain,
         "the pack was made on a machine of another byte order"},
        {"another FreeType", changed(16, 1), chain, "the pack is damaged"},
        {"another digest", changed(33, pack[33] == 0 ? '\1' : '\0'), chain, "the pack is damaged"},
        {"another pixel", changed(pack.size() - 9, pack[pack.size() - 9] == 0 ? '\1' : '\0'), chain,
         "the pack is damaged"},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        ZkGlyphCache cache;
        std::string why;
        EXPECT_EQ(loaded(&cache, row.bytes, row.chain, &why), -1);
        EXPECT_EQ(why, row.reason);
        EXPECT_EQ(cache.stats().glyphs, 0) << "nothing is taken";
    }
    ZkGlyphCache cache;
    ZkString reason;
    EXPECT_EQ(cache.load("/nonexistent/pack", chain, &reason), -1);
    EXPECT_EQ(text(reason), "there is no such pack");
    EXPECT_EQ(cache.load(nullptr, chain, &reason), -1);
    EXPECT_EQ(cache.load(nullptr, 7, chain, &reason), -1);
    EXPECT_EQ(text(reason), "the pack is cut short");
    EXPECT_EQ(cache.load("/tmp", chain, &reason), -1);
    EXPECT_EQ(text(reason), "the pack cannot be read");
    EXPECT_EQ(cache.save("/nonexistent/pack", chain, &reason), -1);
    EXPECT_EQ(text(reason), "the pack cannot be written");
    EXPECT_EQ(cache.save(nullptr, chain, &reason), -1);
}

TEST(ZkGlyphPack, NoTurnedByteIsBelieved)
{
    const ZkFontChain chain = chainOf(ZK_FONT_DEJAVU);
    const std::string pack = packOf(chain);
    ZkGlyphCache cache;
    for (std::size_t at = 0; at < pack.size(); at += at < 2000 ? 1 : 211) {
        std::string bytes = pack;
        bytes[at] = static_cast<char>(bytes[at] ^ 0x41);
        EXPECT_EQ(cache.load(bytes.data(), bytes.size(), chain), -1) << at;
    }
    EXPECT_EQ(cache.stats().glyphs, 0);
    EXPECT_EQ(cache.load(pack.data(), pack.size(), chain), 300);
}

namespace
{

// With the digest that fits to what the pack says.
std::string sealed(std::string pack)
{
    constexpr std::size_t kHeader = 40, kDigestAt = 32;
    constexpr std::uint64_t kVersion = 1;
    const std::uint64_t digest = zkDigest(pack.data() + kHeader, pack.size() - kHeader,
                                          zkDigest(pack.data(), kDigestAt, kVersion));
    std::memcpy(&pack[kDigestAt], &digest, sizeof digest);
    return pack;
}

template <typename Number>
std::string with(std::string pack, std::size_t at, Number value)
{
    std::memcpy(&pack[at], &value, sizeof value);
    return sealed(pack);
}

// Not by readdir(), whose 32 bits have no room for the places of a 64-bit host's folders.
int filesIn(const std::string &folder)
{
    const std::filesystem::directory_iterator files(folder);
    return static_cast<int>(std::distance(begin(files), end(files)));
}

} // namespace

// A digest keeps out damage, not somebody who computes it anew.
TEST(ZkGlyphPack, WhatCannotBeIsRefusedWithTheRightDigestToo)
{
    const ZkFontChain chain = chainOf(ZK_FONT_DEJAVU);
    const std::string pack = packOf(chain);
    ASSERT_EQ(sealed(pack), pack);
    const std::size_t glyph = 40 + 8; // behind the header and one typeface
    std::string faces(40 + 8 * (ZkFontChain::kMostFaces + 1), 0);
    std::memcpy(&faces[0], pack.data(), 20);
    const std::uint32_t tooMany = ZkFontChain::kMostFaces + 1;
    std::memcpy(&faces[20], &tooMany, sizeof tooMany);
    std::uint16_t width = 0;
    std::memcpy(&width, &pack[glyph + 8], sizeof width);
    const struct {
        const char *what;
        std::string bytes;
        const char *reason;
    } kRows[] = {
        {"another FreeType", with(pack, 16, std::uint32_t(20000)),
         "the pack was made with another version of FreeType"},
        {"too many typefaces", sealed(faces), "the pack is damaged"},
        {"a typeface behind the last", with(pack, glyph + 4, std::uint16_t(1)),
         "the pack is damaged"},
        {"a style of four bits", with(pack, glyph + 6, std::uint16_t(8)), "the pack is damaged"},
        {"neither failed nor not", with(pack, glyph + 18, std::uint16_t(2)), "the pack is damaged"},
        {"more pixels than there are", with(pack, glyph + 8, std::uint16_t(width + 1)),
         "the pack is damaged"},
        {"glyphs of no typeface", with(pack, 40, std::uint64_t(0)), "the pack is damaged"},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        ZkGlyphCache cache;
        std::string why;
        EXPECT_EQ(loaded(&cache, row.bytes, chain, &why), -1);
        EXPECT_EQ(why, row.reason);
        EXPECT_EQ(cache.stats().glyphs, 0);
    }
    ZkGlyphCache cache;
    std::string why;
    EXPECT_EQ(loaded(&cache, with(pack, glyph + 6, std::uint16_t(7)), chain, &why), 300) << why;
}

TEST(ZkGlyphPack, AFileThatCannotBeWrittenLeavesNothingBehind)
{
    const ZkFontChain chain = chainOf(ZK_FONT_DEJAVU);
    ZkGlyphCache cache(0);
    for (std::uint32_t glyph = 30; glyph < 180; ++glyph) {
        ZkGlyphHolder(cache).glyph(chain.at(0), glyph, kPlain);
    }
    char folder[] = "/tmp/zkpackXXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    const std::string path = std::string(folder) + "/pack";
    ZkString reason;
    // A folder of the same name is not replaced.
    ASSERT_EQ(mkdir(path.c_str(), 0755), 0);
    EXPECT_EQ(cache.save(path.c_str(), chain, &reason), -1);
    EXPECT_EQ(text(reason), "the pack cannot be written");
    EXPECT_EQ(filesIn(folder), 1);
    rmdir(path.c_str());
    // The disk is full before all is written: the old pack stays.
    ASSERT_EQ(cache.save(path.c_str(), chain), 150);
    const std::string before = contents(path.c_str());
    inFreshProcess([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit = {};
        getrlimit(RLIMIT_FSIZE, &limit);
        const rlimit little = {4096, limit.rlim_max};
        setrlimit(RLIMIT_FSIZE, &little);
        const int saved = cache.save(path.c_str(), chain, &reason);
        setrlimit(RLIMIT_FSIZE, &limit);
        EXPECT_EQ(saved, -1);
        EXPECT_EQ(text(reason), "the pack cannot be written");
    });
    EXPECT_EQ(filesIn(folder), 1);
    EXPECT_TRUE(contents(path.c_str()) == before);
    // Without a standard input the file is number 0.
    inFreshProcess([&] {
        close(0);
        EXPECT_EQ(cache.save(path.c_str(), chain), 150);
    });
    EXPECT_TRUE(contents(path.c_str()) == before);
    unlink(path.c_str());
    rmdir(folder);
}

TEST(ZkGlyphPack, LargeGlyphsAreTakenWithinTheBudget)
{
    const ZkFontChain chain = chainOf(ZK_FONT_DEJAVU);
    const ZkFont large(200, false, false, false, false);
    ZkGlyphCache cache(0);
    for (std::uint32_t glyph = 36; glyph < 62; ++glyph) { // A to Z, of 20 KB each
        ZkGlyphHolder(cache).glyph(chain.at(0), glyph, large);
    }
    const TemporaryFile file("");
    ASSERT_EQ(cache.save(file.path(), chain), 26);
    for (const std::size_t budget : {64u << 10, 128u << 10, 256u << 10}) {
        ZkGlyphCache other(budget);
        const int count = other.load(file.path(), chain);
        EXPECT_GT(count, static_cast<int>(budget >> 10) / 64);
        EXPECT_LT(count, 26);
        EXPECT_EQ(other.stats().glyphs, count);
        EXPECT_EQ(other.stats().overBytes + other.stats().evictions, 0u);
    }
    ZkGlyphCache all(4 << 20);
    EXPECT_EQ(all.load(file.path(), chain), 26);
}

TEST(ZkGlyphPack, TheFileIsLetGoOnceItIsRead)
{
    const ZkFontChain chain = chainOf(ZK_FONT_DEJAVU);
    const TemporaryFile file(packOf(chain));
    const auto isMapped = [&file] {
        return contents("/proc/self/maps").find(file.path()) != std::string::npos;
    };
    const int open = filesIn("/proc/self/fd");
    ZkGlyphCache cache;
    EXPECT_EQ(cache.load(file.path(), chain), 300);
    EXPECT_FALSE(isMapped());
    EXPECT_EQ(filesIn("/proc/self/fd"), open);
}
