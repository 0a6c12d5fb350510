#ifndef ZKSTRING_H
#define ZKSTRING_H

#include "zkbytearray.h"
#include "zkglobal.h"

#include <cstdarg>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>
#include <type_traits>

class ZkStringList;

/// The text type of the library: a sequence of 16-bit units, each a character of
/// the Basic Multilingual Plane. Surrogates are units like any other; no pair is
/// ever formed or taken apart.
///
/// One object is one pointer to a `Data` block, which copies share:
///
///     ZkString a("abc"), b = a;      a ──┐
///                                    b ──┴─> ref 2 | alloc 4 | size 3 | data ─> 'a' 'b' 'c' 0
///     b.append("d");                 a ────> ref 1 | ...           b ────> its own "abcd"
///
/// Copying is one atomic increment. A call that changes the text first makes a
/// block of its own when the block is shared ("detaches"); the one exception is
/// `insert(int, const char *, int)`. Calls that return text share the block when
/// the result is the whole string. A pointer from `constData()` is valid until
/// the next call that is not const; taking one never detaches. Behind the last
/// unit stands a 0 unit that is not counted.
///
/// Objects that share a block may be used on different threads; one object needs
/// a lock of the host's own. Positions and lengths count units. A negative size
/// or count is 0; memory that cannot be had ends the process with a message.
class ZK_EXPORT ZkString
{
    template <typename Char>
    using IfChar = std::enable_if_t<std::is_same<Char, char>::value, int>;

    // Two units of which at least one is a `char`.
    template <typename A, typename B>
    using IfUnits =
        std::enable_if_t<(std::is_same<A, char>::value && std::is_same<B, char>::value) ||
                             (std::is_same<A, char>::value && std::is_same<B, ZkUcs2>::value) ||
                             (std::is_same<A, ZkUcs2>::value && std::is_same<B, char>::value),
                         int>;

    // A number that is no character.
    template <typename Integer>
    using IfInteger =
        std::enable_if_t<std::is_integral<Integer>::value && !std::is_same<Integer, char>::value,
                         int>;

public:
    /// What `split` does with empty pieces.
    enum SplitBehavior { KeepEmpty = 0, SkipEmpty = 1 };

    /// The shared block.
    struct ZK_EXPORT Data {
        ZkRefCount ref; ///< how many strings share the block
        int alloc;      ///< units that the buffer holds, at least size + 1 when there is one
        int size;       ///< units in use; behind them stands a 0
        ZkUcs2 *data;   ///< from `malloc`; null while nothing was ever stored

        /// The empty block of results that hold nothing. Its own count of 1 is
        /// never given back, so it is never freed.
        static Data shared_null;

        /// Makes the buffer hold `n` units. Nothing happens while n <= alloc <= 3 * n;
        /// else it is sized to `n`, with `grow` to `2 * n`. So a buffer more than
        /// three times too large shrinks, also with `grow`. More than INT_MAX bytes abort.
        static void allocMemory(Data *d, std::int64_t n, bool grow);
    };

    // Making a string. Even an empty one gets a block of its own, so two strings
    // share only after one was copied from the other.

    ZkString() : d(createData()) {}

    /// One unit. A `char` is zero-extended: byte 0xE9 is U+00E9.
    ZkString(ZkUcs2 c);
    template <typename Char, IfChar<Char> = 0>
    ZkString(Char c) : ZkString(unitOf(c))
    {
    }

    /// The UTF-8 text at `s` up to its 0 byte, or its first `len` bytes if that is
    /// less; see `utf8ToUcs2`. A negative `len` sets no bound; a null `s` is empty.
    ZkString(const char *s, int len = -1);

    /// The `n` units at `u`, 0 units included; empty when `n` is below 1.
    ZkString(const ZkUcs2 *u, int n);

    /// `n` units `c`; empty when `n` is below 1.
    ZkString(int n, ZkUcs2 c);
    template <typename Char, IfChar<Char> = 0>
    ZkString(int n, Char c) : ZkString(n, unitOf(c))
    {
    }

    /// All of `utf8`, 0 bytes included.
    explicit ZkString(std::string_view utf8);

    /// All of `text`, 0 units included.
    explicit ZkString(std::u16string_view text);

    ZkString(const ZkString &other) noexcept = default;
    ZkString &operator=(const ZkString &other) noexcept = default;

