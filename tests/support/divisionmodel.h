#ifndef DIVISIONMODEL_H
#define DIVISIONMODEL_H

#include <zkfontmetrics.h>

#include <algorithm>
#include <string>
#include <vector>

/// The division of a resolved text told step by step on growing strings, one unit at a
/// time, as slow as it is plain. Set the fields, then `divide()`.
struct DivisionModel {
    using Glyphs = std::vector<const GlyphBitmap *>;

    std::u16string text;
    Glyphs glyphs;
    int wrapWidth = 0, spacing = 0;
    bool wordWrap = false, slanted = false;

    struct Line {
        std::u16string text;
        Glyphs glyphs;
        int width;
    };
    std::vector<Line> lines;
    Line line = {{}, {}, 0};

    static bool isThai(char16_t c) { return c >= 0x0E00 && c <= 0x0E7F; }
    static bool breaksAnywhere(char16_t c)
    {
        return (c >= 0x4E00 && c <= 0x9FCF) || (c >= 0x30A0 && c <= 0x30FF) ||
               (c >= 0xAC00 && c <= 0xD7AF);
    }

    int advance(std::size_t i) const { return glyphs[i]->advance; }

    std::vector<int> marks(std::size_t i) const
    {
        ZkUcs2 window[3] = {};
        for (std::size_t k = 0; k < 3 && i + k < text.size(); ++k) {
            window[k] = text[i + k];
        }
        int a = 0, b = 0, c = 0;
        ZkFontMetrics::thaiFontCheck(window, &a, &b, &c);
        std::vector<int> found;
        for (const int offset : {a, b, c}) {
            if (offset != 0) {
                found.push_back(offset);
            }
        }
        return found;
    }

    /// Pixels of the word at `i`.
    long long word(std::size_t i) const
    {
        if (text[i] == ' ') {
            return 0;
        }
        if (breaksAnywhere(text[i]) || text[i] == '\n') {
            return advance(i) + spacing;
        }
        long long sum = 0;
        for (; i < text.size() && text[i] != ' ' && text[i] != '\n' && !breaksAnywhere(text[i]);
             ++i) {
            int width = advance(i);
            if (isThai(text[i])) {
                for (const int offset : marks(i)) {
                    width = std::max(width, advance(i + std::size_t(offset)));
                }
            }
            sum += width + spacing;
        }
        return sum;
    }

    void emit(int allowance)
    {
        line.width += slanted ? allowance : 0;
        lines.push_back(line);
        line = {{}, {}, 0};
    }

    void add(std::size_t i)
    {
        line.text += text[i];
        line.glyphs.push_back(glyphs[i]);
    }

    void divide()
    {
        const std::size_t n = text.size();
        for (std::size_t i = 0; i < n; ++i) {
            const int half = advance(i) / 2;
            if (breaksAnywhere(text[i])) {
                if (wordWrap && !line.text.empty() &&
                    advance(i) + line.width + spacing > wrapWidth) {
                    emit(half);
                }
                add(i);
                line.width += advance(i) + spacing;
                if (wordWrap && i + 1 < n && !breaksAnywhere(text[i + 1]) &&
                    line.width + word(i + 1) > wrapWidth) {
                    emit(half);
                }
                continue;
            }
            if (i >= 1 && text[i - 1] == ' ' && wordWrap && !line.text.empty() &&
                word(i) + line.width + spacing > wrapWidth) {
                emit(half);
            }
            if (isThai(text[i])) {
                const std::size_t last = i + marks(i).size();
                int widest = 0;
                for (std::size_t k = i; k <= last; ++k) {
                    widest = std::max(widest, advance(k));
                    add(k);
                }
                line.width += widest + spacing;
                i = last;
            } else {
                add(i);
                line.width += advance(i) + spacing;
            }
            if (text[i] == '\n') {
                line.text.pop_back();
                line.glyphs.pop_back();
                line.width -= advance(i);
                emit(i >= 1 ? glyphs[i - 1]->width / 2 : 0);
            }
        }
        if (!line.text.empty()) {
            emit(advance(n - 1) / 2);
        }
    }
};

#endif
