// The interactive host without its window: events, state, picture.

#include "analysispicture.h"
#include "model.h"
#include "samples.h"

#include <zkfontcache.h>

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <vector>

using zkview::Action;
using zkview::Button;
using zkview::Command;
using zkview::Model;
using zkview::State;

namespace
{

const std::vector<zkview::FontChoice> kFonts = {
    {"DejaVuSans", ZK_FONT_DEJAVU},
    {"FreeSerif", ZK_FONT_FREESERIF},
    {"wqy-microhei", ZK_FONT_MICROHEI},
    {"unifont", ZK_FONT_UNIFONT},
};

class ZkviewModel : public testing::Test
{
protected:
    std::string text() const { return m_model.state().text.toUtf8().constData(); }
    void start(const char *utf8)
    {
        m_model.perform({Action::Clear});
        m_model.type(utf8);
    }

    Model m_model{kFonts, 1060, 690, true};
};

bool isSame(const host::Canvas &a, const host::Canvas &b)
{
    return a.width() == b.width() && a.height() == b.height() &&
           std::memcmp(a.row(0), b.row(0), std::size_t(a.width() * a.height()) * 4) == 0;
}

TEST_F(ZkviewModel, TypingAndBackspaceWorkByCharacter)
{
    start("a");
    m_model.type("ש");
    m_model.type("人");
    EXPECT_EQ(text(), "aש人");
    m_model.perform({Action::Backspace});
    EXPECT_EQ(text(), "aש");
    m_model.perform({Action::Backspace});
    EXPECT_EQ(text(), "a");
    m_model.perform({Action::Newline});
    m_model.type("b");
    EXPECT_EQ(text(), "a\nb");
    for (int i = 0; i < 5; ++i) {
        m_model.perform({Action::Backspace});
    }
    EXPECT_EQ(text(), "");
    m_model.picture();
}

TEST_F(ZkviewModel, WhatIsPastedIsCleaned)
{
    const struct {
        const char *what;
        const char *pasted;
        const char *text;
    } kRows[] = {
        {"several lines", "one\ntwo", "one\ntwo"},
        {"line ends of two characters", "one\r\ntwo", "one\ntwo"},
        {"tab", "a\tb", "a b"},
        {"control character",
         "a\x01"
         "b",
         "ab"},
        {"beyond the library's characters", "a😀b", "ab"},
        {"not UTF-8", "a\xFF", ""},
        {"nothing", "", ""},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        start(row.pasted);
        EXPECT_EQ(text(), row.text);
        m_model.picture();
    }
}

TEST_F(ZkviewModel, EachSampleIsShownInAFontThatHasIt)
{
    for (int i = 0; i < int(zkview::samples().size()); ++i) {
        SCOPED_TRACE(zkview::samples()[std::size_t(i)].name);
        m_model.perform({Action::Sample, i});
        const State &state = m_model.state();
        EXPECT_EQ(state.sample, i);
        EXPECT_GT(state.text.size(), 30);
        EXPECT_TRUE(zkview::hasGlyphsFor(kFonts[std::size_t(state.font)], state.text));
        m_model.picture();
    }
    EXPECT_FALSE(zkview::hasGlyphsFor(kFonts[0], "人"));
    EXPECT_TRUE(zkview::hasGlyphsFor(kFonts[2], "人"));
}

TEST_F(ZkviewModel, NextSampleGoesRoundInBothDirections)
{
    const int count = int(zkview::samples().size());
    m_model.perform({Action::NextSample, -1});
    EXPECT_EQ(m_model.state().sample, count - 1);
    m_model.perform({Action::NextSample, 1});
    EXPECT_EQ(m_model.state().sample, 0);
    m_model.perform({Action::Clear});
    m_model.perform({Action::NextSample, 1});
    EXPECT_EQ(m_model.state().sample, 1);
}

TEST_F(ZkviewModel, CommandsChangeTheStateTheyName)
{
    const auto after = [&](Action action, int value = 0) -> const State & {
        m_model.perform({action, value});
        m_model.picture();
        return m_model.state();
    };
    EXPECT_EQ(after(Action::Size, 3).attr.size, 35);
    EXPECT_EQ(after(Action::Size, 1000).attr.size, 160);
    EXPECT_EQ(after(Action::Size, -1000).attr.size, 6);
    EXPECT_EQ(after(Action::Style, ZkFontAttr::Outline).attr.flags, ZkFontAttr::Outline);
    EXPECT_EQ(after(Action::Style, ZkFontAttr::Slant).attr.flags, 5);
    EXPECT_EQ(after(Action::Style, ZkFontAttr::Outline).attr.flags, ZkFontAttr::Slant);
    EXPECT_EQ(after(Action::NextHorizontal).alignment, host::AlignHCenter | host::AlignTop);
    EXPECT_EQ(after(Action::NextVertical).alignment, host::AlignHCenter | host::AlignVCenter);
    EXPECT_EQ(after(Action::Horizontal, host::AlignRight).alignment & 7, host::AlignRight);
    EXPECT_EQ(after(Action::NextHorizontal).alignment & 7, host::AlignLeft);
    EXPECT_EQ(after(Action::Vertical, host::AlignBottom).alignment & 0x70, host::AlignBottom);
    EXPECT_EQ(after(Action::NextVertical).alignment & 0x70, host::AlignTop);
    EXPECT_FALSE(after(Action::Boxes).boxes);
    EXPECT_FALSE(after(Action::Wrap).wrap);
    EXPECT_TRUE(after(Action::Levels).levels);
    EXPECT_FALSE(after(Action::Levels).levels);
    EXPECT_EQ(after(Action::NextLimit).limit, 64 * 1024);
    EXPECT_EQ(after(Action::Limit, 8 * 1024).limit, 8 * 1024);
    EXPECT_EQ(after(Action::NextLimit).limit, -1);
    EXPECT_EQ(after(Action::NextFont).font, 1);
    EXPECT_EQ(after(Action::Font, 3).font, 3);
    EXPECT_EQ(after(Action::NextFont).font, 0);
}

TEST_F(ZkviewModel, EveryButtonDoesWhatItsCommandDoes)
{
    const std::size_t count = m_model.buttons().size();
    for (std::size_t i = 0; i < count; ++i) {
        const Button button = m_model.buttons()[i];
        SCOPED_TRACE(button.label);
        const int before = m_model.changes();
        m_model.press((button.rect.left() + button.rect.right()) / 2,
                      (button.rect.top() + button.rect.bottom()) / 2);
        EXPECT_EQ(m_model.changes() - before, button.isTitle ? 0 : 1);
        if (button.isTitle) {
            continue;
        }
        const State &state = m_model.state();
        switch (button.command.action) {
        case Action::Font: EXPECT_EQ(state.font, button.command.value); break;
        case Action::Style: EXPECT_NE(state.attr.flags & button.command.value, 0); break;
        case Action::Horizontal: EXPECT_EQ(state.alignment & 7, button.command.value); break;
        case Action::Vertical: EXPECT_EQ(state.alignment & 0x70, button.command.value); break;
        case Action::Limit: EXPECT_EQ(state.limit, button.command.value); break;
        case Action::Boxes: EXPECT_FALSE(state.boxes); break;
        case Action::Wrap: EXPECT_FALSE(state.wrap); break;
        case Action::Levels: EXPECT_TRUE(state.levels); break;
        default: break;
        }
    }
    EXPECT_EQ(m_model.state().attr.size, 32) << "one pixel less, one more";
}

TEST_F(ZkviewModel, ButtonsLieInThePanelAndApart)
{
    const std::vector<Button> &buttons = m_model.buttons();
    for (std::size_t i = 0; i < buttons.size(); ++i) {
        const ZkRect &rect = buttons[i].rect;
        SCOPED_TRACE(buttons[i].label);
        EXPECT_GE(rect.left(), 0);
        EXPECT_LT(rect.right(), zkview::kPanelWidth);
        EXPECT_LT(rect.bottom(), 690);
        for (std::size_t k = 0; k < i; ++k) {
            EXPECT_FALSE(host::overlap(rect, buttons[k].rect).isValid()) << buttons[k].label;
        }
    }
}

TEST_F(ZkviewModel, TheEdgeIsDraggedWhereItIsTakenHoldOf)
{
    const int y = m_model.box().top() + 100;
    const int edge = m_model.edge();
    const int width = m_model.state().wrapWidth;
    m_model.press(edge + 4, y);
    EXPECT_EQ(m_model.state().wrapWidth, width) << "taking hold moves nothing";
    m_model.drag(edge + 4 - 100, y);
    EXPECT_EQ(m_model.state().wrapWidth, width - 100);
    EXPECT_EQ(m_model.edge(), edge - 100);
    m_model.drag(-5000, y);
    EXPECT_GT(m_model.state().wrapWidth, 0);
    m_model.drag(5000, y + 5000);
    EXPECT_LE(m_model.box().right(), m_model.sheet().right());
    m_model.release();
    const int last = m_model.state().wrapWidth;
    m_model.drag(edge, y);
    EXPECT_EQ(m_model.state().wrapWidth, last) << "let go of";
    m_model.press(m_model.edge() - 20, y);
    m_model.drag(edge - 200, y);
    EXPECT_EQ(m_model.state().wrapWidth, last) << "not taken hold of";
}

TEST_F(ZkviewModel, TheTextIsDrawnAsTheCommonPainterDrawsIt)
{
    m_model.perform({Action::Boxes});
    for (const int sample : {0, 1, 3, 5}) {
        SCOPED_TRACE(sample);
        m_model.perform({Action::Sample, sample});
        m_model.perform({Action::Style, ZkFontAttr::Underline});
        const host::Canvas &picture = m_model.picture();
        const ZkRect box = m_model.box();
        const State &state = m_model.state();
        host::TextRequest request;
        request.text = state.text;
        request.font = state.attr;
        request.width = state.wrapWidth;
        host::TextBlock block(request);
        block.place(box.left(), box.top(), 0);
        host::Canvas canvas(picture.width(), picture.height(), {252, 252, 250, 255});
        block.paint(canvas, {{31, 41, 55, 255}, {251, 191, 36, 255}});
        int ink = 0, differing = 0;
        const host::Color kPaper = canvas.pixel(0, 0);
        for (int y = box.top(); y <= box.bottom(); ++y) {
            for (int x = box.left(); x < box.right() - 6; ++x) {
                const host::Color want = canvas.pixel(x, y), got = picture.pixel(x, y);
                ink += want.red != kPaper.red;
                differing +=
                    want.red != got.red || want.green != got.green || want.blue != got.blue;
            }
        }
        EXPECT_GT(ink, 3000);
        // The caret, two columns as high as a line, is all there is besides.
        EXPECT_GT(differing, 0);
        EXPECT_LE(differing, 2 * block.lineHeight());
    }
}

TEST_F(ZkviewModel, LevelsAreDrawnInTheirColours)
{
    start("ab שלום");
    m_model.perform({Action::Levels});
    const host::Canvas &picture = m_model.picture();
    const ZkRect box = m_model.box();
    const auto share = [&](int level) {
        const host::Color wanted = host::AnalysisPicture::levelColor(level);
        int count = 0;
        for (int y = box.top(); y < box.top() + 60; ++y) {
            for (int x = box.left(); x < box.left() + 200; ++x) {
                const host::Color got = picture.pixel(x, y);
                count +=
                    got.red == wanted.red && got.green == wanted.green && got.blue == wanted.blue;
            }
        }
        return count;
    };
    EXPECT_GT(share(0), 1000);
    EXPECT_GT(share(1), 1000);
    EXPECT_EQ(share(2), 0);
    m_model.perform({Action::Levels});
    m_model.picture();
    EXPECT_EQ(share(1), 0) << "the text again";
}

TEST_F(ZkviewModel, TheSameEventsGiveTheSamePicture)
{
    const auto play = [](Model &model) {
        model.type("abc");
        model.picture();
        model.perform({Action::Limit, 8 * 1024});
        model.picture();
        model.perform({Action::Sample, 5});
        model.perform({Action::Style, ZkFontAttr::Outline});
        model.resize(900, 600);
        return model.picture();
    };
    const host::Canvas first = play(m_model);
    Model again(kFonts, 1060, 690, true);
    EXPECT_TRUE(isSame(first, play(again)));
    again.type("x");
    EXPECT_FALSE(isSame(first, again.picture()));
}

TEST_F(ZkviewModel, ALimitTakesPixelsFromGlyphsThatAreNotShown)
{
    for (int i = 0; i < 4; ++i) {
        m_model.perform({Action::Sample, i});
        m_model.picture();
    }
    const zkview::CacheFigures before = m_model.figures();
    EXPECT_EQ(before.withPixels, before.glyphs);
    EXPECT_GT(before.pixelBytes, 16 * 1024);
    m_model.perform({Action::Limit, 8 * 1024});
    m_model.picture();
    const zkview::CacheFigures after = m_model.figures();
    EXPECT_LT(after.pixelBytes, before.pixelBytes);
    EXPECT_GE(after.glyphs, before.glyphs) << "records stay";
    EXPECT_LT(after.withPixels, after.glyphs);
    m_model.perform({Action::Limit, -1});
    m_model.perform({Action::NextFont});
    m_model.picture();
    EXPECT_LT(m_model.figures().glyphs, after.glyphs) << "counted anew for another font";
}

TEST_F(ZkviewModel, AnySizeIsDrawn)
{
    for (const ZkSize size : {ZkSize(480, 320), ZkSize(100, 50), ZkSize(1, 1), ZkSize(1600, 900)}) {
        m_model.resize(size.width(), size.height());
        EXPECT_EQ(m_model.picture().width(), size.width());
        EXPECT_EQ(m_model.picture().height(), size.height());
        m_model.press(size.width() - 1, size.height() - 1);
        m_model.drag(0, 0);
        m_model.release();
    }
    m_model.resize(0, -5);
    EXPECT_EQ(m_model.picture().width(), 1600);
}

namespace
{

/// The same program with paragraphs: a small text field.
class ZkviewField : public testing::Test
{
protected:
    std::string text() const { return m_model.field().text(); }
    void retype(const char *utf8)
    {
        m_model.perform({Action::Clear});
        m_model.type(utf8);
    }
    void move(host::Move move, bool select = false)
    {
        m_model.perform({select ? Action::Select : Action::Move, static_cast<int>(move)});
    }

