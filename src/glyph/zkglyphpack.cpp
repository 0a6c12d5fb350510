// Packs: glyphs of a cache in a file.
//
//     header      magic, version, byte order, FreeType, counts, digest of all that follows
//     typefaces   digest of each font and of how it was opened
//     glyphs      typeface, index, size, style and measures of each
//     pixels      of all glyphs in their order
//
// Numbers stand as the machine has them: a pack is made for its like.

#include "glyph/zkdigest.h"
#include "glyph/zkglyphcachedata.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

constexpr std::uint32_t kVersion = 1;
constexpr std::uint32_t kByteOrder = 0x01020304;
constexpr char kMagic[8] = {'Z', 'K', 'G', 'L', 'Y', 'P', 'H', 'S'};

struct PackHeader {
    char magic[8];
    std::uint32_t version;
    std::uint32_t byteOrder;
    std::uint32_t freeType;
    std::uint32_t typefaces;
    std::uint32_t glyphs;
    std::uint32_t pixelBytes;
    std::uint64_t digest; ///< of the header up to here and of what follows it
};
static_assert(sizeof(PackHeader) == 40, "the same header on every machine");

struct PackGlyph {
    std::uint32_t low;      ///< glyph index and size, as in a key
    std::uint16_t typeface; ///< of the pack
    std::uint16_t style;
    std::uint16_t width, height;
    std::int16_t left, top, advance;
    std::uint16_t isFailed;

    GlyphBitmap bitmap() const;
};
static_assert(sizeof(PackGlyph) == 20, "the same glyph on every machine");

GlyphBitmap PackGlyph::bitmap() const
{
    GlyphBitmap record = {};
    record.width = record.pitch = width;
    record.height = height;
    record.left = left;
    record.top = top;
    record.descent = static_cast<std::int16_t>(height - top);
    record.advance = advance;
    record.font = {static_cast<std::uint8_t>(low >> 24), static_cast<std::uint8_t>(style)};
    record.unicode = isFailed != 0 ? 0xFFFF : 0;
    return record;
}

std::uint64_t digestOf(const PackHeader &header, const void *rest, std::size_t size)
{
    return zkDigest(rest, size, zkDigest(&header, offsetof(PackHeader, digest), kVersion));
}

void tell(ZkString *reason, const char *text)
{
    if (reason != nullptr) {
        *reason = ZkString(text);
    }
}

/// Glyphs of a chain's typefaces, gathered by `walk`.
struct Collected {
    const ZkFontList &faces;
    char *glyphs = nullptr; ///< `PackGlyph`s
    char *pixels = nullptr;
    std::uint32_t count = 0;
    std::size_t pixelBytes = 0;

    int typefaceOf(const ZkGlyph &glyph) const
    {
        for (int i = 0; i < faces.size(); ++i) {
            if (faces.at(i).id() == glyph.typefaceId()) {
                return i;
            }
        }
        return -1;
    }

    void take(const ZkGlyph &glyph);
};

// Counts a glyph, and writes it when there is room to write to.
void Collected::take(const ZkGlyph &glyph)
{
    const int typeface = typefaceOf(glyph);
    if (typeface < 0) {
        return;
    }
    const GlyphBitmap &bitmap = glyph.bitmap;
    const std::size_t size = ZkGlyphSlabs::pixelsOf(glyph);
    if (glyphs != nullptr) {
        const PackGlyph packed = {glyph.low,
                                  static_cast<std::uint16_t>(typeface),
                                  static_cast<std::uint16_t>(glyph.high & 7),
                                  bitmap.width,
                                  bitmap.height,
                                  bitmap.left,
                                  bitmap.top,
                                  bitmap.advance,
                                  static_cast<std::uint16_t>(glyph.isFailed())};
        std::memcpy(glyphs + count * sizeof packed, &packed, sizeof packed);
        std::memcpy(pixels + pixelBytes, bitmap.pixels, size);
    }
    ++count;
    pixelBytes += size;
}

bool writeAll(int file, const char *bytes, std::size_t size)
{
    while (size > 0) {
        const ssize_t wrote = write(file, bytes, size);
        if (wrote <= 0) {
            return false;
        }
        bytes += wrote;
        size -= static_cast<std::size_t>(wrote);
    }
    return true;
}

// Whoever reads `path` meanwhile, or after the power fails, finds the old file or the new.
bool replaceFile(const char *path, const char *bytes, std::size_t size)
{
    const std::size_t length = std::strlen(path);
    auto *const name = static_cast<char *>(std::malloc(length + 8));
    if (name == nullptr) {
        return false;
    }
    std::memcpy(name, path, length);
    std::memcpy(name + length, ".XXXXXX", 8);
    const int file = mkstemp(name);
    bool isGood = file >= 0;
    if (isGood) {
        isGood = fchmod(file, 0644) == 0 && writeAll(file, bytes, size) && fsync(file) == 0;
        isGood = close(file) == 0 && isGood;
        isGood = isGood && rename(name, path) == 0;
        if (!isGood) {
            unlink(name);
        }
    }
    std::free(name);
    return isGood;
}

