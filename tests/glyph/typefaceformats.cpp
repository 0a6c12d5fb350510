// Every format that FreeType opens, through a typeface and down to pixels.

#include <zkglyphcache.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <set>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace
{

constexpr char kCjk[] = "/usr/share/fonts/opentype/noto/NotoSansCJK-Regular.ttc";
constexpr char kType1[] = "/usr/share/fonts/type1/urw-base35/NimbusSans-Regular.t1";
constexpr char kSameAsOpenType[] = "/usr/share/fonts/opentype/urw-base35/NimbusSans-Regular.otf";
constexpr char kPcf[] = "/usr/share/fonts/X11/misc/10x20-ISO8859-1.pcf.gz";

std::string fontPath(const char *name)
{
    return std::string(ZK_TEST_DATA) + "/fonts/" + name;
}

bool isThere(const char *path)
{
    struct stat status;
    return stat(path, &status) == 0;
}

ZkTypeface opened(const std::string &path, int face = 0, int instance = 0)
{
    ZkTypeface::Options options;
    options.face = face;
    options.instance = instance;
    return ZkTypeface::fromFile(path.c_str(), options);
}

ZkFont fontOf(int size)
{
    return ZkFont(static_cast<unsigned char>(size), false, false, false, false);
}

/// All that a record says and shows.
std::string shown(const ZkTypeface &face, std::uint32_t index, int size)
{
    ZkGlyphHolder holder;
    const GlyphBitmap &bitmap = holder.glyph(face, index, fontOf(size))->bitmap;
    std::string text;
    for (const int value : {int(bitmap.width), int(bitmap.height), int(bitmap.left),
                            int(bitmap.top), int(bitmap.advance)}) {
        text += std::to_string(value) + ' ';
    }
    for (int row = 0; row < bitmap.height; ++row) {
        text.append(reinterpret_cast<const char *>(bitmap.pixels) + row * bitmap.pitch,
                    bitmap.width);
    }
    return text;
}

std::string instanceName(const ZkTypeface &face, int number)
{
    char name[40];
    face.instanceName(number, name, sizeof name);
    return name;
}

} // namespace

TEST(TypefaceFormats, PackedFontsShowThePixelsOfThePlainOne)
{
    const ZkTypeface plain = opened(fontPath("features.ttf"));
    ASSERT_TRUE(plain.isValid()) << plain.errorText();
    for (const char *name : {"features.woff", "features.woff2"}) {
        SCOPED_TRACE(name);
        const ZkTypeface packed = opened(fontPath(name));
        ASSERT_TRUE(packed.isValid()) << packed.errorText();
        EXPECT_STREQ(packed.familyName(), plain.familyName());
        EXPECT_EQ(packed.glyphCount(), plain.glyphCount());
        EXPECT_EQ(packed.unitsPerEm(), plain.unitsPerEm());
        EXPECT_TRUE(packed.isScalable());
        EXPECT_EQ(packed.faceCount(), 1);
        EXPECT_EQ(packed.metrics(24).ascent, plain.metrics(24).ascent);
        EXPECT_EQ(packed.metrics(24).descent, plain.metrics(24).descent);
        for (char32_t c = 0; c < 0x80; ++c) {
            EXPECT_EQ(packed.glyphIndex(c), plain.glyphIndex(c)) << unsigned(c);
        }
        for (int glyph = 0; glyph < plain.glyphCount(); ++glyph) {
            for (const int size : {11, 16, 40}) {
                const auto index = static_cast<std::uint32_t>(glyph);
                EXPECT_EQ(shown(packed, index, size), shown(plain, index, size)) << glyph;
            }
        }
    }
}