    /// These leave `other` empty.
    ZkString(ZkString &&other) noexcept = default;
    ZkString &operator=(ZkString &&other) noexcept = default;

    ~ZkString() = default;

    /// Becomes the one unit `c`.
    ZkString &operator=(ZkUcs2 c) { return *this = ZkString(c); }
    template <typename Char, IfChar<Char> = 0>
    ZkString &operator=(Char c)
    {
        return *this = ZkString(c);
    }

    // The units.

    int size() const { return d->size; }
    bool isEmpty() const { return d->size == 0; }

    /// Units that the buffer holds, terminator included; 0 without a buffer.
    int capacity() const { return d->alloc; }

    /// True when both use one block.
    bool isSharedWith(const ZkString &other) const { return d == other.d; }

    /// Unit `i`. An `i` of size() or more ends the process with a report; a
    /// negative one gives 0.
    ZkUcs2 at(int i) const;

    /// Unit `i`; 0 outside 0 to size() - 1.
    ZkUcs2 operator[](int i) const { return i >= 0 && i < d->size ? d->data[i] : ZkUcs2(0); }

    /// Unit `i` for writing: detaches. An `i` outside 0 to size() - 1 ends the
    /// process with a report.
    ZkUcs2 &operator[](int i);

    /// The units and the 0 behind them; never null.
    const ZkUcs2 *constData() const { return d->data != nullptr ? d->data : &kTerminator; }
    const ZkUcs2 *data() const { return constData(); }
    const ZkUcs2 *begin() const { return constData(); }
    const ZkUcs2 *end() const { return constData() + d->size; }

    /// The size() units for writing: detaches. The 0 behind them must stay.
    ZkUcs2 *data();
    ZkUcs2 *begin() { return data(); }
    ZkUcs2 *end() { return data() + d->size; }

    // Parts of the text.

    /// The first (last) `n` units; the whole string, shared, unless 0 <= n < size().
    ZkString left(int n) const;
    ZkString right(int n) const;

    /// `n` units from `pos`, all to the end when `n` is negative. What lies before
    /// 0 or behind the end is left off: `ZkString("abcdef").mid(-2, 3)` is "a". The
    /// whole string comes back shared; from size() on it is the shared empty string.
    ZkString mid(int pos, int n = -1) const;

    /// Without white space (`ZkUnicode::isSpace`) at either end. Shared when there
    /// is none; the shared empty string when there is nothing else.
    ZkString trimmed() const;

    // Searching. Without regard to case, two units are equal when their foldings
    // are (`ZkUnicodeTables`); in texts, not where one unit is given, a low
    // surrogate behind a high one is folded by the row that the pair's code point
    // finds in the table. A negative `from` counts from the end.

    /// The first index at or behind `from`; -1 when there is none. An empty `s` is
    /// found at `from` itself, up to size().
    int indexOf(ZkUcs2 c, int from = 0, Zk::CaseSensitivity cs = Zk::CaseSensitive) const;
    int indexOf(const ZkString &s, int from = 0, Zk::CaseSensitivity cs = Zk::CaseSensitive) const;
    template <typename Char, IfChar<Char> = 0>
    int indexOf(Char c, int from = 0, Zk::CaseSensitivity cs = Zk::CaseSensitive) const
    {
        return indexOf(unitOf(c), from, cs);
    }

    /// The last index at or before `from`; -1 when there is none. A `from` of
    /// size() or more finds nothing, except an empty `s` at size() itself.
    int lastIndexOf(ZkUcs2 c, int from = -1, Zk::CaseSensitivity cs = Zk::CaseSensitive) const;
    int lastIndexOf(const ZkString &s, int from = -1,
                    Zk::CaseSensitivity cs = Zk::CaseSensitive) const;
    template <typename Char, IfChar<Char> = 0>
    int lastIndexOf(Char c, int from = -1, Zk::CaseSensitivity cs = Zk::CaseSensitive) const
    {
        return lastIndexOf(unitOf(c), from, cs);
    }

    /// How many units are `c`.
    int count(ZkUcs2 c, Zk::CaseSensitivity cs = Zk::CaseSensitive) const;
    template <typename Char, IfChar<Char> = 0>
    int count(Char c, Zk::CaseSensitivity cs = Zk::CaseSensitive) const
    {
        return count(unitOf(c), cs);
    }

