#include "zkfreetype.h"

#include "bareglyph.h"
#include "mallochook.h"
#include "tinyfont.h"

#include FT_MODULE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <dlfcn.h>
#include <string>
#include <unistd.h>

struct ZkInspector {
    static int pixelSize(const ZkFreetype &ft) { return ft.m_pixelSize; }
    static ZkFontAttr attr(const ZkFreetype &ft) { return ft.m_attr; }
    static int slant(const ZkFreetype &ft) { return ft.m_slant; }
    static int embolden(const ZkFreetype &ft) { return ft.m_embolden; }
    static int outline(const ZkFreetype &ft) { return ft.m_outline; }
    static int reserved(const ZkFreetype &ft) { return ft.m_reserved; }
    static int unused(const ZkFreetype &ft) { return ft.m_unused; }
};

namespace
{

// What the calls below do besides asking FreeType; see `ScopedFaults`.
struct Faults {
    bool initFails = false;
    bool initGivesNull = false;
    bool loadFails = false;
    bool getFails = false;
    bool renderFails = false;
    FT_Error convertError = 0;
    FT_Error loadError = 0;
    const FT_Bitmap *rendered = nullptr; // stands in for the rendered bitmap
    int sizings = 0;                     // calls of FT_Set_Pixel_Sizes
};
Faults faults;
FT_GlyphSlot replacedSlot = nullptr;
FT_Bitmap replacedBitmap;

// FreeType frees the slot's bitmap: give its own back before it does.
void restoreRenderedBitmap()
{
    if (replacedSlot != nullptr) {
        replacedSlot->bitmap = replacedBitmap;
        replacedSlot = nullptr;
    }
}

class ScopedFaults
{
public:
    explicit ScopedFaults(const Faults &wanted) { faults = wanted; }
    ~ScopedFaults()
    {
        restoreRenderedBitmap();
        faults = Faults();
    }
    ScopedFaults(const ScopedFaults &) = delete;
    ScopedFaults &operator=(const ScopedFaults &) = delete;
};

template <typename Function>
Function *freetypes(Function *, const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

} // namespace

// The library's calls of FreeType arrive here first.

extern "C" FT_Error FT_New_Library(FT_Memory memory, FT_Library *library)
{
    if (faults.initFails || faults.initGivesNull) {
        *library = nullptr;
        return faults.initFails ? FT_Err_Out_Of_Memory : FT_Err_Ok;
    }
    return freetypes(FT_New_Library, "FT_New_Library")(memory, library);
}

extern "C" FT_Error FT_Set_Pixel_Sizes(FT_Face face, FT_UInt width, FT_UInt height)
{
    ++faults.sizings;
    return freetypes(FT_Set_Pixel_Sizes, "FT_Set_Pixel_Sizes")(face, width, height);
}

extern "C" FT_Error FT_Load_Glyph(FT_Face face, FT_UInt glyph, FT_Int32 flags)
{
    restoreRenderedBitmap();
    if (faults.loadError != 0) {
        return faults.loadError; // the slot keeps the glyph before
    }
    return freetypes(FT_Load_Glyph, "FT_Load_Glyph")(face, faults.loadFails ? 0xFFFFFF : glyph,
                                                     flags);
}

// A strike's or rendered bitmap goes over to the glyph: it must be FreeType's own.
extern "C" FT_Error FT_Get_Glyph(FT_GlyphSlot slot, FT_Glyph *glyph)
{
    if (faults.getFails) {
        return FT_Err_Out_Of_Memory;
    }
    const bool isReplaced = replacedSlot != nullptr;
    restoreRenderedBitmap();
    const FT_Error error = freetypes(FT_Get_Glyph, "FT_Get_Glyph")(slot, glyph);
    if (isReplaced) {
        slot->bitmap = *faults.rendered;
    }
    return error;
}

extern "C" FT_Error FT_Render_Glyph(FT_GlyphSlot slot, FT_Render_Mode mode)
{
    if (faults.renderFails) {
        return FT_Err_Raster_Overflow;
    }
    const FT_Error error = freetypes(FT_Render_Glyph, "FT_Render_Glyph")(slot, mode);
    if (error == 0 && faults.rendered != nullptr) {
        replacedSlot = slot;
        replacedBitmap = slot->bitmap;
        slot->bitmap = *faults.rendered;
    }
    return error;
}

extern "C" FT_Error FT_Bitmap_Convert(FT_Library library, const FT_Bitmap *source,
                                      FT_Bitmap *target, FT_Int alignment)
{
    return faults.convertError != 0 ? faults.convertError
                                    : freetypes(FT_Bitmap_Convert, "FT_Bitmap_Convert")(
                                          library, source, target, alignment);
}

namespace
{

typedef std::vector<unsigned char> Bytes;

// Opens a font for a test and closes it afterwards.
class OpenFont
{
public:
    explicit OpenFont(const char *path) { ZkFreetype::freetype_init(path); }
    explicit OpenFont(const TinyFont &font) : OpenFont(TemporaryFile(font.bytes()).path()) {}
    ~OpenFont() { ZkFreetype::freetype_Done(); }
    OpenFont(const OpenFont &) = delete;
    OpenFont &operator=(const OpenFont &) = delete;
};

// A rendered glyph that frees its pixels, and what was printed meanwhile.
struct Rendered {
    Rendered(int code, const ZkFont &font)
    {
        ZkFreetype rasteriser;
        rasteriser.setTextFont(font);
        testing::internal::CaptureStdout();
        record = rasteriser.resloveUnicode(static_cast<unsigned short>(code));
        printed = testing::internal::GetCapturedStdout();
    }
    ~Rendered() { std::free(record.pixels); }
    Rendered(const Rendered &) = delete;
    Rendered &operator=(const Rendered &) = delete;

