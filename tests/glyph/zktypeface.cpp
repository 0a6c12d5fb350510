#include "zktypeface.h"

#include "bareglyph.h"
#include "tinyfont.h"
#include "zkglyphcache.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "mallochook.h" // behind <cstdlib>, whose malloc it replaces

namespace
{

constexpr ZkTypeface::Hinting kHintings[] = {ZkTypeface::HintAuto, ZkTypeface::HintLight,
                                             ZkTypeface::HintNone};

std::string contents(const char *path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(file)), {});
}

ZkTypeface opened(const std::string &bytes)
{
    return ZkTypeface::fromMemory(bytes.data(), bytes.size());
}

ZkTypeface::Options faceOption(int face, int instance = 0)
{
    ZkTypeface::Options options;
    options.face = face;
    options.instance = instance;
    return options;
}

// A font of one strike of 9 x 2 pixels a size.
std::string strikes(int size)
{
    const std::string px = std::to_string(size);
    return "STARTFONT 2.1\nFONT -x-tiny-medium-r-normal--" + px + "-" + px +
           "0-75-75-c-90-iso10646-1\nSIZE " + px +
           " 75 75\nFONTBOUNDINGBOX 9 2 0 0\nSTARTPROPERTIES 6\nPIXEL_SIZE " + px +
           "\nFONT_ASCENT 12\nFONT_DESCENT 4\nRESOLUTION_Y 75\nCHARSET_REGISTRY \"ISO10646\"\n"
           "CHARSET_ENCODING \"1\"\nENDPROPERTIES\nCHARS 1\n"
           "STARTCHAR A\nENCODING 65\nSWIDTH 500 0\nDWIDTH 10 0\nBBX 9 2 0 0\n"
           "BITMAP\n8080\nFF80\nENDCHAR\nENDFONT\n";
}

// Fonts of large packages, which a test draws with where they are installed.
const char kNotoCjk[] = "/usr/share/fonts/opentype/noto/NotoSansCJK-Regular.ttc";
const char kSymbola[] = "/usr/share/fonts/truetype/ancient-scripts/Symbola_hint.ttf";
const char kPcf[] = "/usr/share/fonts/X11/misc/6x13-ISO8859-1.pcf.gz";
const char kType1[] = "/usr/share/fonts/type1/urw-base35/C059-Bold.t1";

bool isThere(const char *path)
{
    return access(path, R_OK) == 0;
}

struct Released {
    int calls = 0;
    const void *bytes = nullptr;

    static void release(const void *bytes, void *context)
    {
        auto *const self = static_cast<Released *>(context);
        ++self->calls;
        self->bytes = bytes;
    }
};

} // namespace

TEST(ZkTypeface, ADefaultHandleIsNotValidAndHasNothing)
{
    const ZkTypeface none;
    EXPECT_FALSE(none.isValid());
    EXPECT_EQ(none.error(), ZkTypeface::NotOpened);
    EXPECT_STREQ(none.errorText(), "no font was opened");
    EXPECT_EQ(none.id(), 0u);
    EXPECT_STREQ(none.familyName(), "");
    EXPECT_STREQ(none.styleName(), "");
    EXPECT_EQ(none.faceCount(), 0);
    EXPECT_EQ(none.glyphCount(), 0);
    EXPECT_EQ(none.glyphIndex('A'), 0u);
    EXPECT_EQ(none.metrics(16).ascent, 0);
    EXPECT_EQ(none.kerning(1, 2, 16), 0);
    EXPECT_FALSE(none.hasKerning());
    EXPECT_EQ(none.data(), nullptr);
    EXPECT_EQ(none.dataSize(), 0u);
    EXPECT_EQ(none.table(0, nullptr, 0), 0u);
    EXPECT_EQ(none.digest(), 0u);
    EXPECT_EQ(none.memoryBytes(), 0u);
    EXPECT_EQ(none.instanceCount() + none.axisCount() + none.strikeCount() + none.unitsPerEm(), 0);
    EXPECT_EQ(none.nearestSize(20), 20);
    EXPECT_FALSE(none.isScalable());
}