    /// How often `s` occurs from index 1 on, overlaps included: a match at index 0
    /// does not count, so "a" in "aXa" is 1. An empty `s` counts size().
    int count(const ZkString &s, Zk::CaseSensitivity cs = Zk::CaseSensitive) const;

    /// Whether the text begins (ends) with `s`. A text without a buffer does so
    /// only with another such: ZkString().startsWith("") is false.
    bool startsWith(const ZkString &s, Zk::CaseSensitivity cs = Zk::CaseSensitive) const;
    bool startsWith(ZkUcs2 c, Zk::CaseSensitivity cs = Zk::CaseSensitive) const;
    template <typename Char, IfChar<Char> = 0>
    bool startsWith(Char c, Zk::CaseSensitivity cs = Zk::CaseSensitive) const
    {
        return startsWith(unitOf(c), cs);
    }
    bool endsWith(const ZkString &s, Zk::CaseSensitivity cs = Zk::CaseSensitive) const;
    bool endsWith(ZkUcs2 c, Zk::CaseSensitivity cs = Zk::CaseSensitive) const;
    template <typename Char, IfChar<Char> = 0>
    bool endsWith(Char c, Zk::CaseSensitivity cs = Zk::CaseSensitive) const
    {
        return endsWith(unitOf(c), cs);
    }

    /// Below, at or above 0 as the text comes before, with or behind `s` in the
    /// order of the units: the difference of the first two that differ, else of
    /// the sizes. Without regard to case the foldings count, a longer text gives 1
    /// or -1, and a text without a buffer comes behind every other one.
    int compare(const ZkString &s, Zk::CaseSensitivity cs = Zk::CaseSensitive) const;

    /// The pieces between the occurrences of `sep`. An empty `sep` cuts in front of
    /// the first unit and behind each. Needs <zkstringlist.h>.
    ZkStringList split(const ZkString &sep, SplitBehavior behavior = KeepEmpty,
                       Zk::CaseSensitivity cs = Zk::CaseSensitive) const;
    ZkStringList split(const ZkUcs2 &sep, SplitBehavior behavior = KeepEmpty,
                       Zk::CaseSensitivity cs = Zk::CaseSensitive) const;
    template <typename Char, IfChar<Char> = 0>
    ZkStringList split(Char sep, SplitBehavior behavior = KeepEmpty,
                       Zk::CaseSensitivity cs = Zk::CaseSensitive) const;

    // Changing the text. Text given as `const char *` is UTF-8 with a length as in
    // the constructor; null changes nothing. The argument may be the string itself.

    ZkString &append(const ZkString &s);
    ZkString &append(const char *s, int len = -1);
    ZkString &append(ZkUcs2 c);
    template <typename Char, IfChar<Char> = 0>
    ZkString &append(Char c)
    {
        return append(unitOf(c));
    }

    ZkString &prepend(const ZkString &s);
    ZkString &prepend(const char *s, int len = -1);
    ZkString &prepend(ZkUcs2 c);
    template <typename Char, IfChar<Char> = 0>
    ZkString &prepend(Char c)
    {
        return prepend(unitOf(c));
    }

    /// Puts `c` in front of unit `pos`, which is taken into 0 to size().
    ZkString &insert(int pos, ZkUcs2 c);
    template <typename Char, IfChar<Char> = 0>
    ZkString &insert(int pos, Char c)
    {
        return insert(pos, unitOf(c));
    }

    /// Puts `s` in front of unit `pos`; prepends below 0, appends from size() on.
    ZkString &insert(int pos, const ZkString &s);

    /// The same for UTF-8, with two surprises: outside 0 to size() - 1 the whole
    /// 0-terminated text is taken whatever `len` says, and inside the block is
    /// written without detaching, so every copy sees the new text.
    ZkString &insert(int pos, const char *s, int len = -1);

    /// Takes out `n` units from `pos`; a negative `pos` counts from the end. What
    /// lies outside the text is passed over.
    ZkString &remove(int pos, int n);

    /// Makes the text `n` units long; new ones are 0.
    void resize(int n);

    /// Keeps at most the first `n` units; a negative `n` empties.
    void truncate(int n);

    /// Takes `n` units off the end; all when there are fewer.
    void chop(int n);

