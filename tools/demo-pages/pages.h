#ifndef DEMO_PAGES_H
#define DEMO_PAGES_H

#include "page.h"

#include <string>

namespace demo
{

constexpr int kPageWidth = 800;
constexpr int kPageHeight = 560;

/// A page about one language: the text file holds its title, a heading, a
/// paragraph and four words, one a line.
struct Article {
    std::string textFile;
    std::string fontFile;
    host::Color tint;
    int size;        ///< of the paragraph, pixels
    int lineSpacing; ///< of the paragraph
};
Page articlePage(const Article &article);

/// Chinese, Japanese and Korean under each other.
Page cjkPage(const std::string &textFolder, const Fonts &fonts);

/// One paragraph in all horizontal and vertical alignments, in both directions.
Page alignmentPage(const std::string &textFolder, const Fonts &fonts);

/// A word in every script, from one font for all.
Page scriptsPage(const Fonts &fonts);

/// Five scripts from a chain of four typefaces, each letter in its typeface's colour.
Page chainPage(const Fonts &fonts);

/// Twelve scripts that HarfBuzz shapes, in the fonts of a folder. Only in builds with
/// libzkshape.
Page everyScriptPage(const std::string &notoFolder, const Fonts &fonts);

/// The settings of a device, in English and mirrored in Arabic.
Page settingsPage(const Fonts &fonts);

/// Labels and paragraphs as the classic engine draws them and as paragraphs do.
Page enginesPage(const Fonts &fonts);

/// Curves of many shapes, each with others beside it at several distances.
Page curvePage(const Fonts &fonts);

/// Two regions and what the set operations make of them, rectangle by rectangle.
Page regionPage(const Fonts &fonts);

} // namespace demo

#endif
