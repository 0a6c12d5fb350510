#include "zkbitmap.h"
#include "image/zkbmprows.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

static_assert(sizeof(RGBApixel) == 4, "an entry is read from the file as it stands there");

namespace
{

constexpr int kHeadersBytes = 54; // both headers; tables and pixels follow
constexpr int kMasksBytes = 12;   // red, green and blue mask of a 16-bit file
constexpr int kMostEntries = 256;

constexpr std::uint16_t kTypeBM = 0x4D42;
constexpr std::uint32_t kRle8 = 1, kRle4 = 2, kBitFields = 3; // 0 is uncompressed

constexpr RGBApixel kWhite = {255, 255, 255, 255};

// Red, green, blue of the sixteen colours that 4-bit files use.
constexpr unsigned char kColors4[16][3] = {
    {0, 0, 0},     {128, 0, 0},     {0, 128, 0},     {128, 128, 0},   {0, 0, 128}, {128, 0, 128},
    {0, 128, 128}, {128, 128, 128}, {192, 192, 192}, {255, 0, 0},     {0, 255, 0}, {255, 255, 0},
    {0, 0, 255},   {255, 0, 255},   {0, 255, 255},   {255, 255, 255},
};

// The twenty fixed colours of 8-bit files: entries 0 to 9, then 246 to 255.
constexpr unsigned char kFixedColors8[20][3] = {
    {0, 0, 0},       {128, 0, 0},     {0, 128, 0},     {128, 128, 0},   {0, 0, 128},
    {128, 0, 128},   {0, 128, 128},   {192, 192, 192}, {192, 220, 192}, {166, 202, 240},
    {255, 251, 240}, {160, 160, 164}, {128, 128, 128}, {255, 0, 0},     {0, 255, 0},
    {255, 255, 0},   {0, 0, 255},     {255, 0, 255},   {0, 255, 255},   {255, 255, 255},
};

RGBApixel opaque(int red, int green, int blue)
{
    return {static_cast<unsigned char>(blue), static_cast<unsigned char>(green),
            static_cast<unsigned char>(red), 255};
}

// Entry `i` of the standard table of 8-bit files: three bits of red, three of
// green, two of blue, with the fixed colours at both ends.
RGBApixel standardColor8(int i)
{
    if (i < 10 || i >= 246) {
        const unsigned char *rgb = kFixedColors8[i < 10 ? i : i - 236];
        return opaque(rgb[0], rgb[1], rgb[2]);
    }
    return opaque(i % 8 * 32, i / 8 % 8 * 32, i / 64 * 64);
}

// Little-endian numbers of a file; false, with `value` unchanged, when it ends.
bool readNumber(std::FILE *file, std::uint16_t &value)
{
    char bytes[2];
    if (!ZkBitmap::safeFread(bytes, 2, 1, file)) {
        return false;
    }
    value = static_cast<std::uint16_t>(static_cast<unsigned char>(bytes[0]) |
                                       static_cast<unsigned char>(bytes[1]) << 8);
    return true;
}

bool readNumber(std::FILE *file, std::uint32_t &value)
{
    std::uint16_t low = 0, high = 0; // no test can tell: only read where they were set
    if (!readNumber(file, low) || !readNumber(file, high)) {
        return false;
    }
    value = low | static_cast<std::uint32_t>(high) << 16;
    return true;
}

bool readNumber(std::FILE *file, std::int32_t &value)
{
    std::uint32_t bits = 0;
    if (!readNumber(file, bits)) {
        return false;
    }
    value = zkWrapped(bits);
    return true;
}

void swapBytes(std::uint16_t &value)
{
    value = __builtin_bswap16(value);
}

void swapBytes(std::uint32_t &value)
{
    value = __builtin_bswap32(value);
}

void swapBytes(std::int32_t &value)
{
    value = zkWrapped(__builtin_bswap32(static_cast<std::uint32_t>(value)));
}

// Reads all fields behind the type; false when the file ends in them.
bool readFields(std::FILE *file, ZkBitmap::FileHeader &head, ZkBitmap::InfoHeader &info)
{
    return readNumber(file, head.size) && readNumber(file, head.reserved1) &&
           readNumber(file, head.reserved2) && readNumber(file, head.dataOffset) &&
           readNumber(file, info.headerSize) && readNumber(file, info.width) &&
           readNumber(file, info.height) && readNumber(file, info.planes) &&
           readNumber(file, info.bitsPerPixel) && readNumber(file, info.compression) &&
           readNumber(file, info.imageSize) && readNumber(file, info.horizontalResolution) &&
           readNumber(file, info.verticalResolution) && readNumber(file, info.coloursUsed) &&
           readNumber(file, info.importantColours);
}

bool isIndexed(int depth)
{
    return depth == 1 || depth == 4 || depth == 8;
}

bool isKnownDepth(int depth)
{
    return isIndexed(depth) || depth == 16 || depth == 24 || depth == 32;
}

// Why pixels of this depth and compression cannot be read; null when they can.
const char *refusal(std::uint32_t compression, int depth)
{
    if (compression == kRle8 || compression == kRle4) {
        return "Can not support RLE compression.";
    }
    if (compression > kBitFields) {
        return "Can not support this compression format.";
    }
    if (compression == kBitFields && depth != 16) {
        return "This format could use bit fields and is not a 16-bit file,we can't support.";
    }
    return isKnownDepth(depth) ? nullptr : "Unrecognized bit depth.";
}

// Bytes from the end of the headers to the pixel rows; 0 for an offset that
// points into the headers.
std::int64_t bytesBeforePixels(const ZkBitmap::FileHeader &header)
{
    return std::max<std::int64_t>(static_cast<std::int64_t>(header.dataOffset) - kHeadersBytes, 0);
}

// Reads `bytes` bytes away, fewer where the file ends. A pipe cannot seek.
void skipBytes(std::FILE *file, std::int64_t bytes)
{
    char block[512];
    while (bytes > 0) {
        const std::size_t step = static_cast<std::size_t>(std::min<std::int64_t>(bytes, 512));
        if (std::fread(block, 1, step, file) < step) {
            return;
        }
        bytes -= static_cast<std::int64_t>(step);
    }
}

// Skips what stands between the tables and the pixels, with a warning. The two
// ways of decoding differ in one `comma`.
void skipMetaData(std::FILE *file, std::int64_t bytes, const char *comma)
{
    if (bytes > 0) {
        std::printf("Warning: Extra meta data detected in file%s Data will be skipped.\n", comma);
        skipBytes(file, bytes);
    }
}

// The masks of a file with bit fields: red, green, blue, four bytes each, of
// which the lower two count.
ZkBmpComponents readMasks(std::FILE *file)
{
    ZkBmpComponents components;
    for (ZkBmpComponent *component : {&components.red, &components.green, &components.blue}) {
        std::uint32_t mask = 0;
        if (readNumber(file, mask)) {
            *component = ZkBmpComponent(mask & 0xFFFF);
        }
    }
    return components;
}

// Says that the file holds fewer pixels than its headers claim.
void reportShortData()
{
    std::printf("Could not read proper amount of data.\n");
}

} // namespace

