#ifndef ZKVIEW_MODEL_H
#define ZKVIEW_MODEL_H

#include "canvas.h"
#include "face.h"
#include "fonts.h"
#include "panel.h"
#include "shapers.h"
#include "textblock.h"
#include "textfield.h"

#include <zkglyphcache.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

namespace zkview
{

/// Everything that the user can change.
struct State {
    ZkString text;
    int sample = 0; ///< index of the sample the text began as; -1 after `Clear`
    int font = 0;   ///< index
    ZkFontAttr attr = {32, 0};
    int wrapWidth = 560; ///< pixels
    int alignment = host::AlignLeft | host::AlignTop;
    bool boxes = true;
    bool wrap = true;
    bool levels = false;  ///< the text's analysis instead of the text
    int limit = -1;       ///< pixel bytes of the glyph cache, -1 for none
    bool classic = false; ///< the classic engine lays out; what follows is for paragraphs
    int ellipsis = ZkParagraph::EllipsisNone; ///< another one shows two lines at most
    bool colors = false;                      ///< words in colours of their own
    bool harfBuzz = false; ///< HarfBuzz shapes; what the built-in shaper does is below
};

/// What the glyph cache holds, as far as this program has seen: the classic one, or the
/// shared one of paragraphs.
struct CacheFigures {
    int pixelBytes = 0; ///< of paragraphs: records and table too
    int glyphs = 0;     ///< records handed out since the font was opened
    int withPixels = 0; ///< those of them that were not trimmed; of paragraphs, held ones

    /// All that the shared cache tells, under the limit as its budget; of paragraphs alone.
    ZkGlyphCache::Stats chain = {};
};

/// The program without its window: takes events, keeps the state, draws the picture.
/// The same events give the same pictures. One object in a process: the font, the
/// limit and the cache are the process's.
class Model
{
public:
    /// `fonts` has one font at least: the first draws, the others stand in for what it
    /// lacks. Sizes are those of the picture, in pixels.
    Model(std::vector<FontChoice> fonts, int width, int height, bool classic = false);

    /// Characters typed or pasted, in UTF-8; put in the place of the selection. The
    /// classic engine takes them behind the text, and none that are no UTF-8.
    void type(const std::string &utf8);

    /// The selected text, in UTF-8.
    std::string selectedText() const { return m_field.selectedText(); }
    const host::TextField &field() const { return m_field; }

    /// The same text by the built-in shaper, while HarfBuzz's is shown.
    const ZkParagraph &builtIn() const { return m_builtIn; }

    /// Clusters of the text, and how many of them stand elsewhere by the built-in shaper.
    struct Moved {
        int clusters = 0;
        int elsewhere = 0;
    };
    Moved moved() const;

    void perform(const Command &command);

    /// The pointer goes down, moves while it is down, goes up: presses buttons, drags
    /// the edge of the text box, places the caret and selects. A second press selects
    /// a word; with `extend` the selection goes on to the point.
    void press(int x, int y, bool extend = false, bool isSecond = false);
    void drag(int x, int y);
    void release() { m_isDragging = m_isSelecting = false; }

    /// A new size of the picture; nothing is drawn below 1.
    void resize(int width, int height);

    const State &state() const { return m_state; }
    const std::vector<Button> &buttons() const { return m_buttons; }

    /// The parts of the picture: the sheet that the text box lies on, the box, and
    /// the column to drag.
    ZkRect sheet() const;
    ZkRect box() const;
    int edge() const { return box().right() + 1; }

    /// Grows with every event that changed something.
    int changes() const { return m_changes; }

    /// The picture of the present state, drawn when that changed since the last call.
    const host::Canvas &picture();

    /// As told in the picture that was drawn last.
    const CacheFigures &figures() const { return m_figures; }

private:
    void openFont(int index);
    void chooseSample(int index);
    void setLimit(int bytes);
    void setWidth(int width);
    void changed();

    void layOut();
    void layOutField();
    void layOutParagraph(ZkParagraph &paragraph) const;
    void colorWords();
    void edit(const Command &command);
    void drawText();
    void drawBuiltIn();
    int lineCount() const;
    void countCache();
    void draw();
    void drawPanel();
    void drawSheet();
    void drawLevels();
    void drawCaret();
    void drawStatus();
    void drawHelp();
    void label(const ZkRect &rect, const std::string &utf8, const host::Color &color, int alignment,
               int size = 13);

    /// Remembers the glyphs of what is laid out, to count them.
    void noteGlyphs(const host::TextBlock &block);

    std::vector<FontChoice> m_fonts;
    std::vector<std::string> m_fontNames;
    State m_state;
    std::vector<Button> m_buttons;
    host::Canvas m_canvas;
    std::unique_ptr<host::FaceFile> m_face;   ///< the font file, for levels
    std::unique_ptr<host::TextBlock> m_block; ///< the text; gone while the font changes
    std::set<const GlyphBitmap *> m_glyphs;   ///< every record seen of the present font
    CacheFigures m_figures;
    HarfBuzz m_harfBuzz;
    host::TextField m_field; ///< the text of a paragraph
    ZkParagraph m_builtIn;   ///< the same while `m_field` has HarfBuzz's shaper
    bool m_isDragging = false;
    bool m_isSelecting = false;
    int m_grip = 0; ///< from the edge to where the pointer took hold of it
    int m_changes = 1;
    int m_drawn = 0; ///< `m_changes` of the picture
};

} // namespace zkview

#endif