    /// Empties the text. The buffer is kept unless other strings share it, or it is more
    /// than three times as large as the text needed.
    void clear();

    /// Makes every unit `c`, after `resize(n)` unless `n` is negative.
    ZkString &fill(ZkUcs2 c, int n = -1);
    template <typename Char, IfChar<Char> = 0>
    ZkString &fill(Char c, int n = -1)
    {
        return fill(unitOf(c), n);
    }

    /// Overwrites each of the `n` units from `pos` by `c`; the length stays, so
    /// `replace(1, 2, 'x')` makes "abcd" "axxd". Nothing outside 0 to size().
    ZkString &replace(int pos, int n, ZkUcs2 c);
    template <typename Char, IfChar<Char> = 0>
    ZkString &replace(int pos, int n, Char c)
    {
        return replace(pos, n, unitOf(c));
    }

    /// Puts other text in place of the `n` units from `pos`. Nothing outside 0 to
    /// size(). `u` may point into this string; null is no text.
    ZkString &replace(int pos, int n, const ZkUcs2 *u, int len);
    ZkString &replace(int pos, int n, const ZkString &s);

    /// Replaces every occurrence from left to right; what is put in is not searched
    /// again. An empty `before` changes nothing.
    ZkString &replace(const ZkString &before, const ZkString &after,
                      Zk::CaseSensitivity cs = Zk::CaseSensitive);
    ZkString &replace(ZkUcs2 before, const ZkString &after,
                      Zk::CaseSensitivity cs = Zk::CaseSensitive);
    ZkString &replace(ZkUcs2 before, ZkUcs2 after, Zk::CaseSensitivity cs = Zk::CaseSensitive);
    template <typename Char, IfChar<Char> = 0>
    ZkString &replace(Char before, const ZkString &after,
                      Zk::CaseSensitivity cs = Zk::CaseSensitive)
    {
        return replace(unitOf(before), after, cs);
    }
    template <typename Before, typename After, IfUnits<Before, After> = 0>
    ZkString &replace(Before before, After after, Zk::CaseSensitivity cs = Zk::CaseSensitive)
    {
        return replace(unitOf(before), unitOf(after), cs);
    }

    /// Takes out every occurrence. An empty `s` changes nothing.
    ZkString &remove(const ZkString &s, Zk::CaseSensitivity cs = Zk::CaseSensitive);
    ZkString &remove(ZkUcs2 c, Zk::CaseSensitivity cs = Zk::CaseSensitive);
    template <typename Char, IfChar<Char> = 0>
    ZkString &remove(Char c, Zk::CaseSensitivity cs = Zk::CaseSensitive)
    {
        return remove(unitOf(c), cs);
    }

    // Values into text. An escape is '%', an 'L' if the locale's form is meant, and
    // one or two digits of any script (`ZkUnicodeTables`): `%0` to `%99`. The
    // members `arg` replace all escapes of the lowest number there is, so that each
    // call fills the next place:
    //
    //     ZkString("%1 of %2").arg(3).arg(12)     // "3 of 12"
    //
    // A value is padded to the absolute `fieldWidth`, in front when that is
    // positive, behind when negative. A text without an escape comes back shared,
    // and "ZkString::arg(): %x argument missing" is printed.

    ZkString arg(const ZkString &a, int fieldWidth = 0, ZkUcs2 fillChar = ' ') const;
    template <typename Char, IfChar<Char> = 0>
    ZkString arg(const ZkString &a, int fieldWidth, Char fillChar) const
    {
        return arg(a, fieldWidth, unitOf(fillChar));
    }

    /// A character; a `char` is zero-extended.
    ZkString arg(ZkUcs2 a, int fieldWidth = 0, ZkUcs2 fillChar = ' ') const;
    template <typename Char, IfChar<Char> = 0>
    ZkString arg(Char a, int fieldWidth = 0, ZkUcs2 fillChar = ' ') const
    {
        return arg(unitOf(a), fieldWidth, fillChar);
    }
    template <typename Unit, typename Char, IfUnits<Unit, Char> = 0, IfChar<Char> = 0>
    ZkString arg(Unit a, int fieldWidth, Char fillChar) const
    {
        return arg(unitOf(a), fieldWidth, unitOf(fillChar));
    }

