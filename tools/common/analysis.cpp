#include "analysis.h"

#include <zkparagraph.h>

#include <algorithm>
#include <cstdio>

namespace host
{

std::vector<ZkUcs2> utf16FromUtf8(const std::string &bytes)
{
    ZkParagraph reader;
    reader.setUtf8(bytes.data(), static_cast<int>(bytes.size()));
    const ZkString &text = reader.text();
    return std::vector<ZkUcs2>(text.constData(), text.constData() + text.size());
}

Analysis::Analysis(std::vector<ZkUcs2> text, ZkBidi::Direction direction) : m_text(std::move(text))
{
    m_characters.setText(m_text.data(), size());
    m_bidi.setText(m_characters, direction);
    m_breaks.setText(m_characters);
    int first = 0;
    for (int i = 1; i <= size(); ++i) {
        const unsigned flags = m_breaks.flags()[i];
        if ((flags & ZkTextBreaks::Grapheme) != 0) {
            m_clusters.push_back({first, i, m_bidi.level(first), flags});
            first = i;
        }
    }
}

std::vector<char32_t> Analysis::characters(const Cluster &cluster) const
{
    std::vector<char32_t> characters;
    for (int i = cluster.first; i < cluster.last; ++i) {
        const char32_t c = m_characters.character(i);
        characters.push_back(c);
        i += c >= 0x10000 ? 1 : 0;
    }
    return characters;
}

std::string invisibleName(char32_t c)
{
    static const struct {
        char32_t character;
        const char *name;
    } kNames[] = {{0x09, "TAB"},   {0x0A, "LF"},     {0x0B, "VT"},     {0x0C, "FF"},
                  {0x0D, "CR"},    {0x85, "NEL"},    {0xA0, "NBSP"},   {0xAD, "SHY"},
                  {0x061C, "ALM"}, {0x200B, "ZWSP"}, {0x200C, "ZWNJ"}, {0x200D, "ZWJ"},
                  {0x200E, "LRM"}, {0x200F, "RLM"},  {0x2028, "LS"},   {0x2029, "PS"},
                  {0x202A, "LRE"}, {0x202B, "RLE"},  {0x202C, "PDF"},  {0x202D, "LRO"},
                  {0x202E, "RLO"}, {0x2060, "WJ"},   {0x2066, "LRI"},  {0x2067, "RLI"},
                  {0x2068, "FSI"}, {0x2069, "PDI"},  {0xFEFF, "BOM"}};
    for (const auto &entry : kNames) {
        if (entry.character == c) {
            return entry.name;
        }
    }
    const unsigned category = zkCharacter(c).category;
    if (category != ZkCharacter::CategoryCc && category != ZkCharacter::CategoryCf &&
        category != ZkCharacter::CategoryCs) {
        return "";
    }
    char name[16];
    std::snprintf(name, sizeof name, "%04X", static_cast<unsigned>(c));
    return name;
}

} // namespace host
