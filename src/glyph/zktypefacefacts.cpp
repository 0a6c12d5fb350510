// What a typeface tells about itself once it is open.

#include "glyph/zkdigest.h"
#include "glyph/zktypefacedata.h"

#include FT_MULTIPLE_MASTERS_H
#include FT_SFNT_NAMES_H
#include FT_TRUETYPE_TABLES_H

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>

namespace
{

// The page of all blocks in which a font has no character.
std::uint16_t emptyPage[ZkGlyphPages::kCells];

// A cell for glyphs whose number it has no room for: ask FreeType.
constexpr std::uint16_t kAsk = 0xFFFF;

constexpr int kPairBits = 10; // no test can tell: how many pairs are remembered
constexpr std::uint32_t kPairSlots = 1U << kPairBits;

// Fonts of a typeface whose letters are remembered, 4 KB each: the sizes and styles of one
// screen. A host that zooms through all of them takes no memory for each.
constexpr int kMostLetters = 8;

int ceilPixels(FT_Pos value)
{
    return static_cast<int>((value + 63) >> 6);
}

int floorPixels(FT_Pos value)
{
    return static_cast<int>(value >> 6);
}

int roundPixels(FT_Pos value)
{
    return static_cast<int>((value + 32) >> 6);
}

// Where the strokes go in a font that does not say: by its ascent.
void guessStrokes(ZkTypefaceMetrics *metrics)
{
    metrics->underlineThickness = metrics->strikeThickness = std::max(1, metrics->pixelSize / 14);
    metrics->underlineTop = std::max(1, metrics->pixelSize / 10);
    metrics->strikeTop = -std::max(1, metrics->ascent * 3 / 10);
}

// FreeType tells the middle of the underline, the font's own table the upper edge of the
// other stroke; both upwards.
void scaleStrokes(const ZkOpenTypeface &open, FT_Fixed scale, ZkTypefaceMetrics *metrics)
{
    FT_FaceRec *const face = open.face;
    if (face->underline_thickness > 0) {
        const FT_Pos top = -face->underline_position - face->underline_thickness / 2;
        metrics->underlineThickness =
            std::max(1, roundPixels(FT_MulFix(face->underline_thickness, scale)));
        metrics->underlineTop = std::max(1, roundPixels(FT_MulFix(top, scale)));
    }
    if (open.strikeThickness > 0) {
        metrics->strikeThickness = std::max(1, roundPixels(FT_MulFix(open.strikeThickness, scale)));
        metrics->strikeTop = std::min(-1, -roundPixels(FT_MulFix(open.strikePosition, scale)));
    }
}

} // namespace

void ZkOpenTypeface::findStroke()
{
    const auto *const os2 = static_cast<const TT_OS2 *>(FT_Get_Sfnt_Table(face, FT_SFNT_OS2));
    if (os2 != nullptr && os2->version != 0xFFFF) {
        strikePosition = os2->yStrikeoutPosition;
        strikeThickness = os2->yStrikeoutSize;
    }
}

int ZkOpenTypeface::strikeSize(int index) const
{
    const FT_Bitmap_Size &strike = face->available_sizes[index];
    return std::max(1, strike.y_ppem > 0 ? roundPixels(strike.y_ppem)
                                         : static_cast<int>(strike.height));
}

int ZkOpenTypeface::nearestStrike(int pixelSize) const
{
    int best = -1;
    for (int i = 0; i < face->num_fixed_sizes; ++i) {
        const int off = std::abs(strikeSize(i) - pixelSize);
        const int bestOff = best < 0 ? INT_MAX : std::abs(strikeSize(best) - pixelSize);
        if (off < bestOff || (off == bestOff && strikeSize(i) > strikeSize(best))) {
            best = i;
        }
    }
    return best;
}

bool ZkOpenTypeface::scale(int pixelSize) const
{
    if (scaledTo == pixelSize) {
        return true;
    }
    FT_Error result = FT_Err_Invalid_Pixel_Size;
    if (isScalable()) {
        result = FT_Set_Pixel_Sizes(face, 0, static_cast<FT_UInt>(pixelSize));
    } else if (const int strike = nearestStrike(pixelSize); strike >= 0) {
        result = FT_Select_Size(face, strike);
    }
    scaledTo = result == 0 ? pixelSize : -1;
    return result == 0;
}