    /// An integer in `base` (10 unless 2 to 36); any other base than 10 shows the
    /// 64-bit two's complement of a negative one. A `%L` escape gets the symbols of
    /// `ZkLocale` and group separators. In base 10 fill '0' with a positive width
    /// puts zeros behind the sign: -5 in width 4 is "-005".
    ZkString arg(long long a, int fieldWidth = 0, int base = 10, ZkUcs2 fillChar = ' ') const;
    ZkString arg(unsigned long long a, int fieldWidth = 0, int base = 10,
                 ZkUcs2 fillChar = ' ') const;
    ZkString arg(int a, int fieldWidth = 0, int base = 10, ZkUcs2 fillChar = ' ') const;
    ZkString arg(unsigned a, int fieldWidth = 0, int base = 10, ZkUcs2 fillChar = ' ') const;
    ZkString arg(long a, int fieldWidth = 0, int base = 10, ZkUcs2 fillChar = ' ') const;
    ZkString arg(unsigned long a, int fieldWidth = 0, int base = 10, ZkUcs2 fillChar = ' ') const;
    template <typename Integer, typename Char, IfInteger<Integer> = 0, IfChar<Char> = 0>
    ZkString arg(Integer a, int fieldWidth, int base, Char fillChar) const
    {
        return arg(a, fieldWidth, base, unitOf(fillChar));
    }

    /// A double as `number` writes it; escapes and fill '0' as above.
    ZkString arg(double a, int fieldWidth = 0, char format = 'g', int precision = -1,
                 ZkUcs2 fillChar = ' ') const;
    template <typename Char, IfChar<Char> = 0>
    ZkString arg(double a, int fieldWidth, char format, int precision, Char fillChar) const
    {
        return arg(a, fieldWidth, format, precision, unitOf(fillChar));
    }

    /// Replaces escapes by texts in one pass: those of the lowest number by
    /// `*args[0]`, of the next by `*args[1]`, up to `count`; others stay. Here an
    /// escape has ASCII digits and may go up to 999. A null text is empty. With
    /// fewer numbers than texts the line above is printed.
    ZkString multiArg(int count, const ZkString **args) const;

    /// Becomes what `printf` would print for ASCII text: flags, width, precision,
    /// length modifiers and conversions are its own, numbers are written by
    /// `ZkLocale` with '.', whatever the host's locale is. What differs:
    /// - text between directives is taken byte by byte, 0xE9 as U+00E9; 's' is UTF-8
    ///   and its precision counts bytes, "ls" is `const ZkUcs2 *` with a 0 at its end;
    /// - 'c' is one byte, "lc" one unit; "'" groups by `ZkLocale::mGroupSeparator`;
    /// - a null text is "(null)", a null pointer 0x0; 'n' stores units;
    /// - 'x' and 'd' show at least one digit, '#' puts "0x" before 0 too;
    /// - width and precision end at 1048576; a directive that is cut off or unknown
    ///   is text.
    /// Arguments may lie in this string's own text.
    ///
    /// Compilers check literal formats as `printf`'s: `s.sprintf("%s", 5)` warns. Where a
    /// directive takes something else than C's they warn too, and the checked type is
    /// given by a cast: "lc" takes a `ZkUcs2` and is checked as `wint_t`, "ls" takes a
    /// `const ZkUcs2 *` and is checked as `const wchar_t *`
    /// (`reinterpret_cast<const wchar_t *>(units)`; or use `vsprintf`, which is not checked).
    ZkString &sprintf(const char *format, ...) __attribute__((format(printf, 2, 3)));
    ZkString &vsprintf(const char *format, std::va_list arguments);

    /// An integer in `base` (10 unless 2 to 36), as for `arg`.
    static ZkString number(long long n, int base = 10);
    static ZkString number(unsigned long long n, int base = 10);
    static ZkString number(int n, int base = 10);
    static ZkString number(unsigned n, int base = 10);
    static ZkString number(long n, int base = 10);
    static ZkString number(unsigned long n, int base = 10);

    /// A double: 'e' is d.ddde+dd and 'f' ddd.ddd with `precision` digits behind the
    /// point; 'g', as any other letter, is the shorter of both with that many
    /// significant digits. Capitals give upper-case text; a negative precision is 6.
    static ZkString number(double n, char format = 'g', int precision = -1);