    GlyphBitmap record;
    std::string printed;
};

ZkFont styled(unsigned size, unsigned style)
{
    return ZkFont(static_cast<unsigned char>(size), (style & 1) != 0, (style & 2) != 0,
                  (style & 4) != 0, false);
}

const char kLoad[] = "FT_Load_Glyph error!\n";
const char kGet[] = "FT_Get_Glyph error!\n";
const char kRender[] = "FT_Render_Glyph error!\n";
const char kNoMemory[] = "malloc fontMetrics memory failed !!!\n";

// In a child process: what it prints goes to the pipe that death tests read.
void openWithOutputSeen(const ZkString &path)
{
    dup2(STDERR_FILENO, STDOUT_FILENO);
    ZkFreetype::freetype_init(path);
}

void expectOpenFails(const char *path)
{
    SCOPED_TRACE(path);
    EXPECT_EXIT(
        openWithOutputSeen(path), testing::ExitedWithCode(1),
        testing::StrEq("[GUI-FRAMEWORK]: open font(" + std::string(path) + ") failed !!!\n"));
}

} // namespace

TEST(ZkFreetype, StartsWithoutFontAtSixteenPixels)
{
    EXPECT_EQ(ZkFreetype::m_plibrary, nullptr);
    EXPECT_EQ(ZkFreetype::m_pface, nullptr);
    const ZkFreetype ft;
    EXPECT_EQ(ZkInspector::pixelSize(ft), 16);
    EXPECT_EQ(ZkInspector::attr(ft).size, 0);
    EXPECT_EQ(ZkInspector::attr(ft).flags, 0);
    EXPECT_EQ(ZkInspector::slant(ft), 0);
    EXPECT_EQ(ZkInspector::embolden(ft), 0);
    EXPECT_EQ(ZkInspector::outline(ft), 0);
    EXPECT_EQ(ZkInspector::reserved(ft), 0);
    EXPECT_EQ(ZkInspector::unused(ft), 0);
    EXPECT_EQ(sizeof(ZkFreetype), 16u);
}

TEST(ZkFreetype, SetTextFontTakesTheAttributesAndThreeSwitches)
{
    for (unsigned flags = 0; flags < 256; ++flags) {
        SCOPED_TRACE(flags);
        ZkFreetype ft;
        ft.setTextFont(ZkFontAttr{33, static_cast<std::uint8_t>(flags)});
        EXPECT_EQ(ZkInspector::attr(ft).size, 33);
        EXPECT_EQ(ZkInspector::attr(ft).flags, flags);
        EXPECT_EQ(ZkInspector::slant(ft), flags & 1 ? 1 : 0);
        EXPECT_EQ(ZkInspector::embolden(ft), flags & 2 ? 1 : 0);
        EXPECT_EQ(ZkInspector::outline(ft), flags & 4 ? 1 : 0);
        EXPECT_EQ(ZkInspector::pixelSize(ft), 33);
    }
}

TEST(ZkFreetype, SizeWithoutAFontIsOnlyRemembered)
{
    ZkFreetype ft;
    ft.setTextFontSize(77);
    EXPECT_EQ(ZkInspector::pixelSize(ft), 77);
    EXPECT_EQ(ZkInspector::attr(ft).size, 0);
}

TEST(ZkFreetype, DoneClosesFaceAndLibraryAndMayBeRepeated)
{
    ZkFreetype::freetype_Done();
    ZkFreetype::freetype_init(ZK_FONT_DEJAVU);
    EXPECT_NE(ZkFreetype::m_plibrary, nullptr);
    EXPECT_NE(ZkFreetype::m_pface, nullptr);
    ZkFreetype::freetype_Done();
    EXPECT_EQ(ZkFreetype::m_plibrary, nullptr);
    EXPECT_EQ(ZkFreetype::m_pface, nullptr);
    ZkFreetype::freetype_Done();
}

// LeakSanitizer sees the first font if it stays open.
TEST(ZkFreetype, OpeningOverAnOpenFontReplacesIt)
{
    const OpenFont first(ZK_FONT_DEJAVU);
    ZkFreetype::freetype_init(ZK_FONT_FREESERIF);
    const ZkFont font(20, false, false, false, false);
    const Rendered glyph('g', font);
    expectRecord(glyph.record, BareFont(ZK_FONT_FREESERIF).render('g', font), 'g', font);
}

// Every field and every pixel, for characters of many scripts, in all styles.
TEST(ZkFreetype, GlyphsEqualThoseOfBareFreeType)
{
    const unsigned char kSizes[] = {0, 1, 2, 9, 12, 16, 23, 48, 100, 255};
    const struct {
        unsigned first, last;
    } kRanges[] = {{0x20, 0x7E},     {0xA0, 0x17F},    {0x391, 0x3C9},  {0x410, 0x44F},
                   {0x5D0, 0x5EA},   {0x621, 0x64A},   {0xE01, 0xE5B},  {0x2010, 0x2040},
                   {0x4E00, 0x4E40}, {0xFE80, 0xFEFC}, {0xFFFD, 0xFFFF}};
    std::vector<unsigned> codes;
    for (const auto &range : kRanges) {
        for (unsigned code = range.first; code <= range.last; ++code) {
            codes.push_back(code);
        }
    }
    ASSERT_GT(codes.size(), 600u);
    for (const char *path : {ZK_FONT_DEJAVU, ZK_FONT_FREESERIF, ZK_FONT_MICROHEI}) {
        SCOPED_TRACE(path);
        const OpenFont open(path);
        const BareFont bare(path);
        ZkFreetype ft;
        std::size_t next = 0; // walks through all characters, in steps, across sizes and styles
        for (unsigned style = 0; style < 8; ++style) {
            for (const unsigned char size : kSizes) {
                const ZkFont font = styled(size, style);
                for (int i = 0; i < (size < 100 ? 24 : 6); ++i) {
                    const unsigned code = codes[next = (next + 37) % codes.size()];
                    SCOPED_TRACE(testing::Message()
                                 << "U+" << std::hex << code << std::dec << " at " << int(size)
                                 << " px, style " << style);
                    ft.setTextFont(font);
                    const GlyphBitmap record = ft.resloveUnicode(static_cast<unsigned short>(code));
                    expectRecord(record, bare.render(code, font), code, font);
                    EXPECT_EQ(record.useCount, 0u);
                    std::free(record.pixels);
                    if (HasFailure()) {
                        return;
                    }
                }
            }
        }
    }
}

TEST(ZkFreetype, BoldFaceSlantsAndTheSecondFlagThickens)
{
    const OpenFont open(ZK_FONT_DEJAVU);
    const Rendered plain('l', ZkFont(40, false, false, false, false));
    const Rendered bold('l', ZkFont(40, true, false, false, false));
    const Rendered heavy('l', ZkFont(40, false, true, false, false));
    EXPECT_GT(bold.record.width, plain.record.width + 4) << "a quarter of some 30 rows";
    EXPECT_EQ(bold.record.height, plain.record.height);
    EXPECT_EQ(heavy.record.width, plain.record.width + 1);
    EXPECT_EQ(heavy.record.height, plain.record.height + 1);
    // The top row of a sheared stem lies to the right of its bottom row.
    const auto firstInk = [&bold](int row) {
        const std::uint8_t *p = bold.record.pixels + row * bold.record.pitch;
        int x = 0;
        while (x < bold.record.width && p[x] == 0) {
            ++x;
        }
        return x;
    };
    EXPECT_GT(firstInk(0), firstInk(bold.record.height - 1) + 4);
}

TEST(ZkFreetype, TheSlantEndsWithTheRequest)
{
    const OpenFont open(ZK_FONT_DEJAVU);
    const ZkFont plain(24, false, false, false, false);
    const Rendered before('k', plain);
    const Rendered slanted('k', ZkFont(24, true, false, false, false));
    const Rendered after('k', plain);
    EXPECT_EQ(pixelsOf(before.record), pixelsOf(after.record));
    EXPECT_NE(before.record.width, slanted.record.width);
}

TEST(ZkFreetype, OutlineMovesTheTopBearingDownByOne)
{
    const OpenFont open(ZK_FONT_DEJAVU);
    const Rendered plain('A', ZkFont(24, false, false, false, false));
    const Rendered outlined('A', ZkFont(24, false, false, true, false));
    EXPECT_EQ(outlined.record.width, plain.record.width + 2);
    EXPECT_EQ(outlined.record.pitch, plain.record.pitch + 2);
    EXPECT_EQ(outlined.record.height, plain.record.height + 2);
    EXPECT_EQ(outlined.record.left, plain.record.left - 1);
    EXPECT_EQ(outlined.record.top, plain.record.top - 1);
    EXPECT_EQ(outlined.record.descent, plain.record.height + 2 - outlined.record.top);
    EXPECT_EQ(outlined.record.advance, plain.record.advance);
}

TEST(ZkFreetype, OutlinedSpaceIsTwoByTwoZeros)
{
    const OpenFont open(ZK_FONT_DEJAVU);
    const Rendered space(' ', ZkFont(24, false, false, true, false));
    EXPECT_EQ(pixelsOf(space.record), Bytes({0, 0, 0, 0}));
    EXPECT_EQ(space.record.width, 2);
    EXPECT_EQ(space.record.left, -1);
    EXPECT_EQ(space.record.top, -1);
    EXPECT_EQ(space.record.descent, 3);
    EXPECT_GT(space.record.advance, 0);
}

TEST(ZkFreetype, SpaceHasPixelsAlthoughItHasNone)
{
    const OpenFont open(ZK_FONT_DEJAVU);
    const Rendered space(' ', ZkFont(24, false, false, false, false));
    EXPECT_EQ(space.record.width, 0);
    EXPECT_EQ(space.record.height, 0);
    EXPECT_NE(space.record.pixels, nullptr);
    EXPECT_EQ(space.printed, "");
}

TEST(ZkFreetype, RecordsRememberTheUnderlineOfTheRequest)
{
    const OpenFont open(ZK_FONT_DEJAVU);
    const Rendered glyph('A', ZkFont(ZkFontAttr{16, 0xF8}));
    EXPECT_EQ(glyph.record.font.flags, 0xF8);
}

TEST(ZkFreetype, AMissingCharacterIsTheMissingGlyphWithoutAWord)
{
    const OpenFont open(TinyFont().addBox('A', 1, 0, 6, 10, 8));
    const Rendered missing(0x4E00, ZkFont());
    EXPECT_EQ(missing.printed, "");
    EXPECT_EQ(missing.record.unicode, 0x4E00);
    EXPECT_EQ(missing.record.width, 4);
    EXPECT_EQ(missing.record.height, 4);
    EXPECT_EQ(missing.record.advance, 6);
}

TEST(ZkFreetype, HaloLiesBesideCoverageAboveOne)
{
    unsigned char source[] = {
        0, 0, 0, 0,   0, //
        0, 9, 0, 1,   0, //
        0, 0, 0, 0,   0, //
        0, 0, 0, 255, 0,
    };
    FT_Bitmap bitmap = {};
    bitmap.rows = 4;
    bitmap.width = 5;
    bitmap.pitch = 5;
    bitmap.buffer = source;
    bitmap.pixel_mode = FT_PIXEL_MODE_GRAY;
    bitmap.num_grays = 256;
    const OpenFont open(ZK_FONT_DEJAVU);
    Faults wanted;
    wanted.rendered = &bitmap;
    const ScopedFaults scope(wanted);
    const Rendered glyph('A', ZkFont(16, false, false, true, false));
    EXPECT_EQ(pixelsOf(glyph.record), Bytes({
                                          0, 0, 0, 0, 0,   0, 0, //
                                          0, 0, 1, 0, 0,   0, 0, //
                                          0, 1, 9, 1, 1,   0, 0, //
                                          0, 0, 1, 0, 1,   0, 0, //
                                          0, 0, 0, 1, 255, 1, 0, //
                                          0, 0, 0, 0, 1,   0, 0, //
                                      }));
}

TEST(ZkFreetype, HaloReachesTheFrameOnAllFourSides)
{
    const OpenFont open(TinyFont().addBox('A', 0, 0, 1, 1, 2));
    const Rendered dot('A', ZkFont(16, false, false, true, false));
    EXPECT_EQ(pixelsOf(dot.record), Bytes({0, 1, 0, 1, 255, 1, 0, 1, 0}));
}

TEST(ZkFreetype, BottomUpBitmapsAreTurnedOver)
{
    unsigned char source[] = {1, 2, 3, 4, 5, 6};
    FT_Bitmap bitmap = {};
    bitmap.rows = 3;
    bitmap.width = 2;
    bitmap.pitch = -2;
    bitmap.buffer = source;
    bitmap.pixel_mode = FT_PIXEL_MODE_GRAY;
    bitmap.num_grays = 256;
    const OpenFont open(ZK_FONT_DEJAVU);
    Faults wanted;
    wanted.rendered = &bitmap;
    const ScopedFaults scope(wanted);
    const Rendered glyph('A', ZkFont());
    EXPECT_EQ(glyph.record.pitch, 2);
    EXPECT_EQ(pixelsOf(glyph.record), Bytes({5, 6, 3, 4, 1, 2}));
    const Rendered outlined('A', ZkFont(16, false, false, true, false));
    EXPECT_EQ(pixelsOf(outlined.record),
              Bytes({0, 1, 1, 0, 1, 5, 6, 1, 1, 3, 4, 1, 0, 1, 2, 1, 0, 0, 1, 0}));
}

TEST(ZkFreetype, BitmapsThatARecordCannotHoldBecomeEmpty)
{
    static unsigned char source[65536];
    const struct {
        const char *what;
        unsigned rows;
        int pitch;
        bool buffer, outline;
        int width, height;
    } kRows[] = {
        {"no buffer", 3, 4, false, false, 0, 0},
        {"no buffer, outlined", 3, 4, false, true, 2, 2},
        {"no rows keep the pitch", 0, 4, false, false, 4, 0},
        {"no columns keep the rows", 4, 0, false, true, 2, 6},
        {"widest row", 1, 65535, true, false, 65535, 1},
        {"a byte too wide", 1, 65536, true, false, 0, 0},
        {"a byte too wide, bottom up", 1, -65536, true, false, 0, 0},
        {"widest with the halo", 1, 65533, true, true, 65535, 3},
        {"a byte too wide with the halo", 1, 65534, true, true, 2, 2},
        {"most rows", 65535, 1, true, false, 1, 65535},
        {"a row too many", 65536, 1, true, false, 0, 0},
        {"a row too many with the halo", 65534, 1, true, true, 2, 2},
    };
    const OpenFont open(ZK_FONT_DEJAVU);
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        FT_Bitmap bitmap = {};
        bitmap.rows = row.rows;
        bitmap.pitch = row.pitch;
        bitmap.width = static_cast<unsigned>(std::abs(row.pitch));
        bitmap.buffer = row.buffer ? source : nullptr;
        bitmap.pixel_mode = FT_PIXEL_MODE_GRAY;
        bitmap.num_grays = 256;
        Faults wanted;
        wanted.rendered = &bitmap;
        const ScopedFaults scope(wanted);
        const Rendered glyph('A', ZkFont(16, false, false, row.outline, false));
        EXPECT_EQ(glyph.record.width, row.width);
        EXPECT_EQ(glyph.record.pitch, row.width);
        EXPECT_EQ(glyph.record.height, row.height);
        EXPECT_NE(glyph.record.pixels, nullptr);
        EXPECT_EQ(glyph.printed, "");
    }
}

