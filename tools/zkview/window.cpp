#include "window.h"

#include <SDL.h>

#include <algorithm>
#include <cstring>
#include <dlfcn.h>
#include <iterator>
#include <stdexcept>

namespace zkview
{

namespace
{

[[noreturn]] void fail(const char *what)
{
    throw std::runtime_error(std::string(what) + ": " + SDL_GetError());
}

/// While SDL waits for events it wakes itself up by a message to the window, over a second
/// connection to the X server. Where the window is gone when the server gets to that message,
/// SDL hears of it at its end, when it has put back the handler of errors that it found: by
/// default one that ends the process. It is to find one that does nothing. SDL loads Xlib and
/// gives no other access to it; without X there is nothing to forgive.
void forgiveLateMessages()
{
    void *const xlib = dlopen("libX11.so.6", RTLD_LAZY | RTLD_NOLOAD);
    if (xlib == nullptr) {
        return;
    }
    using Handler = int (*)(void *display, void *error);
    using SetHandler = Handler (*)(Handler);
    if (const auto set = reinterpret_cast<SetHandler>(dlsym(xlib, "XSetErrorHandler"))) {
        set([](void *, void *) { return 0; });
    }
    dlclose(xlib);
}

/// SDL's own state, a window, and the picture in it.
class Window
{
public:
    Window(int width, int height, bool fullScreen);
    ~Window();
    Window(const Window &) = delete;
    Window &operator=(const Window &) = delete;

    /// Puts the picture into the window, pixel by pixel.
    void show(const host::Canvas &picture);

    /// What was shown last once more: a part of the window was uncovered.
    void showAgain();