TEST(ZkTypeface, SaysWhyItDidNotOpen)
{
    const TemporaryFile text("This is a text, not a font.\n");
    const TemporaryFile empty("");
    const TemporaryFile cut(TinyFont().bytes().substr(0, 40));
    const TemporaryFile tiny(TinyFont().addBox('A', 0, 0, 4, 4, 5).bytes());
    const std::string longName = "/tmp/" + std::string(600, 'x');
    const struct {
        const char *path;
        ZkTypeface::Options options;
        ZkTypeface::Error error;
        std::string text;
    } kRows[] = {
        {"/nonexistent/a.ttf", {}, ZkTypeface::NoFile, "no such file: /nonexistent/a.ttf"},
        {"", {}, ZkTypeface::NoFile, "no such file: "},
        {nullptr, {}, ZkTypeface::NoFile, "no such file: "},
        {longName.c_str(), {}, ZkTypeface::NoFile, "cannot be read: " + longName},
        {"/tmp", {}, ZkTypeface::NoFont, "no font: /tmp"},
        {"/dev/null", {}, ZkTypeface::NoFont, "no font: /dev/null"},
        {text.path(), {}, ZkTypeface::NoFont, std::string("no font: ") + text.path()},
        {empty.path(), {}, ZkTypeface::NoFont, std::string("no font: ") + empty.path()},
        {cut.path(), {}, ZkTypeface::NoFont, std::string("no font: ") + cut.path()},
        {ZK_FONT_MICROHEI, faceOption(3), ZkTypeface::NoFace,
         std::string("face 3 of 2: ") + ZK_FONT_MICROHEI},
        {tiny.path(), faceOption(1), ZkTypeface::NoFace,
         std::string("face 1 of 1: ") + tiny.path()},
        {tiny.path(), faceOption(-1), ZkTypeface::NoFace,
         std::string("face -1 of 1: ") + tiny.path()},
        {tiny.path(), faceOption(0x10000), ZkTypeface::NoFace,
         std::string("face 65536 of 1: ") + tiny.path()},
        {tiny.path(), faceOption(0, 2), ZkTypeface::NoInstance,
         std::string("instance 2 of 0: ") + tiny.path()},
        {tiny.path(), faceOption(0, -2), ZkTypeface::NoInstance,
         std::string("instance -2 is below 0: ") + tiny.path()},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.text);
        testing::internal::CaptureStdout();
        const ZkTypeface face = ZkTypeface::fromFile(row.path, row.options);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "") << "opening prints nothing";
        EXPECT_FALSE(face.isValid());
        EXPECT_EQ(face.error(), row.error);
        EXPECT_EQ(face.errorText(), row.text);
        EXPECT_EQ(face.glyphIndex('A'), 0u);
        const ZkTypeface copy = face;
        EXPECT_EQ(copy.errorText(), row.text);
    }
    const ZkTypeface::AxisValue weight = {0x77676874, 700};
    ZkTypeface::Options options;
    options.axes = &weight;
    options.axisCount = 1;
    const ZkTypeface still = ZkTypeface::fromFile(tiny.path(), options);
    EXPECT_EQ(still.error(), ZkTypeface::NoAxis);
    EXPECT_EQ(still.errorText(),
              std::string("axis value 1 of 1 for a font without axes: ") + tiny.path());
}

TEST(ZkTypeface, EveryWayOfOpeningGivesTheSameFont)
{
    const std::string bytes = contents(ZK_FONT_DEJAVU);
    const int file = open(ZK_FONT_DEJAVU, O_RDONLY);
    ASSERT_GE(file, 0);
    const ZkTypeface faces[] = {
        ZkTypeface::fromFile(ZK_FONT_DEJAVU), ZkTypeface::fromDescriptor(file), opened(bytes),
        ZkTypeface::fromBorrowed(bytes.data(), bytes.size(), nullptr, nullptr)};
    close(file);
    for (const ZkTypeface &face : faces) {
        ASSERT_TRUE(face.isValid()) << face.errorText();
        EXPECT_STREQ(face.errorText(), "");
        EXPECT_STREQ(face.familyName(), "DejaVu Sans");
        EXPECT_STREQ(face.styleName(), "Book");
        EXPECT_EQ(face.dataSize(), bytes.size());
        EXPECT_EQ(std::memcmp(face.data(), bytes.data(), bytes.size()), 0);
        EXPECT_EQ(face.digest(), faces[0].digest());
        EXPECT_NE(face.digest(), 0u);
        EXPECT_EQ(face.faceCount(), 1);
        EXPECT_TRUE(face.isScalable());
        EXPECT_EQ(face.unitsPerEm(), 2048);
    }
    EXPECT_EQ(faces[3].data(), bytes.data());
    EXPECT_NE(faces[0].id(), faces[1].id());
    EXPECT_GT(faces[2].memoryBytes(), bytes.size()) << "the copy counts";
    EXPECT_LT(faces[0].memoryBytes(), 400u << 10) << "the mapped file does not";
}