TEST(ZkFreetype, PackedStrikesBecomeGreyWithFullCoverage255)
{
    const struct {
        const char *what;
        int depth, width;
        std::string packed;
        Bytes grey;
    } kRows[] = {
        {"1 bit, 9 columns in 2 bytes",
         1,
         9,
         std::string("\xAA\x80\x01\x00", 4),
         {255, 0, 255, 0, 255, 0, 255, 0, 255, 0, 0, 0, 0, 0, 0, 0, 255, 0}},
        {"2 bits",
         2,
         5,
         std::string("\x1B\xC0\x00\x40", 4),
         {0, 85, 170, 255, 255, 0, 0, 0, 0, 85}},
        {"4 bits", 4, 3, std::string("\x01\x20\xEF\x00", 4), {0, 17, 34, 238, 255, 0}},
        {"8 bits stay", 8, 3, std::string("\x00\x01\x02\xFD\xFE\xFF", 6), {0, 1, 2, 253, 254, 255}},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        const OpenFont open(TinyFont()
                                .addBox('A', 0, 0, 4, 4, 5)
                                .withStrike(16, row.depth, row.width, 2, -3, 7, 11, row.packed));
        const Rendered glyph('A', ZkFont());
        EXPECT_EQ(glyph.printed, "");
        EXPECT_EQ(glyph.record.width, row.width);
        EXPECT_EQ(glyph.record.pitch, row.width);
        EXPECT_EQ(glyph.record.height, 2);
        EXPECT_EQ(glyph.record.left, -3);
        EXPECT_EQ(glyph.record.top, 7);
        EXPECT_EQ(glyph.record.descent, -5);
        EXPECT_EQ(glyph.record.advance, 11);
        EXPECT_EQ(pixelsOf(glyph.record), row.grey);
    }
}

