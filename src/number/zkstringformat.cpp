#include "base/zklanes.h"
#include "number/zkinteger.h"
#include "number/zknumbertext.h"
#include "string/zkunicodetables.h"
#include "string/zkunits.h"
#include "zkmap.h"

#include <climits>
#include <cstdio>

namespace
{

void printMissingArgument()
{
    std::printf("ZkString::arg(): %%x argument missing\n");
}

/// An escape in a text.
struct Escape {
    const ZkUcs2 *begin; // the '%'
    const ZkUcs2 *end;
    int number;
    bool locale; // marked 'L'
};

inline int digitOf(const ZkUcs2 *at, const ZkUcs2 *end)
{
    if (at == end) {
        return -1;
    }
    const unsigned digit = *at - unsigned('0');
    if (digit > 9) {
        return *at < 0x80 ? -1 : zkUnicodeRecord(*at).digitValue;
    }
    return static_cast<int>(digit);
}

/// The first '%' at or behind `at`, or `end`.
inline const ZkUcs2 *findPercent(const ZkUcs2 *at, const ZkUcs2 *end)
{
#if ZK_HAS_LANES
    const ZkLanes wanted = ZkLanes::all('%');
    for (; end - at >= ZkLanes::kCount; at += ZkLanes::kCount) {
        if (const ZkLanes::Mask found = (ZkLanes::load(at) == wanted).mask(); found != 0) {
            return at + ZkLanes::lowest(found);
        }
    }
#endif
    while (at != end && *at != '%') {
        ++at;
    }
    return at;
}

/// Finds the first escape that begins at or behind `at`. After a '%' (or "%L") and
/// a unit that is no digit the search goes on behind that unit: a second '%'
/// begins nothing.
inline bool findEscape(const ZkUcs2 *at, const ZkUcs2 *end, Escape *escape)
{
    while ((at = findPercent(at, end)) != end) {
        escape->begin = at++;
        escape->locale = at != end && *at == 'L';
        at += escape->locale;
        const int first = digitOf(at, end);
        at += at != end;
        if (first == -1) {
            continue;
        }
        const int second = digitOf(at, end);
        escape->number = second == -1 ? first : 10 * first + second;
        escape->end = at + (second != -1);
        return true;
    }
    return false;
}

/// The escapes of the lowest number in a text.
struct LowestEscapes {
    static constexpr int kKept = 4;

    int minEscape = INT_MAX;   // that number
    int occurrences = 0;       // how many there are; 0 when the text has no escape
    int localeOccurrences = 0; // how many of them are marked 'L'
    int escapeLength = 0;      // the units they take
    Escape kept[kKept];        // the first of them, which need not be looked for again

    void add(const Escape &escape)
    {
        if (escape.number < minEscape) {
            minEscape = escape.number;
            occurrences = localeOccurrences = escapeLength = 0;
        }
        if (occurrences < kKept) {
            kept[occurrences] = escape;
        }
        ++occurrences;
        localeOccurrences += escape.locale;
        escapeLength += static_cast<int>(escape.end - escape.begin);
    }

    /// Calls `use` with each of them in order.
    template <typename Use>
    void forEach(const ZkUcs2 *end, Use use) const
    {
        for (int i = 0; i < std::min<int>(occurrences, kKept); ++i) {
            use(kept[i]);
        }
        if (occurrences > kKept) {
            Escape escape = {};
            for (const ZkUcs2 *at = kept[kKept - 1].end; findEscape(at, end, &escape);
                 at = escape.end) {
                if (escape.number == minEscape) {
                    use(escape);
                }
            }
        }
    }
};

LowestEscapes findLowest(const ZkString &text)
{
    LowestEscapes lowest;
    Escape escape;
    const ZkUcs2 *const end = text.end();
    for (const ZkUcs2 *at = text.begin(); findEscape(at, end, &escape); at = escape.end) {
        if (escape.number <= lowest.minEscape) {
            lowest.add(escape);
        }
    }
    if (lowest.occurrences == 0) {
        printMissingArgument();
    }
    return lowest;
}

/// A value's text and how it is padded.
struct Argument {
    const ZkUcs2 *units;
    int size;
};

struct Field {
    int width; // negative: the padding goes behind
    ZkUcs2 fill;

