#ifndef ZKTEXT_FLOW_H
#define ZKTEXT_FLOW_H

#include "options.h"

#include <zkparagraph.h>

#include <memory>
#include <string>
#include <vector>

namespace zktext
{

/// A text laid out as a paragraph, in its box.
struct Flow {
    /// Opens the fonts, reads the text and lays it out. Throws `Failure`.
    explicit Flow(const LayoutOptions &options);

    std::string text; ///< UTF-8, as it was read
    Shaping shaping;  // outlives the paragraph
    ZkParagraph paragraph;
    ZkRect box;                      ///< as wide as asked for, or as the text
    int top;                         ///< row of the paragraph's first row
    std::vector<host::Color> colors; ///< by tag, from 1 on

    void paint(host::Surface &surface, const host::TextColors &textColors) const;
    void paintGuides(host::Surface &surface) const;

    std::string toJson() const;
    std::string toTable() const;
};

} // namespace zktext

#endif
