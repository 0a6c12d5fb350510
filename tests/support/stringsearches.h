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
        : m_h(haystack),
          m_n(needle),
          m_sensitive(isSensitive),
          m_cs(isSensitive ? Zk::CaseSensitive : Zk::CaseInsensitive),
          m_comparableH(isSensitive ? m_h : model::foldedText(m_h)),
          m_comparableN(isSensitive ? m_n : model::foldedText(m_n)),
          m_zkH(made(m_h)),
          m_zkN(made(m_n))
    {
        for (int at = 0; at + nl() <= hl(); ++at) {
            if (std::equal(m_comparableN.begin(), m_comparableN.end(),
                           m_comparableH.begin() + at)) {
                m_places.push_back(at);
            }
        }
        for (int at = 0; at < hl() && nl() > 0; ++at) {
            if (alone(m_h[std::size_t(at)]) == alone(m_n[0])) {
                m_unitPlaces.push_back(at);
            }
        }
    }

    /// The name of the first search from `from` (0 or more) that differs, or nothing.
    std::string differenceFrom(int from) const
    {
        // One unit is folded alone, a text with the neighbours of each unit.
        const std::vector<int> &wanted = nl() == 1 ? m_unitPlaces : m_places;
        const int found = zkFindString(m_h.data(), hl(), from, m_n.data(), nl(), m_cs);
        if (found != firstFrom(wanted, from) || m_zkH.indexOf(m_zkN, from, m_cs) != found) {
            return "zkFindString";
        }
        if (from > 0 && from < hl() && m_zkH.indexOf(m_zkN, from - hl(), m_cs) != found) {
            return "zkFindString from the end";
        }
        if (zkFindStringBoyerMoore(m_h.data(), hl(), from, m_n.data(), nl(), m_cs) !=
            firstFrom(m_places, from)) {
            return "zkFindStringBoyerMoore";
        }
        if (m_zkH.lastIndexOf(m_zkN, from, m_cs) != lastText(wanted, from)) {
            return "lastIndexOf";
        }
        if (nl() > 0 && m_zkH.indexOf(m_n[0], from, m_cs) != firstFrom(m_unitPlaces, from)) {
            return "indexOf of a unit";
        }
        if (nl() > 0 && m_zkH.lastIndexOf(m_n[0], from, m_cs) !=
                            (from < hl() ? lastUpTo(m_unitPlaces, from) : -1)) {
            return "lastIndexOf of a unit";
        }
        return std::string();
    }

    /// The name of the first question about the whole text that differs, or nothing.
    std::string difference() const
    {
        const std::vector<int> &wanted = nl() == 1 ? m_unitPlaces : m_places;
        if (m_zkH.count(m_zkN, m_cs) != int(wanted.size()) - (firstFrom(wanted, 0) == 0 ? 1 : 0)) {
            return "count";
        }
        if (nl() > 0 && m_zkH.count(m_n[0], m_cs) != int(m_unitPlaces.size())) {
            return "count of a unit";
        }
        const bool starts = hl() >= nl() && firstFrom(m_places, 0) == 0;
        const bool ends = hl() >= nl() && firstFrom(m_places, hl() - nl()) != -1;
        if (hl() > 0 &&
            (m_zkH.startsWith(m_zkN, m_cs) != starts || m_zkH.endsWith(m_zkN, m_cs) != ends)) {
            return "startsWith or endsWith";
        }
        if (nl() > 0 && (m_zkH.startsWith(m_n[0], m_cs) != contains(m_unitPlaces, 0) ||
                         m_zkH.endsWith(m_n[0], m_cs) != contains(m_unitPlaces, hl() - 1))) {
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

    int hl() const { return int(m_h.size()); }
    int nl() const { return int(m_n.size()); }
    ZkUcs2 alone(ZkUcs2 c) const { return m_sensitive ? c : model::folded(c); }

    /// From the size of the haystack on only an empty needle is found, there.
    int lastText(const std::vector<int> &wanted, int from) const
    {
        return from < hl() ? lastUpTo(wanted, from) : nl() == 0 && from == hl() ? from : -1;
    }

    std::string comparisonDifference() const
    {
        const int order = m_zkH.compare(m_zkN, m_cs);
        if (m_sensitive || (hl() > 0 && nl() > 0)) {
            if ((order < 0) != (m_comparableH < m_comparableN) ||
                (order == 0) != (m_comparableH == m_comparableN)) {
                return "compare";
            }
        }
        if ((m_zkH == m_zkN) != (m_h == m_n) || (m_zkH != m_zkN) != (m_h != m_n) ||
            (m_zkH < m_zkN) != (m_h < m_n) || (m_zkH > m_zkN) != (m_h > m_n) ||
            (m_zkH <= m_zkN) != (m_h <= m_n) || (m_zkH >= m_zkN) != (m_h >= m_n)) {
            return "operators";
        }
        if (hl() > 0 && nl() > 0 &&
            ZkStringList{m_zkN, m_zkH}.contains(m_zkH.mid(0, hl()), m_cs) != true) {
            return "ZkStringList::contains";
        }
        return std::string();
    }

    std::string splitDifference() const
    {
        for (const bool skip : {false, true}) {
            const auto behavior = skip ? ZkString::SkipEmpty : ZkString::KeepEmpty;
            const std::vector<int> &wanted = nl() == 1 ? m_unitPlaces : m_places;
            if (!isSplit(m_zkH.split(m_zkN, behavior, m_cs), wanted, nl(), skip)) {
                return "split";
            }
            if (nl() > 0 && !isSplit(m_zkH.split(m_n[0], behavior, m_cs), m_unitPlaces, 1, skip)) {
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
            expected.emplace_back(m_h.begin() + start, m_h.begin() + end);
        }
        expected.emplace_back(m_h.begin() + start, m_h.end());
        if (skip) {
            expected.erase(std::remove(expected.begin(), expected.end(), model::Units()),
                           expected.end());
        }
        return std::equal(expected.begin(), expected.end(), pieces.begin(), pieces.end(),
                          [](const model::Units &units, const ZkString &piece) {
                              return units == model::Units(piece.begin(), piece.end());
                          });
    }

    model::Units m_h, m_n;
    bool m_sensitive;
    Zk::CaseSensitivity m_cs;
    model::Units m_comparableH, m_comparableN;
    ZkString m_zkH, m_zkN;
    std::vector<int> m_places;     ///< where the needle stands, as texts compare
    std::vector<int> m_unitPlaces; ///< where its first unit stands, as units compare
};

#endif
