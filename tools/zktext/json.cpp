#include "json.h"

#include <cstdio>

namespace zktext
{

namespace
{

std::string quoted(const std::string &utf8)
{
    std::string out = "\"";
    for (const char c : utf8) {
        const unsigned byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (byte < 0x20 || byte == 0x7F) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", byte);
            out += escape;
        } else {
            out += c;
        }
    }
    return out + '"';
}

} // namespace

Json &Json::open(char bracket, bool flat)
{
    startValue();
    m_text += bracket;
    m_levels.push_back({bracket, flat || (!m_levels.empty() && m_levels.back().flat), true});
    return *this;
}

Json &Json::close()
{
    const Level level = m_levels.back();
    m_levels.pop_back();
    if (!level.isEmpty && !level.flat) {
        newLine();
    }
    m_text += level.bracket == '{' ? '}' : ']';
    return *this;
}

Json &Json::key(const char *name)
{
    startValue();
    m_text += quoted(name) + ": ";
    m_afterKey = true;
    return *this;
}

Json &Json::number(long value)
{
    startValue();
    m_text += std::to_string(value);
    return *this;
}

Json &Json::boolean(bool value)
{
    startValue();
    m_text += value ? "true" : "false";
    return *this;
}

Json &Json::string(const std::string &utf8)
{
    startValue();
    m_text += quoted(utf8);
    return *this;
}

/// Separates what comes from what stands before it.
void Json::startValue()
{
    if (m_afterKey || m_levels.empty()) {
        m_afterKey = false;
        return;
    }
    Level &level = m_levels.back();
    if (!level.isEmpty) {
        m_text += level.flat ? ", " : ",";
    }
    level.isEmpty = false;
    if (!level.flat) {
        newLine();
    }
}

void Json::newLine()
{
    m_text += '\n' + std::string(2 * m_levels.size(), ' ');
}

} // namespace zktext