    Model m_model{kFonts, 1060, 690};
};

} // namespace

TEST_F(ZkviewField, WritesWhereTheCaretIs)
{
    retype("ac");
    move(host::Move::Left);
    m_model.type("b\U0001F600");
    EXPECT_EQ(text(), "ab\U0001F600c");
    m_model.perform({Action::Backspace});
    m_model.perform({Action::Newline});
    m_model.perform({Action::Delete});
    EXPECT_EQ(text(), "ab\n");
    m_model.perform({Action::DeleteWord, -1});
    m_model.perform({Action::DeleteWord, -1});
    EXPECT_EQ(text(), "");
    m_model.picture();
}

TEST_F(ZkviewField, KeysSelectAndTypingReplaces)
{
    retype("one two");
    move(host::Move::WordLeft, true);
    EXPECT_EQ(m_model.selectedText(), "two");
    m_model.type("2");
    EXPECT_EQ(text(), "one 2");
    m_model.perform({Action::SelectAll});
    EXPECT_EQ(m_model.selectedText(), "one 2");
    m_model.picture();
}

TEST_F(ZkviewField, ClicksPlaceTheCaretAndDragsSelect)
{
    retype("pointed at");
    const ZkRect box = m_model.box();
    const ZkVector<ZkRect> rects = m_model.field().paragraph().selection(3, 6);
    const ZkRect part = rects.at(0);
    const int y = box.top() + part.top() + part.height() / 2;
    m_model.press(box.left() + part.left() + 1, y);
    EXPECT_EQ(m_model.field().caretIndex(), 3);
    m_model.drag(box.left() + part.right() + 1, y);
    EXPECT_EQ(m_model.selectedText(), "nte");
    m_model.release();
    m_model.drag(0, 0);
    EXPECT_EQ(m_model.selectedText(), "nte") << "let go of";
    m_model.press(box.left() + 1, y, true);
    EXPECT_EQ(m_model.selectedText(), "poi") << "from where the selection began";
    m_model.press(box.left() + 1, y, false, true);
    EXPECT_EQ(m_model.selectedText(), "pointed ");
    m_model.picture();
}

TEST_F(ZkviewField, EverySampleIsShownWithoutAnotherFont)
{
    for (int i = 0; i < int(zkview::samples().size()); ++i) {
        m_model.perform({Action::Sample, i});
        EXPECT_EQ(m_model.state().font, 0);
        EXPECT_EQ(text(), zkview::samples()[std::size_t(i)].text);
        const ZkParagraph &paragraph = m_model.field().paragraph();
        for (int line = 0; line < paragraph.lineCount(); ++line) {
            const ZkPlacedGlyph *glyphs = nullptr;
            const int count = paragraph.glyphs(line, &glyphs);
            for (int k = 0; k < count; ++k) {
                EXPECT_NE(reinterpret_cast<const ZkGlyph *>(glyphs[k].glyph)->index(), 0u)
                    << "no box in line " << line;
            }
        }
        m_model.picture();
    }
}

TEST_F(ZkviewField, DotsShortenToTwoLines)
{
    m_model.perform({Action::Sample, 0});
    for (const int ellipsis :
         {ZkParagraph::EllipsisEnd, ZkParagraph::EllipsisMiddle, ZkParagraph::EllipsisStart}) {
        m_model.perform({Action::Ellipsis, ellipsis});
        EXPECT_EQ(m_model.field().paragraph().lineCount(), 2);
        EXPECT_TRUE(m_model.field().paragraph().line(1).isShortened);
        m_model.picture();
    }
    m_model.perform({Action::NextEllipsis});
    EXPECT_EQ(m_model.state().ellipsis, ZkParagraph::EllipsisNone);
    EXPECT_GT(m_model.field().paragraph().lineCount(), 2);
}

TEST_F(ZkviewField, JustifiedLinesReachTheEdge)
{
    m_model.perform({Action::Sample, 0});
    m_model.perform({Action::Horizontal, zkview::kAlignJustify});
    const ZkParagraph &paragraph = m_model.field().paragraph();
    ASSERT_GT(paragraph.lineCount(), 2);
    const ZkVector<ZkRect> rects =
        paragraph.selection(paragraph.line(0).first, paragraph.line(0).last - 1);
    EXPECT_EQ(rects.at(rects.size() - 1).right(), m_model.state().wrapWidth - 1);
    m_model.perform({Action::NextHorizontal});
    EXPECT_EQ(m_model.state().alignment & zkview::kHorizontalFlags, host::AlignLeft);
}

TEST_F(ZkviewField, WordsHaveColoursOfTheirOwn)
{
    retype("one two");
    m_model.perform({Action::Boxes});
    const std::string plain = m_model.picture().rgb();
    m_model.perform({Action::Colors});
    EXPECT_GT(m_model.field().paragraph().spanCount(), 0);
    EXPECT_NE(m_model.picture().rgb(), plain);
    m_model.perform({Action::Colors});
    EXPECT_EQ(m_model.field().paragraph().spanCount(), 0);
}

TEST_F(ZkviewField, AnotherShaperIsSwitchedOnAndOff)
{
    retype("office \u0627\u0644");
    const auto glyphCount = [](const ZkParagraph &paragraph) {
        const ZkPlacedGlyph *glyphs = nullptr;
        return paragraph.glyphs(0, &glyphs);
    };
    const int plain = glyphCount(m_model.field().paragraph());
    const std::string before = m_model.picture().rgb();
    m_model.perform({Action::Shaper});
    if (!m_model.state().harfBuzz) {
        GTEST_SKIP() << "built without libzkshape";
    }
    EXPECT_EQ(glyphCount(m_model.field().paragraph()), plain - 2) << "ffi is one letter";
    EXPECT_EQ(glyphCount(m_model.builtIn()), plain);
    EXPECT_EQ(m_model.moved().clusters, 9);
    EXPECT_GT(m_model.moved().elsewhere, 0);
    EXPECT_TRUE(m_model.picture().rgb() != before);
    m_model.type("!");
    EXPECT_EQ(m_model.builtIn().text(), m_model.field().paragraph().text());
    EXPECT_EQ(m_model.moved().clusters, 10);
    m_model.perform({Action::Shaper});
    EXPECT_EQ(glyphCount(m_model.field().paragraph()), plain + 1);
}

TEST_F(ZkviewModel, TheClassicEngineHasNoOtherShaper)
{
    m_model.perform({Action::Shaper});
    EXPECT_FALSE(m_model.state().harfBuzz);
    m_model.picture();
}

TEST_F(ZkviewField, EveryButtonIsHarmless)
{
    for (std::size_t i = 0; i < m_model.buttons().size(); ++i) {
        const zkview::Button button = m_model.buttons()[i];
        m_model.press((button.rect.left() + button.rect.right()) / 2,
                      (button.rect.top() + button.rect.bottom()) / 2);
        m_model.picture();
    }
    m_model.resize(480, 320);
    m_model.picture();
}

TEST(ZkviewFonts, AChoiceIsNamedAfterItsFile)
{
    EXPECT_EQ(zkview::fontChoice(ZK_FONT_DEJAVU).name, "DejaVuSans");
    EXPECT_EQ(zkview::fontChoice(ZK_FONT_MICROHEI).path, ZK_FONT_MICROHEI);
    EXPECT_THROW(zkview::fontChoice("/missing.ttf"), std::runtime_error);
    EXPECT_THROW(zkview::fontChoice("/dev/null"), std::runtime_error);
}

} // namespace
