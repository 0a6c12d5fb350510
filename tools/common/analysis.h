#ifndef HOST_ANALYSIS_H
#define HOST_ANALYSIS_H

#include <zkbidi.h>
#include <zktextbreaks.h>

#include <string>
#include <vector>

/// What the library finds in a text before anything is laid out: characters, clusters,
/// levels and boundaries.
namespace host
{

/// UTF-8 as UTF-16, all of Unicode. Bytes that are no UTF-8 become U+FFFD, one for each
/// sequence that is cut off or cannot begin.
std::vector<ZkUcs2> utf16FromUtf8(const std::string &bytes);

/// Units `[first, last)` that a reader takes for one character.
struct Cluster {
    int first;
    int last;
    int level;
    unsigned behind; ///< flags of `ZkTextBreaks` at `last`
};

class Analysis
{
public:
    Analysis(std::vector<ZkUcs2> text, ZkBidi::Direction direction);

    int size() const { return static_cast<int>(m_text.size()); }
    const std::vector<Cluster> &clusters() const { return m_clusters; }
    const ZkBidi &bidi() const { return m_bidi; }

    /// The characters of a cluster.
    std::vector<char32_t> characters(const Cluster &cluster) const;
    /// The unit's character; see `ZkTextCharacters::character`.
    char32_t character(int unit) const { return m_characters.character(unit); }

private:
    std::vector<ZkUcs2> m_text;
    ZkTextCharacters m_characters;
    ZkBidi m_bidi;
    ZkTextBreaks m_breaks;
    std::vector<Cluster> m_clusters;
};

/// "LF", "RLI", "ZWJ" and the like for a character that shows nothing, its number for one
/// without such a name; "" for any other character.
std::string invisibleName(char32_t c);

} // namespace host

#endif