    void size(int *width, int *height) const { SDL_GetWindowSize(m_window, width, height); }

private:
    SDL_Window *m_window = nullptr;
    SDL_Renderer *m_renderer = nullptr;
    SDL_Texture *m_texture = nullptr;
    int m_width = 0, m_height = 0; // of the texture
};

Window::Window(int width, int height, bool fullScreen)
{
    forgiveLateMessages();
    if (SDL_Init(SDL_INIT_VIDEO) != 0) {
        fail("no screen");
    }
    // Without a display SDL goes on with a driver that shows nothing.
    const std::string driver = SDL_GetCurrentVideoDriver();
    if (!SDL_getenv("SDL_VIDEODRIVER") && (driver == "offscreen" || driver == "dummy")) {
        SDL_Quit();
        throw std::runtime_error("no screen: neither DISPLAY nor WAYLAND_DISPLAY leads to a "
                                 "desktop, nor is there a console to draw on (see --help)");
    }
    const Uint32 flags =
        SDL_WINDOW_RESIZABLE | (fullScreen ? Uint32(SDL_WINDOW_FULLSCREEN_DESKTOP) : 0u);
    m_window = SDL_CreateWindow("zkview", SDL_WINDOWPOS_CENTERED, SDL_WINDOWPOS_CENTERED, width,
                                height, flags);
    m_renderer = m_window ? SDL_CreateRenderer(m_window, -1, 0) : nullptr;
    if (!m_renderer) {
        const std::string why = SDL_GetError();
        SDL_Quit(); // closes the window as well
        throw std::runtime_error("no window: " + why);
    }
    SDL_StartTextInput();
}

Window::~Window()
{
    SDL_DestroyTexture(m_texture);
    SDL_DestroyRenderer(m_renderer);
    SDL_DestroyWindow(m_window);
    SDL_Quit();
}

void Window::show(const host::Canvas &picture)
{
    if (!m_texture || picture.width() != m_width || picture.height() != m_height) {
        SDL_DestroyTexture(m_texture);
        m_width = picture.width();
        m_height = picture.height();
        m_texture = SDL_CreateTexture(m_renderer, SDL_PIXELFORMAT_RGB888,
                                      SDL_TEXTUREACCESS_STREAMING, m_width, m_height);
        if (!m_texture) {
            fail("no texture");
        }
    }
    SDL_UpdateTexture(m_texture, nullptr, picture.row(0), m_width * 4);
    showAgain();
}

void Window::showAgain()
{
    const SDL_Rect area = {0, 0, m_width, m_height};
    SDL_RenderClear(m_renderer);
    SDL_RenderCopy(m_renderer, m_texture, nullptr, &area);
    SDL_RenderPresent(m_renderer);
}

struct KeyCommand {
    SDL_Keycode key;
    Command command;
};

/// The caret's move of a key, with Ctrl or without; false for other keys.
bool moveOf(const SDL_Keysym &key, Command *command)
{
    static const struct {
        SDL_Keycode key;
        host::Move plain, control;
    } kMoves[] = {
        {SDLK_LEFT, host::Move::Left, host::Move::WordLeft},
        {SDLK_RIGHT, host::Move::Right, host::Move::WordRight},
        {SDLK_UP, host::Move::Up, host::Move::Up},
        {SDLK_DOWN, host::Move::Down, host::Move::Down},
        {SDLK_HOME, host::Move::LineStart, host::Move::TextStart},
        {SDLK_END, host::Move::LineEnd, host::Move::TextEnd},
    };
    for (const auto &row : kMoves) {
        if (row.key == key.sym) {
            const host::Move move = (key.mod & KMOD_CTRL) != 0 ? row.control : row.plain;
            *command = {(key.mod & KMOD_SHIFT) != 0 ? Action::Select : Action::Move,
                        static_cast<int>(move)};
            return true;
        }
    }
    return false;
}

/// Arrow keys of the classic engine, which has no caret to move.
constexpr KeyCommand kClassicKeys[] = {
    {SDLK_UP, {Action::Size, 1}},
    {SDLK_DOWN, {Action::Size, -1}},
    {SDLK_LEFT, {Action::Width, -8}},
    {SDLK_RIGHT, {Action::Width, 8}},
};

/// The command of a key that is no text; false for other keys.
bool commandOf(const SDL_Keysym &key, bool classic, Command *command)
{
    if (!classic && moveOf(key, command)) {
        return true;
    }
    static const KeyCommand kKeys[] = {
        {SDLK_BACKSPACE, {Action::Backspace}},
        {SDLK_RETURN, {Action::Newline}},
        {SDLK_KP_ENTER, {Action::Newline}},
        {SDLK_PAGEUP, {Action::NextSample, -1}},
        {SDLK_PAGEDOWN, {Action::NextSample, 1}},
        {SDLK_TAB, {Action::NextFont}},
        {SDLK_DELETE, {Action::Delete}},
        {SDLK_F1, {Action::Style, ZkFontAttr::Slant}},
        {SDLK_F2, {Action::Style, ZkFontAttr::Embolden}},
        {SDLK_F3, {Action::Style, ZkFontAttr::Outline}},
        {SDLK_F4, {Action::Style, ZkFontAttr::Underline}},
        {SDLK_F5, {Action::NextHorizontal}},
        {SDLK_F6, {Action::NextVertical}},
        {SDLK_F7, {Action::Boxes}},
        {SDLK_F8, {Action::Wrap}},
        {SDLK_F9, {Action::NextLimit}},
        {SDLK_F10, {Action::Levels}},
        {SDLK_F11, {Action::Colors}},
        {SDLK_F12, {Action::NextEllipsis}},
    };
    const auto find = [&](const KeyCommand *from, const KeyCommand *end) {
        const KeyCommand *found =
            std::find_if(from, end, [&](const KeyCommand &row) { return row.key == key.sym; });
        if (found != end) {
            *command = found->command;
        }
        return found != end;
    };
    return find(std::begin(kKeys), std::end(kKeys)) ||
           (classic && find(std::begin(kClassicKeys), std::end(kClassicKeys)));
}

void paste(Model &model)
{
    char *text = SDL_GetClipboardText();
    model.type(text);
    SDL_free(text);
}

void copy(const Model &model)
{
    if (const std::string text = model.selectedText(); !text.empty()) {
        SDL_SetClipboardText(text.c_str());
    }
}

/// Passes a key on; false when the program is to end.
bool pressKey(Model &model, const SDL_Keysym &key)
{
    Command command = {Action::Clear};
    const bool classic = model.state().classic;
    if (key.sym == SDLK_ESCAPE) {
        return false;
    }
    if ((key.mod & KMOD_CTRL) != 0) {
        switch (key.sym) {
        case SDLK_v: paste(model); break;
        case SDLK_c: copy(model); break;
        case SDLK_x:
            copy(model);
            if (!model.selectedText().empty()) {
                model.perform({Action::Delete});
            }
            break;
        case SDLK_a: model.perform({Action::SelectAll}); break;
        case SDLK_PLUS:
        case SDLK_EQUALS:
        case SDLK_KP_PLUS: model.perform({Action::Size, 1}); break;
        case SDLK_MINUS:
        case SDLK_KP_MINUS: model.perform({Action::Size, -1}); break;
        case SDLK_BACKSPACE: model.perform({Action::DeleteWord, -1}); break;
        case SDLK_DELETE: model.perform({Action::DeleteWord, 1}); break;
        case SDLK_l: model.perform({Action::Clear}); break;
        case SDLK_h: model.perform({Action::Shaper}); break;
        case SDLK_q: return false;
        default:
            if (!classic && moveOf(key, &command)) {
                model.perform(command);
            }
        }
    } else if (commandOf(key, classic, &command)) {
        model.perform(command);
    }
    return true;
}

/// Passes an event on to the model; false when the program is to end.
bool handle(const SDL_Event &event, Model &model, Window &window)
{
    switch (event.type) {
    case SDL_QUIT: return false;
    case SDL_KEYDOWN: return pressKey(model, event.key.keysym);
    case SDL_TEXTINPUT: model.type(event.text.text); break;
    case SDL_MOUSEBUTTONDOWN:
        if (event.button.button == SDL_BUTTON_LEFT) {
            model.press(event.button.x, event.button.y, (SDL_GetModState() & KMOD_SHIFT) != 0,
                        event.button.clicks == 2);
        }
        break;
    case SDL_MOUSEMOTION: model.drag(event.motion.x, event.motion.y); break;
    case SDL_MOUSEBUTTONUP: model.release(); break;
    case SDL_WINDOWEVENT:
        if (event.window.event == SDL_WINDOWEVENT_SIZE_CHANGED) {
            model.resize(event.window.data1, event.window.data2);
        } else if (event.window.event == SDL_WINDOWEVENT_EXPOSED) {
            window.showAgain();
        }
        break;
    default: break;
    }
    return true;
}

} // namespace

std::string videoDrivers()
{
    std::string names;
    for (int i = 0; i < SDL_GetNumVideoDrivers(); ++i) {
        names += (i == 0 ? "" : ", ") + std::string(SDL_GetVideoDriver(i));
    }
    return names;
}

void show(Model &model, bool fullScreen)
{
    Window window(model.picture().width(), model.picture().height(), fullScreen);
    int width = 0, height = 0;
    window.size(&width, &height); // another one than asked for where there are no windows
    model.resize(width, height);
    for (bool goesOn = true; goesOn;) {
        window.show(model.picture());
        const int shown = model.changes();
        SDL_Event event;
        do {
            if (SDL_WaitEvent(&event) == 0) {
                fail("no events");
            }
            goesOn = handle(event, model, window);
        } while (goesOn && (shown == model.changes() || SDL_PollEvent(nullptr) != 0));
    }
}

} // namespace zkview