#if !defined(ZK_MALLOC_IS_THE_SANITIZERS)

TEST(ZkTypeface, MemoryToldIsWhatTheSystemGave)
{
    const ZkTypeface other = ZkTypeface::fromFile(ZK_FONT_DEJAVU); // what all share is there
    for (const char *path : {ZK_FONT_DEJAVU, ZK_FONT_FREESERIF, ZK_FONT_MICROHEI}) {
        SCOPED_TRACE(path);
        ZkTypeface faces[50]; // so that small blocks at hand do not count
        const std::size_t before = mallochook::takenBytes();
        std::size_t told = 0;
        for (ZkTypeface &face : faces) {
            face = ZkTypeface::fromFile(path);
            for (char32_t c = 0x21; c < 0x3000; ++c) {
                static_cast<void>(face.glyphIndex(c));
            }
            told += face.memoryBytes();
        }
        const auto taken = double(mallochook::takenBytes() - before);
        EXPECT_NEAR(double(told), taken, 0.05 * taken);
    }
}

#endif

TEST(ZkTypeface, APipeIsReadToItsEnd)
{
    const std::string bytes = TinyFont().addBox('A', 0, 0, 4, 4, 5).bytes();
    int ends[2] = {};
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(write(ends[1], bytes.data(), bytes.size()), ssize_t(bytes.size()));
    close(ends[1]);
    const ZkTypeface face = ZkTypeface::fromDescriptor(ends[0]);
    EXPECT_TRUE(face.isValid()) << face.errorText();
    EXPECT_EQ(face.dataSize(), bytes.size());
    EXPECT_TRUE(face.hasGlyph('A'));
    const ZkTypeface end = ZkTypeface::fromDescriptor(ends[0]);
    EXPECT_EQ(end.error(), ZkTypeface::NoFont);
    EXPECT_EQ(end.errorText(), "no font: descriptor " + std::to_string(ends[0]));
    close(ends[0]);
    EXPECT_EQ(ZkTypeface::fromDescriptor(-1).error(), ZkTypeface::NoFile);
}

TEST(ZkTypeface, BorrowedBytesAreReleasedOnce)
{
    const std::string good = TinyFont().addBox('A', 0, 0, 4, 4, 5).bytes();
    Released released;
    {
        ZkTypeface copy;
        {
            const ZkTypeface face =
                ZkTypeface::fromBorrowed(good.data(), good.size(), Released::release, &released);
            ASSERT_TRUE(face.isValid());
            copy = face;
        }
        EXPECT_EQ(released.calls, 0);
    }
    EXPECT_EQ(released.calls, 1);
    EXPECT_EQ(released.bytes, good.data());
    for (const std::size_t size :
         {static_cast<std::size_t>(0), static_cast<std::size_t>(20), good.size() / 2}) {
        Released failed;
        const ZkTypeface face =
            ZkTypeface::fromBorrowed(good.data(), size, Released::release, &failed);
        EXPECT_EQ(failed.calls, face.isValid() ? 0 : 1) << "before it returns";
    }
    Released null;
    EXPECT_EQ(ZkTypeface::fromBorrowed(nullptr, 5, Released::release, &null).error(),
              ZkTypeface::NoFont);
    EXPECT_EQ(null.calls, 1);
}

TEST(ZkTypeface, CopiesAreOneTypefaceAndMovingLeavesNone)
{
    ZkTypeface face = ZkTypeface::fromFile(ZK_FONT_DEJAVU);
    const ZkTypeface copy = face;
    EXPECT_TRUE(copy == face);
    EXPECT_EQ(copy.id(), face.id());
    EXPECT_TRUE(ZkTypeface::fromFile(ZK_FONT_DEJAVU) != face);
    const ZkTypeface &self = face;
    face = self;
    EXPECT_TRUE(face.isValid());
    const ZkTypeface moved = std::move(face);
    EXPECT_TRUE(moved == copy);
    face = copy;
    face = ZkTypeface();
    EXPECT_TRUE(copy.isValid());
}