TEST(ZkFreetype, StrikesAreFramedButNeitherSlantedNorThickened)
{
    const OpenFont open(TinyFont()
                            .addBox('A', 0, 0, 4, 4, 5)
                            .withStrike(16, 1, 2, 1, 0, 1, 3, std::string("\x40", 1)));
    const Rendered glyph('A', ZkFont(16, true, true, true, false));
    EXPECT_EQ(glyph.record.width, 4);
    EXPECT_EQ(pixelsOf(glyph.record), Bytes({0, 0, 1, 0, 0, 1, 255, 1, 0, 0, 1, 0}));
}

TEST(ZkFreetype, AStrikeThatCannotBeConvertedIsEmpty)
{
    const OpenFont open(TinyFont()
                            .addBox('A', 0, 0, 4, 4, 5)
                            .withStrike(16, 1, 2, 1, 0, 1, 3, std::string("\x40", 1)));
    for (const FT_Error error : {FT_Err_Invalid_Argument, FT_Err_Out_Of_Memory}) {
        SCOPED_TRACE(error);
        Faults wanted;
        wanted.convertError = error;
        const ScopedFaults scope(wanted);
        const Rendered glyph('A', ZkFont());
        EXPECT_EQ(glyph.record.width, 0);
        EXPECT_EQ(glyph.record.height, 0);
        EXPECT_EQ(glyph.record.advance, 3);
        // Without memory there are no pixels, so that the glyph is asked for again.
        const bool isStarved = error == FT_Err_Out_Of_Memory;
        EXPECT_EQ(glyph.printed, isStarved ? kNoMemory : "");
        EXPECT_EQ(glyph.record.pixels == nullptr, isStarved);
    }
}