    /// Becomes `number(n, ...)`.
    template <typename Number, typename... Format>
    ZkString &setNum(Number n, Format... format)
    {
        return *this = number(n, format...);
    }

    // Text into numbers, by the readers of `ZkLocale` without group separators. A
    // failure gives 0 and `*ok` false; `ok` may be null. A base is 2 to 36, or 0 to
    // go by "0x" and "0" in front.

    long long toLongLong(bool *ok = nullptr, int base = 10) const;
    unsigned long long toULongLong(bool *ok = nullptr, int base = 10) const;
    int toInt(bool *ok = nullptr, int base = 10) const;
    unsigned toUInt(bool *ok = nullptr, int base = 10) const;

    /// These fail outside 32 bits on every machine.
    long toLong(bool *ok = nullptr, int base = 10) const;
    unsigned long toULong(bool *ok = nullptr, int base = 10) const;

    /// These look at the low 32 bits only: "4294967301" is 5.
    short toShort(bool *ok = nullptr, int base = 10) const;
    unsigned short toUShort(bool *ok = nullptr, int base = 10) const;

    double toDouble(bool *ok = nullptr) const;

    /// The float nearest to the number as it is written. Fails where the double is
    /// finite and the float would not be.
    float toFloat(bool *ok = nullptr) const;

    // Padding, white space and case. Text that stays as it is comes back shared.

    /// At least `width` units, with `fill` behind (in front of) the text; with
    /// `truncate` a longer text is cut to its first `width` units, unless negative.
    ZkString leftJustified(int width, ZkUcs2 fill = ' ', bool truncate = false) const;
    ZkString rightJustified(int width, ZkUcs2 fill = ' ', bool truncate = false) const;
    template <typename Char, IfChar<Char> = 0>
    ZkString leftJustified(int width, Char fill, bool truncate = false) const
    {
        return leftJustified(width, unitOf(fill), truncate);
    }
    template <typename Char, IfChar<Char> = 0>
    ZkString rightJustified(int width, Char fill, bool truncate = false) const
    {
        return rightJustified(width, unitOf(fill), truncate);
    }

    /// Without white space (`ZkUnicode::isSpace`) at both ends, and with one blank for
    /// each run of it inside.
    ZkString simplified() const;

    /// Each unit in upper (lower) case, as by `ZkUnicode`; a low surrogate behind a
    /// high one is mapped by the row that the pair's code point finds in the table.
    ZkString toUpper() const;
    ZkString toLower() const;

    // UTF-8 and the standard library's texts.

    /// Decodes `len` bytes of UTF-8 and returns the number of units, at most one
    /// per byte: `out` needs room for `len`. Bytes behind a lead byte are taken as they
    /// stand and overlong forms are read; lead bytes of four and more and stray
    /// continuation bytes yield nothing, so characters above U+FFFF vanish.
    ///
    /// At the end of the text the last lead byte decides, found from behind over
    /// continuation bytes only: unless exactly as many bytes as it asks for follow to
    /// the end, it and all behind it are left out, and the end is looked at again. So
    /// C3 (cut off) and C3 A9 80 (a byte too many) give nothing, 61 C3 A9 80 gives 'a'.
    /// ASCII at the end ends that search, and a lead byte before it then finds fewer
    /// bytes than it asks for; those missing count as 0: EF 6F gives U+FBC0.
    static int utf8ToUcs2(ZkUcs2 *out, const char *in, int len);

    /// Encodes `n` units as UTF-8 and returns the number of bytes, at most three
    /// per unit: `out` needs room for `3 * n`. Each surrogate is three bytes.
    static int ucs2ToUtf8(char *out, const ZkUcs2 *in, int n);

    /// The text as UTF-8, terminated; its buffer holds 3 * size() + 1 bytes.
    ZkByteArray toUtf8() const;

    std::string toStdString() const;
    std::u16string toStdU16String() const;

    // Order is that of the units; a text that begins a longer one is less.

    bool operator==(const ZkString &other) const;
    bool operator!=(const ZkString &other) const { return !(*this == other); }
    bool operator<(const ZkString &other) const { return compare(other) < 0; }
    bool operator>(const ZkString &other) const { return compare(other) > 0; }
    bool operator<=(const ZkString &other) const { return compare(other) <= 0; }
    bool operator>=(const ZkString &other) const { return compare(other) >= 0; }

private:
    friend struct ZkInspector;

