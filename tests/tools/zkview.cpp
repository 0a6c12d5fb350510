// The interactive host in a window: an X server of its own, real key and mouse events,
// and the screen against what the model draws for the same events.

#include "hostprogram.h"
#include "model.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <vector>

using namespace hostprogram;
using zkview::Action;
using zkview::Model;

namespace
{

constexpr int kWidth = 1060, kHeight = 690;
constexpr auto kPatience = std::chrono::seconds(60);

/// Tries `condition` again and again; false when it stays false for long.
template <typename Condition>
bool comesTrue(Condition condition)
{
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        usleep(20 * 1000);
    }
    return true;
}

/// A program that runs beside the test and ends with it.
class Process
{
public:
    ~Process() { stop(); }

    void start(const Words &words)
    {
        std::vector<char *> arguments;
        for (const std::string &word : words) {
            arguments.push_back(const_cast<char *>(word.c_str()));
        }
        arguments.push_back(nullptr);
        m_id = fork();
        if (m_id == 0) {
            execvp(arguments[0], arguments.data());
            _exit(127);
        }
    }

    bool isRunning() { return m_id > 0 && waitpid(m_id, &m_status, WNOHANG) == 0; }

    /// The exit status when it ends by itself before long, else -1.
    int ended()
    {
        const bool gone = comesTrue([this] { return !isRunning(); });
        m_id = gone ? -1 : m_id;
        return gone && WIFEXITED(m_status) ? WEXITSTATUS(m_status) : -1;
    }

    void stop()
    {
        if (m_id > 0) {
            kill(m_id, SIGTERM);
            waitpid(m_id, nullptr, 0);
            m_id = -1;
        }
    }

private:
    pid_t m_id = -1;
    int m_status = 0;
};

/// The first program of `names` that is not installed; empty when all are.
std::string missingProgram(const Words &names)
{
    for (const std::string &name : names) {
        if (std::system(("command -v " + name + " >/dev/null 2>&1").c_str()) != 0) {
            return name;
        }
    }
    return std::string();
}

class ZkviewWindow : public testing::Test
{
protected:
    explicit ZkviewWindow(bool classic = true)
        : m_model({{"DejaVuSans", ZK_FONT_DEJAVU},
                   {"FreeSerif", ZK_FONT_FREESERIF},
                   {"wqy-microhei", ZK_FONT_MICROHEI}},
                  kWidth, kHeight, classic)
    {
    }

    static void SetUpTestSuite()
    {
        missing = missingProgram({"Xvfb", "setxkbmap", "xdotool", "import", "xclip"});
        if (missing.empty()) {
            startServer();
        }
    }

    static void TearDownTestSuite() { server.stop(); }

    void SetUp() override
    {
        if (!missing.empty()) {
            GTEST_SKIP() << missing << " is not installed (./dev test installs it)";
        }
        ASSERT_FALSE(display.empty()) << "the X server does not start";
        // The server may still show the window of the test before: keys meant for the new
        // one would go there.
        ASSERT_TRUE(comesTrue([] { return !xdotool("search --name '^zkview$'"); }));
        m_window.start({"env", "DISPLAY=" + display, "SDL_VIDEODRIVER=x11",
                        "SDL_RENDER_DRIVER=software", "SDL_FRAMEBUFFER_ACCELERATION=0",
                        // What the X libraries leave behind at the end is not ours.
                        "ASAN_OPTIONS=detect_leaks=0", ZK_ZKVIEW,
                        m_model.state().classic ? "--classic" : "--text=office", "--font",
                        ZK_FONT_DEJAVU, "--font", ZK_FONT_FREESERIF, "--font", ZK_FONT_MICROHEI,
                        "--width", std::to_string(kWidth), "--height", std::to_string(kHeight)});
        ASSERT_TRUE(comesTrue([] { return xdotool("search --name '^zkview$' windowfocus"); }));
        ASSERT_TRUE(isShown());
    }

