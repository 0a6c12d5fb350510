// The text field example: its keys and clicks as SDL tells them, and its picture.

#define main exampleMain
#include "textfield.cpp"
#undef main

#include "hostprogram.h"

#include <gtest/gtest.h>

using namespace hostprogram;

namespace
{

class ExampleTextfield : public testing::Test
{
protected:
    void key(SDL_Keycode code, int modifiers = 0)
    {
        SDL_Event event = {};
        event.type = SDL_KEYDOWN;
        event.key.keysym.sym = code;
        event.key.keysym.mod = static_cast<Uint16>(modifiers);
        EXPECT_EQ(handle(m_page.field(), event), code != SDLK_ESCAPE);
    }
    void type(const char *text)
    {
        SDL_Event event = {};
        event.type = SDL_TEXTINPUT;
        std::strcpy(event.text.text, text);
        EXPECT_TRUE(handle(m_page.field(), event));
    }
    void mouse(Uint32 kind, int x, int y, int clicks = 1)
    {
        SDL_Event event = {};
        event.type = kind;
        if (kind == SDL_MOUSEMOTION) {
            event.motion.state = SDL_BUTTON_LMASK;
            event.motion.x = x;
            event.motion.y = y;
        } else {
            event.button.clicks = static_cast<Uint8>(clicks);
            event.button.x = x;
            event.button.y = y;
        }
        EXPECT_TRUE(handle(m_page.field(), event));
    }

    Page m_page{ZkFontChain(ZkTypeface::fromFile(ZK_FONT_DEJAVU))};
};

} // namespace

TEST_F(ExampleTextfield, KeysWriteMoveAndSelect)
{
    key(SDLK_a, KMOD_LCTRL);
    key(SDLK_BACKSPACE);
    type("one two");
    key(SDLK_LEFT, KMOD_LCTRL);
    key(SDLK_BACKSPACE);
    key(SDLK_RETURN);
    key(SDLK_END, KMOD_LSHIFT);
    EXPECT_EQ(m_page.field().selectedText(), "two");
    key(SDLK_DELETE);
    EXPECT_EQ(m_page.field().text(), "one\n");
    key(SDLK_UP);
    key(SDLK_HOME);
    key(SDLK_RIGHT);
    type("N");
    EXPECT_EQ(m_page.field().text(), "oNne\n");
    key(SDLK_END, KMOD_LCTRL);
    key(SDLK_ESCAPE);
}

TEST_F(ExampleTextfield, TheMouseSelects)
{
    mouse(SDL_MOUSEBUTTONDOWN, 0, kMargin + 10);
    EXPECT_EQ(m_page.field().caretIndex(), 0);
    mouse(SDL_MOUSEMOTION, kMargin + 60, kMargin + 10);
    EXPECT_TRUE(m_page.field().hasSelection());
    mouse(SDL_MOUSEBUTTONDOWN, kMargin + 5, kMargin + 10, 2);
    EXPECT_EQ(m_page.field().selectedText(), "Write ");
}

TEST_F(ExampleTextfield, ThePictureChangesWithTheCaret)
{
    const std::string before = m_page.picture().rgb();
    key(SDLK_HOME, KMOD_LCTRL);
    EXPECT_NE(m_page.picture().rgb(), before);
    key(SDLK_END, KMOD_LCTRL);
    EXPECT_EQ(m_page.picture().rgb(), before);
}

TEST_F(ExampleTextfield, TheProgramWritesItsFirstPicture)
{
    const Folder folder;
    const Result result =
        shell(commandLine(ZK_EXAMPLE, {"-o", folder.path("out.png"), ZK_FONT_DEJAVU}));
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(readFile(folder.path("out.png")), host::encodePng(m_page.picture()));
    EXPECT_EQ(shell(commandLine(ZK_EXAMPLE, {"-o", "x.png", "/missing.ttf"})).status, 1);
    EXPECT_EQ(shell(commandLine(ZK_EXAMPLE, {})).status, 2);
}