TEST(TypefaceFormats, TablesOfPackedFontsComeUnpacked)
{
    constexpr std::uint32_t kTables[] = {0x636D6170, 0x47504F53, 0x47535542}; // cmap GPOS GSUB
    const ZkTypeface plain = opened(fontPath("features.ttf"));
    for (const char *name : {"features.woff", "features.woff2"}) {
        const ZkTypeface packed = opened(fontPath(name));
        for (const std::uint32_t tag : kTables) {
            const std::size_t size = plain.table(tag, nullptr, 0);
            ASSERT_GT(size, 0u);
            ASSERT_EQ(packed.table(tag, nullptr, 0), size) << name;
            std::vector<char> expected(size), bytes(size);
            plain.table(tag, expected.data(), size);
            packed.table(tag, bytes.data(), size);
            EXPECT_EQ(bytes, expected) << name;
        }
    }
}

// The same letters in the format of PostScript printers and in OpenType.
TEST(TypefaceFormats, Type1IsDrawnAsItsOpenTypeTwin)
{
    if (!isThere(kType1) || !isThere(kSameAsOpenType)) {
        GTEST_SKIP() << "needs gsfonts";
    }
    const ZkTypeface face = opened(kType1), twin = opened(kSameAsOpenType);
    ASSERT_TRUE(face.isValid()) << face.errorText();
    EXPECT_STREQ(face.familyName(), "Nimbus Sans");
    EXPECT_TRUE(face.isScalable());
    EXPECT_EQ(face.unitsPerEm(), 1000);
    EXPECT_EQ(face.axisCount() + face.instanceCount() + face.strikeCount(), 0);
    constexpr std::uint32_t kHead = 0x68656164;
    EXPECT_EQ(face.table(kHead, nullptr, 0), 0u) << "there are no tables";
    for (const char32_t c : U"AgÅß") {
        if (c == 0) {
            continue;
        }
        ASSERT_TRUE(face.hasGlyph(c)) << unsigned(c);
        EXPECT_EQ(shown(face, face.glyphIndex(c), 32), shown(twin, twin.glyphIndex(c), 32))
            << unsigned(c);
    }
    EXPECT_FALSE(face.hasGlyph(0x4E2D));
}

TEST(TypefaceFormats, APackedPcfHasItsOneSize)
{
    if (!isThere(kPcf)) {
        GTEST_SKIP() << "needs xfonts-base";
    }
    const ZkTypeface face = opened(kPcf);
    ASSERT_TRUE(face.isValid()) << face.errorText();
    EXPECT_FALSE(face.isScalable());
    ASSERT_EQ(face.strikeCount(), 1);
    EXPECT_EQ(face.strikeSize(0), 20);
    for (const int size : {1, 16, 20, 255}) {
        EXPECT_EQ(face.nearestSize(size), 20);
        EXPECT_EQ(face.metrics(size).pixelSize, 20);
        EXPECT_EQ(face.metrics(size).ascent + face.metrics(size).descent, 20);
        EXPECT_EQ(shown(face, face.glyphIndex('A'), size), shown(face, face.glyphIndex('A'), 20));
    }
    ZkGlyphHolder holder;
    for (char32_t c = 0x21; c < 0x7F; ++c) {
        const GlyphBitmap &bitmap = holder.glyph(face, face.glyphIndex(c), fontOf(20))->bitmap;
        EXPECT_EQ(bitmap.advance, 10) << "every letter is as wide";
        ASSERT_GT(bitmap.width * bitmap.height, 0) << unsigned(c);
        for (int i = 0; i < bitmap.width * bitmap.height; ++i) {
            ASSERT_TRUE(bitmap.pixels[i] == 0 || bitmap.pixels[i] == 255) << "no greys";
        }
    }
}

