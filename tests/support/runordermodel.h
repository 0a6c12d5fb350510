#ifndef RUNORDERMODEL_H
#define RUNORDERMODEL_H

#include <string>

/// The order of one run, step by step on strings.
inline std::u16string reversedRunModel(std::u16string run, const std::u16string &neutrals)
{
    std::u16string out;
    while (!run.empty()) {
        const auto letter = run.find_last_not_of(neutrals);
        const std::size_t keep = letter == std::u16string::npos ? 0 : letter + 1;
        const std::size_t from = keep < run.size() ? keep : run.size() - 1;
        out += run.substr(from);
        run.erase(from);
    }
    return out;
}

/// The drawing order of `text`, in which `letters` turn round and `neutrals` go with them.
inline std::u16string runOrderModel(const std::u16string &text, const std::u16string &letters,
                                    const std::u16string &neutrals)
{
    std::u16string out;
    std::size_t start = 0;
    const std::size_t n = text.size();
    for (std::size_t k = 0; k < n;) {
        const bool inClass = (letters + neutrals).find(text[k]) != std::u16string::npos;
        const bool last = k + 1 == n;
        if (inClass && last) {
            out += reversedRunModel(text.substr(start), neutrals);
            ++k;
        } else if (inClass || (text[k] == ' ' && k != start && !last)) {
            ++k;
        } else if (k == start) {
            out += text[k];
            start = ++k;
        } else {
            std::size_t e = k - 1;
            while (e > start && text[e] == ' ') {
                --e;
            }
            out += reversedRunModel(text.substr(start, e + 1 - start), neutrals);
            start = k = e + 1;
        }
    }
    return out;
}

#endif