TEST(ZkTypeface, GlyphNumbersAreFreeTypes)
{
    FT_Library library = nullptr;
    ASSERT_EQ(FT_Init_FreeType(&library), 0);
    for (const char *path : {ZK_FONT_DEJAVU, ZK_FONT_FREESERIF, ZK_FONT_UNIFONT, kSymbola}) {
        if (!isThere(path)) {
            continue;
        }
        SCOPED_TRACE(path);
        const ZkTypeface face = ZkTypeface::fromFile(path);
        FT_Face bare = nullptr;
        ASSERT_EQ(FT_New_Face(library, path, 0, &bare), 0);
        for (char32_t c = 0; c < 0x20000; ++c) {
            ASSERT_EQ(face.glyphIndex(c), FT_Get_Char_Index(bare, c))
                << std::hex << static_cast<unsigned>(c);
        }
        for (char32_t c = 0x10FF00; c < 0x110100; ++c) {
            ASSERT_EQ(face.glyphIndex(c), FT_Get_Char_Index(bare, c));
        }
        EXPECT_EQ(face.glyphIndex(0xFFFFFFFF), 0u);
        EXPECT_EQ(face.glyphCount(), bare->num_glyphs);
    }
    FT_Done_FreeType(library);
}

TEST(ZkTypeface, MetricsAreWholePixelsByTheFontsTables)
{
    const ZkTypeface face = ZkTypeface::fromFile(ZK_FONT_DEJAVU);
    FT_Library library = nullptr;
    ASSERT_EQ(FT_Init_FreeType(&library), 0);
    FT_Face bare = nullptr;
    ASSERT_EQ(FT_New_Face(library, ZK_FONT_DEJAVU, 0, &bare), 0);
    for (int size = 0; size < 300; ++size) {
        const ZkTypefaceMetrics metrics = face.metrics(size);
        FT_Set_Pixel_Sizes(bare, 0, static_cast<FT_UInt>(size));
        EXPECT_EQ(metrics.ascent, bare->size->metrics.ascender >> 6) << size;
        EXPECT_EQ(metrics.descent, -(bare->size->metrics.descender >> 6)) << size;
        EXPECT_EQ(metrics.pixelSize, std::max(1, size));
        EXPECT_GE(metrics.gap, 0);
        EXPECT_GE(metrics.underlineTop, 1);
        EXPECT_GE(metrics.underlineThickness, 1);
        EXPECT_LT(metrics.strikeTop, 0);
        EXPECT_GE(metrics.strikeThickness, 1);
    }
    FT_Done_FreeType(library);
    const ZkTypefaceMetrics metrics = face.metrics(100);
    EXPECT_EQ(metrics.ascent, 93);
    EXPECT_EQ(metrics.descent, 24);
    EXPECT_EQ(metrics.gap, 0);
    // A stroke of 90 of 2048 units whose top is at -40, and one of 102 at 530.
    EXPECT_EQ(metrics.underlineTop, 2);
    EXPECT_EQ(metrics.underlineThickness, 4);
    EXPECT_EQ(metrics.strikeTop, -26);
    EXPECT_EQ(metrics.strikeThickness, 5);
    EXPECT_EQ(face.metrics(-5).pixelSize, 1);
}

TEST(ZkTypeface, KerningIsTheFontsRounded)
{
    const ZkTypeface face = ZkTypeface::fromFile(ZK_FONT_DEJAVU);
    ASSERT_TRUE(face.hasKerning());
    FT_Library library = nullptr;
    ASSERT_EQ(FT_Init_FreeType(&library), 0);
    FT_Face bare = nullptr;
    ASSERT_EQ(FT_New_Face(library, ZK_FONT_DEJAVU, 0, &bare), 0);
    int kerned = 0;
    for (int again = 0; again < 2; ++again) {
        for (char32_t left = 'A'; left <= 'z'; ++left) {
            for (char32_t right = 'A'; right <= 'z'; ++right) {
                FT_Vector units = {};
                const FT_UInt l = face.glyphIndex(left), r = face.glyphIndex(right);
                FT_Get_Kerning(bare, l, r, FT_KERNING_UNSCALED, &units);
                const double pixels = static_cast<double>(units.x) * 40 / 2048;
                EXPECT_EQ(face.kerning(l, r, 40), static_cast<int>(std::floor(pixels + 0.5)));
                kerned += units.x != 0 ? 1 : 0;
            }
        }
    }
    EXPECT_GT(kerned, 100);
    EXPECT_EQ(face.kerning(70000, 5, 40), 0);
    FT_Done_FreeType(library);
}

