// What becomes of records when FreeType fails at the first rendering or at a later one.

#include "zkfontcache.h"

#include "zkfreetype.h"

#include "bareglyph.h"

#include <ft2build.h>
#include FT_FREETYPE_H

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <string>
#include <vector>

namespace
{

FT_Error loadError = 0, renderError = 0;

template <typename Function>
Function *freetypes(Function *, const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

} // namespace

// The library's calls of FreeType arrive here first.

extern "C" FT_Error FT_Load_Glyph(FT_Face face, FT_UInt glyph, FT_Int32 flags)
{
    return loadError != 0 ? loadError
                          : freetypes(FT_Load_Glyph, "FT_Load_Glyph")(face, glyph, flags);
}

extern "C" FT_Error FT_Render_Glyph(FT_GlyphSlot slot, FT_Render_Mode mode)
{
    return renderError != 0 ? renderError
                            : freetypes(FT_Render_Glyph, "FT_Render_Glyph")(slot, mode);
}

namespace
{

const ZkFont kFont(24, false, false, false, false);

class GlyphFaults : public testing::TestWithParam<bool>
{
protected:
    void SetUp() override { ZkFontCache::instance()->setFontFile(ZK_FONT_DEJAVU); }
    void TearDown() override
    {
        loadError = renderError = 0;
        ZkFontCache::instance()->closeFontFile();
    }

    // The step that the parameter names fails from now on; 0 ends that.
    static void failWith(FT_Error error) { (GetParam() ? loadError : renderError) = error; }

    static const GlyphBitmap *request()
    {
        testing::internal::CaptureStdout();
        const GlyphBitmap *glyph = ZkFontCache::glyph('g', kFont);
        printed = testing::internal::GetCapturedStdout();
        return glyph;
    }

    static void trim() { ASSERT_TRUE(ZkFontCache::instance()->cleanCache(true)); }

    static int bytes() { return ZkFontCache::instance()->pixelBytes(); }

    static void expectWhole(const GlyphBitmap &glyph)
    {
        ASSERT_NE(glyph.pixels, nullptr);
        EXPECT_EQ(glyph.width, kBare.width);
        EXPECT_EQ(glyph.height, kBare.height);
        const std::size_t size = kBare.pixels.size();
        EXPECT_EQ(std::vector<unsigned char>(glyph.pixels, glyph.pixels + size), kBare.pixels);
        EXPECT_EQ(bytes(), static_cast<int>(size));
        EXPECT_EQ(printed, "");
    }

    static const BareFont::Glyph kBare;
    static std::string printed;
};

const BareFont::Glyph GlyphFaults::kBare = BareFont(ZK_FONT_DEJAVU).render('g', kFont);
std::string GlyphFaults::printed;

} // namespace

// It stayed 0 x 0 for good.
TEST_P(GlyphFaults, WithoutMemoryAtFirstTheNextRequestRendersIt)
{
    failWith(FT_Err_Out_Of_Memory);
    const GlyphBitmap *blank = request();
    EXPECT_NE(printed, "");
    EXPECT_EQ(blank->pixels, nullptr);
    EXPECT_EQ(blank->width, 0);
    EXPECT_EQ(bytes(), 0);
    EXPECT_EQ(request()->pixels, nullptr);
    EXPECT_NE(printed, "") << "tried again, and said again";
    failWith(0);
    const GlyphBitmap *whole = request();
    expectWhole(*whole);
    EXPECT_EQ(blank->width, 0) << "who holds the blank one draws by its size";
    EXPECT_EQ(blank->pixels, nullptr);
    EXPECT_EQ(request(), whole);
    whole->release(2);
    trim();
    EXPECT_EQ(bytes(), 0);
    EXPECT_EQ(request(), whole);
    expectWhole(*whole);
}

TEST_P(GlyphFaults, ABlankRecordThatNobodyUsesIsFilledInPlace)
{
    failWith(FT_Err_Out_Of_Memory);
    const GlyphBitmap *glyph = request();
    glyph->release();
    failWith(0);
    EXPECT_EQ(request(), glyph);
    expectWhole(*glyph);
}

// The old size stood over a buffer of one byte, and painters read on behind it.
TEST_P(GlyphFaults, WithoutMemoryAtTheSecondRenderingPixelsAreMissingAndComeBack)
{
    const GlyphBitmap *glyph = request();
    expectWhole(*glyph);
    glyph->release();
    trim();
    EXPECT_EQ(bytes(), 0);
    failWith(FT_Err_Out_Of_Memory);
    EXPECT_EQ(request(), glyph);
    EXPECT_NE(printed, "");
    EXPECT_EQ(glyph->pixels, nullptr);
    EXPECT_EQ(bytes(), 0);
    failWith(0);
    EXPECT_EQ(request(), glyph);
    expectWhole(*glyph);
}

TEST_P(GlyphFaults, AGlyphThatIsDamagedAtTheSecondRenderingIsBlankUntilTheNextTrim)
{
    const GlyphBitmap *glyph = request();
    glyph->release();
    trim();
    failWith(FT_Err_Invalid_Outline);
    EXPECT_EQ(request(), glyph);
    EXPECT_NE(printed, "");
    EXPECT_EQ(glyph->width, 0);
    EXPECT_EQ(glyph->height, 0);
    EXPECT_NE(glyph->pixels, nullptr);
    EXPECT_EQ(bytes(), 0);
    EXPECT_EQ(request(), glyph);
    EXPECT_EQ(printed, "") << "said once";
    glyph->release(2);
    trim();
    failWith(0);
    EXPECT_EQ(request(), glyph);
    expectWhole(*glyph);
}

INSTANTIATE_TEST_SUITE_P(, GlyphFaults, testing::Bool(),
                         [](const testing::TestParamInfo<bool> &row) {
                             return row.param ? "Load" : "Render";
                         });