    explicit ZkString(Data &block) noexcept : d(block) {}

    static constexpr ZkUcs2 unitOf(char c) { return static_cast<unsigned char>(c); }
    static constexpr ZkUcs2 unitOf(ZkUcs2 c) { return c; }

    static Data *createData();
    static Data *createData(std::int64_t units);

    ZkString &replaceAll(const ZkUcs2 *before, int beforeSize, const ZkUcs2 *after, int afterSize,
                         Zk::CaseSensitivity cs);
    ZkString &removeAll(const ZkUcs2 *u, int size, Zk::CaseSensitivity cs);
    void detach();
    void detachIfShared();
    void setSize(int n);
    ZkUcs2 *openGap(int pos, int n);
    ZkString &insertUtf8(int pos, const char *s, int len);

    /// What `constData()` shows of a string without a buffer.
    static constexpr ZkUcs2 kTerminator = 0;

    ZkSharedBlock<Data> d;
};

inline ZkUcs2 ZkString::at(int i) const
{
    ZK_CHECK_AT(i < d->size, "i < size()", "../include/pub/zkstring", 302,
                "ZkUcs2 ZkString::at(int) const");
    return i < 0 ? ZkUcs2(0) : d->data[i];
}

inline ZkString ZkString::arg(int a, int fieldWidth, int base, ZkUcs2 fillChar) const
{
    return arg(static_cast<long long>(a), fieldWidth, base, fillChar);
}

inline ZkString ZkString::arg(unsigned a, int fieldWidth, int base, ZkUcs2 fillChar) const
{
    return arg(static_cast<unsigned long long>(a), fieldWidth, base, fillChar);
}

inline ZkString ZkString::arg(long a, int fieldWidth, int base, ZkUcs2 fillChar) const
{
    return arg(static_cast<long long>(a), fieldWidth, base, fillChar);
}

inline ZkString ZkString::arg(unsigned long a, int fieldWidth, int base, ZkUcs2 fillChar) const
{
    return arg(static_cast<unsigned long long>(a), fieldWidth, base, fillChar);
}

inline ZkString ZkString::number(int n, int base)
{
    return number(static_cast<long long>(n), base);
}

inline ZkString ZkString::number(unsigned n, int base)
{
    return number(static_cast<unsigned long long>(n), base);
}

inline ZkString ZkString::number(long n, int base)
{
    return number(static_cast<long long>(n), base);
}

inline ZkString ZkString::number(unsigned long n, int base)
{
    return number(static_cast<unsigned long long>(n), base);
}

inline std::string ZkString::toStdString() const
{
    return std::string(toUtf8().toStdStringView());
}

inline std::u16string ZkString::toStdU16String() const
{
    return std::u16string(begin(), end());
}

/// Writes the text as UTF-8.
template <typename Traits>
std::basic_ostream<char, Traits> &operator<<(std::basic_ostream<char, Traits> &stream,
                                             const ZkString &text)
{
    return stream << text.toUtf8();
}

/// The first index at or behind `from` where the needle stands in the haystack, or
/// -1. A negative `from` counts from the end; what then lies before the first unit
/// means the first unit, but an empty needle is found at the `from` so reckoned,
/// even below 0. Null is no text. No memory is allocated.
ZK_EXPORT int zkFindString(const ZkUcs2 *haystack, int haystackLen, int from, const ZkUcs2 *needle,
                           int needleLen, Zk::CaseSensitivity cs);

/// The same for long haystacks, without the short cuts for short ones; a negative
/// `from` means the first unit.
ZK_EXPORT int zkFindStringBoyerMoore(const ZkUcs2 *haystack, int haystackLen, int from,
                                     const ZkUcs2 *needle, int needleLen, Zk::CaseSensitivity cs);

/// The hash of a key of `ZkHash`. Folds as many bytes of the text's UTF-8 form as it has
/// units, so the end of a text with other than ASCII characters does not count: U+00E9
/// gives 195, its first byte. Empty gives 0.
ZK_EXPORT unsigned zkHash(const ZkString &key);

namespace std
{

/// Equal strings have equal hashes.
template <>
struct ZK_EXPORT hash<ZkString> {
    std::size_t operator()(const ZkString &text) const noexcept;
};

} // namespace std

#endif