ZkBitmap::ZkBitmap() = default;

ZkBitmap::ZkBitmap(const char *path)
{
    if (path == nullptr) {
        path = "";
    }
    m_file = std::fopen(path, "rb");
    if (m_file == nullptr) {
        std::printf("Open %s file failed.\n", path);
        return;
    }
    if (!readHeaderInfo()) {
        std::fclose(m_file);
        m_file = nullptr;
        std::printf("ZkBitmap(): BMP header error !!!\n");
    }
}

ZkBitmap::ZkBitmap(std::FILE *file) : m_file(file), m_ownsFile(0)
{
    if (m_file == nullptr) {
        std::printf("ZkBitmap(): open buffer failed !!!\n");
        return;
    }
    std::fseek(m_file, 0, SEEK_SET);
    if (!readHeaderInfo()) {
        m_file = nullptr;
        std::printf("ZkBitmap(): BMP header error !!!\n");
    }
}

ZkBitmap::~ZkBitmap()
{
    std::free(m_colorTable);
    if (m_ownsFile && m_file != nullptr) {
        std::fclose(m_file);
    }
}

int ZkBitmap::readHeaderInfo()
{
    m_pixels = nullptr; // its size may be another one now
    m_fileHeader.type = 0;
    readNumber(m_file, m_fileHeader.type);
    if (m_fileHeader.type != kTypeBM) {
        std::printf("The format of this image file is not bmp file.\n");
        return 0;
    }
    if (!readFields(m_file, m_fileHeader, m_infoHeader)) {
        std::printf("Read information of bmp file header failed.\n");
        return 0;
    }
    m_horizontalResolution = m_infoHeader.horizontalResolution;
    m_verticalResolution = m_infoHeader.verticalResolution;
    if (const char *reason = refusal(m_infoHeader.compression, m_infoHeader.bitsPerPixel)) {
        std::printf("%s\n", reason);
        return 0;
    }
    setBitDepth(m_infoHeader.bitsPerPixel); // even a file of no size leaves its depth and table
    if (m_infoHeader.width <= 0 || m_infoHeader.height <= 0) {
        std::printf("This file has a non-positive width or height.\n");
        return 0;
    }
    m_width = m_infoHeader.width;
    m_height = m_infoHeader.height;
    return 1;
}

