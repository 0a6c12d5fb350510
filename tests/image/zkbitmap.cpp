#include <zkbitmap.h>

#include "bmpmodel.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <functional>
#include <random>
#include <string>
#include <type_traits>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__)
#    define ZK_TEST_UNDER_ASAN 1
#elif defined(__has_feature)
#    if __has_feature(address_sanitizer)
#        define ZK_TEST_UNDER_ASAN 1
#    endif
#endif

using bmpmodel::Bytes;
using bmpmodel::colorTable;
using bmpmodel::File;
using bmpmodel::Kind;
using bmpmodel::kKinds;
using bmpmodel::randomBytes;
using bmpmodel::randomFile;

// A table that memory failed to give cannot be had otherwise.
struct ZkInspector {
    static void dropColorTable(ZkBitmap &bitmap)
    {
        std::free(bitmap.m_colorTable);
        bitmap.m_colorTable = nullptr;
    }
    static bool hasColorTable(const ZkBitmap &bitmap) { return bitmap.m_colorTable != nullptr; }
    static int ownsFile(const ZkBitmap &bitmap) { return bitmap.m_ownsFile; }
};

namespace
{

constexpr unsigned char kUntouched = 0xA5;

const char kPaddedTable[] = "Warning: file has an underspecified color table.The tablewill be "
                            "padded with extra white (255,255,255,0) entries.\n";
const char kExtraData[] = "Warning: Extra meta data detected in file Data will be skipped.\n";
const char kExtraData16[] = "Warning: Extra meta data detected in file, Data will be skipped.\n";
const char kShortData[] = "Could not read proper amount of data.\n";
const char kHeaderError[] = "ZkBitmap(): BMP header error !!!\n";

std::string stdoutOf(const std::function<void()> &action)
{
    testing::internal::CaptureStdout();
    action();
    return testing::internal::GetCapturedStdout();
}

bool writeAll(std::FILE *file, const Bytes &bytes)
{
    return file != nullptr &&
           (bytes.empty() || std::fwrite(bytes.data(), bytes.size(), 1, file) == 1) &&
           std::fflush(file) == 0;
}

// A file of the test's own that goes with it.
class TemporaryFile
{
public:
    explicit TemporaryFile(const Bytes &bytes)
    {
        std::FILE *file = fdopen(mkstemp(m_path), "wb");
        EXPECT_TRUE(writeAll(file, bytes)) << m_path;
        std::fclose(file);
    }
    ~TemporaryFile() { unlink(m_path); }
    const char *path() const { return m_path; }

private:
    char m_path[32] = "/tmp/zkbitmap-XXXXXX";
};

// `bytes` as an open file, for the caller to close.
std::FILE *openBytes(const Bytes &bytes)
{
    std::FILE *file = std::tmpfile();
    EXPECT_TRUE(writeAll(file, bytes));
    return file;
}

std::size_t pixelBytes(const ZkBitmap &bitmap)
{
    return static_cast<std::size_t>(bitmap.width()) * static_cast<std::size_t>(bitmap.height()) * 4;
}

Bytes decoded(ZkBitmap &bitmap)
{
    Bytes pixels(pixelBytes(bitmap), kUntouched);
    bitmap.decode(pixels.data());
    return pixels;
}

struct Outcome {
    std::string headerMessages, messages;
    Bytes pixels;
};

Outcome readWithLibrary(const Bytes &bytes)
{
    Outcome outcome;
    std::FILE *file = openBytes(bytes);
    testing::internal::CaptureStdout();
    ZkBitmap bitmap(file);
    outcome.headerMessages = testing::internal::GetCapturedStdout();
    if (bitmap.isOpen()) {
        testing::internal::CaptureStdout();
        outcome.pixels = decoded(bitmap);
        outcome.messages = testing::internal::GetCapturedStdout();
    }
    std::fclose(file);
    return outcome;
}

void expectLikeModel(const Bytes &bytes)
{
    const bmpmodel::Result expected = bmpmodel::read(bytes, kUntouched);
    const Outcome got = readWithLibrary(bytes);
    EXPECT_EQ(got.headerMessages, expected.headerMessages);
    EXPECT_EQ(got.messages, expected.messages);
    EXPECT_EQ(got.pixels, expected.pixels);
}

// Rows of `width` values of `bits` bits, first value in the highest bits, each
// row padded to a multiple of four bytes; `top` first in, last in the file.
Bytes packedRows(const std::vector<unsigned> &values, int width, int bits)
{
    Bytes rows;
    for (std::size_t row = values.size() / static_cast<unsigned>(width); row-- > 0;) {
        std::vector<bool> stream;
        for (int x = 0; x < width; ++x) {
            const unsigned value = values[row * static_cast<unsigned>(width) + unsigned(x)];
            for (int bit = bits - 1; bit >= 0; --bit) {
                stream.push_back((value >> bit & 1) != 0);
            }
        }
        stream.resize((stream.size() + 31) / 32 * 32, true); // padding is not looked at
        for (std::size_t i = 0; i < stream.size(); i += 8) {
            unsigned byte = 0;
            for (std::size_t bit = 0; bit < 8; ++bit) {
                byte = byte * 2 + stream[i + bit];
            }
            rows.push_back(static_cast<unsigned char>(byte));
        }
    }
    return rows;
}

int openDescriptors()
{
    int count = 0;
    DIR *folder = opendir("/proc/self/fd");
    while (folder != nullptr && readdir(folder) != nullptr) {
        ++count;
    }
    closedir(folder);
    return count;
}

} // namespace

TEST(RGBApixel, HasTheByteOrderOfATableEntry)
{
    const RGBApixel pixel = {1, 2, 3, 4};
    const unsigned char *bytes = reinterpret_cast<const unsigned char *>(&pixel);
    ASSERT_EQ(sizeof pixel, 4u);
    EXPECT_EQ(Bytes(bytes, bytes + 4), Bytes({1, 2, 3, 4}));
    EXPECT_EQ(pixel.blue, 1);
    EXPECT_EQ(pixel.green, 2);
    EXPECT_EQ(pixel.red, 3);
    EXPECT_EQ(pixel.alpha, 4);
    EXPECT_TRUE(pixel == (RGBApixel{1, 2, 3, 4}));
    EXPECT_TRUE(pixel != (RGBApixel{1, 2, 3, 5}));
}

TEST(ZkColor, IsFiveBytesThatAllCountInAComparison)
{
    EXPECT_EQ(sizeof(ZkColor), 5u);
    const ZkColor none;
    EXPECT_TRUE(none == (ZkColor{0, 0, 0, 0, 0}));
    const ZkColor color = {1, 2, 3, 4, 5};
    ZkColor copy;
    copy = color;
    EXPECT_TRUE(copy == color);
    EXPECT_FALSE(copy != color);
    for (unsigned char ZkColor::*component :
         {&ZkColor::red, &ZkColor::green, &ZkColor::blue, &ZkColor::alpha, &ZkColor::index}) {
        copy = color;
        copy.*component = 9;
        EXPECT_FALSE(copy == color);
        EXPECT_TRUE(copy != color);
    }
}

