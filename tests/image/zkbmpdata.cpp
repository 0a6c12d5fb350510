#include <zkbitmap.h>
#include <zkbmpdata.h>
#include <zkfont.h>

#include "bmpmodel.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <functional>
#include <random>
#include <string>
#include <unistd.h>

using bmpmodel::Bytes;

namespace
{

std::string stdoutOf(const std::function<void()> &action)
{
    testing::internal::CaptureStdout();
    action();
    return testing::internal::GetCapturedStdout();
}

// A path that does not exist yet, and is removed at the end.
class TemporaryPath
{
public:
    TemporaryPath()
    {
        close(mkstemp(m_path));
        unlink(m_path);
    }
    ~TemporaryPath() { unlink(m_path); }
    const char *c_str() const { return m_path; }
    bool exists() const { return access(m_path, F_OK) == 0; }

    Bytes bytes() const
    {
        Bytes bytes;
        std::FILE *file = std::fopen(m_path, "rb");
        if (file == nullptr) {
            ADD_FAILURE() << m_path << " was not written";
            return bytes;
        }
        for (int byte = std::fgetc(file); byte != EOF; byte = std::fgetc(file)) {
            bytes.push_back(static_cast<unsigned char>(byte));
        }
        std::fclose(file);
        return bytes;
    }

private:
    char m_path[32] = "/tmp/zkbmpdata-XXXXXX";
};

// What SaveImage leaves in its file, which must be closed without complaint.
Bytes saved(BmpData::Image image)
{
    const TemporaryPath path;
    EXPECT_EQ(BmpData().SaveImage(path.c_str(), &image), 0);
    return path.bytes();
}

GlyphBitmap glyphOf(int width, int height, unsigned char *pixels)
{
    GlyphBitmap glyph = {};
    glyph.width = static_cast<std::uint16_t>(width);
    glyph.height = static_cast<std::uint16_t>(height);
    glyph.pitch = glyph.width;
    glyph.pixels = pixels;
    return glyph;
}

// The headers as a list of numbers and their sizes in bytes.
Bytes headers(std::uint32_t fileSize, std::uint32_t offset, std::uint32_t width,
              std::uint32_t height, unsigned bits, std::uint32_t imageSize, unsigned colours)
{
    const struct {
        std::uint32_t value;
        int size;
    } kFields[] = {
        {fileSize, 4},  {0, 2},      {0, 2}, {offset, 4},  {40, 4},
        {width, 4},     {height, 4}, {1, 2}, {bits, 2},    {0, 4},
        {imageSize, 4}, {0, 4},      {0, 4}, {colours, 4}, {colours, 4},
    };
    Bytes bytes = {'B', 'M'};
    for (const auto &field : kFields) {
        bmpmodel::appendNumber(bytes, field.value, field.size);
    }
    return bytes;
}

Bytes greyTable()
{
    Bytes table;
    for (unsigned i = 0; i < 256; ++i) {
        bmpmodel::appendNumber(table, i * 0x010101u, 4);
    }
    return table;
}

Bytes joined(Bytes first, const Bytes &second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

} // namespace

TEST(BmpData, A24BitFileNeedingNoPaddingClaimsFourBytesARowTooMany)
{
    unsigned char pixels[12] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    const Bytes file = saved({4, 1, 3, pixels});
    EXPECT_EQ(file, joined(headers(70, 54, 4, 1, 24, 16, 0), Bytes(pixels, pixels + 12)));
    EXPECT_EQ(file.size(), 66u);
}

TEST(BmpData, A24BitRowIsPaddedToFourBytes)
{
    unsigned char pixels[30];
    for (unsigned char i = 0; i < 30; ++i) {
        pixels[i] = static_cast<unsigned char>(200 + i);
    }
    EXPECT_EQ(saved({1, 2, 3, pixels}),
              joined(headers(62, 54, 1, 2, 24, 8, 0), {203, 204, 205, 0, 200, 201, 202, 0}));
    EXPECT_EQ(saved({2, 1, 3, pixels}),
              joined(headers(62, 54, 2, 1, 24, 8, 0), {200, 201, 202, 203, 204, 205, 0, 0}));
    EXPECT_EQ(saved({3, 1, 3, pixels}),
              joined(headers(66, 54, 3, 1, 24, 12, 0),
                     {200, 201, 202, 203, 204, 205, 206, 207, 208, 0, 0, 0}));
}

TEST(BmpData, AGreyFileIsAsWideAsItsPaddedRows)
{
    unsigned char pixels[10] = {10, 20, 30, 40, 50, 60, 70, 80, 90, 255};
    EXPECT_EQ(saved({5, 2, 1, pixels}),
              joined(joined(headers(1094, 1078, 8, 2, 8, 16, 256), greyTable()),
                     {60, 70, 80, 90, 255, 0, 0, 0, 10, 20, 30, 40, 50, 0, 0, 0}));
    EXPECT_EQ(saved({4, 2, 1, pixels}),
              joined(joined(headers(1086, 1078, 4, 2, 8, 8, 256), greyTable()),
                     {50, 60, 70, 80, 10, 20, 30, 40}));
}

TEST(BmpData, ARowOfAnyWidthComesBackThroughTheReader)
{
    std::mt19937 random(17);
    for (int type : {3, 1}) {
        for (int width = 1; width <= 9; ++width) {
            SCOPED_TRACE(testing::Message() << "type " << type << ", width " << width);
            const int height = 4, step = type;
            Bytes pixels(static_cast<std::size_t>(width * height * step));
            for (unsigned char &pixel : pixels) {
                pixel = static_cast<unsigned char>(random());
            }
            BmpData::Image image = {width, height, type, pixels.data()};
            const TemporaryPath path;
            ASSERT_EQ(BmpData().SaveImage(path.c_str(), &image), 0);

            ZkBitmap bitmap(path.c_str());
            const int columns = type == 1 ? (width + 3) / 4 * 4 : width;
            ASSERT_EQ(bitmap.width(), columns);
            ASSERT_EQ(bitmap.height(), height);
            Bytes out(static_cast<std::size_t>(columns * height * 4));
            EXPECT_EQ(stdoutOf([&] { bitmap.decode(out.data()); }), "");
            for (int y = 0; y < height; ++y) {
                for (int x = 0; x < columns; ++x) {
                    const unsigned char *got =
                        &out[static_cast<std::size_t>((y * columns + x) * 4)];
                    for (int i = 0; i < 3; ++i) {
                        const int expected =
                            x >= width ? 0
                                       : pixels[static_cast<std::size_t>((y * width + x) * step +
                                                                         (type == 3 ? i : 0))];
                        EXPECT_EQ(got[i], expected) << x << ", " << y;
                    }
                    EXPECT_EQ(got[3], 255);
                }
            }
        }
    }
}

TEST(BmpData, AnotherTypeLeavesAFileOfTwoBytes)
{
    unsigned char pixels[4] = {};
    for (int type : {0, 2, 4, -1, INT_MAX}) {
        EXPECT_EQ(saved({1, 1, type, pixels}), Bytes({'B', 'M'})) << type;
    }
}

TEST(BmpData, NoSizeAndSizesBelow0GiveHeadersAlone)
{
    unsigned char pixels[12] = {};
    EXPECT_EQ(saved({4, 0, 3, pixels}), headers(54, 54, 4, 0, 24, 0, 0));
    EXPECT_EQ(saved({4, -1, 3, pixels}), headers(54, 54, 4, 0, 24, 0, 0));
    EXPECT_EQ(saved({0, 2, 3, pixels}), headers(62, 54, 0, 2, 24, 8, 0));
    EXPECT_EQ(saved({INT_MIN, 2, 3, pixels}), headers(62, 54, 0, 2, 24, 8, 0));
    EXPECT_EQ(saved({0, 2, 1, pixels}), joined(headers(1078, 1078, 0, 2, 8, 0, 256), greyTable()));
    EXPECT_EQ(saved({-5, INT_MIN, 1, pixels}),
              joined(headers(1078, 1078, 0, 0, 8, 0, 256), greyTable()));
}

TEST(BmpData, SizeFieldsAreKeptModulo2To32)
{
    unsigned char pixels[1] = {};
    EXPECT_EQ(saved({INT_MAX, 0, 1, pixels}),
              joined(headers(1078, 1078, 0x80000000u, 0, 8, 0, 256), greyTable()));
    EXPECT_EQ(saved({INT_MAX, 0, 3, pixels}), headers(54, 54, INT_MAX, 0, 24, 0, 0));
    // Rows of no pixels claim four bytes each in a 24-bit file, and have none.
    EXPECT_EQ(saved({0, INT_MAX, 3, pixels}), headers(50, 54, 0, INT_MAX, 24, 0xFFFFFFFCu, 0));
}

TEST(BmpData, MissingPixelsAreWrittenAsZeros)
{
    EXPECT_EQ(saved({3, 2, 3, nullptr}), joined(headers(78, 54, 3, 2, 24, 24, 0), Bytes(24, 0)));
    EXPECT_EQ(
        saved({1021, 2, 1, nullptr}),
        joined(joined(headers(3126, 1078, 1024, 2, 8, 2048, 256), greyTable()), Bytes(2048, 0)));
}

TEST(BmpData, AGlyphIsSavedAsAGreyImage)
{
    unsigned char pixels[6] = {1, 2, 3, 4, 5, 6};
    GlyphBitmap glyph = glyphOf(3, 2, pixels);
    const TemporaryPath path;
    EXPECT_EQ(BmpData().SaveImage(path.c_str(), &glyph), 0);
    EXPECT_EQ(path.bytes(), joined(joined(headers(1086, 1078, 4, 2, 8, 8, 256), greyTable()),
                                   {4, 5, 6, 0, 1, 2, 3, 0}));
}

TEST(BmpData, ATrimmedGlyphIsSavedAsZeros)
{
    GlyphBitmap glyph = glyphOf(2, 3, nullptr);
    const TemporaryPath path;
    EXPECT_EQ(BmpData().SaveImage(path.c_str(), &glyph), 0);
    EXPECT_EQ(path.bytes(),
              joined(joined(headers(1090, 1078, 4, 3, 8, 12, 256), greyTable()), Bytes(12, 0)));
}

TEST(BmpData, AnExistingFileIsReplaced)
{
    unsigned char pixels[9000] = {};
    BmpData::Image large = {3000, 1, 3, pixels}, small = {1, 1, 3, pixels};
    const TemporaryPath path;
    EXPECT_EQ(BmpData().SaveImage(path.c_str(), &large), 0);
    EXPECT_EQ(BmpData().SaveImage(path.c_str(), &small), 0);
    EXPECT_EQ(path.bytes().size(), 58u);
}

TEST(BmpData, AFileThatCannotBeOpenedGives0AsSuccessDoes)
{
    unsigned char pixels[3] = {};
    BmpData::Image image = {1, 1, 3, pixels};
    GlyphBitmap glyph = glyphOf(1, 1, pixels);
    EXPECT_EQ(stdoutOf([&] {
                  EXPECT_EQ(BmpData().SaveImage("/no/such/folder/a.bmp", &image), 0);
                  EXPECT_EQ(BmpData().SaveImage("/no/such/folder/a.bmp", &glyph), 0);
              }),
              "");
}

TEST(BmpData, AFullDiskIsTheResultOfClosing)
{
    unsigned char pixels[3] = {};
    BmpData::Image image = {1, 1, 3, pixels};
    EXPECT_EQ(BmpData().SaveImage("/dev/full", &image), EOF);
}

TEST(BmpData, NullArgumentsWriteNoFile)
{
    unsigned char pixels[3] = {};
    BmpData::Image image = {1, 1, 3, pixels};
    GlyphBitmap glyph = glyphOf(1, 1, pixels);
    const TemporaryPath path;
    EXPECT_EQ(BmpData().SaveImage(nullptr, &image), 0);
    EXPECT_EQ(BmpData().SaveImage(nullptr, &glyph), 0);
    EXPECT_EQ(BmpData().SaveImage(path.c_str(), static_cast<BmpData::Image *>(nullptr)), 0);
    EXPECT_EQ(BmpData().SaveImage(path.c_str(), static_cast<GlyphBitmap *>(nullptr)), 0);
    EXPECT_FALSE(path.exists());
}

TEST(BmpData, ShowsFullCoverageAs0AndPartialAs1)
{
    unsigned char pixels[10] = {0, 1, 127, 254, 255, 255, 128, 0, 0, 0};
    GlyphBitmap glyph = glyphOf(5, 2, pixels);
    EXPECT_EQ(stdoutOf([&] { BmpData().showImageDate(&glyph); }),
              "\nrow = 2, col = 5 \n 1110\n01   \n");
}

TEST(BmpData, ShowsRowsWithoutColumnsAsEmptyLines)
{
    unsigned char pixels[1] = {};
    GlyphBitmap glyph = glyphOf(0, 3, pixels);
    EXPECT_EQ(stdoutOf([&] { BmpData().showImageDate(&glyph); }), "\nrow = 3, col = 0 \n\n\n\n");
}

TEST(BmpData, ShowsOnlyTheHeaderOfAGlyphWithoutRowsOrPixels)
{
    unsigned char pixels[1] = {};
    GlyphBitmap noRows = glyphOf(7, 0, pixels);
    EXPECT_EQ(stdoutOf([&] { BmpData().showImageDate(&noRows); }), "\nrow = 0, col = 7 \n");
    GlyphBitmap trimmed = glyphOf(7, 9, nullptr);
    EXPECT_EQ(stdoutOf([&] { BmpData().showImageDate(&trimmed); }), "\nrow = 9, col = 7 \n");
    EXPECT_EQ(stdoutOf([] { BmpData().showImageDate(nullptr); }), "");
}