int ZkBitmap::setBitDepth(int depth)
{
    m_bitDepth = depth;
    std::free(m_colorTable);
    m_colorTable = nullptr;
    if (isIndexed(depth)) {
        m_colorTable = static_cast<RGBApixel *>(
            zkAllocate(static_cast<std::int64_t>(sizeof(RGBApixel)) << depth));
        createStandardColorTable();
    }
    return 1;
}

void ZkBitmap::createStandardColorTable()
{
    for (int i = 0; i < colorTableEntries(); ++i) {
        if (m_bitDepth == 1) {
            m_colorTable[i] = i == 0 ? opaque(0, 0, 0) : kWhite;
        } else if (m_bitDepth == 4) {
            m_colorTable[i] = opaque(kColors4[i][0], kColors4[i][1], kColors4[i][2]);
        } else {
            m_colorTable[i] = standardColor8(i);
        }
    }
}

int ZkBitmap::tellNumberOfColors() const
{
    if (m_bitDepth == 32) {
        return 1 << 24;
    }
    return m_bitDepth > 30 ? INT_MAX : 1 << std::max(m_bitDepth, 0);
}

RGBApixel ZkBitmap::getColor(int i) const
{
    if (!isIndexed(m_bitDepth)) {
        std::printf("Attempted to access color table for a BMP object that lacksa color table. "
                    "Ignoring request.\n");
        return kWhite;
    }
    if (m_colorTable == nullptr) {
        std::printf("Requested a color, but the color table is not defined. Ignoring request.\n");
        return kWhite;
    }
    return i >= 0 && i < colorTableEntries() ? m_colorTable[i] : kWhite;
}

int ZkBitmap::setColor(int i, RGBApixel color)
{
    if (!isIndexed(m_bitDepth)) {
        std::printf("Attempted to change color table for a BMP object thatlacks a color table. "
                    "Ignoring request.\n");
        return 0;
    }
    if (m_colorTable == nullptr) {
        std::printf("No color to set.\n");
        return 0;
    }
    if (i < 0 || i >= colorTableEntries()) {
        return 0;
    }
    m_colorTable[i] = color;
    return 1;
}