    std::int64_t padding(const Argument &a) const
    {
        return std::max<std::int64_t>(std::abs(static_cast<std::int64_t>(width)) - a.size, 0);
    }
};

ZkUcs2 *copyTo(ZkUcs2 *to, const ZkUcs2 *from, const ZkUcs2 *end)
{
    zkCopyUnits(to, from, static_cast<int>(end - from));
    return to + (end - from);
}

/// Writes the text with a padded argument in place of each of the escapes found: `plain`,
/// or `locale` where the escape is marked.
void writeReplaced(ZkUcs2 *to, const ZkString &text, const LowestEscapes &lowest,
                   const Field &field, const Argument &plain, const Argument &locale)
{
    const ZkUcs2 *from = text.begin();
    lowest.forEach(text.end(), [&](const Escape &escape) {
        to = copyTo(to, from, escape.begin);
        from = escape.end;
        const Argument &a = escape.locale ? locale : plain;
        const std::int64_t padding = field.padding(a);
        if (field.width > 0) {
            to = std::fill_n(to, padding, field.fill);
        }
        to = copyTo(to, a.units, a.units + a.size);
        if (field.width < 0) {
            to = std::fill_n(to, padding, field.fill);
        }
    });
    copyTo(to, from, text.end());
}

ZkString replaceLowest(const ZkString &text, const LowestEscapes &lowest, const Field &field,
                       const Argument &plain, const Argument &locale)
{
    constexpr int kShort = 128; // units that are written beside and copied into the string
    const std::int64_t total =
        static_cast<std::int64_t>(text.size()) - lowest.escapeLength +
        (lowest.occurrences - lowest.localeOccurrences) * (plain.size + field.padding(plain)) +
        lowest.localeOccurrences * (locale.size + field.padding(locale));
    if (total <= kShort) {
        ZkUcs2 room[kShort];
        writeReplaced(room, text, lowest, field, plain, locale);
        return ZkString(room, static_cast<int>(total));
    }
    // A size that no int holds is more memory than a block may have.
    ZkString result(static_cast<int>(std::min<std::int64_t>(total, INT_MAX)), field.fill);
    writeReplaced(result.data(), text, lowest, field, plain, locale);
    return result;
}

/// `arg` for a number that `write(buffer, symbols, width, flags)` lays out, in a text
/// that has escapes.
template <typename Write>
ZkString replaceByNumber(const ZkString &text, const LowestEscapes &lowest, const Field &field,
                         unsigned flags, Write write)
{
    ZkTextBuffer plain, locale;
    if (lowest.occurrences > lowest.localeOccurrences) {
        write(&plain, kZkPlainSymbols, field.width, flags);
    }
    if (lowest.localeOccurrences > 0) {
        const bool grouped = (ZkLocale::mNumberOptions & ZkLocale::OmitGroupSeparators) == 0;
        const unsigned groups = grouped ? static_cast<unsigned>(ZkLocale::GroupThousands) : 0U;
        write(&locale, zkLocaleSymbols(), field.width, flags | groups);
    }
    return replaceLowest(text, lowest, field, {plain.at(0), plain.size()},
                         {locale.at(0), locale.size()});
}

/// The flags for a decimal number in a field: fill '0' stands behind the sign.
unsigned flagsFor(const Field &field)
{
    return field.fill == '0' && field.width > 0 ? static_cast<unsigned>(ZkLocale::PadWithZeros)
                                                : 0U;
}

/// `arg` for an integer, of which `magnitude` is shown.
ZkString replaceByInteger(const ZkString &text, const Field &field, int base,
                          std::uint64_t magnitude, bool negative)
{
    const LowestEscapes lowest = findLowest(text);
    const unsigned flags = base == 10 ? flagsFor(field) : 0U;
    if (lowest.occurrences == 0) {
        return text;
    }
    if (flags == 0 && lowest.localeOccurrences == 0) { // the digits are all there is
        ZkUcs2 room[kZkMostDigits + 1];
        ZkUcs2 *const end = room + kZkMostDigits + 1;
        ZkUcs2 *first = zkWriteInteger(end, magnitude, base);
        if (negative) {
            *--first = '-';
        }
        const Argument plain = {first, static_cast<int>(end - first)};
        return replaceLowest(text, lowest, field, plain, plain);
    }
    return replaceByNumber(
        text, lowest, field, flags,
        [=](ZkTextBuffer *out, const ZkNumberSymbols &symbols, int width, unsigned allFlags) {
            zkAppendInteger(out, symbols, magnitude, negative, base, {-1, width, allFlags});
        });
}

/// `arg` for a text, which has one form for both kinds of escape.
ZkString replaceByText(const ZkString &text, const Argument &a, const Field &field)
{
    const LowestEscapes lowest = findLowest(text);
    return lowest.occurrences == 0 ? text : replaceLowest(text, lowest, field, a, a);
}

/// The highest escape number of `multiArg`.
constexpr int kMostNumber = 999;

/// Reads an escape of `multiArg` at a '%': an 'L' or not, and ASCII digits up to
/// `kMostNumber`. Returns what is behind it, null when it is no escape.
const ZkUcs2 *readNumbered(const ZkUcs2 *at, const ZkUcs2 *end, int *number)
{
    ++at;
    at += at != end && *at == 'L';
    const ZkUcs2 *const digits = at;
    for (*number = 0; at != end && *at >= '0' && *at <= '9'; ++at) {
        *number = std::min(*number * 10 + (*at - '0'), kMostNumber + 1);
    }
    return at != digits && *number <= kMostNumber ? at : nullptr;
}

/// The index of the argument for each number that gets one, -1 for the others:
/// `count` indices go to the lowest numbers in the text.
ZkMap<int, int> argumentIndices(const ZkString &text, int count)
{
    ZkMap<int, int> indices;
    for (const ZkUcs2 *at = text.begin(); (at = std::find(at, text.end(), '%')) != text.end();
         ++at) {
        int number = 0;
        if (readNumbered(at, text.end(), &number) != nullptr) {
            indices.insert(number, -1);
        }
    }
    int index = 0;
    for (auto it = indices.begin(); it != indices.end() && index < count; ++it) {
        it.value() = index++;
    }
    if (index < count) {
        printMissingArgument();
    }
    return indices;
}

} // namespace