TEST(ZkBitmap, OwnsAFileAndATableSoItIsNotCopyable)
{
    EXPECT_FALSE(std::is_copy_constructible<ZkBitmap>::value);
    EXPECT_FALSE(std::is_copy_assignable<ZkBitmap>::value);
}

TEST(ZkBitmap, AFreshObjectIsEmptyAndSilent)
{
    const std::string printed = stdoutOf([] {
        ZkBitmap bitmap;
        EXPECT_FALSE(bitmap.isOpen());
        EXPECT_EQ(bitmap.width(), 0);
        EXPECT_EQ(bitmap.height(), 0);
        EXPECT_EQ(bitmap.bitDepth(), 0);
        EXPECT_EQ(bitmap.horizontalResolution(), 0);
        EXPECT_EQ(bitmap.verticalResolution(), 0);
        EXPECT_EQ(bitmap.fileHeader().type, 0);
        EXPECT_EQ(bitmap.infoHeader().headerSize, 0u);
        EXPECT_EQ(bitmap.tellNumberOfColors(), 1);
        EXPECT_FALSE(ZkInspector::hasColorTable(bitmap));
        EXPECT_EQ(ZkInspector::ownsFile(bitmap), 1);
        unsigned char out[4] = {kUntouched, kUntouched, kUntouched, kUntouched};
        bitmap.decode(out);
        EXPECT_EQ(out[0], kUntouched);
        bitmap.createStandardColorTable();
    });
    EXPECT_EQ(printed, "");
}

TEST(ZkBitmap, KeepsEveryFieldOfBothHeaders)
{
    File file;
    file.width = 3;
    file.height = 2;
    file.rows.assign(24, 0);
    std::FILE *opened = openBytes(file.bytes());
    ZkBitmap bitmap(opened);
    const ZkBitmap::FileHeader &head = bitmap.fileHeader();
    EXPECT_EQ(head.type, 0x4D42);
    EXPECT_EQ(head.size, 78u);
    EXPECT_EQ(head.reserved1, 0x1122);
    EXPECT_EQ(head.reserved2, 0x3344);
    EXPECT_EQ(head.dataOffset, 54u);
    const ZkBitmap::InfoHeader &info = bitmap.infoHeader();
    EXPECT_EQ(info.headerSize, 40u);
    EXPECT_EQ(info.width, 3);
    EXPECT_EQ(info.height, 2);
    EXPECT_EQ(info.planes, 1);
    EXPECT_EQ(info.bitsPerPixel, 24);
    EXPECT_EQ(info.compression, 0u);
    EXPECT_EQ(info.imageSize, 24u);
    EXPECT_EQ(info.horizontalResolution, 2835);
    EXPECT_EQ(info.verticalResolution, 5670);
    EXPECT_EQ(info.coloursUsed, 7u);
    EXPECT_EQ(info.importantColours, 3u);
    EXPECT_EQ(bitmap.width(), 3);
    EXPECT_EQ(bitmap.height(), 2);
    EXPECT_EQ(bitmap.bitDepth(), 24);
    EXPECT_EQ(bitmap.horizontalResolution(), 2835);
    EXPECT_EQ(bitmap.verticalResolution(), 5670);
    std::fclose(opened);
}

TEST(ZkBitmap, SwitchEndianessSwapsEveryField)
{
    File file; // no field is 0
    file.depth = 16;
    file.compression = 3;
    for (unsigned mask : {0x7C00u, 0x03E0u, 0x001Fu}) {
        bmpmodel::appendNumber(file.table, mask, 4);
    }
    file.rows.assign(4, 0);
    std::FILE *opened = openBytes(file.bytes());
    ZkBitmap bitmap(opened);
    bitmap.bmfhSwitchEndianess();
    bitmap.bmihSwitchEndianess();
    EXPECT_EQ(bitmap.fileHeader().type, 0x424D);
    EXPECT_EQ(bitmap.fileHeader().size, 0x46000000u);
    EXPECT_EQ(bitmap.fileHeader().reserved1, 0x2211);
    EXPECT_EQ(bitmap.fileHeader().reserved2, 0x4433);
    EXPECT_EQ(bitmap.fileHeader().dataOffset, 0x42000000u);
    EXPECT_EQ(bitmap.infoHeader().headerSize, 0x28000000u);
    EXPECT_EQ(bitmap.infoHeader().width, 0x01000000);
    EXPECT_EQ(bitmap.infoHeader().height, 0x01000000);
    EXPECT_EQ(bitmap.infoHeader().planes, 0x0100);
    EXPECT_EQ(bitmap.infoHeader().bitsPerPixel, 0x1000);
    EXPECT_EQ(bitmap.infoHeader().compression, 0x03000000u);
    EXPECT_EQ(bitmap.infoHeader().imageSize, 0x04000000u);
    EXPECT_EQ(bitmap.infoHeader().horizontalResolution, 0x130B0000);
    EXPECT_EQ(bitmap.infoHeader().verticalResolution, 0x26160000);
    EXPECT_EQ(bitmap.infoHeader().coloursUsed, 0x07000000u);
    EXPECT_EQ(bitmap.infoHeader().importantColours, 0x03000000u);
    EXPECT_EQ(bitmap.width(), 1) << "the size in use is not a header field";
    bitmap.bmfhSwitchEndianess();
    bitmap.bmihSwitchEndianess();
    EXPECT_EQ(bitmap.fileHeader().type, 0x4D42);
    EXPECT_EQ(bitmap.infoHeader().verticalResolution, 5670);
    std::fclose(opened);
}

TEST(ZkBitmap, SaysWhyAFileIsRefused)
{
    const auto with = [](unsigned depth, std::uint32_t compression, std::int64_t width,
                         std::int64_t height) {
        File file;
        file.depth = depth;
        file.compression = compression;
        file.width = width;
        file.height = height;
        return file.bytes();
    };
    const Bytes sound = File().bytes();
    const struct {
        const char *what;
        Bytes bytes;
        std::string reason;
    } kRows[] = {
        {"empty", {}, "The format of this image file is not bmp file.\n"},
        {"one byte", {'B'}, "The format of this image file is not bmp file.\n"},
        {"another type", {'M', 'B', 0, 0}, "The format of this image file is not bmp file.\n"},
        {"type alone", {'B', 'M'}, "Read information of bmp file header failed.\n"},
        {"last header byte missing", Bytes(sound.begin(), sound.begin() + 53),
         "Read information of bmp file header failed.\n"},
        {"compression 1", with(8, 1, 1, 1), "Can not support RLE compression.\n"},
        {"compression 2", with(4, 2, 1, 1), "Can not support RLE compression.\n"},
        {"compression 1, odd depth", with(5, 1, 1, 1), "Can not support RLE compression.\n"},
        {"compression 4", with(24, 4, 1, 1), "Can not support this compression format.\n"},
        {"compression -1", with(24, 0xFFFFFFFF, 1, 1),
         "Can not support this compression format.\n"},
        {"bit fields of 32 bits", with(32, 3, 1, 1),
         "This format could use bit fields and is not a 16-bit file,we can't support.\n"},
        {"bit fields of an odd depth", with(2, 3, 1, 1),
         "This format could use bit fields and is not a 16-bit file,we can't support.\n"},
        {"depth 0", with(0, 0, 1, 1), "Unrecognized bit depth.\n"},
        {"depth 2", with(2, 0, 1, 1), "Unrecognized bit depth.\n"},
        {"depth 33", with(33, 0, 1, 1), "Unrecognized bit depth.\n"},
        {"width 0", with(24, 0, 0, 1), "This file has a non-positive width or height.\n"},
        {"width -1", with(24, 0, -1, 1), "This file has a non-positive width or height.\n"},
        {"height 0", with(24, 0, 1, 0), "This file has a non-positive width or height.\n"},
        {"top row first", with(24, 0, 1, -1), "This file has a non-positive width or height.\n"},
        {"depth before size", with(3, 0, 0, 0), "Unrecognized bit depth.\n"},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        const TemporaryFile file(row.bytes);
        EXPECT_EQ(stdoutOf([&] {
                      const ZkBitmap bitmap(file.path());
                      EXPECT_FALSE(bitmap.isOpen());
                  }),
                  row.reason + kHeaderError);
        std::FILE *opened = openBytes(row.bytes);
        EXPECT_EQ(stdoutOf([&] {
                      ZkBitmap bitmap(opened);
                      EXPECT_FALSE(bitmap.isOpen());
                      unsigned char out[4] = {};
                      bitmap.decode(out); // nothing to read, nothing to say
                  }),
                  row.reason + kHeaderError);
        std::fclose(opened);
    }
}