void ZkBitmap::decode(unsigned char *out)
{
    if (out == nullptr || m_file == nullptr) {
        return;
    }
    m_pixels = out;
    // The first time the file stands there, as does a pipe, which cannot seek;
    // seeking would read what is buffered once more.
    if (std::ftell(m_file) != kHeadersBytes) {
        std::fseek(m_file, kHeadersBytes, SEEK_SET);
    }
    if (m_bitDepth == 16) {
        decode16bitRows();
    } else if (isKnownDepth(m_bitDepth)) {
        std::int64_t tableBytes = 0;
        if (isIndexed(m_bitDepth)) {
            readColorTable();
            tableBytes = std::int64_t(4) << m_bitDepth;
        }
        skipMetaData(m_file, bytesBeforePixels(m_fileHeader) - tableBytes, "");
        decodeRows();
    }
}

int ZkBitmap::read1bitRow(const unsigned char *row, int rowBytes, int y)
{
    return convertIndexedRow(row, rowBytes, y, 1);
}

int ZkBitmap::read4bitRow(const unsigned char *row, int rowBytes, int y)
{
    return convertIndexedRow(row, rowBytes, y, 4);
}

int ZkBitmap::read8bitRow(const unsigned char *row, int rowBytes, int y)
{
    return convertIndexedRow(row, rowBytes, y, 8);
}

int ZkBitmap::read24bitRow(const unsigned char *row, int rowBytes, int y)
{
    return convertRow(row, rowBytes, y, 24, nullptr);
}

int ZkBitmap::read32bitRow(const unsigned char *row, int rowBytes, int y)
{
    return convertRow(row, rowBytes, y, 32, nullptr);
}

void ZkBitmap::bmfhSwitchEndianess()
{
    swapBytes(m_fileHeader.type);
    swapBytes(m_fileHeader.size);
    swapBytes(m_fileHeader.reserved1);
    swapBytes(m_fileHeader.reserved2);
    swapBytes(m_fileHeader.dataOffset);
}

void ZkBitmap::bmihSwitchEndianess()
{
    swapBytes(m_infoHeader.headerSize);
    swapBytes(m_infoHeader.width);
    swapBytes(m_infoHeader.height);
    swapBytes(m_infoHeader.planes);
    swapBytes(m_infoHeader.bitsPerPixel);
    swapBytes(m_infoHeader.compression);
    swapBytes(m_infoHeader.imageSize);
    swapBytes(m_infoHeader.horizontalResolution);
    swapBytes(m_infoHeader.verticalResolution);
    swapBytes(m_infoHeader.coloursUsed);
    swapBytes(m_infoHeader.importantColours);
}

int ZkBitmap::safeFread(char *buf, int size, int n, std::FILE *file)
{
    if (buf == nullptr || file == nullptr || std::feof(file)) {
        return 0;
    }
    const std::size_t bytes = static_cast<std::size_t>(std::max(size, 0));
    const std::size_t items = static_cast<std::size_t>(std::max(n, 0));
    return std::fread(buf, bytes, items, file) >= items;
}

int ZkBitmap::colorTableEntries() const
{
    return m_colorTable == nullptr ? 0 : 1 << m_bitDepth;
}

// Replaces the standard colours by the file's own. Bytes before the pixels that
// make no whole entry are left where they are, so they shift the pixels.
void ZkBitmap::readColorTable()
{
    const std::int64_t inFile = bytesBeforePixels(m_fileHeader) / 4;
    const int wanted = static_cast<int>(std::min<std::int64_t>(inFile, colorTableEntries()));
    const int got = static_cast<int>(
        std::fread(m_colorTable, sizeof(RGBApixel), static_cast<std::size_t>(wanted), m_file));
    if (tellNumberOfColors() > got) {
        // The message tells of alpha 0, the entries have 255; pixels are opaque anyway.
        std::printf("Warning: file has an underspecified color table.The tablewill be padded with "
                    "extra white (255,255,255,0) entries.\n");
        std::fill(m_colorTable + got, m_colorTable + colorTableEntries(), kWhite);
    }
}

