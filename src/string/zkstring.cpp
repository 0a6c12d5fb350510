#include "zkstring.h"

#include "string/zktextlength.h"
#include "string/zkunits.h"
#include "zkunicode.h"

#include <algorithm>
#include <cstring>

namespace
{

/// Whether `p` lies in the `n` units at `begin` or just behind them.
bool pointsInto(const ZkUcs2 *p, const ZkUcs2 *begin, int n)
{
    return begin != nullptr && !std::less<const ZkUcs2 *>()(p, begin) &&
           !std::less<const ZkUcs2 *>()(begin + n, p);
}

/// The buffer of a string made of `n` units: none for none.
std::int64_t roomFor(int n)
{
    return n < 1 ? 0 : static_cast<std::int64_t>(n) + 1;
}

} // namespace

#if UINTPTR_MAX == UINT32_MAX
static_assert(sizeof(ZkString::Data) == 16, "four words on the device");
#endif

ZkString::Data ZkString::Data::shared_null = {{1}, 0, 0, nullptr};

void ZkString::Data::allocMemory(Data *d, std::int64_t n, bool grow)
{
    if (d->data != nullptr && n <= d->alloc && d->alloc <= 3 * n) {
        return;
    }
    const std::int64_t units = grow ? 2 * n : n;
    const std::int64_t bytes = units * static_cast<std::int64_t>(sizeof(ZkUcs2));
    d->data = static_cast<ZkUcs2 *>(zkReallocate(d->data, bytes));
    d->alloc = static_cast<int>(units);
}

ZkString::ZkString(ZkUcs2 c) : d(createData(2))
{
    d->data[0] = c;
    setSize(1);
}

ZkString::ZkString(const char *s, int len)
    : d(createData(s == nullptr ? 0 : static_cast<std::int64_t>(zkTextLength(s, len)) + 1))
{
    if (d->data != nullptr) {
        setSize(utf8ToUcs2(d->data, s, d->alloc - 1));
    }
}

ZkString::ZkString(const ZkUcs2 *u, int n) : d(createData(u == nullptr ? 0 : roomFor(n)))
{
    if (d->data != nullptr) {
        zkCopyUnits(d->data, u, n);
        setSize(n);
    }
}

ZkString::ZkString(int n, ZkUcs2 c) : d(createData(roomFor(n)))
{
    if (d->data != nullptr) {
        std::fill_n(d->data, n, c);
        setSize(n);
    }
}

ZkString::ZkString(std::string_view utf8)
    : d(createData(
          utf8.data() == nullptr ? 0 : static_cast<std::int64_t>(zkClippedLength(utf8.size())) + 1))
{
    if (d->data != nullptr) {
        setSize(utf8ToUcs2(d->data, utf8.data(), d->alloc - 1));
    }
}

ZkString::ZkString(std::u16string_view text) : d(createData(roomFor(zkClippedLength(text.size()))))
{
    if (d->data != nullptr) {
        std::memcpy(d->data, text.data(), static_cast<std::size_t>(d->alloc - 1) * sizeof(ZkUcs2));
        setSize(d->alloc - 1);
    }
}

ZkUcs2 &ZkString::operator[](int i)
{
    ZK_CHECK_AT(i >= 0 && i < d->size, "i >= 0 && i < size()", "../include/pub/zkstring", __LINE__,
                "ZkUcs2& ZkString::operator[](int)");
    detachIfShared();
    return d->data[i];
}

ZkUcs2 *ZkString::data()
{
    detachIfShared();
    // Without a buffer there is no unit to write, and the 0 must not be.
    return d->data != nullptr ? d->data : const_cast<ZkUcs2 *>(&kTerminator);
}

ZkString ZkString::left(int n) const
{
    return n >= 0 && n < d->size ? ZkString(d->data, n) : *this;
}

ZkString ZkString::right(int n) const
{
    return n >= 0 && n < d->size ? ZkString(d->data + (d->size - n), n) : *this;
}

ZkString ZkString::mid(int pos, int n) const
{
    if (d->size == 0 || pos >= d->size) {
        return ZkString(Data::shared_null);
    }
    const int start = std::max(pos, 0);
    std::int64_t len = n < 0 ? static_cast<std::int64_t>(d->size) - pos : n;
    len = std::min(len + std::min(pos, 0), static_cast<std::int64_t>(d->size) - start);
    if (len == d->size) {
        return *this;
    }
    return ZkString(d->data + start, static_cast<int>(std::max<std::int64_t>(len, 0)));
}

ZkString ZkString::trimmed() const
{
    int first = 0;
    int last = d->size;
    while (first < last && ZkUnicode::isSpace(d->data[first])) {
        ++first;
    }
    while (last > first && ZkUnicode::isSpace(d->data[last - 1])) {
        --last;
    }
    if (last - first == d->size) {
        return *this;
    }
    return first == last ? ZkString(Data::shared_null) : ZkString(d->data + first, last - first);
}

