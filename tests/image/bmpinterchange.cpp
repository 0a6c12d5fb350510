// BMP files exchanged with ImageMagick and netpbm. The tools also say what is in
// a file: as a binary PPM, which is read here.

#include <zkbitmap.h>
#include <zkbmpdata.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace
{

using Bytes = std::vector<unsigned char>;

// A picture as a PPM holds it.
struct Ppm {
    int width = 0, height = 0;
    Bytes pixels; // red, green, blue; top row first

    const unsigned char *at(int x, int y) const
    {
        return &pixels[static_cast<std::size_t>((y * width + x) * 3)];
    }
};

std::string stdoutOf(const std::function<void()> &action)
{
    testing::internal::CaptureStdout();
    action();
    return testing::internal::GetCapturedStdout();
}

// What a shell command writes to its standard output; it must succeed.
Bytes outputOf(const std::string &command)
{
    Bytes output;
    // Tools of the host must not look among the libraries of another machine.
    std::FILE *pipe =
        popen(("unset LD_LIBRARY_PATH; { " + command + "; } 2>/dev/null").c_str(), "r");
    if (pipe == nullptr) {
        ADD_FAILURE() << "no shell for " << command;
        return output;
    }
    unsigned char block[4096];
    for (std::size_t got; (got = std::fread(block, 1, sizeof block, pipe)) > 0;) {
        output.insert(output.end(), block, block + got);
    }
    EXPECT_EQ(pclose(pipe), 0) << command;
    return output;
}

bool hasTool(const std::string &name)
{
    return std::system(("command -v " + name + " >/dev/null 2>&1").c_str()) == 0;
}

Ppm parsePpm(const Bytes &bytes)
{
    Ppm ppm;
    int most = 0, used = 0;
    const std::string head(
        bytes.begin(), bytes.begin() + static_cast<long>(std::min<std::size_t>(64, bytes.size())));
    if (std::sscanf(head.c_str(), "P6 %d %d %d%*c%n", &ppm.width, &ppm.height, &most, &used) != 3 ||
        most != 255) {
        ADD_FAILURE() << "no PPM of one byte a component";
        return Ppm();
    }
    ppm.pixels.assign(bytes.begin() + used, bytes.end());
    EXPECT_EQ(ppm.pixels.size(), static_cast<std::size_t>(ppm.width * ppm.height * 3));
    return ppm;
}

// The components of a decoded pixel, as a PPM holds them.
Ppm ppmOf(ZkBitmap &bitmap)
{
    Ppm ppm;
    ppm.width = bitmap.width();
    ppm.height = bitmap.height();
    Bytes decoded(static_cast<std::size_t>(ppm.width * ppm.height) * 4);
    bitmap.decode(decoded.data());
    for (std::size_t i = 0; i < decoded.size(); i += 4) {
        ppm.pixels.insert(ppm.pixels.end(), {decoded[i + 2], decoded[i + 1], decoded[i]});
    }
    return ppm;
}

class BmpInterchange : public testing::Test
{
protected:
    static constexpr int kWidth = 37, kHeight = 11;

    static void SetUpTestSuite()
    {
        char path[] = "/tmp/zkbmpinterchange-XXXXXX";
        s_folder = mkdtemp(path);
        writePpm("many.ppm", 0);
        writePpm("two-hundred.ppm", 200);
        writePpm("nine.ppm", 9);
        std::FILE *file = std::fopen((s_folder + "/two.pbm").c_str(), "wb");
        std::fprintf(file, "P4\n%d %d\n", kWidth, kHeight);
        for (int i = 0; i < (kWidth + 7) / 8 * kHeight; ++i) {
            std::fputc(i * 89 & 0xFF, file);
        }
        std::fclose(file);
    }

    static void TearDownTestSuite() { EXPECT_EQ(std::system(("rm -r " + s_folder).c_str()), 0); }

    // The path of a file in the folder of this run.
    static std::string in(const std::string &name) { return s_folder + "/" + name; }

    // Random pixels, or random ones of `colours` colours.
    static void writePpm(const char *name, unsigned colours)
    {
        std::mt19937 random(5);
        std::vector<unsigned> palette(colours);
        for (unsigned &colour : palette) {
            colour = static_cast<unsigned>(random());
        }
        std::FILE *file = std::fopen(in(name).c_str(), "wb");
        std::fprintf(file, "P6\n%d %d\n255\n", kWidth, kHeight);
        for (int i = 0; i < kWidth * kHeight; ++i) {
            const unsigned value = static_cast<unsigned>(random());
            const unsigned colour = colours == 0 ? value : palette[value % colours];
            for (int shift : {0, 8, 16}) {
                std::fputc(static_cast<int>(colour >> shift & 0xFF), file);
            }
        }
        std::fclose(file);
    }

    static std::string s_folder;
};
std::string BmpInterchange::s_folder;

// How each tool tells the pixels of a BMP file.
const struct {
    const char *tool, *before, *after;
} kTellers[] = {
    {"bmptopnm", "bmptopnm ", " | ppmtoppm"},
    {"convert", "convert ", " -alpha off -depth 8 ppm:-"},
};

} // namespace