TEST(ZkTypeface, AFontOfStrikesTakesTheNearest)
{
    const ZkTypeface face = opened(strikes(16));
    ASSERT_TRUE(face.isValid()) << face.errorText();
    EXPECT_FALSE(face.isScalable());
    EXPECT_EQ(face.strikeCount(), 1);
    EXPECT_EQ(face.strikeSize(0), 16);
    EXPECT_EQ(face.strikeSize(1), 0);
    EXPECT_EQ(face.strikeSize(-1), 0);
    EXPECT_EQ(face.unitsPerEm(), 0);
    ZkGlyphHolder holder;
    for (const int size : {0, 2, 16, 200}) {
        EXPECT_EQ(face.nearestSize(size), 16);
        EXPECT_EQ(face.metrics(size).pixelSize, 16) << "and says so";
        EXPECT_EQ(face.metrics(size).ascent, 12);
        EXPECT_EQ(face.metrics(size).descent, 4);
        const ZkFont font(static_cast<unsigned char>(size), false, false, false, false);
        const ZkGlyph *const glyph = holder.glyph(face, face.glyphIndex('A'), font);
        EXPECT_EQ(glyph->bitmap.width, 9);
        EXPECT_EQ(glyph->bitmap.advance, 10);
        EXPECT_EQ(glyph->pixelSize(), static_cast<unsigned>(size));
    }
}

TEST(ZkTypeface, HintingChangesTheShapes)
{
    std::vector<std::vector<unsigned char>> shapes;
    ZkGlyphHolder holder;
    for (const ZkTypeface::Hinting hinting : kHintings) {
        ZkTypeface::Options options;
        options.hinting = hinting;
        const ZkTypeface face = ZkTypeface::fromFile(ZK_FONT_DEJAVU, options);
        EXPECT_EQ(face.hinting(), hinting);
        const ZkGlyph *const glyph = holder.glyph(face, face.glyphIndex('m'), ZkFont());
        shapes.push_back(pixelsOf(glyph->bitmap));
    }
    EXPECT_NE(shapes[0], shapes[1]);
    EXPECT_NE(shapes[1], shapes[2]);
    EXPECT_NE(shapes[0], shapes[2]);
}

TEST(ZkTypeface, AFaceThatIsNotThereLeavesNothingOpen)
{
    const int before = mallochook::living;
    {
        const ZkTypeface face = ZkTypeface::fromFile(ZK_FONT_DEJAVU, faceOption(1));
        EXPECT_EQ(face.error(), ZkTypeface::NoFace);
    }
    EXPECT_EQ(mallochook::living, before) << "leaks";
}

TEST(ZkTypeface, FacesOfACollectionAreCountedFromZero)
{
    const ZkTypeface first = ZkTypeface::fromFile(ZK_FONT_MICROHEI);
    const ZkTypeface second = ZkTypeface::fromFile(ZK_FONT_MICROHEI, faceOption(1));
    EXPECT_EQ(first.faceCount(), 2);
    EXPECT_EQ(second.faceIndex(), 1);
    EXPECT_STRNE(first.familyName(), second.familyName());
    EXPECT_NE(first.digest(), second.digest());
}

TEST(ZkTypeface, TablesComeAsTheyStandInTheFont)
{
    const ZkTypeface face = ZkTypeface::fromFile(ZK_FONT_DEJAVU);
    constexpr std::uint32_t kHead = 0x68656164, kNone = 0x5A5A5A5A;
    unsigned char head[54] = {};
    EXPECT_EQ(face.table(kHead, nullptr, 0), 54u);
    EXPECT_EQ(face.table(kHead, head, 54), 54u);
    EXPECT_EQ(head[12] << 24 | head[13] << 16 | head[14] << 8 | head[15], 0x5F0F3CF5);
    EXPECT_EQ(face.table(kHead, head, 4), 54u);
    EXPECT_EQ(face.table(kNone, nullptr, 0), 0u);
    EXPECT_EQ(opened(strikes(16)).table(kHead, nullptr, 0), 0u);
}