/// A pack in memory, and what was found out about it.
struct Pack {
    const char *bytes;
    std::size_t size;
    PackHeader header;

    const char *typefaces() const { return bytes + sizeof header; }
    const char *glyphs() const { return typefaces() + header.typefaces * sizeof(std::uint64_t); }
    const char *pixels() const { return glyphs() + header.glyphs * sizeof(PackGlyph); }

    PackGlyph glyph(std::uint32_t i) const
    {
        PackGlyph packed;
        std::memcpy(&packed, glyphs() + i * sizeof packed, sizeof packed);
        return packed;
    }

    const char *fault();
    const char *glyphFault() const;
    const char *findTypefaces(const ZkFontList &faces, std::uint32_t *ids) const;
};

// Why the pack is not to be trusted; null when it is.
const char *Pack::fault()
{
    if (size < sizeof header) {
        return "the pack is cut short";
    }
    std::memcpy(&header, bytes, sizeof header);
    if (std::memcmp(header.magic, kMagic, sizeof kMagic) != 0) {
        return "this is no pack of glyphs";
    }
    if (header.byteOrder != kByteOrder) {
        return "the pack was made on a machine of another byte order";
    }
    if (header.version != kVersion) {
        return "the pack has another version";
    }
    const std::uint64_t told =
        sizeof header + static_cast<std::uint64_t>(header.typefaces) * sizeof(std::uint64_t) +
        static_cast<std::uint64_t>(header.glyphs) * sizeof(PackGlyph) + header.pixelBytes;
    if (told != size) {
        return told > size ? "the pack is cut short" : "the pack is longer than it says";
    }
    if (digestOf(header, bytes + sizeof header, size - sizeof header) != header.digest) {
        return "the pack is damaged";
    }
    if (header.freeType != static_cast<std::uint32_t>(ZkTypeface::freeTypeVersion())) {
        return "the pack was made with another version of FreeType";
    }
    return header.typefaces > ZkFontChain::kMostFaces ? "the pack is damaged" : glyphFault();
}

const char *Pack::glyphFault() const
{
    std::uint64_t sum = 0;
    for (std::uint32_t i = 0; i < header.glyphs; ++i) {
        const PackGlyph packed = glyph(i);
        if (packed.typeface >= header.typefaces || packed.style > 7 || packed.isFailed > 1) {
            return "the pack is damaged";
        }
        sum += static_cast<std::uint64_t>(packed.width) * packed.height;
    }
    return sum != header.pixelBytes ? "the pack is damaged" : nullptr;
}

// The typeface of the chain for each of the pack. Null when all are there, else why not;
// a typeface that did not open had no glyphs and need not be there.
const char *Pack::findTypefaces(const ZkFontList &faces, std::uint32_t *ids) const
{
    for (std::uint32_t i = 0; i < header.typefaces; ++i) {
        std::uint64_t digest = 0;
        std::memcpy(&digest, typefaces() + i * sizeof digest, sizeof digest);
        for (int face = 0; face < faces.size() && ids[i] == 0; ++face) {
            ids[i] = faces.at(face).digest() == digest ? faces.at(face).id() : 0;
        }
        if (ids[i] == 0 && digest != 0) {
            return "the pack was made from another font, or from one opened otherwise";
        }
    }
    for (std::uint32_t i = 0; i < header.glyphs; ++i) {
        if (ids[glyph(i).typeface] == 0) {
            return "the pack is damaged";
        }
    }
    return nullptr;
}

/// The file of a pack, mapped.
class PackFile
{
public:
    explicit PackFile(const char *path)
    {
        const int file = open(path == nullptr ? "" : path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
        struct stat status = {};
        if (file >= 0 && fstat(file, &status) == 0 && S_ISREG(status.st_mode) &&
            status.st_size > 0 && status.st_size < INT_MAX) {
            m_size = static_cast<std::size_t>(status.st_size);
            m_bytes = mmap(nullptr, m_size, PROT_READ, MAP_PRIVATE, file, 0);
        }
        m_isThere = file >= 0;
        if (file >= 0) {
            close(file);
        }
    }
    ~PackFile()
    {
        if (m_bytes != MAP_FAILED) {
            munmap(m_bytes, m_size);
        }
    }
    PackFile(const PackFile &) = delete;
    PackFile &operator=(const PackFile &) = delete;

    bool isThere() const { return m_isThere; }
    const void *bytes() const { return m_bytes == MAP_FAILED ? nullptr : m_bytes; }
    std::size_t size() const { return m_bytes == MAP_FAILED ? 0 : m_size; }

private:
    void *m_bytes = MAP_FAILED;
    std::size_t m_size = 0;
    bool m_isThere = false;
};

} // namespace

