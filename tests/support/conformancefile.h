#ifndef ZK_TESTS_CONFORMANCEFILE_H
#define ZK_TESTS_CONFORMANCEFILE_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

/// The files of the Unicode Character Database, where Debian's package unicode-data
/// has them.
inline constexpr char kUnicodeData[] = "/usr/share/unicode/";

/// Calls `read` for each line of a file that holds data, its comment cut off. Fails
/// when the file is missing or has fewer such lines than are known.
inline void readDataLines(const std::string &name, int known,
                          const std::function<void(const std::string &)> &read)
{
    std::ifstream file(kUnicodeData + name);
    ASSERT_TRUE(file.is_open()) << "no " << kUnicodeData << name << ": install unicode-data";
    int count = 0;
    std::string line;
    while (std::getline(file, line)) {
        line.resize(std::min(line.size(), line.find('#')));
        while (!line.empty() && std::isspace(static_cast<unsigned char>(line.back())) != 0) {
            line.pop_back();
        }
        if (!line.empty()) {
            ++count;
            read(line);
        }
    }
    EXPECT_GE(count, known) << name << " is not whole";
}

/// The parts of a line between separators, without the blanks around them.
inline std::vector<std::string> fieldsOf(const std::string &line, char separator = ';')
{
    std::vector<std::string> fields;
    std::istringstream stream(line);
    std::string field;
    while (std::getline(stream, field, separator)) {
        const auto first = field.find_first_not_of(" \t");
        const auto last = field.find_last_not_of(" \t");
        fields.push_back(first == std::string::npos ? "" : field.substr(first, last - first + 1));
    }
    return fields;
}

inline char32_t codePointOf(const std::string &hexadecimal)
{
    return static_cast<char32_t>(std::strtoul(hexadecimal.c_str(), nullptr, 16));
}

#endif
