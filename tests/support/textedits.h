#ifndef ZK_TESTS_TEXTEDITS_H
#define ZK_TESTS_TEXTEDITS_H

#include <zkglobal.h>

#include <algorithm>
#include <random>
#include <utility>
#include <vector>

/// A short text that small random edits change, the same ones for the same seed.
class RandomEdits
{
public:
    /// `removed` units at `first` have been replaced by `inserted` others.
    struct Edit {
        int first;
        int removed;
        int inserted;
    };

    RandomEdits(unsigned seed, std::vector<ZkUcs2> alphabet)
        : m_random(seed), m_alphabet(std::move(alphabet))
    {
    }

    const std::vector<ZkUcs2> &text() const { return m_text; }
    const ZkUcs2 *data() const { return m_text.data(); }
    int size() const { return static_cast<int>(m_text.size()); }

    /// Changes the text.
    Edit next()
    {
        Edit edit = {};
        edit.first = below(size() + 1);
        edit.removed = below(std::min(size() - edit.first, 4) + 1);
        edit.inserted = below(size() > 40 ? 2 : 5);
        const auto at = m_text.begin() + edit.first;
        m_text.erase(at, at + edit.removed);
        for (int i = 0; i < edit.inserted; ++i) {
            const int letter = below(static_cast<int>(m_alphabet.size()));
            m_text.insert(m_text.begin() + edit.first,
                          m_alphabet[static_cast<std::size_t>(letter)]);
        }
        return edit;
    }

private:
    int below(int n) { return std::uniform_int_distribution<int>(0, n - 1)(m_random); }

    std::mt19937 m_random;
    std::vector<ZkUcs2> m_alphabet, m_text;
};

#endif