TEST(ZkBitmap, ARefusedSizeLeavesDepthAndTable)
{
    File file;
    file.depth = 4;
    file.height = -7;
    Bytes bytes = file.bytes();
    std::FILE *opened = openBytes(bytes);
    stdoutOf([&] {
        const ZkBitmap bitmap(opened);
        EXPECT_EQ(bitmap.bitDepth(), 4);
        EXPECT_EQ(bitmap.tellNumberOfColors(), 16);
        EXPECT_TRUE(bitmap.getColor(9) == (RGBApixel{0, 0, 255, 255}));
        EXPECT_EQ(bitmap.width(), 0);
        EXPECT_EQ(bitmap.height(), 0);
    });
    std::fclose(opened);
}

TEST(ZkBitmap, SaysThatAPathCannotBeOpened)
{
    EXPECT_EQ(stdoutOf([] { EXPECT_FALSE(ZkBitmap("/no/such/file.bmp").isOpen()); }),
              "Open /no/such/file.bmp file failed.\n");
    EXPECT_EQ(stdoutOf([] { ZkBitmap(""); }), "Open  file failed.\n");
    EXPECT_EQ(stdoutOf([] { ZkBitmap(static_cast<const char *>(nullptr)); }),
              "Open  file failed.\n");
}

TEST(ZkBitmap, AFolderIsNoBmpFile)
{
    EXPECT_EQ(stdoutOf([] { ZkBitmap("/tmp"); }),
              std::string("The format of this image file is not bmp file.\n") + kHeaderError);
}

TEST(ZkBitmap, SaysThatANullFileCannotBeRead)
{
    EXPECT_EQ(stdoutOf([] {
                  ZkBitmap bitmap(static_cast<std::FILE *>(nullptr));
                  EXPECT_FALSE(bitmap.isOpen());
                  EXPECT_EQ(ZkInspector::ownsFile(bitmap), 0);
              }),
              "ZkBitmap(): open buffer failed !!!\n");
}

TEST(ZkBitmap, ReadsAGivenFileFromItsStart)
{
    File file;
    file.rows = {1, 2, 3, 0};
    Bytes bytes = file.bytes();
    std::FILE *opened = openBytes(bytes);
    std::fseek(opened, 31, SEEK_SET);
    ZkBitmap bitmap(opened);
    EXPECT_EQ(decoded(bitmap), Bytes({1, 2, 3, 255}));
    std::fclose(opened);
}

TEST(ZkBitmap, ClosesOnlyAFileThatItOpened)
{
    const TemporaryFile sound(File().bytes());
    const TemporaryFile refused(Bytes{'B', 'M'});
    const int before = openDescriptors();
    {
        const ZkBitmap bitmap(sound.path());
        EXPECT_EQ(openDescriptors(), before + 1);
    }
    EXPECT_EQ(openDescriptors(), before);
    for (const TemporaryFile *file : {&sound, &refused}) {
        std::FILE *opened = std::fopen(file->path(), "rb");
        stdoutOf([&] { const ZkBitmap bitmap(opened); });
        EXPECT_EQ(openDescriptors(), before + 1);
        EXPECT_EQ(std::fseek(opened, 0, SEEK_SET), 0);
        EXPECT_EQ(std::fgetc(opened), 'B');
        std::fclose(opened);
    }
    stdoutOf([&] { const ZkBitmap bitmap(refused.path()); });
    EXPECT_EQ(openDescriptors(), before) << "a refused file is closed at once";
}