std::uint32_t ZkOpenTypeface::askGlyphIndex(char32_t character) const
{
    if (symbols != nullptr) {
        return character > 0xFF ? FT_Get_Char_Index(face, character)
                                : FT_Get_Char_Index(face, 0xF000 + character);
    }
    return FT_Get_Char_Index(face, character);
}

namespace
{

// Asks for a block of characters and enters the answers; null without memory.
const std::uint16_t *enterPage(const ZkOpenTypeface &open, char32_t character)
{
    auto *page =
        static_cast<std::uint16_t *>(std::malloc(ZkGlyphPages::kCells * sizeof(std::uint16_t)));
    if (page == nullptr) {
        return nullptr;
    }
    const char32_t first = character & ~static_cast<char32_t>(0xFF);
    std::uint32_t all = 0;
    for (unsigned i = 0; i < ZkGlyphPages::kCells; ++i) {
        const std::uint32_t glyph = open.askGlyphIndex(first + i);
        all |= glyph;
        page[i] = glyph < kAsk ? static_cast<std::uint16_t>(glyph) : kAsk;
    }
    if (all == 0) {
        std::free(page);
        page = emptyPage;
    }
    if (!open.pages.enter(character, page)) {
        if (page != emptyPage) {
            std::free(page);
        }
        return nullptr;
    }
    return page;
}

std::uint32_t askWithLock(const ZkOpenTypeface &open, char32_t character)
{
    const ZkTypefaceLock lock(open);
    const std::uint16_t *page = open.pages.page(character); // by another thread meanwhile
    if (page == nullptr) {
        page = enterPage(open, character);
    }
    const std::uint16_t cell = page == nullptr ? kAsk : page[character & 0xFF];
    return cell == kAsk ? open.askGlyphIndex(character) : cell;
}

} // namespace

std::uint32_t ZkTypeface::glyphIndex(char32_t character) const
{
    const ZkOpenTypeface *const open = ZkOpenTypeface::of(*this);
    if (open == nullptr || character > 0x10FFFF) {
        return 0;
    }
    const std::uint16_t *const page = open->pages.page(character);
    if (page != nullptr && page[character & 0xFF] != kAsk) {
        return page[character & 0xFF];
    }
    return askWithLock(*open, character);
}

ZkFontLetters *ZkOpenTypeface::lettersOf(ZkFont font) const
{
    ZkFontLetters *found = __atomic_load_n(&letters, __ATOMIC_ACQUIRE);
    while (found != nullptr && !(found->font == font)) {
        found = found->next;
    }
    if (found != nullptr || __atomic_load_n(&letterCount, __ATOMIC_RELAXED) >= kMostLetters) {
        return found;
    }
    const ZkTypefaceMetrics measured = measure(font.fontSize());
    const ZkTypefaceLock held(*this);
    if (letterCount >= kMostLetters) { // one way: but between threads
        return nullptr;                // unreachable: but between threads
    }
    found = static_cast<ZkFontLetters *>(std::calloc(1, sizeof(ZkFontLetters)));
    if (found != nullptr) { // twice at worst, when two threads come for it at once
        found->next = letters;
        found->font = font;
        found->metrics = measured;
        __atomic_store_n(&letterCount, letterCount + 1, __ATOMIC_RELAXED);
        __atomic_store_n(&letters, found, __ATOMIC_RELEASE);
    }
    return found;
}

void ZkOpenTypeface::releaseRemembered()
{
    pages.release(emptyPage);
    std::free(kerningPairs);
    while (letters != nullptr) {
        ZkFontLetters *const next = letters->next;
        std::free(letters);
        letters = next;
    }
}

std::uint32_t ZkTypeface::id() const
{
    const ZkOpenTypeface *const open = ZkOpenTypeface::of(*this);
    return open == nullptr ? 0 : open->id;
}

const char *ZkTypeface::familyName() const
{
    const ZkOpenTypeface *const open = ZkOpenTypeface::of(*this);
    return open == nullptr || open->face->family_name == nullptr ? "" : open->face->family_name;
}

const char *ZkTypeface::styleName() const
{
    const ZkOpenTypeface *const open = ZkOpenTypeface::of(*this);
    return open == nullptr || open->face->style_name == nullptr ? "" : open->face->style_name;
}

