#ifndef BMPMODEL_H
#define BMPMODEL_H

/// A BMP file under construction, and a second reader of BMP bytes: it looks at
/// one pixel at a time in a file held in memory, and tells the pixels and the
/// messages that a reader gives for any bytes at all.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace bmpmodel
{

using Bytes = std::vector<unsigned char>;

inline void appendNumber(Bytes &bytes, std::uint64_t value, int size)
{
    for (int i = 0; i < size; ++i) {
        bytes.push_back(static_cast<unsigned char>(value >> (8 * i)));
    }
}

/// Fields of a file in the making; the defaults are a sound 24-bit file.
struct File {
    std::int64_t width = 1;
    std::int64_t height = 1;
    unsigned depth = 24;
    std::uint32_t compression = 0;
    Bytes table;              // whatever stands between the headers and the rows
    Bytes rows;               // bottom row first, padded
    std::int64_t offset = -1; // -1: where the rows really start

    Bytes bytes() const
    {
        const std::int64_t start = 54 + static_cast<std::int64_t>(table.size());
        Bytes result = {'B', 'M'};
        appendNumber(result, static_cast<std::uint64_t>(start) + rows.size(), 4);
        appendNumber(result, 0x1122, 2); // reserved words
        appendNumber(result, 0x3344, 2);
        appendNumber(result, static_cast<std::uint64_t>(offset < 0 ? start : offset), 4);
        appendNumber(result, 40, 4);
        appendNumber(result, static_cast<std::uint64_t>(width), 4);
        appendNumber(result, static_cast<std::uint64_t>(height), 4);
        appendNumber(result, 1, 2);
        appendNumber(result, depth, 2);
        appendNumber(result, compression, 4);
        appendNumber(result, rows.size(), 4);
        appendNumber(result, 2835, 4); // resolutions
        appendNumber(result, 5670, 4);
        appendNumber(result, 7, 4); // colours used, important ones
        appendNumber(result, 3, 4);
        result.insert(result.end(), table.begin(), table.end());
        result.insert(result.end(), rows.begin(), rows.end());
        return result;
    }
};

/// A colour table of `entries` different colours, its fourth bytes 0 as most files have them.
inline Bytes colorTable(int entries)
{
    Bytes table;
    for (int i = 0; i < entries; ++i) {
        appendNumber(table, static_cast<unsigned>(i) * 0x010305u + 0x102030u, 3);
        table.push_back(0);
    }
    return table;
}

inline Bytes randomBytes(std::mt19937 &random, std::size_t count)
{
    Bytes bytes(count);
    for (unsigned char &byte : bytes) {
        byte = static_cast<unsigned char>(random());
    }
    return bytes;
}

/// A sound file of random pixels.
inline File randomFile(std::mt19937 &random, unsigned depth, std::uint32_t compression, int width,
                       int height)
{
    File file;
    file.width = width;
    file.height = height;
    file.depth = depth;
    file.compression = compression;
    if (depth < 16) {
        file.table = colorTable(1 << depth);
    } else if (compression == 3) {
        for (unsigned mask : {0xF800u, 0x07E0u, 0x001Fu}) {
            appendNumber(file.table, mask, 4);
        }
    }
    const std::size_t rowBytes = (static_cast<std::size_t>(width) * depth + 31) / 32 * 4;
    file.rows = randomBytes(random, rowBytes * static_cast<std::size_t>(height));
    return file;
}

/// Everything that is read.
constexpr struct Kind {
    const char *what;
    unsigned depth;
    std::uint32_t compression;
} kKinds[] = {
    {"1 bit", 1, 0},           {"4 bits", 4, 0},   {"8 bits", 8, 0},   {"16 bits, 5-5-5", 16, 0},
    {"16 bits, 5-6-5", 16, 3}, {"24 bits", 24, 0}, {"32 bits", 32, 0},
};

/// What reading a file gives.
struct Result {
    bool accepted = false;      // the headers
    std::string headerMessages; // of opening the file
    std::string messages;       // of decoding it
    int width = 0, height = 0, depth = 0;
    Bytes pixels; // four bytes a pixel; `untouched` where nothing was written
};

class Reader
{
public:
    Reader(const Bytes &file, unsigned char untouched) : m_file(file), m_untouched(untouched) {}

    /// Reads the headers; the pixels too if there are at most `mostPixels`, else
    /// only the messages are told.
    Result read(std::int64_t mostPixels)
    {
        readHeaders();
        if (!m_result.accepted) {
            m_result.headerMessages += "ZkBitmap(): BMP header error !!!\n";
            return m_result;
        }
        const std::int64_t area = std::int64_t(m_result.width) * m_result.height;
        m_keepPixels = area <= mostPixels;
        if (m_keepPixels) {
            m_result.pixels.assign(static_cast<std::size_t>(area * 4), m_untouched);
        }
        m_position = 54;
        const std::int64_t addressable = sizeof(void *) == 4 ? INT32_MAX : INT64_MAX;
        m_tooLarge = rowBytes() > INT32_MAX || area > addressable / 4;
        if (m_result.depth == 16) {
            read16();
        } else {
            readOthers();
        }
        return m_result;
    }

private:
    std::int64_t size() const { return static_cast<std::int64_t>(m_file.size()); }

    std::uint32_t number(std::int64_t at, int bytes) const
    {
        std::uint32_t value = 0;
        for (int i = bytes - 1; i >= 0; --i) {
            value = value * 256 + m_file[static_cast<std::size_t>(at + i)];
        }
        return value;
    }

    void refuse(const char *why) { m_result.headerMessages += std::string(why) + "\n"; }

    void readHeaders()
    {
        if (size() < 2 || m_file[0] != 'B' || m_file[1] != 'M') {
            return refuse("The format of this image file is not bmp file.");
        }
        if (size() < 54) {
            return refuse("Read information of bmp file header failed.");
        }
        const std::uint32_t compression = number(30, 4);
        const std::uint32_t depth = number(28, 2);
        if (compression == 1 || compression == 2) {
            return refuse("Can not support RLE compression.");
        }
        if (compression > 3) {
            return refuse("Can not support this compression format.");
        }
        if (compression == 3 && depth != 16) {
            return refuse("This format could use bit fields and is not a 16-bit file,we can't "
                          "support.");
        }
        const unsigned known[] = {1, 4, 8, 16, 24, 32};
        if (std::find(std::begin(known), std::end(known), depth) == std::end(known)) {
            return refuse("Unrecognized bit depth.");
        }
        m_result.depth = static_cast<int>(depth);
        if (number(18, 4) - 1 >= 0x7FFFFFFF || number(22, 4) - 1 >= 0x7FFFFFFF) {
            return refuse("This file has a non-positive width or height.");
        }
        m_result.width = static_cast<int>(number(18, 4));
        m_result.height = static_cast<int>(number(22, 4));
        m_result.accepted = true;
    }

    std::int64_t rowBytes() const
    {
        const std::int64_t bits = std::int64_t(m_result.width) * m_result.depth;
        return (bits + 31) / 32 * 4;
    }

    std::int64_t gap() const { return std::max<std::int64_t>(std::int64_t(number(10, 4)) - 54, 0); }

    void skip(std::int64_t bytes, const char *message)
    {
        if (bytes > 0) {
            m_result.messages += message;
            m_position = std::min(m_position + bytes, size());
        }
    }

    void shortData() { m_result.messages += "Could not read proper amount of data.\n"; }

    void put(int x, int y, unsigned blue, unsigned green, unsigned red, unsigned alpha)
    {
        if (m_keepPixels) {
            const std::size_t at =
                static_cast<std::size_t>((std::int64_t(y) * m_result.width + x) * 4);
            m_result.pixels[at] = static_cast<unsigned char>(blue);
            m_result.pixels[at + 1] = static_cast<unsigned char>(green);
            m_result.pixels[at + 2] = static_cast<unsigned char>(red);
            m_result.pixels[at + 3] = static_cast<unsigned char>(alpha);
        }
    }

    void readTable()
    {
        const std::int64_t entries = std::int64_t(1) << m_result.depth;
        const std::int64_t wanted = std::min(gap() / 4, entries);
        m_table.assign(static_cast<std::size_t>(entries) * 3, 255);
        std::int64_t got = 0;
        for (; got < wanted && m_position + 4 <= size(); ++got, m_position += 4) {
            for (int i = 0; i < 3; ++i) {
                m_table[static_cast<std::size_t>(got * 3 + i)] =
                    m_file[static_cast<std::size_t>(m_position + i)];
            }
        }
        if (got < wanted) {
            m_position = size();
        }
        if (got < entries) {
            m_result.messages +=
                "Warning: file has an underspecified color table.The tablewill be padded with "
                "extra white (255,255,255,0) entries.\n";
        }
    }

    void readOthers()
    {
        std::int64_t tableBytes = 0;
        if (m_result.depth < 16) {
            readTable();
            tableBytes = std::int64_t(4) << m_result.depth;
        }
        skip(gap() - tableBytes,
             "Warning: Extra meta data detected in file Data will be skipped.\n");
        for (int line = 0; line < m_result.height; ++line) {
            if (m_tooLarge || m_position + rowBytes() > size()) {
                return shortData();
            }
            for (int x = 0; x < m_result.width && m_keepPixels; ++x) {
                readPixel(x, m_result.height - 1 - line);
            }
            m_position += rowBytes();
        }
    }

    void readPixel(int x, int y)
    {
        const std::int64_t bit = std::int64_t(x) * m_result.depth;
        const unsigned char *at = &m_file[static_cast<std::size_t>(m_position + bit / 8)];
        if (m_result.depth >= 24) {
            put(x, y, at[0], at[1], at[2], m_result.depth == 32 ? at[3] : 255);
            return;
        }
        const int right = 8 - m_result.depth - static_cast<int>(bit % 8);
        const std::size_t index = (*at >> right) % (1u << m_result.depth);
        put(x, y, m_table[index * 3], m_table[index * 3 + 1], m_table[index * 3 + 2], 255);
    }

    // A component in the five bits that end at the mask's highest bit, or at the
    // lowest of the pixel.
    static unsigned component(unsigned value, unsigned mask)
    {
        unsigned highest = 4;
        for (unsigned bit = 5; bit < 16; ++bit) {
            if (mask & (1u << bit)) {
                highest = bit;
            }
        }
        return (value & mask) / (1u << (highest - 4)) % 32 * 8;
    }

    void read16()
    {
        unsigned masks[3] = {0x7C00, 0x03E0, 0x001F}; // red, green, blue
        std::int64_t maskBytes = 0;
        if (number(30, 4) == 3) {
            maskBytes = 12;
            for (unsigned &mask : masks) {
                if (m_position + 4 <= size()) {
                    mask = number(m_position, 2);
                }
                m_position = std::min(m_position + 4, size());
            }
        }
        skip(gap() - maskBytes, "Warning: Extra meta data detected in file, Data will be "
                                "skipped.\n");
        for (int y = 0; y < m_result.height; ++y) {
            for (int x = 0; x < m_result.width; ++x) {
                if (m_tooLarge || m_position + 2 > size()) {
                    return shortData();
                }
                const unsigned value = number(m_position, 2);
                put(x, y, component(value, masks[2]), component(value, masks[1]),
                    component(value, masks[0]), 255);
                m_position += 2;
            }
            m_position = std::min(m_position + m_result.width % 2 * 2, size());
        }
    }

    const Bytes &m_file;
    unsigned char m_untouched;
    Result m_result;
    Bytes m_table; // blue, green, red
    std::int64_t m_position = 0;
    bool m_keepPixels = false;
    bool m_tooLarge = false;
};

/// What opening and decoding `file` gives. Of a picture above `mostPixels` only
/// the messages are told.
inline Result read(const Bytes &file, unsigned char untouched = 0xA5,
                   std::int64_t mostPixels = 1 << 20)
{
    return Reader(file, untouched).read(mostPixels);
}

} // namespace bmpmodel

#endif