TEST(ZkBitmap, ReadsAPipeOnce)
{
    File file;
    file.depth = 8;
    file.table = colorTable(256);
    file.table.resize(file.table.size() + 700, 0x55);
    file.rows = {7, 0, 0, 0};
    const Bytes bytes = file.bytes();
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(write(ends[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    close(ends[1]);
    std::FILE *opened = fdopen(ends[0], "rb");
    ZkBitmap bitmap(opened);
    Bytes pixels;
    EXPECT_EQ(stdoutOf([&] { pixels = decoded(bitmap); }), kExtraData);
    EXPECT_EQ(pixels, Bytes({file.table[28], file.table[29], file.table[30], 255}));
    EXPECT_EQ(stdoutOf([&] { pixels = decoded(bitmap); }),
              std::string(kPaddedTable) + kExtraData + kShortData);
    EXPECT_EQ(pixels, Bytes(4, kUntouched));
    std::fclose(opened);
}

TEST(ZkBitmap, DecodesIndexedPixelsTopRowFirst)
{
    std::mt19937 random(71);
    for (int bits : {1, 4, 8}) {
        for (int width = 1; width <= 19; ++width) {
            SCOPED_TRACE(testing::Message() << bits << " bits, width " << width);
            const int height = 1 + width % 4;
            std::vector<unsigned> indexes(static_cast<std::size_t>(width * height));
            for (unsigned &index : indexes) {
                index = static_cast<unsigned>(random()) % (1u << bits);
            }
            File file;
            file.width = width;
            file.height = height;
            file.depth = static_cast<unsigned>(bits);
            file.table = colorTable(1 << bits);
            file.rows = packedRows(indexes, width, bits);
            Bytes expected;
            for (unsigned index : indexes) {
                const unsigned char *entry = &file.table[index * 4];
                expected.insert(expected.end(), {entry[0], entry[1], entry[2], 255});
            }
            const Outcome got = readWithLibrary(file.bytes());
            EXPECT_EQ(got.headerMessages + got.messages, "");
            EXPECT_EQ(got.pixels, expected);
        }
    }
}

TEST(ZkBitmap, Decodes24BitsOpaqueAnd32BitsWithTheirAlpha)
{
    std::mt19937 random(72);
    for (int bits : {24, 32}) {
        for (int width = 1; width <= 9; ++width) {
            SCOPED_TRACE(testing::Message() << bits << " bits, width " << width);
            const std::size_t step = bits == 24 ? 3 : 4;
            const std::size_t used = step * static_cast<std::size_t>(width);
            const std::size_t padded = (used + 3) / 4 * 4;
            File file;
            file.width = width;
            file.height = 3;
            file.depth = static_cast<unsigned>(bits);
            file.rows = randomBytes(random, padded * 3);
            Bytes expected;
            for (int row : {2, 1, 0}) {
                for (std::size_t x = 0; x < used; x += step) {
                    const unsigned char *at = &file.rows[padded * static_cast<unsigned>(row) + x];
                    expected.insert(expected.end(),
                                    {at[0], at[1], at[2],
                                     bits == 32 ? at[3] : static_cast<unsigned char>(255)});
                }
            }
            const Outcome got = readWithLibrary(file.bytes());
            EXPECT_EQ(got.headerMessages + got.messages, "");
            EXPECT_EQ(got.pixels, expected);
        }
    }
}

TEST(ZkBitmap, SixteenBitRowsComeOutBottomRowFirst)
{
    for (int width : {1, 2, 3}) { // padding of two bytes, none, two
        SCOPED_TRACE(width);
        File file;
        file.width = width;
        file.height = 2;
        file.depth = 16;
        Bytes expected;
        for (unsigned row : {1u, 2u}) {
            for (int x = 0; x < width; ++x) {
                bmpmodel::appendNumber(file.rows, row, 2);
                expected.insert(expected.end(), {static_cast<unsigned char>(row * 8), 0, 0, 255});
            }
            file.rows.resize((file.rows.size() + 3) / 4 * 4, 0xEE);
        }
        const Outcome got = readWithLibrary(file.bytes());
        EXPECT_EQ(got.messages, "");
        EXPECT_EQ(got.pixels, expected) << "the first row of the file is the first of the buffer";
    }
}

TEST(ZkBitmap, SixteenBitComponentsAreShiftedToFiveBitsAndEndAt248)
{
    const struct {
        const char *what;
        unsigned masks[3]; // red, green, blue; all 0: the file has none
        unsigned value;
        Bytes pixel;
    } kRows[] = {
        {"5-5-5 white", {0, 0, 0}, 0x7FFF, {248, 248, 248, 255}},
        {"5-5-5 blue", {0, 0, 0}, 0x001F, {248, 0, 0, 255}},
        {"5-5-5 green", {0, 0, 0}, 0x03E0, {0, 248, 0, 255}},
        {"5-5-5 red", {0, 0, 0}, 0x7C00, {0, 0, 248, 255}},
        {"5-5-5 top bit is no component", {0, 0, 0}, 0x8000, {0, 0, 0, 255}},
        {"5-5-5 one step each", {0, 0, 0}, 0x0421, {8, 8, 8, 255}},
        {"5-6-5 white", {0xF800, 0x07E0, 0x001F}, 0xFFFF, {248, 248, 248, 255}},
        {"5-6-5 lowest green bit is lost", {0xF800, 0x07E0, 0x001F}, 0x0020, {0, 0, 0, 255}},
        {"5-6-5 second green bit", {0xF800, 0x07E0, 0x001F}, 0x0040, {0, 8, 0, 255}},
        {"4-4-4", {0x0F00, 0x00F0, 0x000F}, 0x0FFF, {120, 240, 240, 255}},
        {"2-3-1, white", {0x0030, 0x000E, 0x0001}, 0x003F, {8, 112, 192, 255}},
        {"5-5-5 at the top, white", {0xF800, 0x07C0, 0x003E}, 0xFFFE, {248, 248, 248, 255}},
        {"one bit at the top", {0x8000, 0, 0x0001}, 0xFFFF, {8, 0, 128, 255}},
        {"only the low 16 bits of a mask count", {0xFFFF001F, 0, 0}, 0xFFFF, {0, 0, 248, 255}},
        {"the whole word", {0xFFFF, 0, 0}, 0x1234, {0, 0, 16, 255}},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        File file;
        file.depth = 16;
        if ((row.masks[0] | row.masks[1] | row.masks[2]) != 0) {
            file.compression = 3;
            for (unsigned mask : row.masks) {
                bmpmodel::appendNumber(file.table, mask, 4);
            }
        }
        bmpmodel::appendNumber(file.rows, row.value, 2);
        file.rows.resize(4, 0);
        const Outcome got = readWithLibrary(file.bytes());
        EXPECT_EQ(got.messages, "");
        EXPECT_EQ(got.pixels, row.pixel);
    }
}

// What stands behind the first 40 bytes of a longer header is taken for the palette.
TEST(ZkBitmap, APaletteBehindALongerHeaderComesOutAsOtherColours)
{
    for (const unsigned headerSize : {64u, 108u, 124u}) {
        SCOPED_TRACE(headerSize);
        File file;
        file.depth = 1;
        file.table.assign(headerSize - 40, 0x11);
        file.table.insert(file.table.end(), {0, 0, 0, 0, 255, 255, 255, 0}); // black and white
        file.rows = {0x80, 0, 0, 0};
        Bytes bytes = file.bytes();
        bytes[14] = static_cast<unsigned char>(headerSize);
        const Outcome got = readWithLibrary(bytes);
        EXPECT_EQ(got.messages,
                  "Warning: Extra meta data detected in file Data will be skipped.\n");
        EXPECT_EQ(got.pixels, Bytes({0x11, 0x11, 0x11, 255}));
    }
}

TEST(ZkBitmap, MasksAreReadEvenIfThePixelsClaimToStandThere)
{
    File file;
    file.depth = 16;
    file.compression = 3;
    for (unsigned mask : {0x001Fu, 0x03E0u, 0x7C00u}) { // red and blue exchanged
        bmpmodel::appendNumber(file.table, mask, 4);
    }
    file.rows = {0x1F, 0, 0, 0};
    for (std::int64_t offset : {0, 54, 60, 66}) {
        file.offset = offset;
        const Outcome got = readWithLibrary(file.bytes());
        EXPECT_EQ(got.messages, "");
        EXPECT_EQ(got.pixels, Bytes({0, 0, 248, 255})) << offset;
    }
}

TEST(ZkBitmap, TheUnusedBitsOfARowAreIgnored)
{
    File file;
    file.width = 9;
    file.depth = 1;
    file.table = {0, 0, 0, 0, 255, 255, 255, 0};
    file.rows = {0xAA, 0x7F, 0xFF, 0xFF}; // the ninth pixel is black, seven bits follow
    const Outcome got = readWithLibrary(file.bytes());
    ASSERT_EQ(got.pixels.size(), 36u);
    for (std::size_t x = 0; x < 9; ++x) {
        EXPECT_EQ(got.pixels[x * 4], x < 8 && x % 2 == 0 ? 255 : 0) << x;
    }
}

TEST(ZkBitmap, AShortTableIsPaddedWithOpaqueWhite)
{
    File file;
    file.depth = 8;
    file.width = 4;
    file.table = colorTable(16);
    file.rows = {0, 15, 16, 255};
    std::FILE *opened = openBytes(file.bytes());
    ZkBitmap bitmap(opened);
    Bytes pixels;
    EXPECT_EQ(stdoutOf([&] { pixels = decoded(bitmap); }), kPaddedTable);
    EXPECT_EQ(pixels, Bytes({0x30, 0x20, 0x10, 255, 0x7B, 0x4D, 0x1F, 255, 255, 255, 255, 255, 255,
                             255, 255, 255}));
    EXPECT_TRUE(bitmap.getColor(15) == (RGBApixel{0x7B, 0x4D, 0x1F, 0})) << "as the file has it";
    for (int i = 16; i < 256; ++i) {
        EXPECT_TRUE(bitmap.getColor(i) == (RGBApixel{255, 255, 255, 255})) << i;
    }
    std::fclose(opened);
}

TEST(ZkBitmap, BytesThatAreNoWholeEntryShiftThePixels)
{
    File file;
    file.depth = 8;
    file.width = 4;
    file.table = colorTable(16);
    file.table.insert(file.table.end(), {1, 2}); // offset 54 + 66
    file.rows = {3, 4, 5, 6};
    const Outcome got = readWithLibrary(file.bytes());
    EXPECT_EQ(got.messages, kPaddedTable);
    Bytes expected;
    for (int index : {1, 2, 3, 4}) {
        expected.insert(expected.end(), file.table.begin() + index * 4,
                        file.table.begin() + index * 4 + 3);
        expected.push_back(255);
    }
    EXPECT_EQ(got.pixels, expected) << "the row starts two bytes early";
}

TEST(ZkBitmap, ExtraBytesBeforeThePixelsAreSkippedWithAWarning)
{
    const struct {
        Kind kind;
        int extra;
        std::string message;
    } kRows[] = {
        {kKinds[0], 1, kExtraData},   {kKinds[1], 2, kExtraData},   {kKinds[2], 3, kExtraData},
        {kKinds[3], 1, kExtraData16}, {kKinds[4], 5, kExtraData16}, {kKinds[5], 6, kExtraData},
        {kKinds[6], 511, kExtraData}, {kKinds[5], 512, kExtraData}, {kKinds[5], 513, kExtraData},
        {kKinds[5], 0, ""},           {kKinds[3], 0, ""},
    };
    std::mt19937 random(73);
    for (const auto &row : kRows) {
        SCOPED_TRACE(testing::Message() << row.kind.what << ", " << row.extra << " bytes");
        File file = randomFile(random, row.kind.depth, row.kind.compression, 3, 2);
        const Bytes expected = readWithLibrary(file.bytes()).pixels;
        file.table.resize(file.table.size() + static_cast<std::size_t>(row.extra), 0xCC);
        const Outcome got = readWithLibrary(file.bytes());
        EXPECT_EQ(got.messages, row.message);
        EXPECT_EQ(got.pixels, expected);
    }
}

TEST(ZkBitmap, AnOffsetInsideTheHeadersReadsNoTableAndSkipsNothing)
{
    for (std::int64_t offset : {0, 2, 53}) {
        SCOPED_TRACE(offset);
        File file;
        file.offset = offset;
        file.depth = 8;
        file.rows = {9, 0, 0, 0};
        Outcome got = readWithLibrary(file.bytes());
        EXPECT_EQ(got.messages, kPaddedTable);
        EXPECT_EQ(got.pixels, Bytes({255, 255, 255, 255}));
        file.depth = 24;
        got = readWithLibrary(file.bytes());
        EXPECT_EQ(got.messages, "");
        EXPECT_EQ(got.pixels, Bytes({9, 0, 0, 255}));
    }
}

TEST(ZkBitmap, AnOffsetBehindTheFileEndsInShortData)
{
    for (std::int64_t offset :
         {std::int64_t(200), std::int64_t(INT_MAX), std::int64_t(UINT32_MAX)}) {
        SCOPED_TRACE(offset);
        File file;
        file.offset = offset;
        file.rows = {9, 0, 0, 0};
        Outcome got = readWithLibrary(file.bytes());
        EXPECT_EQ(got.messages, std::string(kExtraData) + kShortData);
        EXPECT_EQ(got.pixels, Bytes(4, kUntouched));
        file.depth = 16;
        got = readWithLibrary(file.bytes());
        EXPECT_EQ(got.messages, std::string(kExtraData16) + kShortData);
        EXPECT_EQ(got.pixels, Bytes(4, kUntouched));
    }
}

TEST(ZkBitmap, AFileCutAnywhereGivesTheRowsItHas)
{
    std::mt19937 random(74);
    for (const Kind &kind : kKinds) {
        SCOPED_TRACE(kind.what);
        File file = randomFile(random, kind.depth, kind.compression, 5, 3);
        if (kind.depth == 8) {
            file.table.resize(4 * 20); // a short table keeps the sweep short
        }
        const Bytes bytes = file.bytes();
        for (std::size_t size = 0; size <= bytes.size(); ++size) {
            SCOPED_TRACE(testing::Message() << "cut at " << size);
            expectLikeModel(Bytes(bytes.begin(), bytes.begin() + static_cast<long>(size)));
            if (HasFailure()) {
                return;
            }
        }
    }
}

TEST(ZkBitmap, RowsDecodedBeforeTheEndStayAndTheOthersAreNotWritten)
{
    File file;
    file.width = 1;
    file.height = 3;
    file.rows = {1, 2, 3, 0, 4, 5, 6}; // the padding of the second row is missing
    const Outcome got = readWithLibrary(file.bytes());
    EXPECT_EQ(got.messages, kShortData);
    EXPECT_EQ(got.pixels, Bytes({kUntouched, kUntouched, kUntouched, kUntouched, kUntouched,
                                 kUntouched, kUntouched, kUntouched, 1, 2, 3, 255}));
}

TEST(ZkBitmap, A16BitFileMayLackItsLastPadding)
{
    File file;
    file.width = 1;
    file.depth = 16;
    file.rows = {0x1F, 0};
    const Outcome got = readWithLibrary(file.bytes());
    EXPECT_EQ(got.messages, "");
    EXPECT_EQ(got.pixels, Bytes({248, 0, 0, 255}));
}

TEST(ZkBitmap, ReadsRandomHeadersAsTheModelDoes)
{
    std::mt19937 random(75);
    const std::int64_t offsets[] = {-1, -1, -1, 0, 54, 60, 66, 120, 54 + 1024, 3000};
    for (int round = 0; round < 400; ++round) {
        const Kind &kind = kKinds[random() % 7];
        File file =
            randomFile(random, kind.depth, kind.compression, 1 + static_cast<int>(random() % 40),
                       1 + static_cast<int>(random() % 9));
        if (random() % 4 == 0) {
            file.table = randomBytes(random, random() % 1200);
        }
        file.offset = offsets[random() % 10];
        file.rows.resize(random() % 3 == 0 ? random() % (file.rows.size() + 1) : file.rows.size());
        SCOPED_TRACE(testing::Message() << "round " << round << ", " << kind.what);
        expectLikeModel(file.bytes());
    }
}

TEST(ZkBitmap, RowsLongerThanOneReadComeWhole)
{
    std::mt19937 random(76);
    for (const Kind &kind : kKinds) {
        for (int width : {1365, 4096, 5461, 5462, 40001}) { // about one read, and several
            SCOPED_TRACE(testing::Message() << kind.what << ", width " << width);
            File file = randomFile(random, kind.depth, kind.compression, width, 4);
            expectLikeModel(file.bytes());
            file.rows.pop_back();
            expectLikeModel(file.bytes());
            file.rows.resize(file.rows.size() / 3);
            expectLikeModel(file.bytes());
        }
    }
}

TEST(ZkBitmap, DecodeMayBeRepeated)
{
    std::mt19937 random(77);
    for (const Kind &kind : kKinds) {
        SCOPED_TRACE(kind.what);
        File file = randomFile(random, kind.depth, kind.compression, 7, 5);
        const TemporaryFile stored(file.bytes());
        ZkBitmap bitmap(stored.path());
        const Bytes first = decoded(bitmap);
        EXPECT_EQ(first, bmpmodel::read(file.bytes()).pixels);
        EXPECT_EQ(decoded(bitmap), first);
    }
}

TEST(ZkBitmap, DecodeIntoNullDoesNothing)
{
    File file;
    file.depth = 8;
    std::FILE *opened = openBytes(file.bytes());
    ZkBitmap bitmap(opened);
    EXPECT_EQ(stdoutOf([&] { bitmap.decode(nullptr); }), "");
    EXPECT_TRUE(bitmap.getColor(1) == (RGBApixel{0, 0, 128, 255})) << "still the standard table";
    std::fclose(opened);
}

TEST(ZkBitmap, DecodeAtADepthOfNoFileDoesNothing)
{
    File file;
    file.rows = {1, 2, 3, 0};
    std::FILE *opened = openBytes(file.bytes());
    ZkBitmap bitmap(opened);
    for (int depth : {-8, 0, 2, 15, 33, INT_MAX, INT_MIN}) {
        bitmap.setBitDepth(depth);
        EXPECT_EQ(stdoutOf([&] { EXPECT_EQ(decoded(bitmap), Bytes(4, kUntouched)); }), "");
    }
    bitmap.setBitDepth(24);
    EXPECT_EQ(decoded(bitmap), Bytes({1, 2, 3, 255}));
    std::fclose(opened);
}

TEST(ZkBitmap, WithoutATableRowsStopWithAMessage)
{
    File file;
    file.depth = 1;
    file.table = colorTable(2);
    file.rows = {0, 0, 0, 0};
    std::FILE *opened = openBytes(file.bytes());
    ZkBitmap bitmap(opened);
    ZkInspector::dropColorTable(bitmap);
    Bytes pixels;
    EXPECT_EQ(stdoutOf([&] { pixels = decoded(bitmap); }),
              std::string(kPaddedTable) + "Could not read enough pixel data.\n");
    EXPECT_EQ(pixels, Bytes(4, kUntouched));
    std::fclose(opened);
}

#ifdef ZK_TEST_UNDER_ASAN
// Of the sanitizer's run-time; its header comes with Clang alone.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*)(const volatile void *,
                                                                  std::size_t),
                                                         void (*)(const volatile void *));

namespace
{
std::size_t largestAllocation = 0;
void noteAllocation(const volatile void *, std::size_t bytes)
{
    largestAllocation = std::max(largestAllocation, bytes);
}
void noteFree(const volatile void *)
{
}
} // namespace
#endif

TEST(ZkBitmap, AClaimedSizeTakesNoMemory)
{
#ifndef ZK_TEST_UNDER_ASAN
    GTEST_SKIP() << "allocations are counted where AddressSanitizer is built in";
#else
    ASSERT_NE(__sanitizer_install_malloc_and_free_hooks(noteAllocation, noteFree), 0);
    for (const Kind &kind : kKinds) {
        SCOPED_TRACE(kind.what);
        for (std::int64_t width : {std::int64_t(500000000), std::int64_t(INT_MAX)}) {
            std::mt19937 random(78);
            File file = randomFile(random, kind.depth, kind.compression, 3, 3);
            file.width = width;
            file.height = INT_MAX;
            std::FILE *opened = openBytes(file.bytes());
            ZkBitmap bitmap(opened);
            Bytes few(4096, kUntouched); // the file has fewer pixels
            largestAllocation = 0;
            EXPECT_EQ(stdoutOf([&] { bitmap.decode(few.data()); }), kShortData);
            EXPECT_LE(largestAllocation, 65536u);
            std::fclose(opened);
        }
    }
#endif
}

TEST(ZkBitmap, ARowBeyondWhatCanBeReadIsShortData)
{
    File file;
    file.rows.assign(64, 1);
    const struct {
        const char *what;
        unsigned depth;
        std::int64_t width, height;
    } kRows[] = {
        {"32-bit row above INT_MAX", 32, 536870912, 1},
        {"24-bit row above INT_MAX", 24, INT_MAX, 1},
        {"16-bit row above INT_MAX", 16, INT_MAX, 1},
        {"most pixels", 1, INT_MAX, INT_MAX},
        {"widest 16-bit row", 16, 1073741822, 1},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        file.depth = row.depth;
        file.width = row.width;
        file.height = row.height;
        file.table = colorTable(row.depth == 1 ? 2 : 0);
        std::FILE *opened = openBytes(file.bytes());
        ZkBitmap bitmap(opened);
        ASSERT_TRUE(bitmap.isOpen());
        Bytes few(256, kUntouched);
        EXPECT_EQ(stdoutOf([&] { bitmap.decode(few.data()); }), kShortData);
        std::fclose(opened);
    }
}

TEST(ZkBitmap, APictureLargerThanTheAddressSpaceIsShortData)
{
    if (sizeof(void *) > 4) {
        GTEST_SKIP() << "a picture of whole rows fits the addresses of this machine";
    }
    File file;
    file.width = 4;
    file.height = 1 << 28; // of 16 bytes a row: 4 GiB
    file.rows.assign(64, 1);
    for (unsigned depth : {8u, 16u, 32u}) {
        SCOPED_TRACE(depth);
        file.depth = depth;
        file.table = colorTable(depth == 8 ? 256 : 0);
        std::FILE *opened = openBytes(file.bytes());
        ZkBitmap bitmap(opened);
        Bytes few(64, kUntouched);
        EXPECT_EQ(stdoutOf([&] { bitmap.decode(few.data()); }), kShortData);
        EXPECT_EQ(few, Bytes(64, kUntouched));
        std::fclose(opened);
    }
}

TEST(ZkBitmap, NumberOfColorsIsAPowerOfTwo)
{
    const struct {
        int depth, colors;
    } kRows[] = {
        {INT_MIN, 1},
        {-1, 1},
        {0, 1},
        {1, 2},
        {4, 16},
        {8, 256},
        {16, 65536},
        {24, 16777216},
        {30, 1 << 30},
        {31, INT_MAX},
        {32, 16777216},
        {33, INT_MAX},
        {INT_MAX, INT_MAX},
    };
    ZkBitmap bitmap;
    for (const auto &row : kRows) {
        EXPECT_EQ(bitmap.setBitDepth(row.depth), 1);
        EXPECT_EQ(bitmap.bitDepth(), row.depth);
        EXPECT_EQ(bitmap.tellNumberOfColors(), row.colors) << row.depth;
    }
}

TEST(ZkBitmap, OnlyDepthsBelow16HaveATable)
{
    ZkBitmap bitmap;
    for (int depth = -1; depth <= 33; ++depth) {
        bitmap.setBitDepth(depth);
        EXPECT_EQ(ZkInspector::hasColorTable(bitmap), depth == 1 || depth == 4 || depth == 8)
            << depth;
    }
}

TEST(ZkBitmap, StandardTableOf1BitIsBlackAndWhite)
{
    ZkBitmap bitmap;
    bitmap.setBitDepth(1);
    EXPECT_TRUE(bitmap.getColor(0) == (RGBApixel{0, 0, 0, 255}));
    EXPECT_TRUE(bitmap.getColor(1) == (RGBApixel{255, 255, 255, 255}));
}

TEST(ZkBitmap, StandardTableOf4BitsIsTheSixteenColours)
{
    const RGBApixel kColors[16] = {
        // blue, green, red, alpha
        {0, 0, 0, 255},       {0, 0, 128, 255},   {0, 128, 0, 255},   {0, 128, 128, 255},
        {128, 0, 0, 255},     {128, 0, 128, 255}, {128, 128, 0, 255}, {128, 128, 128, 255},
        {192, 192, 192, 255}, {0, 0, 255, 255},   {0, 255, 0, 255},   {0, 255, 255, 255},
        {255, 0, 0, 255},     {255, 0, 255, 255}, {255, 255, 0, 255}, {255, 255, 255, 255},
    };
    ZkBitmap bitmap;
    bitmap.setBitDepth(4);
    for (int i = 0; i < 16; ++i) {
        EXPECT_TRUE(bitmap.getColor(i) == kColors[i]) << i;
    }
}

TEST(ZkBitmap, StandardTableOf8BitsHasTwentyFixedColours)
{
    const struct {
        int index;
        unsigned char red, green, blue;
    } kFixed[] = {
        {0, 0, 0, 0},         {1, 128, 0, 0},     {2, 0, 128, 0},       {3, 128, 128, 0},
        {4, 0, 0, 128},       {5, 128, 0, 128},   {6, 0, 128, 128},     {7, 192, 192, 192},
        {8, 192, 220, 192},   {9, 166, 202, 240}, {246, 255, 251, 240}, {247, 160, 160, 164},
        {248, 128, 128, 128}, {249, 255, 0, 0},   {250, 0, 255, 0},     {251, 255, 255, 0},
        {252, 0, 0, 255},     {253, 255, 0, 255}, {254, 0, 255, 255},   {255, 255, 255, 255},
    };
    ZkBitmap bitmap;
    bitmap.setBitDepth(8);
    for (const auto &fixed : kFixed) {
        EXPECT_TRUE(bitmap.getColor(fixed.index) ==
                    (RGBApixel{fixed.blue, fixed.green, fixed.red, 255}))
            << fixed.index;
    }
    // The others count red fastest in steps of 32, then green, then blue in steps of 64.
    int index = 0;
    for (int blue = 0; blue < 256; blue += 64) {
        for (int green = 0; green < 256; green += 32) {
            for (int red = 0; red < 256; red += 32, ++index) {
                if (index >= 10 && index < 246) {
                    EXPECT_TRUE(bitmap.getColor(index) ==
                                (RGBApixel{static_cast<unsigned char>(blue),
                                           static_cast<unsigned char>(green),
                                           static_cast<unsigned char>(red), 255}))
                        << index;
                }
            }
        }
    }
    EXPECT_EQ(index, 256);
}

TEST(ZkBitmap, SetColorIsKeptUntilTheTableIsReplaced)
{
    const RGBApixel color = {1, 2, 3, 4};
    ZkBitmap bitmap;
    bitmap.setBitDepth(4);
    EXPECT_EQ(bitmap.setColor(15, color), 1);
    EXPECT_TRUE(bitmap.getColor(15) == color);
    bitmap.createStandardColorTable();
    EXPECT_TRUE(bitmap.getColor(15) == (RGBApixel{255, 255, 255, 255}));
    EXPECT_EQ(bitmap.setColor(0, color), 1);
    bitmap.setBitDepth(4);
    EXPECT_TRUE(bitmap.getColor(0) == (RGBApixel{0, 0, 0, 255}));
}

TEST(ZkBitmap, AnEntryOutsideTheTableIsWhiteAndSilent)
{
    const RGBApixel white = {255, 255, 255, 255};
    EXPECT_EQ(stdoutOf([&] {
                  ZkBitmap bitmap;
                  for (int depth : {1, 4, 8}) {
                      bitmap.setBitDepth(depth);
                      for (int i : {-1, 1 << depth, INT_MAX, INT_MIN}) {
                          EXPECT_TRUE(bitmap.getColor(i) == white) << i;
                          EXPECT_EQ(bitmap.setColor(i, RGBApixel{1, 2, 3, 4}), 0) << i;
                      }
                  }
              }),
              "");
}

TEST(ZkBitmap, SaysThatADepthHasNoTable)
{
    const RGBApixel white = {255, 255, 255, 255};
    for (int depth : {0, 16, 24, 32, 3}) {
        SCOPED_TRACE(depth);
        ZkBitmap bitmap;
        bitmap.setBitDepth(depth);
        EXPECT_EQ(stdoutOf([&] { EXPECT_TRUE(bitmap.getColor(0) == white); }),
                  "Attempted to access color table for a BMP object that lacksa color table. "
                  "Ignoring request.\n");
        EXPECT_EQ(stdoutOf([&] { EXPECT_EQ(bitmap.setColor(0, white), 0); }),
                  "Attempted to change color table for a BMP object thatlacks a color table. "
                  "Ignoring request.\n");
    }
}

TEST(ZkBitmap, SaysThatATableIsMissing)
{
    const RGBApixel white = {255, 255, 255, 255};
    for (int depth : {1, 4, 8}) {
        SCOPED_TRACE(depth);
        ZkBitmap bitmap;
        bitmap.setBitDepth(depth);
        ZkInspector::dropColorTable(bitmap);
        EXPECT_EQ(stdoutOf([&] { EXPECT_TRUE(bitmap.getColor(0) == white); }),
                  "Requested a color, but the color table is not defined. Ignoring request.\n");
        EXPECT_EQ(stdoutOf([&] { EXPECT_EQ(bitmap.setColor(0, white), 0); }), "No color to set.\n");
    }
}

namespace
{

using RowReader = int (ZkBitmap::*)(const unsigned char *, int, int);
const struct {
    int bits;
    RowReader read;
    int shortest; // bytes of nine pixels
} kRowReaders[] = {
    {1, &ZkBitmap::read1bitRow, 2},    {4, &ZkBitmap::read4bitRow, 5},
    {8, &ZkBitmap::read8bitRow, 9},    {24, &ZkBitmap::read24bitRow, 27},
    {32, &ZkBitmap::read32bitRow, 36},
};

} // namespace

TEST(ZkBitmap, ARowReaderWritesOneRowOfTheBuffer)
{
    std::mt19937 random(79);
    for (const auto &reader : kRowReaders) {
        SCOPED_TRACE(reader.bits);
        File file = randomFile(random, static_cast<unsigned>(reader.bits), 0, 9, 3);
        std::FILE *opened = openBytes(file.bytes());
        ZkBitmap bitmap(opened);
        Bytes pixels(9 * 3 * 4);
        bitmap.decode(pixels.data());
        const Bytes expected = pixels;
        const std::size_t rowBytes = file.rows.size() / 3;
        for (int y = 0; y < 3; ++y) {
            Bytes row(file.rows.begin() + (2 - y) * static_cast<long>(rowBytes),
                      file.rows.begin() + (3 - y) * static_cast<long>(rowBytes));
            row.resize(static_cast<std::size_t>(reader.shortest)); // no byte behind is read
            row.shrink_to_fit();
            std::fill(pixels.begin() + y * 36, pixels.begin() + y * 36 + 36, kUntouched);
            EXPECT_EQ((bitmap.*reader.read)(row.data(), reader.shortest, y), 1);
            EXPECT_EQ(pixels, expected) << y;
        }
        std::fclose(opened);
    }
}

TEST(ZkBitmap, ARowReaderRefusesWhatItCannotConvert)
{
    std::mt19937 random(80);
    for (const auto &reader : kRowReaders) {
        SCOPED_TRACE(reader.bits);
        File file = randomFile(random, static_cast<unsigned>(reader.bits), 0, 9, 3);
        std::FILE *opened = openBytes(file.bytes());
        ZkBitmap bitmap(opened);
        const Bytes row(64, 0);
        EXPECT_EQ((bitmap.*reader.read)(row.data(), 64, 0), 0) << "no buffer yet";
        Bytes pixels(9 * 3 * 4);
        bitmap.decode(pixels.data());
        const Bytes expected = pixels;
        EXPECT_EQ((bitmap.*reader.read)(row.data(), reader.shortest - 1, 0), 0);
        EXPECT_EQ((bitmap.*reader.read)(row.data(), 0, 0), 0);
        EXPECT_EQ((bitmap.*reader.read)(row.data(), INT_MIN, 0), 0);
        EXPECT_EQ((bitmap.*reader.read)(nullptr, 64, 0), 0);
        for (int y : {-1, 3, INT_MAX, INT_MIN}) {
            EXPECT_EQ((bitmap.*reader.read)(row.data(), 64, y), 0) << y;
        }
        if (reader.bits <= 8) {
            ZkInspector::dropColorTable(bitmap);
            EXPECT_EQ((bitmap.*reader.read)(row.data(), 64, 0), 0) << "no table";
        }
        EXPECT_EQ(pixels, expected);
        ZkBitmap fresh;
        EXPECT_EQ((fresh.*reader.read)(row.data(), 64, 0), 0) << "no size";
        std::fclose(opened);
    }
}

TEST(ZkBitmap, AnIndexWithoutAnEntryIsWhite)
{
    File file;
    file.width = 2;
    file.depth = 1;
    file.table = {1, 2, 3, 0, 4, 5, 6, 0};
    file.rows = {0, 0, 0, 0};
    std::FILE *opened = openBytes(file.bytes());
    ZkBitmap bitmap(opened);
    Bytes pixels = Bytes(8);
    bitmap.decode(pixels.data());
    const unsigned char bytesRow[] = {1, 200};
    EXPECT_EQ(bitmap.read8bitRow(bytesRow, 2, 0), 1);
    EXPECT_EQ(pixels, Bytes({4, 5, 6, 255, 255, 255, 255, 255}));
    const unsigned char nibbleRow[] = {0x0F};
    EXPECT_EQ(bitmap.read4bitRow(nibbleRow, 1, 0), 1);
    EXPECT_EQ(pixels, Bytes({1, 2, 3, 255, 255, 255, 255, 255}));
    std::fclose(opened);
}

TEST(ZkBitmap, RowsOfFewerBitsUseTheFirstEntriesOfATable)
{
    File file;
    file.width = 2;
    file.depth = 8;
    file.table = colorTable(256);
    file.rows = {0, 0, 0, 0};
    std::FILE *opened = openBytes(file.bytes());
    ZkBitmap bitmap(opened);
    Bytes pixels = Bytes(8);
    bitmap.decode(pixels.data());
    const unsigned char bits[] = {0x7F}, nibbles[] = {0xF2};
    EXPECT_EQ(bitmap.read1bitRow(bits, 1, 0), 1);
    EXPECT_EQ(pixels, Bytes({0x30, 0x20, 0x10, 255, 0x35, 0x23, 0x11, 255}));
    EXPECT_EQ(bitmap.read4bitRow(nibbles, 1, 0), 1);
    EXPECT_EQ(pixels, Bytes({0x7B, 0x4D, 0x1F, 255, 0x3A, 0x26, 0x12, 255}));
    std::fclose(opened);
}

TEST(ZkBitmap, ReadingTheHeadersAgainForgetsTheBuffer)
{
    File file;
    file.rows = {1, 2, 3, 0};
    std::FILE *opened = openBytes(file.bytes());
    ZkBitmap bitmap(opened);
    EXPECT_EQ(decoded(bitmap), Bytes({1, 2, 3, 255}));
    std::fseek(opened, 0, SEEK_SET);
    EXPECT_EQ(bitmap.readHeaderInfo(), 1);
    EXPECT_EQ(bitmap.read24bitRow(file.rows.data(), 3, 0), 0);
    EXPECT_EQ(stdoutOf([&] { EXPECT_EQ(bitmap.readHeaderInfo(), 0); }),
              "The format of this image file is not bmp file.\n")
        << "the file stands behind its headers";
    std::fclose(opened);
    EXPECT_EQ(stdoutOf([] { EXPECT_EQ(ZkBitmap().readHeaderInfo(), 0); }),
              "The format of this image file is not bmp file.\n");
}

TEST(ZkBitmap, SafeFreadTellsWhetherEverythingCame)
{
    Bytes bytes = {1, 2, 3, 4, 5};
    std::FILE *file = openBytes(bytes);
    std::fseek(file, 0, SEEK_SET);
    char buffer[8] = {};
    EXPECT_EQ(ZkBitmap::safeFread(buffer, 2, 2, file), 1);
    EXPECT_EQ(buffer[3], 4);
    EXPECT_EQ(ZkBitmap::safeFread(buffer, 1, 0, file), 1);
    EXPECT_EQ(ZkBitmap::safeFread(buffer, 1, -1, file), 1) << "less than nothing is nothing";
    EXPECT_EQ(ZkBitmap::safeFread(nullptr, 1, 1, file), 0);
    EXPECT_EQ(ZkBitmap::safeFread(buffer, 1, 1, nullptr), 0);
    EXPECT_EQ(ZkBitmap::safeFread(buffer, 2, 1, file), 0) << "half an item";
    EXPECT_EQ(ZkBitmap::safeFread(buffer, 1, 0, file), 0) << "the end was met";
    std::fclose(file);
}