// After a failed load nothing is rendered: the slot may hold what was there before.
TEST(ZkFreetype, AFailedLoadLeavesTheSlotAlone)
{
    const OpenFont open(TinyFont().addBox('A', 0, 0, 4, 4, 5));
    for (const FT_Error error : {FT_Err_Invalid_Outline, FT_Err_Out_Of_Memory}) {
        for (const bool outline : {false, true}) {
            SCOPED_TRACE(error);
            const Rendered before('A', ZkFont());
            ASSERT_EQ(before.record.width, 4);
            Faults wanted;
            wanted.loadError = error;
            const ScopedFaults scope(wanted);
            const Rendered glyph('A', ZkFont(16, false, true, outline, false));
            EXPECT_EQ(glyph.printed, kLoad) << "the slot is not empty";
            EXPECT_EQ(glyph.record.width, outline ? 2 : 0);
            EXPECT_EQ(glyph.record.height, outline ? 2 : 0);
            EXPECT_EQ(glyph.record.advance, 0);
            EXPECT_EQ(glyph.record.pixels == nullptr, error == FT_Err_Out_Of_Memory);
        }
    }
}

// A font of one strike, an A of 9 x 2 pixels with these rows.
static std::string oneStrike(const std::string &rows)
{
    return "STARTFONT 2.1\nFONT -x-tiny-medium-r-normal--16-160-75-75-c-90-iso10646-1\n"
           "SIZE 16 75 75\nFONTBOUNDINGBOX 9 2 0 0\n"
           "STARTPROPERTIES 4\nFONT_ASCENT 2\nFONT_DESCENT 0\n"
           "CHARSET_REGISTRY \"ISO10646\"\nCHARSET_ENCODING \"1\"\nENDPROPERTIES\n"
           "CHARS 1\nSTARTCHAR A\nENCODING 65\nSWIDTH 500 0\nDWIDTH 10 0\nBBX 9 2 0 0\n" +
           rows + "ENDCHAR\nENDFONT\n";
}