TEST_F(BmpInterchange, FilesOfTheToolsAreRead)
{
    const struct {
        const char *tool;
        std::string command; // makes a file on standard output
        int depth;
        const char *messages;
    } kRows[] = {
        {"ppmtobmp", "ppmtobmp " + in("many.ppm"), 24, ""},
        {"ppmtobmp", "ppmtobmp " + in("two-hundred.ppm"), 8, ""},
        {"ppmtobmp", "ppmtobmp -bpp=8 " + in("nine.ppm"), 8, ""},
        {"ppmtobmp", "ppmtobmp " + in("nine.ppm"), 4, ""},
        {"ppmtobmp", "ppmtobmp " + in("two.pbm"), 1, ""},
        {"convert", "convert " + in("many.ppm") + " BMP3:-", 24, ""},
        {"convert", "convert " + in("many.ppm") + " BMP:-", 24,
         "Warning: Extra meta data detected in file Data will be skipped.\n"},
        {"convert",
         "convert " + in("two-hundred.ppm") + " +dither -type palette -compress none BMP3:-", 8,
         ""},
        {"convert", "convert " + in("nine.ppm") + " +dither -type palette -compress none BMP3:-", 4,
         ""},
        {"convert", "convert " + in("two.pbm") + " -type bilevel BMP3:-", 1, ""},
        {"convert",
         "convert " + in("many.ppm") +
             " -alpha set -channel A -evaluate set 40% -define bmp3:alpha=true BMP3:-",
         32, ""},
    };
    for (const auto &row : kRows) {
        for (const auto &teller : kTellers) {
            SCOPED_TRACE(row.command + ", told by " + teller.tool);
            if (!hasTool(row.tool) || !hasTool(teller.tool)) {
                GTEST_SKIP() << "needs ImageMagick and netpbm";
            }
            const std::string path = in("read.bmp");
            outputOf(row.command + " >" + path);
            ZkBitmap bitmap(path.c_str());
            ASSERT_TRUE(bitmap.isOpen());
            EXPECT_EQ(bitmap.bitDepth(), row.depth);
            Ppm got;
            EXPECT_EQ(stdoutOf([&] { got = ppmOf(bitmap); }), row.messages);
            const Ppm told = parsePpm(outputOf(teller.before + path + teller.after));
            EXPECT_EQ(got.width, told.width);
            EXPECT_EQ(got.height, told.height);
            EXPECT_EQ(got.pixels, told.pixels);
        }
    }
}

TEST_F(BmpInterchange, AlphaOf32BitFilesIsRead)
{
    if (!hasTool("convert")) {
        GTEST_SKIP() << "needs ImageMagick";
    }
    const std::string path = in("alpha.bmp");
    outputOf("convert " + in("many.ppm") +
             " -alpha set -channel A -evaluate set 40% -define bmp3:alpha=true BMP3:" + path);
    ZkBitmap bitmap(path.c_str());
    Bytes decoded(static_cast<std::size_t>(kWidth * kHeight) * 4);
    bitmap.decode(decoded.data());
    for (std::size_t i = 3; i < decoded.size(); i += 4) {
        ASSERT_EQ(decoded[i], 102) << i; // 40 % of 255
    }
}