ZkString ZkString::arg(const ZkString &a, int fieldWidth, ZkUcs2 fillChar) const
{
    return replaceByText(*this, {a.constData(), a.size()}, {fieldWidth, fillChar});
}

ZkString ZkString::arg(ZkUcs2 a, int fieldWidth, ZkUcs2 fillChar) const
{
    return replaceByText(*this, {&a, 1}, {fieldWidth, fillChar});
}

ZkString ZkString::arg(long long a, int fieldWidth, int base, ZkUcs2 fillChar) const
{
    const int legal = zkNumberBase(base);
    const bool negative = legal == 10 && a < 0;
    const auto bits = static_cast<std::uint64_t>(a);
    return replaceByInteger(*this, {fieldWidth, fillChar}, legal, negative ? 0 - bits : bits,
                            negative);
}

ZkString ZkString::arg(unsigned long long a, int fieldWidth, int base, ZkUcs2 fillChar) const
{
    return replaceByInteger(*this, {fieldWidth, fillChar}, zkNumberBase(base), a, false);
}

ZkString ZkString::arg(double a, int fieldWidth, char format, int precision, ZkUcs2 fillChar) const
{
    const LowestEscapes lowest = findLowest(*this);
    if (lowest.occurrences == 0) {
        return *this;
    }
    const ZkDoubleFormat look = zkDoubleFormat(format);
    const Field field = {fieldWidth, fillChar};
    return replaceByNumber(
        *this, lowest, field, flagsFor(field),
        [=](ZkTextBuffer *out, const ZkNumberSymbols &symbols, int width, unsigned flags) {
            zkAppendDouble(out, symbols, a, look.form, {precision, width, flags | look.flags});
        });
}

ZkString ZkString::multiArg(int count, const ZkString **args) const
{
    const ZkMap<int, int> indices = argumentIndices(*this, count);
    ZkTextBuffer result;
    const ZkUcs2 *from = begin();
    for (const ZkUcs2 *at = from; (at = std::find(at, end(), '%')) != end();) {
        int number = 0;
        const ZkUcs2 *behind = readNumbered(at, end(), &number);
        const int index = behind != nullptr ? indices.value(number, -1) : -1;
        if (index == -1) {
            ++at; // text, whether or not it is an escape
            continue;
        }
        result.append(from, at - from);
        from = at = behind;
        if (args != nullptr && args[index] != nullptr) {
            result.append(args[index]->constData(), args[index]->size());
        }
    }
    result.append(from, end() - from);
    return result.toString();
}