int ZkTypeface::faceCount() const
{
    const ZkOpenTypeface *const open = ZkOpenTypeface::of(*this);
    return open == nullptr ? 0 : static_cast<int>(open->face->num_faces);
}

int ZkTypeface::faceIndex() const
{
    const ZkOpenTypeface *const open = ZkOpenTypeface::of(*this);
    return open == nullptr ? 0 : open->options.face;
}

int ZkTypeface::instance() const
{
    const ZkOpenTypeface *const open = ZkOpenTypeface::of(*this);
    return open == nullptr ? 0 : open->options.instance;
}

ZkTypeface::Hinting ZkTypeface::hinting() const
{
    const ZkOpenTypeface *const open = ZkOpenTypeface::of(*this);
    return open == nullptr ? HintAuto : open->options.hinting;
}

int ZkTypeface::instanceCount() const
{
    const ZkOpenTypeface *const open = ZkOpenTypeface::of(*this);
    return open == nullptr ? 0 : open->instanceCount;
}

int ZkTypeface::axisCount() const
{
    const ZkOpenTypeface *const open = ZkOpenTypeface::of(*this);
    return open == nullptr ? 0 : open->axisCount;
}

ZkTypeface::Axis ZkTypeface::axis(int index) const
{
    const ZkOpenTypeface *const open = ZkOpenTypeface::of(*this);
    return open == nullptr || index < 0 || index >= open->axisCount ? Axis{} : open->axes[index];
}

bool ZkTypeface::isScalable() const
{
    const ZkOpenTypeface *const open = ZkOpenTypeface::of(*this);
    return open != nullptr && open->isScalable();
}

int ZkTypeface::strikeCount() const
{
    const ZkOpenTypeface *const open = ZkOpenTypeface::of(*this);
    return open == nullptr ? 0 : open->face->num_fixed_sizes;
}

int ZkTypeface::strikeSize(int index) const
{
    return index < 0 || index >= strikeCount() ? 0 : ZkOpenTypeface::of(*this)->strikeSize(index);
}

int ZkTypeface::nearestSize(int pixelSize) const
{
    const ZkOpenTypeface *const open = ZkOpenTypeface::of(*this);
    return open == nullptr ? pixelSize : open->nearestSize(pixelSize);
}

int ZkTypeface::glyphCount() const
{
    const ZkOpenTypeface *const open = ZkOpenTypeface::of(*this);
    return open == nullptr ? 0 : static_cast<int>(open->face->num_glyphs);
}

int ZkTypeface::unitsPerEm() const
{
    return isScalable() ? ZkOpenTypeface::of(*this)->face->units_per_EM : 0;
}

ZkTypefaceMetrics ZkTypeface::metrics(int pixelSize) const
{
    const ZkOpenTypeface *const open = ZkOpenTypeface::of(*this);
    return open == nullptr ? ZkTypefaceMetrics{} : open->measure(pixelSize);
}

int ZkOpenTypeface::nearestSize(int pixelSize) const
{
    const int strike = isScalable() ? -1 : nearestStrike(std::max(1, pixelSize));
    return strike < 0 ? pixelSize : strikeSize(strike);
}

ZkTypefaceMetrics ZkOpenTypeface::measure(int pixelSize) const
{
    ZkTypefaceMetrics metrics = {};
    const int wanted = std::min(std::max(1, pixelSize), 0x7FFF);
    metrics.pixelSize = nearestSize(wanted);
    FT_Pos ascent = 0, descent = 0, height = 0; // 26.6 pixels, rounded as FreeType does
    FT_Fixed unit = 0;                          // of the font
    if (isScalable()) {
        unit = FT_DivFix(static_cast<FT_Long>(wanted) << 6,
                         // no test can tell: 16 are least
                         std::max(1, static_cast<int>(face->units_per_EM)));
        ascent = FT_MulFix(face->ascender, unit);
        descent = FT_MulFix(face->descender, unit);
        height = FT_MulFix(face->height, unit);
    } else {
        const ZkTypefaceLock held(*this);
        if (scale(wanted)) {
            const FT_Size_Metrics &strike = face->size->metrics;
            ascent = strike.ascender;
            descent = strike.descender;
            height = strike.height;
        }
    }
    metrics.ascent = ceilPixels(ascent);
    metrics.descent = -floorPixels(descent);
    metrics.gap = std::max(0, roundPixels(height) - metrics.ascent - metrics.descent);
    guessStrokes(&metrics);
    if (unit != 0) {
        scaleStrokes(*this, unit, &metrics);
    }
    return metrics;
}