ZkString &ZkString::append(const ZkString &s)
{
    const int n = s.d->size;
    if (n == 0) {
        return *this;
    }
    detachIfShared();
    Data::allocMemory(d, static_cast<std::int64_t>(d->size) + n + 1, true);
    zkCopyUnits(d->data + d->size, s.d->data, n); // read now: `s` may be this string
    setSize(d->size + n);
    return *this;
}

ZkString &ZkString::append(const char *s, int len)
{
    if (s == nullptr) {
        return *this;
    }
    detachIfShared();
    const int n = zkTextLength(s, len);
    Data::allocMemory(d, static_cast<std::int64_t>(d->size) + n + 1, true);
    setSize(d->size + utf8ToUcs2(d->data + d->size, s, n));
    return *this;
}

ZkString &ZkString::append(ZkUcs2 c)
{
    detachIfShared();
    Data::allocMemory(d, static_cast<std::int64_t>(d->size) + 2, true);
    d->data[d->size] = c;
    setSize(d->size + 1);
    return *this;
}

ZkString &ZkString::prepend(const ZkString &s)
{
    const int n = s.d->size;
    if (n == 0) {
        return *this;
    }
    detachIfShared();
    Data::allocMemory(d, static_cast<std::int64_t>(d->size) + n + 1, true);
    openGap(0, n);
    // In front of itself the text is found behind the gap.
    zkCopyUnits(d->data, s.d == d ? d->data + n : s.d->data, n);
    return *this;
}

ZkString &ZkString::prepend(const char *s, int len)
{
    if (s == nullptr) {
        return *this;
    }
    detachIfShared();
    return insertUtf8(0, s, len);
}

ZkString &ZkString::prepend(ZkUcs2 c)
{
    return insert(0, c);
}

ZkString &ZkString::insert(int pos, ZkUcs2 c)
{
    detachIfShared();
    Data::allocMemory(d, static_cast<std::int64_t>(d->size) + 2, true);
    *openGap(std::clamp(pos, 0, d->size), 1) = c;
    return *this;
}

ZkString &ZkString::insert(int pos, const ZkString &s)
{
    const int n = s.d->size;
    if (n == 0) {
        return *this;
    }
    if (pos < 0) {
        return prepend(s);
    }
    if (pos >= d->size) {
        return append(s);
    }
    detachIfShared();
    Data::allocMemory(d, static_cast<std::int64_t>(d->size) + n + 1, true);
    ZkUcs2 *gap = openGap(pos, n);
    if (s.d == d) {
        // Inserted into itself, the text is what now stands around the gap.
        zkCopyUnits(gap, d->data, pos);
        zkCopyUnits(gap + pos, gap + n, n - pos);
    } else {
        zkCopyUnits(gap, s.d->data, n);
    }
    return *this;
}

ZkString &ZkString::insert(int pos, const char *s, int len)
{
    if (s == nullptr) {
        return *this;
    }
    // `len` is ignored here: the whole text is inserted.
    if (pos < 0) {
        return prepend(s, -1);
    }
    if (pos >= d->size) {
        return append(s, -1);
    }
    // No detach: copies that share the block see the inserted text too.
    return insertUtf8(pos, s, len);
}

ZkString &ZkString::remove(int pos, int n)
{
    if (pos < 0) {
        pos += d->size;
    }
    if (pos < 0 || pos >= d->size) {
        return *this;
    }
    if (d->size - pos <= n) {
        resize(pos);
    } else if (n > 0) {
        detachIfShared();
        zkMoveUnits(d->data + pos, d->data + pos + n, d->size - pos - n);
        setSize(d->size - n);
    }
    return *this;
}

void ZkString::resize(int n)
{
    const int size = std::max(n, 0);
    if (size == d->size) {
        return;
    }
    detachIfShared();
    Data::allocMemory(d, static_cast<std::int64_t>(size) + 1, false);
    if (size > d->size) {
        std::fill_n(d->data + d->size, size - d->size, ZkUcs2(0));
    }
    setSize(size);
}

void ZkString::truncate(int n)
{
    if (d->size > n) {
        resize(n);
    }
}

void ZkString::chop(int n)
{
    if (n >= 1) {
        resize(d->size - n);
    }
}

void ZkString::clear()
{
    if (d->size == 0) {
        return;
    }
    detachIfShared();
    Data::allocMemory(d, static_cast<std::int64_t>(d->size) + 1, false);
    setSize(0);
}

ZkString &ZkString::fill(ZkUcs2 c, int n)
{
    resize(n < 0 ? d->size : n);
    detachIfShared();
    std::fill_n(d->data, d->size, c);
    return *this;
}

ZkString &ZkString::replace(int pos, int n, ZkUcs2 c)
{
    if (pos < 0 || pos > d->size) {
        return *this;
    }
    const int count = std::min(n, d->size - pos);
    if (count > 0) {
        detachIfShared();
        std::fill_n(d->data + pos, count, c);
    }
    return *this;
}