// Under the mutex. A glyph of the pack is taken unless it is there or another would have
// to go for it; false then.
bool ZkGlyphCacheData::takePacked(std::uint32_t low, std::uint32_t high, const GlyphBitmap &bitmap,
                                  const char *pixels, int *taken)
{
    if (find(low, high, hashOf(low, high)) != nullptr) {
        return true;
    }
    const std::size_t size = static_cast<std::size_t>(bitmap.width) * bitmap.height;
    if (!hasRoom(ZkGlyphSlabs::lengthFor(size))) {
        return false;
    }
    ZkGlyph *const glyph = add(low, high, bitmap);
    if (glyph == nullptr) {
        return false;
    }
    std::memcpy(glyph->bitmap.pixels, pixels, size);
    publish(glyph);
    ++*taken;
    return true;
}

// A pack of all glyphs of the typefaces, from `malloc`; null without memory. Typefaces'
// digests come first, for they take a typeface's lock.
char *ZkGlyphCacheData::pack(const ZkFontList &faces, std::size_t *size, int *glyphs)
{
    const std::size_t faceBytes = static_cast<std::size_t>(faces.size()) * sizeof(std::uint64_t);
    std::uint64_t digests[ZkFontChain::kMostFaces];
    for (int i = 0; i < faces.size(); ++i) {
        digests[i] = faces.at(i).digest();
    }
    const auto version = static_cast<std::uint32_t>(ZkTypeface::freeTypeVersion());
    Collected counted{faces}, written{faces};
    const auto take = [](const ZkGlyph &glyph, bool, std::uint32_t, void *to) {
        static_cast<Collected *>(to)->take(glyph);
    };
    const ZkGlyphMutexLock lock(&mutex); // so that both walks see the same
    visit(take, &counted);
    const std::size_t glyphBytes = counted.count * sizeof(PackGlyph);
    *size = sizeof(PackHeader) + faceBytes + glyphBytes + counted.pixelBytes;
    *glyphs = static_cast<int>(counted.count);
    const bool isSane = *size < INT_MAX; // no test can tell: it would have 2 GB
    auto *const bytes = isSane ? static_cast<char *>(std::malloc(*size)) : nullptr;
    if (bytes == nullptr) {
        return nullptr;
    }
    written.glyphs = bytes + sizeof(PackHeader) + faceBytes;
    written.pixels = written.glyphs + glyphBytes;
    visit(take, &written);
    PackHeader header = {};
    std::memcpy(header.magic, kMagic, sizeof kMagic);
    header.version = kVersion;
    header.byteOrder = kByteOrder;
    header.freeType = version;
    header.typefaces = static_cast<std::uint32_t>(faces.size());
    header.glyphs = counted.count;
    header.pixelBytes = static_cast<std::uint32_t>(counted.pixelBytes);
    std::memcpy(bytes + sizeof header, digests, faceBytes);
    header.digest = digestOf(header, bytes + sizeof header, *size - sizeof header);
    std::memcpy(bytes, &header, sizeof header);
    return bytes;
}

int ZkGlyphCache::save(const char *path, const ZkFontChain &chain, ZkString *reason) const
{
    tell(reason, "");
    std::size_t size = 0;
    int glyphs = 0;
    char *const bytes = d->pack(chain.faces(), &size, &glyphs);
    if (bytes == nullptr) {
        tell(reason, "not enough memory for the pack");
        return -1;
    }
    const bool isGood = path != nullptr && replaceFile(path, bytes, size);
    std::free(bytes);
    if (!isGood) {
        tell(reason, "the pack cannot be written");
        return -1;
    }
    return glyphs;
}

int ZkGlyphCache::load(const char *path, const ZkFontChain &chain, ZkString *reason)
{
    const PackFile file(path);
    if (file.bytes() == nullptr) {
        tell(reason, file.isThere() ? "the pack cannot be read" : "there is no such pack");
        return -1;
    }
    return load(file.bytes(), file.size(), chain, reason);
}

int ZkGlyphCache::load(const void *bytes, std::size_t size, const ZkFontChain &chain,
                       ZkString *reason)
{
    tell(reason, "");
    Pack pack = {static_cast<const char *>(bytes), bytes == nullptr ? 0 : size, {}};
    const ZkFontList faces = chain.faces(); // keeps the typefaces open
    std::uint32_t ids[ZkFontChain::kMostFaces] = {};
    const char *fault = pack.fault();
    fault = fault != nullptr ? fault : pack.findTypefaces(faces, ids);
    if (fault != nullptr) {
        tell(reason, fault);
        return -1;
    }
    const char *pixels = pack.pixels();
    int taken = 0;
    const ZkGlyphMutexLock lock(&d->mutex);
    for (std::uint32_t i = 0; i < pack.header.glyphs; ++i) {
        const PackGlyph packed = pack.glyph(i);
        const std::uint32_t high = ids[packed.typeface] << 3 | packed.style;
        if (!d->takePacked(packed.low, high, packed.bitmap(), pixels, &taken)) {
            break;
        }
        pixels += static_cast<std::size_t>(packed.width) * packed.height;
    }
    return taken;
}
