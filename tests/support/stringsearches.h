#ifndef STRINGSEARCHES_H
#define STRINGSEARCHES_H

#include "stringmodel.h"

#include <zkstringlist.h>

#include <algorithm>
#include <string>
#include <vector>

/// One haystack and one needle, looked at by every search and comparison that the
/// library has and, beside it, place by place.
class StringSearches
{
public:
    StringSearches(const model::Units &haystack, const model::Units &needle, bool isSensitive)
        : h(haystack),
          n(needle),
          sensitive(isSensitive),
          cs(isSensitive ? Zk::CaseSensitive : Zk::CaseInsensitive),
          comparableH(isSensitive ? h : model::foldedText(h)),
          comparableN(isSensitive ? n : model::foldedText(n)),
          zkH(made(h)),
          zkN(made(n))
    {
        for (int at = 0; at + nl() <= hl(); ++at) {
            if (std::equal(comparableN.begin(), comparableN.end(), comparableH.begin() + at)) {
                places.push_back(at);
            }
        }
        for (int at = 0; at < hl() && nl() > 0; ++at) {
            if (alone(h[std::size_t(at)]) == alone(n[0])) {
                unitPlaces.push_back(at);
            }
        }
    }

    /// The name of the first search from `from` (0 or more) that differs, or nothing.
    std::string differenceFrom(int from) const
    {
        // One unit is folded alone, a text with the neighbours of each unit.
        const std::vector<int> &wanted = nl() == 1 ? unitPlaces : places;
        const int found = zkFindString(h.data(), hl(), from, n.data(), nl(), cs);
        if (found != firstFrom(wanted, from) || zkH.indexOf(zkN, from, cs) != found) {
            return "zkFindString";
        }
        if (from > 0 && from < hl() && zkH.indexOf(zkN, from - hl(), cs) != found) {
            return "zkFindString from the end";
        }
        if (zkFindStringBoyerMoore(h.data(), hl(), from, n.data(), nl(), cs) !=
            firstFrom(places, from)) {
            return "zkFindStringBoyerMoore";
        }
        if (zkH.lastIndexOf(zkN, from, cs) != lastText(wanted, from)) {
            return "lastIndexOf";
        }
        if (nl() > 0 && zkH.indexOf(n[0], from, cs) != firstFrom(unitPlaces, from)) {
            return "indexOf of a unit";
        }
        if (nl() > 0 &&
            zkH.lastIndexOf(n[0], from, cs) != (from < hl() ? lastUpTo(unitPlaces, from) : -1)) {
            return "lastIndexOf of a unit";
        }
        return std::string();
    }

    /// The name of the first question about the whole text that differs, or nothing.
    std::string difference() const
    {
        const std::vector<int> &wanted = nl() == 1 ? unitPlaces : places;
        if (zkH.count(zkN, cs) != int(wanted.size()) - (firstFrom(wanted, 0) == 0 ? 1 : 0)) {
            return "count";
        }
        if (nl() > 0 && zkH.count(n[0], cs) != int(unitPlaces.size())) {
            return "count of a unit";
        }
        const bool starts = hl() >= nl() && firstFrom(places, 0) == 0;
        const bool ends = hl() >= nl() && firstFrom(places, hl() - nl()) != -1;
        if (hl() > 0 && (zkH.startsWith(zkN, cs) != starts || zkH.endsWith(zkN, cs) != ends)) {
            return "startsWith or endsWith";
        }
        if (nl() > 0 && (zkH.startsWith(n[0], cs) != contains(unitPlaces, 0) ||
                         zkH.endsWith(n[0], cs) != contains(unitPlaces, hl() - 1))) {
            return "startsWith or endsWith a unit";
        }
        const std::string comparison = comparisonDifference();
        return comparison.empty() ? splitDifference() : comparison;
    }

private:
    static ZkString made(const model::Units &units)
    {
        return ZkString(units.data(), int(units.size()));
    }
    static bool contains(const std::vector<int> &places, int at)
    {
        return std::binary_search(places.begin(), places.end(), at);
    }
    static int firstFrom(const std::vector<int> &places, int from)
    {
        const auto at = std::lower_bound(places.begin(), places.end(), from);
        return at == places.end() ? -1 : *at;
    }
    static int lastUpTo(const std::vector<int> &places, int from)
    {
        const auto at = std::upper_bound(places.begin(), places.end(), from);
        return at == places.begin() ? -1 : at[-1];
    }

    int hl() const { return int(h.size()); }
    int nl() const { return int(n.size()); }
    ZkUcs2 alone(ZkUcs2 c) const { return sensitive ? c : model::folded(c); }

    /// From the size of the haystack on only an empty needle is found, there.
    int lastText(const std::vector<int> &wanted, int from) const
    {
        return from < hl() ? lastUpTo(wanted, from) : nl() == 0 && from == hl() ? from : -1;
    }

    std::string comparisonDifference() const
    {
        const int order = zkH.compare(zkN, cs);
        if (sensitive || (hl() > 0 && nl() > 0)) {
            if ((order < 0) != (comparableH < comparableN) ||
                (order == 0) != (comparableH == comparableN)) {
                return "compare";
            }
        }
        if ((zkH == zkN) != (h == n) || (zkH != zkN) != (h != n) || (zkH < zkN) != (h < n) ||
            (zkH > zkN) != (h > n) || (zkH <= zkN) != (h <= n) || (zkH >= zkN) != (h >= n)) {
            return "operators";
        }
        if (hl() > 0 && nl() > 0 && ZkStringList{zkN, zkH}.contains(zkH.mid(0, hl()), cs) != true) {
            return "ZkStringList::contains";
        }
        return std::string();
    }

    std::string splitDifference() const
    {
        for (const bool skip : {false, true}) {
            const auto behavior = skip ? ZkString::SkipEmpty : ZkString::KeepEmpty;
            const std::vector<int> &wanted = nl() == 1 ? unitPlaces : places;
            if (!isSplit(zkH.split(zkN, behavior, cs), wanted, nl(), skip)) {
                return "split";
            }
            if (nl() > 0 && !isSplit(zkH.split(n[0], behavior, cs), unitPlaces, 1, skip)) {
                return "split at a unit";
            }
        }
        return std::string();
    }
    bool isSplit(const ZkStringList &pieces, const std::vector<int> &wanted, int size,
                 bool skip) const
    {
        std::vector<model::Units> expected;
        int start = 0;
        for (int end; (end = firstFrom(wanted, start + (size == 0 && !expected.empty()))) != -1;
             start = end + size) {
            expected.emplace_back(h.begin() + start, h.begin() + end);
        }
        expected.emplace_back(h.begin() + start, h.end());
        if (skip) {
            expected.erase(std::remove(expected.begin(), expected.end(), model::Units()),
                           expected.end());
        }
        return std::equal(expected.begin(), expected.end(), pieces.begin(), pieces.end(),
                          [](const model::Units &units, const ZkString &piece) {
                              return units == model::Units(piece.begin(), piece.end());
                          });
    }

    model::Units h, n;
    bool sensitive;
    Zk::CaseSensitivity cs;
    model::Units comparableH, comparableN;
    ZkString zkH, zkN;
    std::vector<int> places;     ///< where the needle stands, as texts compare
    std::vector<int> unitPlaces; ///< where its first unit stands, as units compare
};

#endif
