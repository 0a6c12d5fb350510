// A text field in a window of SDL: click, drag, Shift and the arrow keys select, Ctrl
// jumps by words, Ctrl+C, X, V and A are the usual ones.
//
//     example_textfield FONT.ttf...            a window
//     example_textfield -o OUT.png FONT.ttf... what it shows first, in a file
//
// The first font draws, the others stand in for what it lacks.

#include "textfield.h"
#include "canvas.h"
#include "output.h"

#include <SDL.h>

#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>

namespace
{

constexpr int kWidth = 480, kHeight = 260, kMargin = 24;
const char *const kText = "Write here.\n\u05DB\u05EA\u05D1\u05D5 \u05DB\u05D0\u05DF.\n"
                          "\u0627\u0643\u062A\u0628 \u0647\u0646\u0627.";

/// A field on a sheet.
class Page
{
public:
    explicit Page(const ZkFontChain &chain)
    {
        m_field.paragraph().setChain(chain);
        m_field.paragraph().setFont(ZkFont(26, false, false, false, false));
        m_field.paragraph().setWidth(kWidth - 2 * kMargin);
        m_field.setOrigin(kMargin, kMargin);
        m_field.setText(kText);
    }

    host::TextField &field() { return m_field; }

    host::Canvas picture() const
    {
        host::Canvas canvas(kWidth, kHeight, {252, 252, 250, 255});
        const host::FieldColors colors;
        m_field.paintSelection(canvas, colors);
        ZkTextPainter painter(canvas.pixels());
        painter.setColors(colors.text.argb());
        painter.paint(m_field.paragraph(), kMargin, kMargin);
        m_field.paintCaret(canvas, colors);
        return canvas;
    }

private:
    host::TextField m_field;
};

/// What an arrow key and its like means; false for other keys.
bool moveOf(const SDL_Keysym &key, host::Move *move)
{
    const bool control = (key.mod & KMOD_CTRL) != 0;
    switch (key.sym) {
    case SDLK_LEFT: *move = control ? host::Move::WordLeft : host::Move::Left; return true;
    case SDLK_RIGHT: *move = control ? host::Move::WordRight : host::Move::Right; return true;
    case SDLK_UP: *move = host::Move::Up; return true;
    case SDLK_DOWN: *move = host::Move::Down; return true;
    case SDLK_HOME: *move = control ? host::Move::TextStart : host::Move::LineStart; return true;
    case SDLK_END: *move = control ? host::Move::TextEnd : host::Move::LineEnd; return true;
    default: return false;
    }
}

void copy(const host::TextField &field)
{
    if (field.hasSelection()) {
        SDL_SetClipboardText(field.selectedText().c_str());
    }
}

void paste(host::TextField &field)
{
    char *text = SDL_GetClipboardText();
    field.insert(text);
    SDL_free(text);
}

void press(host::TextField &field, const SDL_Keysym &key)
{
    const bool control = (key.mod & KMOD_CTRL) != 0;
    host::Move move;
    if (moveOf(key, &move)) {
        field.move(move, (key.mod & KMOD_SHIFT) != 0);
    } else if (key.sym == SDLK_BACKSPACE || key.sym == SDLK_DELETE) {
        field.erase(key.sym == SDLK_DELETE, control);
    } else if (key.sym == SDLK_RETURN) {
        field.insert("\n");
    } else if (control && key.sym == SDLK_a) {
        field.selectAll();
    } else if (control && key.sym == SDLK_c) {
        copy(field);
    } else if (control && key.sym == SDLK_x && field.hasSelection()) {
        copy(field);
        field.erase(true);
    } else if (control && key.sym == SDLK_v) {
        paste(field);
    }
}

/// Passes an event on; false when the program is to end.
bool handle(host::TextField &field, const SDL_Event &event)
{
    switch (event.type) {
    case SDL_QUIT: return false;
    case SDL_KEYDOWN: press(field, event.key.keysym); return event.key.keysym.sym != SDLK_ESCAPE;
    case SDL_TEXTINPUT: field.insert(event.text.text); break;
    case SDL_MOUSEBUTTONDOWN:
        if (event.button.clicks == 2) {
            field.pressWord(event.button.x, event.button.y);
        } else {
            field.press(event.button.x, event.button.y, (SDL_GetModState() & KMOD_SHIFT) != 0);
        }
        break;
    case SDL_MOUSEMOTION:
        if ((event.motion.state & SDL_BUTTON_LMASK) != 0) {
            field.drag(event.motion.x, event.motion.y);
        }
        break;
    default: break;
    }
    return true;
}

void show(Page &page)
{
    if (SDL_Init(SDL_INIT_VIDEO) != 0) {
        throw std::runtime_error(std::string("no screen: ") + SDL_GetError());
    }
    SDL_Window *window = SDL_CreateWindow("example_textfield", SDL_WINDOWPOS_CENTERED,
                                          SDL_WINDOWPOS_CENTERED, kWidth, kHeight, 0);
    if (!window) {
        throw std::runtime_error(std::string("no window: ") + SDL_GetError());
    }
    SDL_StartTextInput();
    SDL_Event event;
    do {
        host::Canvas canvas = page.picture();
        SDL_Surface *picture = SDL_CreateRGBSurfaceWithFormatFrom(
            canvas.pixels().pixels, kWidth, kHeight, 32, kWidth * 4, SDL_PIXELFORMAT_RGB888);
        SDL_BlitSurface(picture, nullptr, SDL_GetWindowSurface(window), nullptr);
        SDL_FreeSurface(picture);
        SDL_UpdateWindowSurface(window);
    } while (SDL_WaitEvent(&event) != 0 && handle(page.field(), event));
    SDL_DestroyWindow(window);
    SDL_Quit();
}

} // namespace

int main(int argc, char **argv)
{
    const bool toFile = argc > 2 && std::strcmp(argv[1], "-o") == 0;
    const int first = toFile ? 3 : 1;
    if (argc <= first) {
        std::fprintf(stderr, "usage: example_textfield [-o OUT.png] FONT.ttf...\n");
        return 2;
    }
    try {
        ZkFontChain chain;
        for (int i = first; i < argc; ++i) {
            const ZkTypeface face = ZkTypeface::fromFile(argv[i]);
            if (!face.isValid()) {
                throw std::runtime_error(face.errorText());
            }
            chain.append(face);
        }
        Page page(chain);
        std::string problem;
        if (!toFile) {
            show(page);
        } else if (!host::writeOutput(argv[2], host::encodePng(page.picture()), &problem)) {
            throw std::runtime_error(problem);
        }
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "example_textfield: %s\n", failure.what());
        return 1;
    }
    return 0;
}