TEST(ZkTypeface, FormatsOfManyKindsOpen)
{
    const struct {
        const char *path;
        bool isScalable;
        char32_t character;
    } kRows[] = {{kNotoCjk, true, 0x4E2D},
                 {kSymbola, true, 0x1F600},
                 {kPcf, false, 'A'},
                 {kType1, true, 'A'},
                 {ZK_FONT_UNIFONT, true, 0x0E01}};
    int seen = 0;
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.path);
        if (!isThere(row.path)) {
            continue;
        }
        ++seen;
        const ZkTypeface face = ZkTypeface::fromFile(row.path);
        ASSERT_TRUE(face.isValid()) << face.errorText();
        EXPECT_EQ(face.isScalable(), row.isScalable);
        ZkGlyphHolder holder;
        const ZkGlyph *const glyph = holder.glyph(face, face.glyphIndex(row.character), ZkFont());
        EXPECT_FALSE(glyph->isFailed());
        EXPECT_GT(glyph->bitmap.width, 3);
        EXPECT_GT(face.metrics(16).ascent, 8);
    }
    EXPECT_GE(seen, 1);
}

// Damaged fonts: every byte of a small font turned over, and large ones cut anywhere.
TEST(ZkTypeface, DamagedFontsGiveErrorsOrEmptyGlyphs)
{
    std::string bytes = TinyFont()
                            .addBox('A', 1, 0, 6, 10, 8)
                            .withStrike(12, 1, 9, 2, 1, 7, 11, "\xFF\x80\x80\x80")
                            .bytes();
    ZkGlyphCache cache(64 << 10);
    int valid = 0;
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        for (const int flip : {0x81, 0xFF}) {
            std::string damaged = bytes;
            damaged[at] = static_cast<char>(damaged[at] ^ flip);
            const ZkTypeface face = opened(damaged);
            ZkGlyphHolder holder(cache);
            for (std::uint32_t glyph = 0; face.isValid() && glyph < 3; ++glyph) {
                for (const int size : {12, 255}) {
                    const ZkFont font(static_cast<unsigned char>(size), true, true, true, false);
                    const GlyphBitmap &record = holder.glyph(face, glyph, font)->bitmap;
                    ASSERT_NE(record.pixels, nullptr);
                    ASSERT_EQ(pixelsOf(record).size(),
                              static_cast<std::size_t>(record.width) * record.height);
                }
            }
            face.metrics(20);
            valid += face.isValid() ? 1 : 0;
        }
    }
    EXPECT_GT(valid, 200) << "the test would look at nothing";
}

namespace
{

// A TrueType font whose glyph `depth` is made of `parts` of glyph `depth - 1`, and so on:
// parts ^ depth visits of an empty glyph.
std::string nestedFont(int depth, int parts)
{
    TinyFont font;
    font.addEmpty('a', 5);
    for (int level = 1; level <= depth; ++level) {
        font.addParts('a' + level, level, parts, 5);
    }
    return font.bytes();
}

} // namespace

TEST(ZkTypeface, AGlyphOfManyVisitsIsGivenUp)
{
    const std::string bytes = nestedFont(7, 40);
    const ZkTypeface face = opened(bytes);
    ASSERT_TRUE(face.isValid()) << face.errorText();
    ZkGlyphHolder holder;
    const int before = mallochook::allocations;
    const ZkGlyph *const glyph = holder.glyph(face, face.glyphIndex('a' + 7), ZkFont());
    const int visits = mallochook::allocations - before; // each takes a block or more
    EXPECT_TRUE(glyph->isFailed());
    EXPECT_EQ(glyph->bitmap.width, 0);
    EXPECT_GT(visits, 256) << "ordinary glyphs are not watched";
    EXPECT_LT(visits, 100 * 1000 * 1000) << "of 160,000 million";
    EXPECT_EQ(holder.glyph(face, face.glyphIndex('a' + 7), ZkFont()), glyph);
    EXPECT_LT(mallochook::allocations - before - visits, 16) << "and not tried again";
    EXPECT_LT(face.memoryBytes(), ZkTypeface::kMostMemory);
}
