// What a picture gives when there is no memory for its rows.

#include "zkbitmap.h"

#include "bmpmodel.h"
#include "sanitizedmalloc.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace
{

int granted = INT_MAX;   // so many blocks, and no more
std::size_t largest = 0; // block that was asked for

} // namespace

#ifndef ZK_MALLOC_IS_THE_SANITIZERS
// Stands before the C library's own.
extern "C" void *__libc_realloc(void *, std::size_t);
extern "C" void *realloc(void *block, std::size_t bytes) noexcept
{
    largest = std::max(largest, bytes);
    return granted-- > 0 ? __libc_realloc(block, bytes) : nullptr;
}
#endif

namespace
{

/// A file of its own that holds a picture.
std::FILE *written(const bmpmodel::File &picture)
{
    const bmpmodel::Bytes bytes = picture.bytes();
    std::FILE *const file = std::tmpfile();
    EXPECT_EQ(std::fwrite(bytes.data(), bytes.size(), 1, file), 1u);
    std::fflush(file);
    return file;
}

} // namespace

TEST(BmpMemory, RowsThatHaveNoRoomAreShortData)
{
#ifdef ZK_MALLOC_IS_THE_SANITIZERS
    GTEST_SKIP() << "the sanitizer's malloc cannot be made to fail";
#endif
    constexpr unsigned char kUntouched = 0xA5;
    const struct {
        const char *what;
        unsigned depth;
        int width, height, granted;
    } kRows[] = {
        {"none for a small picture", 24, 3, 3, 0},
        {"none for a wide row", 32, 10000, 2, 0},
        {"a part of a wide row", 32, 10000, 2, 1},
        {"none for grey rows", 8, 64, 64, 0},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        bmpmodel::File file;
        file.depth = row.depth;
        file.width = row.width;
        file.height = row.height;
        file.table = bmpmodel::colorTable(row.depth == 8 ? 256 : 0);
        file.rows.assign(static_cast<std::size_t>(row.width) * row.depth / 8 *
                                 static_cast<std::size_t>(row.height) +
                             64,
                         0x77);
        std::FILE *const opened = written(file);
        ZkBitmap bitmap(opened);
        ASSERT_TRUE(bitmap.isOpen());
        std::vector<unsigned char> pixels(static_cast<std::size_t>(row.width) *
                                              static_cast<std::size_t>(row.height) * 4,
                                          kUntouched);
        testing::internal::CaptureStdout();
        granted = row.granted;
        bitmap.decode(pixels.data());
        granted = INT_MAX;
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  "Could not read proper amount of data.\n");
        EXPECT_EQ(pixels.back(), kUntouched) << "no row is there as a whole";
        EXPECT_EQ(pixels.front(), kUntouched);
        bitmap.decode(pixels.data()); // with memory back
        EXPECT_NE(pixels.back(), kUntouched);
        EXPECT_NE(pixels.front(), kUntouched);
        std::fclose(opened);
    }
}

TEST(BmpMemory, RowsAreReadByBlocks)
{
#ifdef ZK_MALLOC_IS_THE_SANITIZERS
    GTEST_SKIP() << "the sanitizer's malloc cannot be looked at";
#endif
    constexpr std::size_t kBlock = 16384;
    const struct {
        const char *what;
        int width, height;
        std::size_t asked;
    } kRows[] = {
        {"a small picture as a whole", 4, 5, 60},
        {"many rows, as many whole ones as a block holds", 100, 2000, kBlock / 300 * 300},
        {"each row longer than a block", 8000, 3, 24000},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        bmpmodel::File file;
        file.depth = 24;
        file.width = row.width;
        file.height = row.height;
        file.rows.assign(
            static_cast<std::size_t>(row.width) * 3 * static_cast<std::size_t>(row.height), 0x77);
        std::FILE *const opened = written(file);
        ZkBitmap bitmap(opened);
        ASSERT_TRUE(bitmap.isOpen());
        std::vector<unsigned char> pixels(static_cast<std::size_t>(row.width) *
                                          static_cast<std::size_t>(row.height) * 4);
        largest = 0;
        bitmap.decode(pixels.data());
        EXPECT_EQ(largest, row.asked);
        EXPECT_EQ(pixels.front(), 0x77);
        EXPECT_EQ(pixels[pixels.size() - 2], 0x77);
        std::fclose(opened);
    }
}
