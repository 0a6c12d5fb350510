#ifndef ZKTEXT_JSON_H
#define ZKTEXT_JSON_H

#include <string>
#include <vector>

namespace zktext
{

/// Writes one JSON value as text, indented by two blanks a level. Every member of
/// an object is a `key` followed by its value. Texts are UTF-8 and stay so;
/// quotes, backslashes and control characters are escaped.
///
///     Json json;
///     json.open('{').key("size").open('[').number(3).number(4).close().close();
///     json.text();  // {"size": [3, 4]}, on several lines
///
/// `open('[', true)` keeps what it holds on one line, and so does everything
/// inside.
class Json
{
public:
    Json &open(char bracket, bool flat = false);
    Json &close();
    Json &key(const char *name);
    Json &number(long value);
    Json &boolean(bool value);
    Json &string(const std::string &utf8);

    /// What was written so far, with a line end.
    std::string text() const { return m_text + '\n'; }

private:
    struct Level {
        char bracket;
        bool flat;
        bool isEmpty;
    };

    void startValue();
    void newLine();

    std::string m_text;
    std::vector<Level> m_levels;
    bool m_afterKey = false;
};

} // namespace zktext

#endif
