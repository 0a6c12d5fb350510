// The log example: scrolled pixels against a full repaint.

#define main exampleMain
#include "log.cpp"
#undef main

#include "hostprogram.h"
#include "rounds.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <random>
#include <vector>

using namespace hostprogram;

namespace
{

const host::Color kDesk = {200, 210, 220, 255};
const ZkRect kArea(7, 5, 186, 124);

/// The lines of the sample texts that DejaVu Sans has the letters for.
std::vector<std::string> sampleLines()
{
    std::vector<std::string> lines = {"", "a", "y\u0327\u0301g", "two\nlines"};
    for (const char *name : {"english", "arabic", "persian", "hebrew"}) {
        std::ifstream file(std::string(ZK_TEXTS) + '/' + name + ".txt");
        for (std::string line; std::getline(file, line);) {
            lines.push_back(line);
        }
    }
    return lines;
}

/// A log with a canvas that is brought up to date, and one that is drawn anew.
class LogPair : public testing::Test
{
protected:
    LogPair() : m_log(kArea, style(), 60), m_kept(200, 140, kDesk), m_anew(200, 140, kDesk)
    {
        m_log.repaint(m_kept);
    }

    static LogStyle style()
    {
        LogStyle style;
        style.chain.append(ZkTypeface::fromFile(ZK_FONT_DEJAVU));
        style.font = ZkFont(14, false, false, false, true);
        return style;
    }

    /// Brings the one canvas up to date and fails unless it is as the other.
    testing::AssertionResult isAsRepainted()
    {
        m_log.paint(m_kept);
        Log copy = m_log;
        m_anew = host::Canvas(200, 140, kDesk);
        copy.repaint(m_anew);
        for (int y = 0; y < m_kept.height(); ++y) {
            if (std::memcmp(m_kept.row(y), m_anew.row(y), std::size_t(m_kept.width()) * 4) != 0) {
                return testing::AssertionFailure() << "row " << y << " differs";
            }
        }
        return testing::AssertionSuccess();
    }

    Log m_log;
    host::Canvas m_kept, m_anew;
};

TEST_F(LogPair, IsEmptyPaperAtFirst)
{
    EXPECT_TRUE(isAsRepainted());
    EXPECT_EQ(m_kept.pixel(kArea.left(), kArea.top()).red, style().paper.red);
    EXPECT_EQ(m_kept.pixel(kArea.left() - 1, kArea.top()).red, kDesk.red);
}

TEST_F(LogPair, AppendingDrawsTheSamePixelsAsARepaint)
{
    for (const std::string &line : sampleLines()) {
        m_log.append(line);
        ASSERT_TRUE(isAsRepainted());
    }
}

TEST_F(LogPair, AnyScrollingDrawsTheSamePixelsAsARepaint)
{
    const std::vector<std::string> lines = sampleLines();
    std::mt19937 random(20240229);
    const auto below = [&](int n) { return int(random() % unsigned(n)); };
    const int rounds = std::max(scaledRounds(2000), 300);
    for (int round = 0; round < rounds; ++round) {
        SCOPED_TRACE(round);
        for (int step = below(3); step >= 0; --step) {
            switch (below(4)) {
            case 0: m_log.append(lines[std::size_t(below(int(lines.size())))]); break;
            case 1: m_log.scroll(below(40) - 20); break;
            case 2: m_log.scroll(below(600) - 300); break;
            default: m_log.scroll(below(9) == 0 ? 100000 : -below(5)); break;
            }
        }
        ASSERT_TRUE(isAsRepainted());
    }
}

TEST_F(LogPair, OnlyWhatComesIntoViewIsDrawn)
{
    for (int i = 0; i < 50; ++i) {
        m_log.append("one line");
    }
    m_log.paint(m_kept);
    const auto drawnBy = [&](auto change) {
        const std::int64_t before = m_log.drawnEntries();
        change();
        m_log.paint(m_kept);
        return m_log.drawnEntries() - before;
    };
    EXPECT_EQ(drawnBy([] {}), 0);
    EXPECT_EQ(drawnBy([&] { m_log.append("one line"); }), 1);
    EXPECT_LE(drawnBy([&] { m_log.scroll(-3); }), 1);
    EXPECT_LE(drawnBy([&] { m_log.scroll(-20); }), 2);
    ZkParagraph line;
    line.setChain(style().chain);
    line.setFont(style().font);
    const int fullView = kArea.height() / line.height();
    EXPECT_LE(drawnBy([&] { m_log.scroll(-1000); }), fullView + 2);
    EXPECT_GE(drawnBy([&] { m_log.scroll(1000); }), fullView);
}

TEST_F(LogPair, TheViewFollowsTheEndUntilItIsScrolledAway)
{
    for (int i = 0; i < 20; ++i) {
        m_log.append("old");
    }
    m_log.paint(m_kept);
    m_log.scroll(-10);
    m_log.paint(m_kept);
    const host::Canvas before = m_kept;
    m_log.append("new");
    m_log.paint(m_kept);
    EXPECT_EQ(std::memcmp(before.row(0), m_kept.row(0), std::size_t(4 * 200 * 140)), 0);
    m_log.scroll(1000);
    m_log.append("newer");
    ASSERT_TRUE(isAsRepainted());
    EXPECT_NE(std::memcmp(before.row(0), m_kept.row(0), std::size_t(4 * 200 * 140)), 0);
}

TEST(ExampleLog, TheProgramDrawsEachLineOnce)
{
    const Folder folder;
    const Result result = shell(commandLine(ZK_EXAMPLE, {folder.path("out.png"), ZK_FONT_DEJAVU}),
                                "one\ntwo\nthree\n\xFF\n");
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, "4 lines, 4 drawn\n");
    EXPECT_EQ(readFile(folder.path("out.png")).substr(1, 3), "PNG");
    const std::string command = commandLine(ZK_EXAMPLE, {folder.path("out.png"), ZK_FONT_DEJAVU});
    EXPECT_EQ(shell("{ " + command + " >/dev/full; }").status, 1) << "nobody is told";
}

} // namespace