TEST(ZkFreetype, AFontOfStrikesAloneKeepsTheStrikeThatMatchedLast)
{
    const TemporaryFile file(oneStrike("BITMAP\n8080\nFF80\n"));
    const OpenFont open(file.path());
    for (const unsigned size : {16u, 2u, 200u, 0u}) {
        SCOPED_TRACE(size);
        const Rendered glyph('A', styled(size, 3));
        EXPECT_EQ(glyph.printed, "");
        EXPECT_EQ(glyph.record.width, 9);
        EXPECT_EQ(glyph.record.advance, 10);
        EXPECT_EQ(glyph.record.font.size, size);
        EXPECT_EQ(pixelsOf(glyph.record), Bytes({255, 0, 0, 0, 0, 0, 0, 0, 255, //
                                                 255, 255, 255, 255, 255, 255, 255, 255, 255}));
    }
}

// FreeType tells the size of such a strike and gives no bytes.
TEST(ZkFreetype, AStrikeWhoseRowsAreMissingIsBlank)
{
    const TemporaryFile file(oneStrike(""));
    const OpenFont open(file.path());
    const Rendered glyph('A', styled(16, 0));
    EXPECT_EQ(glyph.printed, "");
    EXPECT_EQ(glyph.record.width, 0);
    EXPECT_EQ(glyph.record.height, 0);
    EXPECT_EQ(glyph.record.advance, 10);
}

TEST(ZkFreetype, AnSfntOfStrikesAloneIsBlankAtOtherSizes)
{
    const OpenFont open(TinyFont()
                            .addEmpty('A', 8)
                            .withStrike(13, 1, 9, 2, 0, 9, 10, {'\x80', '\x80', '\xFF', '\x80'})
                            .withoutOutlines());
    const struct {
        unsigned size;
        int width, height;
    } kRows[] = {{12, 0, 0}, {16, 0, 0}, {13, 9, 2}, {14, 0, 0}, {200, 0, 0}, {13, 9, 2}};
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.size);
        const Rendered glyph('A', styled(row.size, 0));
        EXPECT_EQ(glyph.printed, "");
        EXPECT_EQ(glyph.record.width, row.width);
        EXPECT_EQ(glyph.record.height, row.height);
    }
}

TEST(ZkFreetype, AFontWithoutCharacterMapShowsTheMissingGlyph)
{
    const OpenFont open(TinyFont().addBox('A', 1, 0, 6, 10, 8).withoutCharacterMap());
    const Rendered glyph('A', ZkFont());
    EXPECT_EQ(glyph.printed, "");
    EXPECT_EQ(glyph.record.width, 4);
    EXPECT_EQ(glyph.record.advance, 6);
}

TEST(ZkFreetype, EachFailingStepPrintsItsLineAndLeavesASafeRecord)
{
    const TinyFont font = TinyFont()
                              .addBox('A', 1, 0, 6, 10, 8)
                              .addBroken('B', 9)
                              .addBox('C', 0, 0, 4, 4, 65535)
                              .addBox('D', -32767, -32767, 32767, 32767, 9);
    const OpenFont open(font);
    Faults load, get, render;
    load.loadFails = true;
    get.getFails = true;
    render.renderFails = true;
    const struct {
        const char *what;
        Faults faults;
        int code;
        std::string printed;
        int width, height, advance;
    } kRows[] = {
        {"nothing fails", Faults(), 'A', "", 5, 10, 8},
        {"a failed load leaves nothing to get or render", load, 'A',
         std::string(kLoad) + kGet + kRender, 0, 0, 0},
        {"a glyph broken off in its outline renders as nothing", Faults(), 'B', kLoad, 0, 0, 0},
        {"the copy fails, the slot is rendered", get, 'A', kGet, 5, 10, 8},
        {"an advance of 65535 pixels cannot be copied", Faults(), 'C', kGet, 4, 4, -1},
        {"the outline cannot be rendered", render, 'A', kRender, 0, 0, 8},
        {"the outline is too large to render", Faults(), 'D', kRender, 0, 0, 9},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        for (const bool outline : {false, true}) {
            const ScopedFaults scope(row.faults);
            const Rendered glyph(row.code, ZkFont(16, false, false, outline, false));
            const int frame = outline ? 2 : 0;
            EXPECT_EQ(glyph.printed, row.printed);
            EXPECT_EQ(glyph.record.width, row.width + frame);
            EXPECT_EQ(glyph.record.height, row.height + frame);
            EXPECT_EQ(glyph.record.advance, row.advance);
            EXPECT_EQ(glyph.record.unicode, row.code);
            ASSERT_NE(glyph.record.pixels, nullptr);
            EXPECT_EQ(pixelsOf(glyph.record).size(),
                      static_cast<std::size_t>((row.width + frame) * (row.height + frame)));
        }
    }
}