bool ZkTypeface::hasKerning() const
{
    const ZkOpenTypeface *const open = ZkOpenTypeface::of(*this);
    return open != nullptr && open->isScalable() && FT_HAS_KERNING(open->face);
}

// A slot holds a pair in one word: left and right glyph, a mark that it is in use, and
// the font units as a signed number. Threads that read and write one slot see one of the
// words; the answer to a pair is the same whoever asked for it.
int ZkTypeface::kerning(std::uint32_t left, std::uint32_t right, int pixelSize) const
{
    if (!hasKerning() || left > 0xFFFF || right > 0xFFFF) {
        return 0;
    }
    const ZkOpenTypeface *const open = ZkOpenTypeface::of(*this);
    const std::uint64_t pair =
        static_cast<std::uint64_t>(left) << 48 | static_cast<std::uint64_t>(right) << 32 | 0x10000;
    const std::uint32_t slot = (left * 0x9E3779B1u ^ right * 0x85EBCA6Bu) >> (32 - kPairBits);
    std::uint64_t *const pairs = __atomic_load_n(&open->kerningPairs, __ATOMIC_ACQUIRE);
    std::uint64_t word = pairs == nullptr ? 0 : __atomic_load_n(&pairs[slot], __ATOMIC_RELAXED);
    if ((word & ~static_cast<std::uint64_t>(0xFFFF)) != pair) {
        const ZkTypefaceLock lock(*open);
        if (open->kerningPairs == nullptr) {
            void *const made = std::calloc(kPairSlots, sizeof(std::uint64_t));
            __atomic_store_n(&open->kerningPairs, static_cast<std::uint64_t *>(made),
                             __ATOMIC_RELEASE);
        }
        FT_Vector delta = {0, 0};
        FT_Get_Kerning(open->face, left, right, FT_KERNING_UNSCALED, &delta);
        word = pair | static_cast<std::uint16_t>(delta.x);
        if (open->kerningPairs != nullptr) {
            __atomic_store_n(&open->kerningPairs[slot], word, __ATOMIC_RELAXED);
        }
    }
    const std::int64_t units = static_cast<std::int16_t>(word & 0xFFFF);
    const std::int64_t em = std::max(1, static_cast<int>(open->face->units_per_EM));
    const std::int64_t scaled = 2 * units * std::min(std::max(1, pixelSize), 0x7FFF) + em;
    return static_cast<int>(scaled >= 0 ? scaled / (2 * em) : -((2 * em - 1 - scaled) / (2 * em)));
}

const void *ZkTypeface::data() const
{
    const ZkOpenTypeface *const open = ZkOpenTypeface::of(*this);
    return open == nullptr ? nullptr : open->bytes;
}

std::size_t ZkTypeface::dataSize() const
{
    const ZkOpenTypeface *const open = ZkOpenTypeface::of(*this);
    return open == nullptr ? 0 : open->size;
}

std::size_t ZkTypeface::table(std::uint32_t tag, void *out, std::size_t room) const
{
    const ZkOpenTypeface *const open = ZkOpenTypeface::of(*this);
    if (open == nullptr || !FT_IS_SFNT(open->face)) {
        return 0;
    }
    const ZkTypefaceLock lock(*open);
    FT_ULong length = 0;
    if (FT_Load_Sfnt_Table(open->face, tag, 0, nullptr, &length) != 0) {
        return 0;
    }
    FT_ULong part = std::min<FT_ULong>(length, room); // for none nothing is written
    if (out != nullptr &&
        FT_Load_Sfnt_Table(open->face, tag, 0, static_cast<FT_Byte *>(out), &part) != 0) {
        return 0;
    }
    return length;
}