TEST_F(BmpInterchange, SixteenBitFilesHaveTheUpperFiveBitsUpsideDown)
{
    for (const char *kind : {"RGB555", "RGB565"}) {
        for (const auto &teller : kTellers) {
            SCOPED_TRACE(std::string(kind) + ", told by " + teller.tool);
            if (!hasTool("convert") || !hasTool(teller.tool)) {
                GTEST_SKIP() << "needs ImageMagick and netpbm";
            }
            const std::string path = in("sixteen.bmp");
            // With the longer header of BMP: the masks are there; BMP3: leaves them out.
            outputOf("convert " + in("many.ppm") + " -define bmp:subtype=" + kind + " BMP:" + path);
            ZkBitmap bitmap(path.c_str());
            ASSERT_TRUE(bitmap.isOpen());
            EXPECT_EQ(bitmap.bitDepth(), 16);
            Ppm got;
            EXPECT_EQ(stdoutOf([&] { got = ppmOf(bitmap); }),
                      "Warning: Extra meta data detected in file, Data will be skipped.\n");
            const Ppm told = parsePpm(outputOf(teller.before + path + teller.after));
            ASSERT_EQ(got.pixels.size(), told.pixels.size());
            for (int y = 0; y < kHeight; ++y) {
                for (int x = 0; x < kWidth; ++x) {
                    for (int i = 0; i < 3; ++i) {
                        ASSERT_EQ(got.at(x, kHeight - 1 - y)[i], told.at(x, y)[i] & 0xF8)
                            << x << ", " << y;
                    }
                }
            }
        }
    }
}

TEST_F(BmpInterchange, CompressedFilesOfAToolAreRefused)
{
    if (!hasTool("convert")) {
        GTEST_SKIP() << "needs ImageMagick";
    }
    const std::string path = in("rle.bmp");
    outputOf("convert " + in("two-hundred.ppm") + " -type palette -compress rle BMP3:" + path);
    EXPECT_EQ(stdoutOf([&] { EXPECT_FALSE(ZkBitmap(path.c_str()).isOpen()); }),
              "Can not support RLE compression.\nZkBitmap(): BMP header error !!!\n");
}

TEST_F(BmpInterchange, OurFilesAreReadByTheTools)
{
    std::mt19937 random(9);
    for (int type : {3, 1}) {
        for (int width : {1, 2, 3, 4, 5, 8, 13}) {
            const int height = 6;
            Bytes pixels(static_cast<std::size_t>(width * height * type));
            for (unsigned char &pixel : pixels) {
                pixel = static_cast<unsigned char>(random());
            }
            const std::string path = in("written.bmp");
            BmpData::Image image = {width, height, type, pixels.data()};
            ASSERT_EQ(BmpData().SaveImage(path.c_str(), &image), 0);
            for (const auto &teller : kTellers) {
                if (type == 3 && width % 4 == 0 && teller.tool != std::string("bmptopnm")) {
                    continue; // refuses a file shorter than its size fields say
                }
                SCOPED_TRACE(testing::Message() << "type " << type << ", width " << width
                                                << ", told by " << teller.tool);
                if (!hasTool(teller.tool)) {
                    GTEST_SKIP() << "needs ImageMagick and netpbm";
                }
                const Ppm told = parsePpm(outputOf(teller.before + path + teller.after));
                ASSERT_EQ(told.width, type == 3 ? width : (width + 3) / 4 * 4);
                ASSERT_EQ(told.height, height);
                for (int y = 0; y < height; ++y) {
                    for (int x = 0; x < told.width; ++x) {
                        for (int i = 0; i < 3; ++i) {
                            // The image has blue first; a grey one is padded with black.
                            const int at = (y * width + x) * type + (type == 3 ? 2 - i : 0);
                            const int expected =
                                x < width ? pixels[static_cast<std::size_t>(at)] : 0;
                            EXPECT_EQ(told.at(x, y)[i], expected) << x << ", " << y;
                        }
                    }
                }
            }
        }
    }
}