    /// Runs xdotool; true when it says that it did its work.
    static bool xdotool(const std::string &words)
    {
        return shell("DISPLAY=" + display + " xdotool " + words).status == 0;
    }

    void key(const std::string &name) { EXPECT_TRUE(xdotool("key " + name)) << name; }

    void moveTo(int x, int y)
    {
        EXPECT_TRUE(xdotool("mousemove " + std::to_string(x) + ' ' + std::to_string(y)));
    }

    void click(int x, int y)
    {
        moveTo(x, y);
        EXPECT_TRUE(xdotool("mousedown 1 mouseup 1"));
    }

    /// The red, green and blue bytes on the screen; nothing when they cannot be had.
    static std::string screenshot()
    {
        const Folder folder;
        const Result result =
            shell("DISPLAY=" + display + " import -silent -window root -depth 8 " +
                  quoted("rgb:" + folder.path("screen")));
        return result.status == 0 ? readFile(folder.path("screen")) : std::string();
    }

    /// Waits for the screen to show what the model draws.
    testing::AssertionResult isShown()
    {
        const std::string want = m_model.picture().rgb();
        std::string got;
        if (comesTrue([&] {
                got = screenshot();
                return got == want || !m_window.isRunning();
            }) &&
            got == want) {
            return testing::AssertionSuccess();
        }
        return testing::AssertionFailure() << difference(want, got);
    }

    Model m_model;
    Process m_window;

private:
    /// An X server on the first free display, its screen as large as the window.
    static void startServer()
    {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        server.start({"Xvfb", "-displayfd", std::to_string(ends[1]), "-screen", "0",
                      std::to_string(kWidth) + 'x' + std::to_string(kHeight) + "x24", "-nolisten",
                      "tcp", "-noreset"});
        close(ends[1]);
        std::string number;
        for (char c = 0; read(ends[0], &c, 1) == 1 && c != '\n';) {
            number += c;
        }
        close(ends[0]);
        display = number.empty() ? "" : ':' + number;
        // A keyboard with an accented letter: xdotool would put other letters on a
        // spare key for a moment, too short a one for a busy machine.
        EXPECT_EQ(shell("DISPLAY=" + display + " setxkbmap fr").status, 0);
    }

    /// Where the screen differs, as a rectangle.
    static std::string difference(const std::string &want, const std::string &got)
    {
        if (got.size() != want.size()) {
            return "a screen of " + std::to_string(got.size()) + " bytes";
        }
        int left = kWidth, top = kHeight, right = -1, bottom = -1;
        for (std::size_t i = 0; i < want.size(); ++i) {
            if (want[i] != got[i]) {
                const int x = int(i / 3) % kWidth, y = int(i / 3) / kWidth;
                left = std::min(left, x);
                right = std::max(right, x);
                top = std::min(top, y);
                bottom = std::max(bottom, y);
            }
        }
        return "the screen differs in columns " + std::to_string(left) + " to " +
               std::to_string(right) + ", rows " + std::to_string(top) + " to " +
               std::to_string(bottom);
    }

    static std::string missing;
    static std::string display;
    static Process server;

protected:
    /// Puts a text on the clipboard. xclip stays behind to hand it out, which is waited for:
    /// SDL asks once, and not for long.
    static void copy(const std::string &text)
    {
        const Folder folder;
        writeFile(folder.path("text"), text);
        const std::string xclip = "DISPLAY=" + display + " xclip -selection clipboard ";
        const std::string path = quoted(folder.path("text"));
        EXPECT_EQ(std::system((xclip + "-i " + path + " >/dev/null 2>&1").c_str()), 0);
        EXPECT_EQ(std::system(("for i in $(seq 100); do " + xclip + "-o 2>/dev/null | cmp -s - " +
                               path + " && exit; sleep 0.1; done; exit 1")
                                  .c_str()),
                  0);
    }
};

std::string ZkviewWindow::missing;
std::string ZkviewWindow::display;
Process ZkviewWindow::server;