TEST(TypefaceFormats, FacesOfALargeCollectionDiffer)
{
    if (!isThere(kCjk)) {
        GTEST_SKIP() << "needs fonts-noto-cjk";
    }
    const int count = opened(kCjk).faceCount();
    ASSERT_GE(count, 5);
    std::set<std::string> names, digests, shapes;
    for (int i = 0; i < count; ++i) {
        const ZkTypeface face = opened(kCjk, i);
        ASSERT_TRUE(face.isValid()) << face.errorText();
        EXPECT_EQ(face.faceIndex(), i);
        EXPECT_EQ(face.faceCount(), count);
        names.insert(face.familyName());
        digests.insert(std::to_string(face.digest()));
        shapes.insert(shown(face, face.glyphIndex(0x9AA8), 40)); // bone: another one in Korea
    }
    EXPECT_EQ(names.size(), static_cast<std::size_t>(count));
    EXPECT_EQ(digests.size(), static_cast<std::size_t>(count));
    EXPECT_GT(shapes.size(), 1u) << "each country writes it in its own way";
    const ZkTypeface none = opened(kCjk, count);
    EXPECT_EQ(none.error(), ZkTypeface::NoFace);
    EXPECT_EQ(none.errorText(),
              "face " + std::to_string(count) + " of " + std::to_string(count) + ": " + kCjk);
}

TEST(TypefaceFormats, NamedInstancesAreOpenedByTheirNumber)
{
    struct Row {
        int instance;
        const char *name;
        float weight, height;
        int width, rows; // of the box at 100 pixels
    };
    const Row kRows[] = {
        {0, "", 400, 700, 30, 70},     {1, "Regular", 400, 700, 30, 70},
        {2, "Thin", 100, 700, 15, 70}, {3, "Black", 900, 700, 60, 70},
        {4, "Tall", 900, 900, 60, 90},
    };
    for (const char *file : {"variable.ttf", "variable.woff2"}) {
        for (const Row &row : kRows) {
            SCOPED_TRACE(std::string(file) + " " + std::to_string(row.instance));
            ZkTypeface::Options options;
            options.instance = row.instance;
            options.hinting = ZkTypeface::HintNone;
            const ZkTypeface face = ZkTypeface::fromFile(fontPath(file).c_str(), options);
            ASSERT_TRUE(face.isValid()) << face.errorText();
            EXPECT_EQ(face.instance(), row.instance);
            EXPECT_TRUE(face.isVariable());
            ASSERT_EQ(face.instanceCount(), 4);
            if (row.instance > 0) {
                EXPECT_EQ(instanceName(face, row.instance), row.name);
            }
            ASSERT_EQ(face.axisCount(), 2);
            EXPECT_EQ(face.axis(0).value, row.weight);
            EXPECT_EQ(face.axis(1).value, row.height);
            EXPECT_EQ(face.axis(0).least, 100);
            EXPECT_EQ(face.axis(0).normal, 400);
            EXPECT_EQ(face.axis(0).most, 900);
            ZkGlyphHolder holder;
            const GlyphBitmap &box = holder.glyph(face, face.glyphIndex('A'), fontOf(100))->bitmap;
            EXPECT_EQ(box.width, row.width);
            EXPECT_EQ(box.height, row.rows);
            EXPECT_EQ(box.advance, row.width + 10);
        }
        const ZkTypeface none = opened(fontPath(file), 0, 5);
        EXPECT_EQ(none.error(), ZkTypeface::NoInstance);
        EXPECT_EQ(none.errorText(), "instance 5 of 4: " + fontPath(file));
    }
}

TEST(TypefaceFormats, InstanceNamesAreCutToTheRoom)
{
    const ZkTypeface face = opened(fontPath("variable.ttf"));
    char name[4] = "???";
    EXPECT_EQ(face.instanceName(3, name, 4), 5);
    EXPECT_STREQ(name, "Bla");
    EXPECT_EQ(face.instanceName(3, nullptr, 0), 5);
    for (const int number : {-1, 0, 5}) {
        for (const int room : {4, 1}) {
            std::memset(name, '?', sizeof name);
            EXPECT_EQ(face.instanceName(number, name, room), 0) << number;
            EXPECT_STREQ(name, "");
        }
    }
}
