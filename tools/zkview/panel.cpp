#include "panel.h"

#include "model.h"
#include "samples.h"

#include <algorithm>

namespace zkview
{

namespace
{

constexpr int kMargin = 14;
constexpr int kGap = 6;
constexpr int kRow = 26;
constexpr int kInner = kPanelWidth - 2 * kMargin;

/// Sets buttons in rows below one another.
class Stack
{
public:
    explicit Stack(std::vector<Button> &buttons) : m_buttons(buttons) {}

    void title(const std::string &text)
    {
        m_y += 7;
        Button title;
        title.rect = ZkRect(kMargin, m_y, kMargin + kInner - 1, m_y + 17);
        title.label = text;
        title.isTitle = true;
        m_buttons.push_back(title);
        m_y += 20;
    }

    /// Shares the width of a row out to the buttons.
    void row(std::vector<Button> buttons)
    {
        const int count = static_cast<int>(buttons.size());
        for (int i = 0; i < count; ++i) {
            const int left = kMargin + i * (kInner + kGap) / count;
            const int right = kMargin + (i + 1) * (kInner + kGap) / count - kGap - 1;
            buttons[static_cast<std::size_t>(i)].rect = ZkRect(left, m_y, right, m_y + kRow - 1);
            m_buttons.push_back(buttons[static_cast<std::size_t>(i)]);
        }
        m_y += kRow + kGap - 1;
    }

private:
    std::vector<Button> &m_buttons;
    int m_y = 44; // below the name of the program
};

Button button(const std::string &label, const std::string &key, Command command, bool on)
{
    Button made;
    made.label = label;
    made.key = key;
    made.command = command;
    made.on = on;
    return made;
}

std::string limitName(int bytes)
{
    return bytes < 0 ? "None" : std::to_string(bytes / 1024) + " K";
}

} // namespace

const int kLimits[4] = {-1, 64 * 1024, 32 * 1024, 8 * 1024};

std::vector<Button> panelButtons(const State &state, const std::vector<std::string> &fontNames,
                                 bool hasHarfBuzz)
{
    std::vector<Button> buttons;
    Stack stack(buttons);

    stack.title("Sample   PgUp PgDn");
    const int count = static_cast<int>(samples().size());
    for (int i = 0; i < count; i += 2) {
        std::vector<Button> pair;
        for (int k = i; k < std::min(i + 2, count); ++k) {
            pair.push_back(button(samples()[static_cast<std::size_t>(k)].name, "",
                                  {Action::Sample, k}, state.sample == k));
        }
        stack.row(pair);
    }

    stack.title("Font   Tab");
    for (int i = 0; i < static_cast<int>(fontNames.size()); ++i) {
        stack.row({button(fontNames[static_cast<std::size_t>(i)], "", {Action::Font, i},
                          state.font == i)});
    }
    stack.row({button("-", "", {Action::Size, -1}, false),
               button(std::to_string(state.attr.size) + " px", "", {Action::Size, 0}, false),
               button("+", "", {Action::Size, 1}, false)});

    stack.title("Style");
    const auto style = [&](const char *label, const char *key, int flag) {
        return button(label, key, {Action::Style, flag}, (state.attr.flags & flag) != 0);
    };
    stack.row(
        {style("Slanted", "F1", ZkFontAttr::Slant), style("Bolder", "F2", ZkFontAttr::Embolden)});
    stack.row({style("Outline", "F3", ZkFontAttr::Outline),
               style("Underline", "F4", ZkFontAttr::Underline)});

    stack.title("Alignment   F5 F6");
    const auto align = [&](const char *label, Action action, int flag) {
        return button(label, "", {action, flag}, (state.alignment & flag) != 0);
    };
    if (state.classic) {
        stack.row({align("Left", Action::Horizontal, host::AlignLeft),
                   align("Center", Action::Horizontal, host::AlignHCenter),
                   align("Right", Action::Horizontal, host::AlignRight)});
    } else {
        stack.row({align("Start", Action::Horizontal, host::AlignLeft),
                   align("Mid", Action::Horizontal, host::AlignHCenter),
                   align("End", Action::Horizontal, host::AlignRight),
                   align("Full", Action::Horizontal, kAlignJustify)});
    }
    stack.row({align("Top", Action::Vertical, host::AlignTop),
               align("Middle", Action::Vertical, host::AlignVCenter),
               align("Bottom", Action::Vertical, host::AlignBottom)});

    stack.title("Show   F7 F8 F10");
    stack.row({button("Boxes", "", {Action::Boxes}, state.boxes),
               button("Wrap", "", {Action::Wrap}, state.wrap),
               button("Levels", "", {Action::Levels}, state.levels)});

    if (!state.classic) {
        static const char *const kDots[] = {"Dots: no", "Dots: end", "Dots: mid", "Dots: start"};
        stack.row({button(kDots[state.ellipsis], "F12", {Action::NextEllipsis},
                          state.ellipsis != ZkParagraph::EllipsisNone),
                   button("Colours", "F11", {Action::Colors}, state.colors)});
        if (hasHarfBuzz) {
            stack.row({button("HarfBuzz", "Ctrl+H", {Action::Shaper}, state.harfBuzz)});
        }
    }

    stack.title("Glyph cache limit   F9");
    std::vector<Button> limits;
    for (const int limit : kLimits) {
        limits.push_back(
            button(limitName(limit), "", {Action::Limit, limit}, state.limit == limit));
    }
    stack.row(limits);
    return buttons;
}

} // namespace zkview