TEST_F(ZkviewWindow, KeysTypeAndDelete)
{
    key("ctrl+l");
    m_model.perform({Action::Clear});
    ASSERT_TRUE(isShown());
    for (const char *letter : {"H", "i", "g"}) {
        key(letter);
        m_model.type(letter);
        ASSERT_TRUE(isShown()) << letter;
    }
    key("eacute");
    m_model.type("é");
    ASSERT_TRUE(isShown());
    key("BackSpace");
    m_model.perform({Action::Backspace});
    ASSERT_TRUE(isShown());
    key("Return");
    m_model.perform({Action::Newline});
    ASSERT_TRUE(isShown());
    key("exclam");
    m_model.type("!");
    ASSERT_TRUE(isShown());
}

TEST_F(ZkviewWindow, PastesTextOfAnyScript)
{
    key("ctrl+l");
    m_model.perform({Action::Clear});
    ASSERT_TRUE(isShown());
    for (const char *text : {"שלום ", "Ωμέγα", "one\ntwo"}) {
        copy(text);
        key("ctrl+v");
        m_model.type(text);
        ASSERT_TRUE(isShown()) << text;
    }
    key("BackSpace");
    m_model.perform({Action::Backspace});
    ASSERT_TRUE(isShown());
}

TEST_F(ZkviewWindow, FunctionKeysSwitchStylesAndBoxes)
{
    const struct {
        const char *key;
        zkview::Command command;
    } kKeys[] = {
        {"F1", {Action::Style, ZkFontAttr::Slant}},
        {"F2", {Action::Style, ZkFontAttr::Embolden}},
        {"F3", {Action::Style, ZkFontAttr::Outline}},
        {"F4", {Action::Style, ZkFontAttr::Underline}},
        {"F5", {Action::NextHorizontal}},
        {"F6", {Action::NextVertical}},
        {"F7", {Action::Boxes}},
        {"F8", {Action::Wrap}},
        {"F9", {Action::NextLimit}},
        {"Up", {Action::Size, 1}},
        {"Down", {Action::Size, -1}},
        {"Left", {Action::Width, -8}},
        {"Right", {Action::Width, 8}},
        {"Next", {Action::NextSample, 1}},
        {"Prior", {Action::NextSample, -1}},
        {"Tab", {Action::NextFont}},
    };
    for (const auto &row : kKeys) {
        key(row.key);
        m_model.perform(row.command);
        ASSERT_TRUE(isShown()) << row.key;
    }
}

namespace
{

/// The window of a text field.
class ZkviewFieldWindow : public ZkviewWindow
{
protected:
    ZkviewFieldWindow() : ZkviewWindow(false)
    {
        m_model.perform({Action::Clear});
        m_model.type("office");
    }
};

} // namespace

TEST_F(ZkviewFieldWindow, AKeySwitchesTheShaperLive)
{
    for (const bool isOn : {true, false, true}) {
        key("ctrl+h");
        m_model.perform({Action::Shaper});
        ASSERT_TRUE(isShown()) << isOn;
        key("s");
        m_model.type("s");
        ASSERT_TRUE(isShown()) << isOn << ", typed";
    }
}

TEST_F(ZkviewWindow, TheMouseDragsTheEdgeOfTheBox)
{
    const int y = m_model.box().top() + 50, edge = m_model.edge();
    moveTo(edge + 2, y);
    EXPECT_TRUE(xdotool("mousedown 1"));
    m_model.press(edge + 2, y);
    for (const int x : {edge - 100, edge - 220, edge + 60}) {
        moveTo(x, y + 10);
        m_model.drag(x, y + 10);
        ASSERT_TRUE(isShown()) << x;
    }
    EXPECT_TRUE(xdotool("mouseup 1"));
    m_model.release();
    moveTo(edge - 300, y);
    ASSERT_TRUE(isShown()) << "let go of";
}