ZkString &ZkString::replace(int pos, int n, const ZkUcs2 *u, int len)
{
    if (pos < 0 || pos > d->size) {
        return *this;
    }
    const int out = std::clamp(n, 0, d->size - pos);
    const int in = u == nullptr ? 0 : std::max(len, 0);
    if (in > 0 && pointsInto(u, d->data, d->size)) {
        return replace(pos, out, ZkString(u, in)); // the text moves under `u`
    }
    detachIfShared();
    const std::int64_t needed = static_cast<std::int64_t>(d->size) - out + in + 1;
    const int tail = d->size - pos - out;
    if (in > out) {
        Data::allocMemory(d, needed, false);
    }
    zkMoveUnits(d->data + pos + in, d->data + pos + out, tail);
    if (in <= out) { // only now, for it may give back what the tail stood in
        Data::allocMemory(d, needed, false);
    }
    zkCopyUnits(d->data + pos, u, in);
    setSize(d->size - out + in);
    return *this;
}

ZkString &ZkString::replace(int pos, int n, const ZkString &s)
{
    return replace(pos, n, s.d->data, s.d->size);
}

ZkByteArray ZkString::toUtf8() const
{
    const std::int64_t room = static_cast<std::int64_t>(d->size) * 3 + 1;
    char *buffer = static_cast<char *>(zkAllocate(room));
    const int bytes = ucs2ToUtf8(buffer, d->data, d->size);
    buffer[bytes] = '\0';
    ZkByteArray utf8(ZkByteArray::Data::shared_null);
    utf8.fromRawBytes(buffer, bytes, false);
    utf8.d->alloc = static_cast<int>(room);
    return utf8;
}

bool ZkString::operator==(const ZkString &other) const
{
    return d == other.d ||
           (d->size == other.d->size &&
            (d->size == 0 || std::memcmp(d->data, other.d->data,
                                         static_cast<std::size_t>(d->size) * sizeof(ZkUcs2)) == 0));
}

ZkString::Data *ZkString::createData()
{
    return ZkSharedBlock<Data>::create();
}

/// A block with a buffer of `units`, without one for 0.
ZkString::Data *ZkString::createData(std::int64_t units)
{
    Data *block = createData();
    if (units > 0) {
        block->data =
            static_cast<ZkUcs2 *>(zkAllocate(units * static_cast<std::int64_t>(sizeof(ZkUcs2))));
        block->alloc = static_cast<int>(units);
    }
    return block;
}

/// Gives this string a block of its own with the same text. One that holds
/// nothing gets no buffer.
void ZkString::detach()
{
    Data *block = createData(roomFor(d->size));
    block->size = d->size;
    if (d->size > 0) {
        zkCopyUnits(block->data, d->data, d->size + 1);
    }
    d.adopt(block);
}

void ZkString::detachIfShared()
{
    if (d.isShared()) {
        detach();
    }
}

/// Sets the number of units and the 0 behind them; the buffer holds both.
void ZkString::setSize(int n)
{
    d->size = n;
    d->data[n] = 0;
}

/// Moves the units from `pos` on back by `n`, for which the buffer has room, and
/// returns where the gap begins. The size grows by `n`.
ZkUcs2 *ZkString::openGap(int pos, int n)
{
    ZkUcs2 *gap = d->data + pos;
    zkMoveUnits(gap + n, gap, d->size - pos);
    setSize(d->size + n);
    return gap;
}

/// Decodes UTF-8 in front of unit `pos` of the block as it is, shared or not.
ZkString &ZkString::insertUtf8(int pos, const char *s, int len)
{
    const int n = zkTextLength(s, len);
    const int tail = d->size - pos;
    Data::allocMemory(d, static_cast<std::int64_t>(d->size) + n + 1, true);
    // Bytes may yield fewer units than there are bytes: open a gap for the most
    // there can be, then close what is left of it.
    ZkUcs2 *gap = openGap(pos, n);
    const int units = utf8ToUcs2(gap, s, n);
    zkMoveUnits(gap + units, gap + n, tail);
    setSize(pos + units + tail);
    return *this;
}

ZkString ZkString::leftJustified(int width, ZkUcs2 fill, bool truncate) const
{
    if (width <= size()) {
        return truncate ? left(width) : *this;
    }
    ZkString result(width, fill);
    zkCopyUnits(result.data(), begin(), size());
    return result;
}

ZkString ZkString::rightJustified(int width, ZkUcs2 fill, bool truncate) const
{
    if (width <= size()) {
        return truncate ? left(width) : *this;
    }
    ZkString result(width, fill);
    zkCopyUnits(result.data() + (width - size()), begin(), size());
    return result;
}

std::size_t std::hash<ZkString>::operator()(const ZkString &text) const noexcept
{
    return std::hash<std::string_view>()(
        std::string_view(reinterpret_cast<const char *>(text.constData()),
                         static_cast<std::size_t>(text.size()) * sizeof(ZkUcs2)));
}
