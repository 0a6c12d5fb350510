// Laws that every paragraph keeps, on random texts of all scripts with random settings.

#include "paragraphlaws.h"
#include "rounds.h"

#include <zkparagraph.h>

#include <gtest/gtest.h>

#include <thread>

namespace
{

using paragraphlaws::Dice;

ZkFontChain testChain()
{
    static const ZkFontChain *const chain = [] {
        auto *made = new ZkFontChain;
        for (const char *path :
             {ZK_FONT_DEJAVU, ZK_FONT_FREESERIF, ZK_FONT_MICROHEI, ZK_FONT_UNIFONT}) {
            made->append(ZkTypeface::fromFile(path));
        }
        return made;
    }();
    return *chain;
}

/// A text as it is written in a test: each unit above ASCII as its number.
std::string spelled(const ZkString &text)
{
    std::string out;
    char number[8];
    for (int i = 0; i < text.size(); ++i) {
        std::snprintf(number, sizeof number, "%04X ", text.at(i));
        out += number;
    }
    return out;
}

/// Calls `check(paragraph, dice)` for random paragraphs, each named by its seed.
template <typename Check>
void forRandomParagraphs(int rounds, int longest, Check checkOne)
{
    ZkParagraph paragraph; // one object throughout: what was there must leave no trace
    paragraph.setChain(testChain());
    for (int seed = 1; seed <= rounds; ++seed) {
        Dice dice(static_cast<unsigned>(seed));
        paragraph.setText(paragraphlaws::randomText(dice, dice.roll(longest)));
        paragraphlaws::setRandomly(paragraph, dice);
        const std::string problem = checkOne(paragraph, dice);
        ASSERT_EQ(problem, "") << "seed " << seed << ", width " << paragraph.boxWidth()
                               << ", direction " << paragraph.direction() << ", letter spacing "
                               << paragraph.letterSpacing() << ", text "
                               << spelled(paragraph.text());
    }
}

TEST(ParagraphLaws, LinesHoldTheTextAndFitAndEndWhereAllowed)
{
    forRandomParagraphs(scaledRounds(3000), 120, [](ZkParagraph &paragraph, Dice &) {
        std::string problem = paragraphlaws::linesFollowEachOther(paragraph);
        problem = problem.empty() ? paragraphlaws::breaksAreAllowed(paragraph) : problem;
        return problem.empty() ? paragraphlaws::linesFit(paragraph) : problem;
    });
}

TEST(ParagraphLaws, CaretsAreHit)
{
    forRandomParagraphs(scaledRounds(1500), 60, [](ZkParagraph &paragraph, Dice &) {
        return paragraphlaws::caretsAreHit(paragraph);
    });
}

TEST(ParagraphLaws, SelectionsAreTheSumOfTheirClusters)
{
    forRandomParagraphs(scaledRounds(1500), 60, [](ZkParagraph &paragraph, Dice &dice) {
        paragraph.setMaximumLines(0); // all that dots stand for is selected as one
        const int size = paragraph.text().size();
        int first = dice.roll(size + 1), last = dice.roll(size + 1);
        if (first > last) {
            std::swap(first, last);
        }
        // From cluster to cluster: a part of one counts as the whole.
        first = first == size ? size : paragraph.previousCluster(paragraph.nextCluster(first));
        last = last == size ? size : paragraph.previousCluster(paragraph.nextCluster(last));
        return paragraphlaws::selectionsAddUp(paragraph, first, last);
    });
}

TEST(ParagraphLaws, GlyphsBelongToTheirLineAndStepsAreUndone)
{
    forRandomParagraphs(scaledRounds(1500), 100, [](ZkParagraph &paragraph, Dice &) {
        const std::string problem = paragraphlaws::glyphsBelong(paragraph);
        return problem.empty() ? paragraphlaws::stepsAreUndone(paragraph) : problem;
    });
}

TEST(ParagraphLaws, WidthsBetweenLeaveNoTrace)
{
    forRandomParagraphs(scaledRounds(1500), 80, [](ZkParagraph &paragraph, Dice &dice) {
        return paragraphlaws::widthsLeaveNoTrace(paragraph, dice.roll(300));
    });
}

TEST(ParagraphLaws, LeastAndGreatestWidthAreThoseFoundByTrial)
{
    forRandomParagraphs(scaledRounds(1500), 60, [](ZkParagraph &paragraph, Dice &) {
        return paragraphlaws::extremesAreTrue(paragraph);
    });
}

TEST(ParagraphLaws, AnObjectThatWasUsedIsLikeANewOne)
{
    forRandomParagraphs(scaledRounds(800), 80, [](ZkParagraph &used, Dice &dice) {
        const ZkString text = paragraphlaws::randomText(dice, dice.roll(60));
        const Dice settings = dice;
        ZkParagraph fresh;
        fresh.setChain(testChain());
        paragraphlaws::described(used);
        for (ZkParagraph *paragraph : {&used, &fresh}) {
            Dice same = settings;
            paragraph->setText(text);
            paragraphlaws::setRandomly(*paragraph, same);
        }
        return paragraphlaws::described(used) == paragraphlaws::described(fresh)
                   ? std::string()
                   : std::string("an object that was used lays out differently");
    });
}

TEST(ParagraphLaws, TwoThreadsGiveTheSameAsOne)
{
    const int rounds = std::max(20, scaledRounds(200));
    std::vector<std::string> expected;
    const auto layOut = [](int seed) {
        Dice dice(static_cast<unsigned>(seed));
        ZkParagraph paragraph;
        paragraph.setChain(testChain());
        paragraph.setText(paragraphlaws::randomText(dice, dice.roll(80)));
        paragraphlaws::setRandomly(paragraph, dice);
        return paragraphlaws::described(paragraph);
    };
    for (int seed = 0; seed < rounds; ++seed) {
        expected.push_back(layOut(seed));
    }
    int wrong[2] = {0, 0};
    std::thread threads[2];
    for (int t = 0; t < 2; ++t) {
        threads[t] = std::thread([&, t] {
            for (int k = 0; k < rounds; ++k) {
                const int seed = t == 0 ? k : rounds - 1 - k;
                wrong[t] += layOut(seed) != expected[static_cast<std::size_t>(seed)] ? 1 : 0;
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong[0], 0);
    EXPECT_EQ(wrong[1], 0);
}

} // namespace
