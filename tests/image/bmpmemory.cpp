// What a picture gives when there is no memory for its rows.

#include "zkbitmap.h"

#include "bmpmodel.h"
#include "sanitizedmalloc.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace
{

int granted = INT_MAX; // so many blocks, and no more

} // namespace

#ifndef ZK_MALLOC_IS_THE_SANITIZERS
// Stands before the C library's own.
extern "C" void *__libc_realloc(void *, std::size_t);
extern "C" void *realloc(void *block, std::size_t bytes) noexcept
{
    return granted-- > 0 ? __libc_realloc(block, bytes) : nullptr;
}
#endif

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
        const bmpmodel::Bytes bytes = file.bytes();
        std::FILE *const opened = std::tmpfile();
        ASSERT_EQ(std::fwrite(bytes.data(), bytes.size(), 1, opened), 1u);
        std::fflush(opened);
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
