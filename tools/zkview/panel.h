#ifndef ZKVIEW_PANEL_H
#define ZKVIEW_PANEL_H

#include <zkrect.h>

#include <string>
#include <vector>

namespace zkview
{

struct State;

/// What a key or a button asks for.
enum class Action {
    Sample,     ///< `value`: its index
    NextSample, ///< `value`: 1 forward, -1 back
    Font,       ///< `value`: its index
    NextFont,
    Size,       ///< `value`: pixels to add
    Width,      ///< `value`: pixels to add to the wrap width
    Style,      ///< `value`: a `ZkFontAttr::Flag` to switch
    Horizontal, ///< `value`: a flag of `host::Align`
    NextHorizontal,
    Vertical, ///< `value`: a flag of `host::Align`
    NextVertical,
    Boxes,
    Wrap,
    Levels,
    Limit, ///< `value`: bytes, -1 for none
    NextLimit,
    Backspace,
    Newline,
    Clear,
    // These do nothing in the classic engine.
    Move,       ///< `value`: a `host::Move`
    Select,     ///< the same with the selection
    Delete,     ///< what is behind the caret
    DeleteWord, ///< `value`: 1 behind the caret, -1 before it
    SelectAll,
    Ellipsis, ///< `value`: a `ZkParagraph::Ellipsis`
    NextEllipsis,
    Colors,
    Shaper, ///< HarfBuzz's or the one built in; nothing without libzkshape
};

struct Command {
    Action action = Action::Sample;
    int value = 0;
};

/// The limits that the panel offers, in bytes.
extern const int kLimits[4];

/// Something on the panel: a button, or a title above some.
struct Button {
    ZkRect rect;
    std::string label;
    std::string key; ///< the key that does the same; empty for none
    Command command;
    bool on = false;      ///< chosen, or switched on
    bool isTitle = false; ///< plain text, nothing to press
};

constexpr int kPanelWidth = 232;

/// Beside the flags of `host::Align`, for paragraphs alone.
constexpr int kAlignJustify = 8;
constexpr int kHorizontalFlags = 15;

/// What the panel shows, from top to bottom. `fontNames` in the order of the indices.
std::vector<Button> panelButtons(const State &state, const std::vector<std::string> &fontNames,
                                 bool hasHarfBuzz = false);

} // namespace zkview

#endif