// Whether a caller's buffer for all pixels can exist at all: on a 32-bit device
// a few header bytes claim more than its whole address space.
bool ZkBitmap::fitsMemory(std::int64_t rowBytes) const
{
    return rowBytes <= INT_MAX &&
           static_cast<std::int64_t>(m_width) * m_height <= PTRDIFF_MAX / kZkPixelBytes;
}

unsigned char *ZkBitmap::outputRow(int y) const
{
    return m_pixels +
           static_cast<std::size_t>(y) * static_cast<std::size_t>(m_width) * kZkPixelBytes;
}

void ZkBitmap::decodeRows()
{
    const std::int64_t rowBytes = zkPaddedRowBytes(m_width, m_bitDepth);
    if (!fitsMemory(rowBytes)) {
        reportShortData();
        return;
    }
    std::uint32_t palette[kMostEntries];
    if (m_colorTable != nullptr) {
        zkMakePalette(m_colorTable, colorTableEntries(), m_bitDepth, palette);
    }
    ZkBmpRowReader reader(m_file, static_cast<int>(rowBytes), m_height);
    for (int y = m_height - 1; y >= 0; --y) {
        int bytes = 0; // no test can tell: the reader sets it
        const unsigned char *row = reader.next(bytes);
        if (bytes < rowBytes) {
            reportShortData();
            return;
        }
        if (!convertRow(row, static_cast<int>(rowBytes), y, m_bitDepth,
                        m_colorTable != nullptr ? palette : nullptr)) {
            std::printf("Could not read enough pixel data.\n");
            return;
        }
    }
}

// Rows come out in the order of the file, so the picture is upside down beside
// one of any other depth, and a host that shows it turns it over.
void ZkBitmap::decode16bitRows()
{
    ZkBmpComponents components;
    std::int64_t maskBytes = 0;
    if (m_infoHeader.compression == kBitFields) {
        components = readMasks(m_file);
        maskBytes = kMasksBytes;
    }
    skipMetaData(m_file, bytesBeforePixels(m_fileHeader) - maskBytes, ",");
    const std::int64_t rowBytes = zkPaddedRowBytes(m_width, 16);
    if (!fitsMemory(rowBytes)) {
        reportShortData();
        return;
    }
    ZkBmpRowReader reader(m_file, static_cast<int>(rowBytes), m_height);
    for (int y = 0; y < m_height; ++y) {
        int bytes = 0; // no test can tell: the reader sets it
        const unsigned char *row = reader.next(bytes);
        // A row that ends early gives the pixels it has, and the padding behind
        // the last row may be missing.
        const int pixels = std::min(bytes / 2, m_width);
        zkConvert16bitRow(row, pixels, components, outputRow(y));
        if (pixels < m_width) {
            reportShortData();
            return;
        }
    }
}

// What the read...Row functions promise. `palette` is null for 24 and 32 bits,
// or where there is no colour table.
int ZkBitmap::convertRow(const unsigned char *row, int rowBytes, int y, int bits,
                         const std::uint32_t *palette)
{
    if (row == nullptr || m_pixels == nullptr || y < 0 || y >= m_height ||
        rowBytes < zkPackedRowBytes(m_width, bits) || (isIndexed(bits) && palette == nullptr)) {
        return 0;
    }
    unsigned char *out = outputRow(y);
    switch (bits) {
    case 1: zkConvert1bitRow(row, m_width, palette, out); break;
    case 4: zkConvert4bitRow(row, m_width, palette, out); break;
    case 8: zkConvert8bitRow(row, m_width, palette, out); break;
    case 24: zkConvert24bitRow(row, m_width, out); break;
    default: zkConvert32bitRow(row, m_width, out); break;
    }
    return 1;
}

int ZkBitmap::convertIndexedRow(const unsigned char *row, int rowBytes, int y, int bits)
{
    std::uint32_t palette[kMostEntries];
    if (m_colorTable == nullptr) {
        return 0;
    }
    zkMakePalette(m_colorTable, colorTableEntries(), bits, palette);
    return convertRow(row, rowBytes, y, bits, palette);
}