TEST_F(ZkviewWindow, TheMouseSwitchesSamplesFontsAndLimits)
{
    for (const char *name :
         {"Hebrew", "Chinese", "8 K", "Arabic", "FreeSerif", "Outline", "None"}) {
        for (const zkview::Button &button : m_model.buttons()) {
            if (button.label == name) {
                const int x = button.rect.left() + 3, y = button.rect.top() + 3;
                click(x, y);
                m_model.press(x, y);
                m_model.release();
                break;
            }
        }
        ASSERT_TRUE(isShown()) << name;
    }
    EXPECT_LT(m_model.figures().withPixels, 400);
}

TEST_F(ZkviewWindow, AnotherSizeOfTheWindowIsFilled)
{
    EXPECT_TRUE(xdotool("search --name '^zkview$' windowsize 700 500"));
    m_model.resize(700, 500);
    const std::string picture = m_model.picture().rgb();
    EXPECT_TRUE(comesTrue([&] {
        const std::string got = screenshot();
        // Where the window stands is the server's choice; the panel's dark strip and
        // the sheet beside it are found by their colours.
        const std::size_t row = std::size_t(kWidth) * 3;
        const std::string first = picture.substr(60 * 700 * 3, 700 * 3);
        return got.size() == row * kHeight && got.find(first) != std::string::npos;
    }));
}

TEST_F(ZkviewWindow, EscapeEndsTheProgram)
{
    // The window goes with the press, and xdotool may have more to ask it before the
    // release: what counts is how the program ends.
    xdotool("keydown Escape");
    EXPECT_EQ(m_window.ended(), 0);
    xdotool("keyup Escape");
}

TEST(ZkviewProgram, SaysWhyItCannotStart)
{
    const struct {
        const char *what;
        Words arguments;
        int status;
        std::string reason;
    } kRows[] = {
        {"no such font", {"--font", "/missing.ttf"}, 1, "zkview: cannot read font /missing.ttf: "},
        {"no display", {"--font", ZK_FONT_DEJAVU}, 1, "zkview: no screen: "},
        {"no number", {"--width", "wide"}, 2, "zkview: "},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        const Result result =
            shell("SDL_VIDEODRIVER=x11 DISPLAY=:none " + commandLine(ZK_ZKVIEW, row.arguments));
        EXPECT_EQ(result.status, row.status);
        EXPECT_EQ(result.err.rfind(row.reason, 0), 0u) << result.err;
    }
}

// SDL then draws for nobody, and the program ran on unseen.
TEST(ZkviewProgram, EndsWhereThereIsNothingToDrawOn)
{
    const Result result = shell("unset DISPLAY WAYLAND_DISPLAY SDL_VIDEODRIVER; timeout 60 " +
                                commandLine(ZK_ZKVIEW, {"--font", ZK_FONT_DEJAVU}));
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.err.find("zkview: no screen: "), std::string::npos) << result.err;
}

TEST(ZkviewProgram, TellsItsVersion)
{
    const Result result = shell(commandLine(ZK_ZKVIEW, {"--version"}));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out.rfind("zkview 0.", 0), 0u) << result.out;
}

TEST(ZkviewProgram, HelpTellsOfDesktopsAndBareConsoles)
{
    const Result result = shell(commandLine(ZK_ZKVIEW, {"--help"}));
    EXPECT_EQ(result.status, 0);
    for (const char *word :
         {"X11", "kmsdrm", "/dev/dri/card0", "--font", "Ctrl+H", "Video drivers"}) {
        EXPECT_NE(result.out.find(word), std::string::npos) << word;
    }
}

TEST(ZkviewProgram, ThePictureOptionWritesWhatTheWindowWouldShow)
{
    const Folder folder;
    const Result result = shell(
        commandLine(ZK_ZKVIEW, {"--font", ZK_FONT_DEJAVU, "--picture", folder.path("view.png")}));
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(readFile(folder.path("view.png")).substr(1, 3), "PNG");
}

} // namespace
