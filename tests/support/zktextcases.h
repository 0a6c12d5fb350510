#ifndef ZKTEXTCASES_H
#define ZKTEXTCASES_H

/// The cases that the command-line host is compared with: texts and options in a file,
/// a layout and a picture of each beside it.

#include "hostprogram.h"

#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace zktextprogram
{

struct Case {
    std::string name;
    hostprogram::Words arguments;
    hostprogram::Words painting; ///< of `render` alone
};

/// The lines of tests/data/FOLDER/cases: a name, fonts with commas between them, an
/// option for `render` alone or '.', and arguments, separated by tabs. "\\t" in an
/// argument is a tab, "\\n" a newline.
inline std::vector<Case> cases(const std::string &folder)
{
    const std::map<std::string, std::string> kFonts = {{"DejaVuSans.ttf", ZK_FONT_DEJAVU},
                                                       {"FreeSerif.ttf", ZK_FONT_FREESERIF},
                                                       {"wqy-microhei.ttc", ZK_FONT_MICROHEI}};
    const auto split = [](const std::string &text, char separator) {
        std::istringstream fields(text);
        hostprogram::Words words;
        for (std::string word; std::getline(fields, word, separator);) {
            words.push_back(word);
        }
        return words;
    };
    const auto unescaped = [](std::string word) {
        for (const auto &[escape, character] : {std::pair{"\\t", "\t"}, {"\\n", "\n"}}) {
            for (std::size_t at; (at = word.find(escape)) != std::string::npos;) {
                word.replace(at, 2, character);
            }
        }
        return word;
    };
    std::vector<Case> all;
    std::ifstream file(std::string(ZK_TEST_DATA) + '/' + folder + "/cases");
    for (std::string line; std::getline(file, line);) {
        const hostprogram::Words words = split(line, '\t');
        if (words.size() < 4 || words[0][0] == '#') {
            continue;
        }
        Case one;
        one.name = words[0];
        for (std::size_t i = 3; i < words.size(); ++i) {
            one.arguments.push_back(unescaped(words[i]));
        }
        for (const std::string &font : split(words[1], ',')) {
            one.arguments = one.arguments + hostprogram::Words{"--font", kFonts.at(font)};
        }
        if (words[2] != ".") {
            one.painting = {words[2]};
        }
        all.push_back(one);
    }
    return all;
}

/// By how much the parts of two pictures of one size differ on average. Another FreeType
/// may grey an edge differently; a glyph that is missing or a pixel off changes more
/// than `kAlike`.
constexpr double kAlike = 1.0;

inline double difference(const std::vector<std::uint8_t> &a, const std::vector<std::uint8_t> &b)
{
    double sum = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        sum += std::abs(int(a[i]) - int(b[i]));
    }
    return sum / double(a.size());
}

} // namespace zktextprogram

#endif
