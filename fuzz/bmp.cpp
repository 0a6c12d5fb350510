// Any bytes as a BMP file: messages and pixels are those of a reader that looks
// at one pixel at a time, and no more memory is taken than the bytes are worth.

#include <zkbitmap.h>

#include "bmpmodel.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

// Of the sanitizer's run-time; a replay of the seeds without one watches no allocations.
extern "C" __attribute__((weak)) int
__sanitizer_install_malloc_and_free_hooks(void (*)(const volatile void *, std::size_t),
                                          void (*)(const volatile void *));

namespace
{

constexpr std::int64_t kMostPixels = 1 << 16;
constexpr unsigned char kUntouched = 0xA5;

std::size_t largestAllocation = 0;

void noteAllocation(const volatile void *, std::size_t bytes)
{
    largestAllocation = std::max(largestAllocation, bytes);
}

void noteFree(const volatile void *)
{
}

void require(bool holds, const char *what)
{
    if (!holds) {
        std::fprintf(stderr, "bmp: %s\n", what);
        std::abort();
    }
}

// Gathers what is printed while it lives.
class Printed
{
public:
    Printed() : m_stdout(stdout) { stdout = open_memstream(&m_text, &m_size); }
    ~Printed()
    {
        std::fclose(stdout);
        stdout = m_stdout;
        std::free(m_text);
    }
    Printed(const Printed &) = delete;
    Printed &operator=(const Printed &) = delete;

    // What came since the last call.
    std::string take()
    {
        std::fflush(stdout);
        const std::string text(m_text + m_taken, m_size - m_taken);
        m_taken = m_size;
        return text;
    }

private:
    std::FILE *m_stdout;
    char *m_text = nullptr;
    std::size_t m_size = 0;
    std::size_t m_taken = 0;
};

// Whether decoding writes no further than `pixels` pixels: true of a picture of
// that size, and of one that is so large that the file has not even a row of it.
bool fits(const bmpmodel::Result &expected, std::int64_t pixels, std::size_t fileSize)
{
    const std::int64_t rowBits = std::int64_t(expected.width) * expected.depth;
    return std::int64_t(expected.width) * expected.height <= pixels ||
           rowBits / 8 > static_cast<std::int64_t>(fileSize);
}

void checkRows(ZkBitmap &bitmap, const bmpmodel::Bytes &bytes)
{
    using Reader = int (ZkBitmap::*)(const unsigned char *, int, int);
    for (Reader reader : {&ZkBitmap::read1bitRow, &ZkBitmap::read4bitRow, &ZkBitmap::read8bitRow,
                          &ZkBitmap::read24bitRow, &ZkBitmap::read32bitRow}) {
        for (int y : {-1, 0, bitmap.height() - 1, bitmap.height()}) {
            (bitmap.*reader)(bytes.data(), static_cast<int>(bytes.size()), y);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    require(__sanitizer_install_malloc_and_free_hooks == nullptr ||
                __sanitizer_install_malloc_and_free_hooks(noteAllocation, noteFree) != 0,
            "allocations cannot be watched");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0 || size > 1 << 20) {
        return 0;
    }
    bmpmodel::Bytes bytes(data, data + size);
    const bmpmodel::Result expected = bmpmodel::read(bytes, kUntouched, kMostPixels);
    std::FILE *file = fmemopen(bytes.data(), size, "rb");
    {
        Printed printed;
        ZkBitmap bitmap(file);
        require(bitmap.isOpen() == expected.accepted, "accepted or not");
        require(printed.take() == expected.headerMessages, "messages of the headers");
        if (bitmap.isOpen() && fits(expected, kMostPixels, size)) {
            require(bitmap.width() == expected.width && bitmap.height() == expected.height &&
                        bitmap.bitDepth() == expected.depth,
                    "size");
            // Of a picture that large, 16 bits alone write what they have of a row.
            bmpmodel::Bytes pixels(std::max(expected.pixels.size(), size * 2), kUntouched);
            largestAllocation = 0;
            bitmap.decode(pixels.data());
            require(largestAllocation <= 2 * size + 65536, "memory for bytes that are not there");
            require(printed.take() == expected.messages, "messages of decoding");
            if (!expected.pixels.empty()) {
                require(std::equal(expected.pixels.begin(), expected.pixels.end(), pixels.begin()),
                        "pixels");
                checkRows(bitmap, bytes);
                const int depths[] = {1, 4, 8, 16, 24, 32, 5};
                bitmap.setBitDepth(depths[data[size - 1] % 7]);
                bitmap.decode(pixels.data());
            }
        }
    }
    std::fclose(file);
    return 0;
}