TEST(ZkFreetype, AnUnloadableGlyphIsEmptyAtTheOrigin)
{
    const OpenFont open(ZK_FONT_DEJAVU);
    Faults wanted;
    wanted.loadFails = true;
    const ScopedFaults scope(wanted);
    const Rendered plain('A', ZkFont());
    EXPECT_EQ(plain.record.left, 0);
    EXPECT_EQ(plain.record.top, 0);
    EXPECT_EQ(plain.record.descent, 0);
    const Rendered outlined('A', ZkFont(16, true, true, true, true));
    EXPECT_EQ(pixelsOf(outlined.record), Bytes({0, 0, 0, 0}));
    EXPECT_EQ(outlined.record.left, -1);
    EXPECT_EQ(outlined.record.top, -1);
    EXPECT_EQ(outlined.record.descent, 3);
    EXPECT_EQ(outlined.record.font.flags, 15);
}

TEST(ZkFreetype, WithoutAFontEveryGlyphIsEmpty)
{
    const Rendered plain('A', ZkFont(20, false, false, false, true));
    EXPECT_EQ(plain.printed, kLoad);
    EXPECT_EQ(plain.record.width, 0);
    EXPECT_EQ(plain.record.height, 0);
    EXPECT_EQ(plain.record.advance, 0);
    EXPECT_EQ(plain.record.unicode, 'A');
    EXPECT_EQ(plain.record.font.size, 20);
    EXPECT_EQ(plain.record.font.flags, 8);
    EXPECT_NE(plain.record.pixels, nullptr);
    const Rendered outlined('A', ZkFont(20, false, false, true, false));
    EXPECT_EQ(outlined.printed, kLoad);
    EXPECT_EQ(pixelsOf(outlined.record), Bytes({0, 0, 0, 0}));
    EXPECT_EQ(outlined.record.left, -1);
    EXPECT_EQ(outlined.record.top, -1);
    EXPECT_EQ(outlined.record.descent, 3);
}

TEST(ZkFreetype, WithoutMemoryForPixelsTheRecordHasNone)
{
    if (!mallochook::kCanRefuse) {
        GTEST_SKIP() << "the sanitizer's malloc cannot be made to fail";
    }
    const OpenFont open(ZK_FONT_DEJAVU);
    const ZkFont font(40, false, false, true, false); // larger than FreeType's own bitmap
    const Rendered healthy('A', font);
    mallochook::refused = std::size_t(healthy.record.width) * healthy.record.height;
    const Rendered starved('A', font);
    mallochook::refused = 0;
    EXPECT_EQ(starved.printed, kNoMemory);
    EXPECT_EQ(starved.record.pixels, nullptr);
    EXPECT_EQ(starved.record.width, healthy.record.width);
    EXPECT_EQ(starved.record.height, healthy.record.height);
    EXPECT_EQ(starved.record.top, healthy.record.top);
    EXPECT_EQ(starved.record.advance, healthy.record.advance);
}

TEST(ZkFreetype, AFaceIsScaledOnlyWhenTheSizeChanges)
{
    const OpenFont open(ZK_FONT_DEJAVU);
    const ScopedFaults scope((Faults()));
    ZkFreetype ft;
    ft.setTextFont(ZkFont(16, false, false, false, false)); // what a new face has
    EXPECT_EQ(faults.sizings, 0);
    ft.setTextFont(ZkFont(20, false, false, false, false));
    ft.setTextFont(ZkFont(20, true, true, true, true));
    EXPECT_EQ(faults.sizings, 1);
    ZkFreetype::freetype_Done();
    ft.setTextFont(ZkFont(30, false, false, false, false));
    EXPECT_EQ(faults.sizings, 1);
    ZkFreetype::freetype_init(ZK_FONT_DEJAVU);
    EXPECT_EQ(faults.sizings, 2) << "to 16 pixels";
    ft.setTextFont(ZkFont(30, false, false, false, false));
    EXPECT_EQ(faults.sizings, 3);
}

TEST(ZkFreetype, ANewFaceStartsAtSixteenPixels)
{
    const OpenFont open(TinyFont().addBox('A', 0, 0, 4, 4, 5));
    ZkFreetype ft;
    const GlyphBitmap record = ft.resloveUnicode('A');
    EXPECT_EQ(record.width, 4);
    EXPECT_EQ(record.font.size, 0);
    std::free(record.pixels);
}

