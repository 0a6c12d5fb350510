#include "paragraph.h"

#include <zkfontmetrics.h>
#include <zkscriptrules.h>

#include <algorithm>

namespace host
{

namespace
{

constexpr char16_t kNewline = 0x000A;
constexpr char16_t kSpace = 0x0020;
constexpr char16_t kHebrewAlef = 0x05D0;

/// Takes one character off the front of `bytes` from `*at` on; -1 when the bytes
/// there are no UTF-8: stray, cut short, overlong, a surrogate, above U+10FFFF.
long takeCharacter(const std::string &bytes, std::size_t *at)
{
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    const unsigned lead = byte(*at);
    const int more = lead < 0x80 ? 0 : lead < 0xC2 ? -1 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
    if (more < 0 || lead > 0xF4 || bytes.size() - *at <= static_cast<std::size_t>(more)) {
        return -1;
    }
    long code = more == 0 ? static_cast<long>(lead) : static_cast<long>(lead & (0x3Fu >> more));
    for (int k = 1; k <= more; ++k) {
        const unsigned next = byte(*at + static_cast<std::size_t>(k));
        if ((next & 0xC0) != 0x80) {
            return -1;
        }
        code = code << 6 | static_cast<long>(next & 0x3F);
    }
    const bool overlong = (more == 2 && code < 0x800) || (more == 3 && code < 0x10000);
    if (overlong || (code >= 0xD800 && code <= 0xDFFF) || code > 0x10FFFF) {
        return -1;
    }
    *at += static_cast<std::size_t>(more) + 1;
    return code;
}

/// What the library is given for a character; 0 for one that is dropped.
char16_t replacement(long code)
{
    switch (code) {
    case 0x0009: // TAB
    case 0x200C: // ZERO WIDTH NON-JOINER, which would end a right-to-left run
        return kSpace;
    case 0x000A: // LINE FEED
    case 0x2028: // LINE SEPARATOR
    case 0x2029: // PARAGRAPH SEPARATOR
        return kNewline;
    case 0x00AD: // SOFT HYPHEN
    case 0xFEFF: // BYTE ORDER MARK
        return 0;
    default: break;
    }
    const bool isControl = code < 0x20 || (code >= 0x7F && code < 0xA0);
    const bool isDirection = (code >= 0x200B && code <= 0x200F) ||
                             (code >= 0x202A && code <= 0x202E) ||
                             (code >= 0x2060 && code <= 0x206F);
    return isControl || isDirection ? char16_t(0) : static_cast<char16_t>(code);
}

/// The end of the piece that starts at `from`, which is no space: a word, or one
/// character that breaks anywhere.
std::size_t pieceEnd(const std::u16string &text, std::size_t from)
{
    std::size_t end = from + 1;
    if (!breaksAnywhere(text[from])) {
        while (end < text.size() && text[end] != kSpace && !breaksAnywhere(text[end])) {
            ++end;
        }
    }
    return end;
}

/// Fills lines with the pieces of one paragraph.
class LineFiller
{
public:
    /// `isHebrew`: the whole text holds Hebrew, so nothing in it is shaped.
    LineFiller(const ZkFont &font, int charSpacing, int width, bool isHebrew)
        : m_font(font),
          m_charSpacing(charSpacing),
          m_width(width),
          m_isHebrew(isHebrew),
          m_spaceWidth(widthOf(std::u16string(1, kSpace)))
    {
    }

    /// `paragraph` with a newline wherever a line is full.
    std::u16string fill(const std::u16string &paragraph) const;

private:
    /// The width of a piece as it will be in the text.
    long widthOf(const std::u16string &piece) const
    {
        // Arabic letters keep their plain forms in a text with Hebrew: the Hebrew
        // letter gives the piece alone the same treatment.
        const std::u16string hebrew(m_isHebrew ? 1 : 0, kHebrewAlef);
        return lengthOf(piece + hebrew) - (m_isHebrew ? lengthOf(hebrew) : 0);
    }

    long lengthOf(const std::u16string &text) const
    {
        ZkFontMetrics metrics(ZkString(std::u16string_view(text)), m_font, 0, m_charSpacing);
        return static_cast<long>(metrics.lengthForPixel()) + 1; // the length is told less one
    }

    ZkFont m_font;
    int m_charSpacing;
    int m_width;
    bool m_isHebrew;
    long m_spaceWidth;
};

std::u16string LineFiller::fill(const std::u16string &paragraph) const
{
    std::u16string lines;
    long used = 0;
    bool isEmptyLine = true;
    for (std::size_t at = 0;;) {
        const std::size_t word =
            std::min(paragraph.find_first_not_of(kSpace, at), paragraph.size());
        if (word == paragraph.size()) {
            return lines;
        }
        const std::size_t spaces = word - at;
        const std::size_t end = pieceEnd(paragraph, word);
        const std::u16string piece = paragraph.substr(word, end - word);
        const long spaceWidth = static_cast<long>(spaces) * m_spaceWidth;
        const long pieceWidth = widthOf(piece);
        if (!isEmptyLine && used + spaceWidth + pieceWidth + m_charSpacing > m_width) {
            lines += kNewline;
            used = pieceWidth;
        } else {
            lines.append(spaces, kSpace);
            used += spaceWidth + pieceWidth;
        }
        lines += piece;
        isEmptyLine = false;
        at = end;
    }
}

} // namespace

bool textFromUtf8(const std::string &bytes, ZkString *text, int *leftOut, std::string *problem)
{
    std::u16string units;
    *leftOut = 0;
    for (std::size_t at = 0; at < bytes.size();) {
        const std::size_t start = at;
        const long code = takeCharacter(bytes, &at);
        if (code < 0) {
            *problem = "the text is not UTF-8 (byte " + std::to_string(start + 1) + ")";
            return false;
        }
        if (code > 0xFFFF) {
            ++*leftOut;
        } else if (const char16_t unit = replacement(code)) {
            units += unit;
        }
    }
    *text = ZkString(std::u16string_view(units));
    return true;
}

bool breaksAnywhere(ZkUcs2 c)
{
    return (c >= 0x4E00 && c <= 0x9FCF) || (c >= 0x30A0 && c <= 0x30FF) ||
           (c >= 0xAC00 && c <= 0xD7AF);
}

bool isRightToLeft(const ZkString &text)
{
    return isIncludeHebrew(text.constData(), text.size()) != 0 ||
           isIncludeArbic(text.constData(), text.size()) != 0;
}

ZkString breakParagraphs(const ZkString &text, const ZkFont &font, int charSpacing, int width)
{
    if (width < 1 || !isRightToLeft(text)) {
        return text;
    }
    const bool isHebrew = isIncludeHebrew(text.constData(), text.size()) != 0;
    const LineFiller filler(font, charSpacing, width, isHebrew);
    const std::u16string units = text.toStdU16String();
    std::u16string lines;
    for (std::size_t at = 0; at <= units.size();) {
        const std::size_t end = std::min(units.find(kNewline, at), units.size());
        lines += filler.fill(units.substr(at, end - at));
        if (end < units.size()) {
            lines += kNewline;
        }
        at = end + 1;
    }
    return ZkString(std::u16string_view(lines));
}

} // namespace host
