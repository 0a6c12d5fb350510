#include "string/zkunicodetables.h"
#include "zkstring.h"

namespace
{

ZkUcs2 upper(ZkUcs2 c, const ZkUnicodeTables::Properties &record)
{
    return record.upperCaseSpecial ? c : static_cast<ZkUcs2>(c + record.upperCaseDifference);
}

ZkUcs2 lower(ZkUcs2 c, const ZkUnicodeTables::Properties &record)
{
    return record.lowerCaseSpecial ? c : static_cast<ZkUcs2>(c + record.lowerCaseDifference);
}

/// The text with each unit mapped by its record; shared when none changes.
template <typename Map>
ZkString mapped(const ZkString &text, Map map)
{
    const ZkUcs2 *from = text.constData();
    const int n = text.size();
    const auto mappedAt = [from, map](int i) {
        return map(from[i], zkUnicodeRecordBehind(i > 0 ? from[i - 1] : ZkUcs2(0), from[i]));
    };
    int i = 0;
    while (i < n && mappedAt(i) == from[i]) {
        ++i;
    }
    if (i == n) {
        return text;
    }
    ZkString result(from, n);
    for (ZkUcs2 *to = result.data(); i < n; ++i) {
        to[i] = mappedAt(i);
    }
    return result;
}

} // namespace

ZkString ZkString::toUpper() const
{
    return mapped(*this, upper);
}

ZkString ZkString::toLower() const
{
    return mapped(*this, lower);
}

ZkString ZkString::simplified() const
{
    if (isEmpty()) {
        return *this;
    }
    const ZkUcs2 *first = begin(), *last = end();
    while (first != last && ZkUnicode::isSpace(*first)) {
        ++first;
    }
    if (first == last) {
        return ZkString(Data::shared_null);
    }
    while (ZkUnicode::isSpace(last[-1])) {
        --last;
    }
    // A single blank stays; the range neither begins nor ends with white space.
    const ZkUcs2 *at = first;
    while (at != last && (!ZkUnicode::isSpace(*at) || (*at == ' ' && !ZkUnicode::isSpace(at[1])))) {
        ++at;
    }
    const int start = static_cast<int>(first - begin());
    if (at == last) {
        return mid(start, static_cast<int>(last - first));
    }
    ZkString result(first, static_cast<int>(last - first));
    ZkUcs2 *const units = result.data();
    ZkUcs2 *to = units + (at - first);
    while (at != last) {
        if (ZkUnicode::isSpace(*at)) {
            *to++ = ' ';
            while (ZkUnicode::isSpace(*at)) {
                ++at;
            }
        } else {
            *to++ = *at++;
        }
    }
    result.truncate(static_cast<int>(to - units));
    return result;
}