TEST(ZkFreetypeDeathTest, WithoutAFileNameExitsWithFiveExclamationMarks)
{
    const char kMessage[] = "[GUI-FRAMEWORK]: font not specified, set \"ZK_FONTLIB\" env or call "
                            "ZkApplication::setFontFile() !!!!!\n";
    unsetenv("ZK_FONTLIB");
    EXPECT_EXIT(openWithOutputSeen(ZkString()), testing::ExitedWithCode(1),
                testing::StrEq(kMessage));
    setenv("ZK_FONTLIB", "", 1);
    EXPECT_EXIT(openWithOutputSeen(ZkString()), testing::ExitedWithCode(1),
                testing::StrEq(kMessage));
    unsetenv("ZK_FONTLIB");
}

TEST(ZkFreetypeDeathTest, ExitsWhenFreeTypeDoesNotStart)
{
    Faults fails, null;
    fails.initFails = true;
    null.initGivesNull = true;
    for (const Faults &wanted : {fails, null}) {
        const ScopedFaults scope(wanted);
        EXPECT_EXIT(openWithOutputSeen(ZK_FONT_DEJAVU), testing::ExitedWithCode(1),
                    testing::StrEq("FT_Init_FreeType error!\n"));
    }
}

TEST(ZkFreetypeDeathTest, ExitsForFilesThatAreNoFont)
{
    expectOpenFails("/nonexistent/font.ttf");
    expectOpenFails("/tmp");
    expectOpenFails(TemporaryFile("").path());
    expectOpenFails(TemporaryFile("This is a text, not a font.\n").path());
    expectOpenFails(TemporaryFile(TinyFont().bytes().substr(0, 40)).path());
    const std::string arabic = "/nonexistent/\xD8\xAE\xD8\xB7.ttf";
    expectOpenFails(arabic.c_str());
}

TEST(ZkFreetype, AnEmptyNameMeansTheFileInTheEnvironment)
{
    setenv("ZK_FONTLIB", ZK_FONT_DEJAVU, 1);
    const OpenFont open("");
    unsetenv("ZK_FONTLIB");
    const ZkFont font(20, false, false, false, false);
    const Rendered glyph('g', font);
    expectRecord(glyph.record, BareFont(ZK_FONT_DEJAVU).render('g', font), 'g', font);
}

// A font file cut anywhere either does not open or draws something that can be painted.
TEST(ZkFreetype, CutFontsNeverHarm)
{
    std::ifstream file(ZK_FONT_FREESERIF, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)), {});
    ASSERT_GT(bytes.size(), 100000u);
    int opened = 0;
    for (int i = 1; i < 40; ++i) {
        const std::size_t length = bytes.size() * static_cast<std::size_t>(i) / 40;
        SCOPED_TRACE(length);
        const TemporaryFile cut(bytes.substr(0, length));
        FT_Library library = nullptr;
        ASSERT_EQ(FT_Init_FreeType(&library), 0);
        FT_Face face = nullptr;
        const bool opens = FT_New_Face(library, cut.path(), 0, &face) == 0;
        FT_Done_FreeType(library);
        if (!opens) {
            continue;
        }
        ++opened;
        const OpenFont open(cut.path());
        for (const int code : {0x20, 0x41, 0x67, 0xE9, 0x416, 0x628, 0x5D0, 0xFFFF}) {
            const Rendered glyph(code, ZkFont(20, true, true, true, false));
            ASSERT_NE(glyph.record.pixels, nullptr);
            EXPECT_EQ(pixelsOf(glyph.record).size(),
                      std::size_t(glyph.record.width) * glyph.record.height);
        }
    }
    EXPECT_GT(opened, 0) << "the test would look at nothing";
}

TEST(ZkFreetype, FontsWithFlippedBytesNeverHarm)
{
    const std::string bytes = TinyFont()
                                  .addBox('A', 1, 0, 6, 10, 8)
                                  .addBox('B', 0, -2, 3, 9, 7)
                                  .withStrike(12, 1, 9, 2, 1, 7, 11, "\xFF\x80\x80\x80")
                                  .bytes();
    int opened = 0;
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        SCOPED_TRACE(at);
        std::string damaged = bytes;
        damaged[at] = static_cast<char>(damaged[at] ^ 0x81);
        const TemporaryFile file(damaged);
        FT_Library library = nullptr;
        ASSERT_EQ(FT_Init_FreeType(&library), 0);
        FT_Face face = nullptr;
        const bool opens = FT_New_Face(library, file.path(), 0, &face) == 0;
        FT_Done_FreeType(library);
        if (!opens) {
            continue;
        }
        ++opened;
        const OpenFont open(file.path());
        for (const unsigned size : {12u, 20u}) {
            for (const int code : {'A', 'B', 'Z'}) {
                const Rendered glyph(code, styled(size, 6));
                if (glyph.record.pixels == nullptr) {
                    EXPECT_THAT(glyph.printed, testing::EndsWith(kNoMemory));
                    continue;
                }
                EXPECT_EQ(pixelsOf(glyph.record).size(),
                          std::size_t(glyph.record.width) * glyph.record.height);
            }
        }
    }
    EXPECT_GT(opened, 100) << "the test would look at nothing";
}