std::uint64_t ZkTypeface::digest() const
{
    constexpr std::size_t kWhole = 256 * 1024, kEnd = 64 * 1024, kSample = 256, kSamples = 512;
    const ZkOpenTypeface *const open = ZkOpenTypeface::of(*this);
    if (open == nullptr) {
        return 0;
    }
    const ZkTypefaceLock lock(*open);
    if (open->digest != 0) {
        return open->digest;
    }
    std::uint64_t hash = zkDigest(&open->size, 0, open->size);
    if (open->size <= kWhole) {
        hash = zkDigest(open->bytes, open->size, hash);
    } else {
        hash = zkDigest(open->bytes, kEnd, hash);
        hash = zkDigest(open->bytes + open->size - kEnd, kEnd, hash);
        const std::size_t step = (open->size - 2 * kEnd) / kSamples;
        for (std::size_t i = 0; i < kSamples; ++i) {
            hash = zkDigest(open->bytes + kEnd + i * step, std::min(kSample, step), hash);
        }
    }
    const std::int32_t how[] = {open->options.face, open->options.instance, open->options.hinting};
    hash = zkDigest(how, sizeof how, hash);
    for (int i = 0; i < open->axisCount; ++i) {
        hash = zkDigest(&open->axes[i].value, sizeof(float), hash);
    }
    open->digest = hash == 0 ? 1 : hash;
    return open->digest;
}

std::size_t ZkTypeface::memoryBytes() const
{
    const ZkOpenTypeface *const open = ZkOpenTypeface::of(*this);
    if (open == nullptr) {
        return 0;
    }
    const ZkTypefaceLock lock(*open);
    return sizeof(ZkOpenTypeface) + open->memory.bytes + open->pages.bytes(emptyPage) +
           (open->kerningPairs == nullptr ? 0 : kPairSlots * sizeof(std::uint64_t)) +
           static_cast<std::size_t>(__atomic_load_n(&open->letterCount, __ATOMIC_RELAXED)) *
               sizeof(ZkFontLetters) +
           static_cast<std::size_t>(open->axisCount) * sizeof(Axis) +
           (open->source == ZkOpenTypeface::Allocated ? open->size : 0);
}

int ZkTypeface::freeTypeVersion()
{
    return ZkFontLibrary::version();
}

namespace
{

// The name of a named instance: its subfamily among the font's names, as UTF-8. Names of
// the platforms that write UTF-16 are good; others are old and rare.
int utf8Of(const FT_SfntName &name, char *out, int room)
{
    int length = 0;
    const auto put = [&length, out, room](unsigned byte) {
        if (length < room - 1) {
            out[length] = static_cast<char>(byte);
        }
        ++length;
    };
    for (FT_UInt i = 0; i + 1 < name.string_len; i += 2) {
        const unsigned c = static_cast<unsigned>(name.string[i]) << 8 | name.string[i + 1];
        if (c < 0x80) {
            put(c);
        } else if (c < 0x800) {
            put(0xC0 | c >> 6);
            put(0x80 | (c & 0x3F));
        } else {
            put(0xE0 | c >> 12);
            put(0x80 | (c >> 6 & 0x3F));
            put(0x80 | (c & 0x3F));
        }
    }
    if (room > 0) {
        out[std::min(length, room - 1)] = 0;
    }
    return length;
}

int nameOf(FT_Face face, FT_UInt id, char *out, int room)
{
    FT_SfntName name;
    for (FT_UInt i = 0; i < FT_Get_Sfnt_Name_Count(face); ++i) {
        const bool isUtf16 = FT_Get_Sfnt_Name(face, i, &name) == 0 && name.platform_id != 1;
        if (isUtf16 && name.name_id == id && name.string_len > 0) {
            return utf8Of(name, out, room);
        }
    }
    return 0;
}

} // namespace

int ZkTypeface::instanceName(int number, char *out, int room) const
{
    if (out != nullptr && room > 0) {
        *out = 0;
    }
    const ZkOpenTypeface *const open = ZkOpenTypeface::of(*this);
    if (open == nullptr || number < 1 || number > open->instanceCount) {
        return 0;
    }
    const ZkTypefaceLock lock(*open);
    FT_MM_Var *var = nullptr;
    if (FT_Get_MM_Var(open->face, &var) != 0) {
        return 0;
    }
    int length = 0;
    if (static_cast<FT_UInt>(number) <= var->num_namedstyles) {
        length =
            nameOf(open->face, var->namedstyle[number - 1].strid, out, out == nullptr ? 0 : room);
    }
    FT_Done_MM_Var(open->freetype, var);
    return length;
}
