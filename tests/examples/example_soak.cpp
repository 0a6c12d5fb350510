// The soak example, a short round: pixels stay under the limit, memory stays flat.

#include "hostprogram.h"
#include "rounds.h"

#include <algorithm>
#include <sstream>

using namespace hostprogram;

namespace
{

constexpr int kLimit = 64 * 1024;

struct Row {
    long characters, resident, peak, held, most, text;
};

/// The table that the program prints, its head line left out.
std::vector<Row> soak(long characters, int limit)
{
    Words arguments = {ZK_FONT_UNIFONT, std::to_string(characters), std::to_string(limit)};
    for (const char *name :
         {"english", "arabic", "persian", "hebrew", "thai", "chinese", "japanese", "korean"}) {
        arguments.push_back(std::string(ZK_TEXTS) + '/' + name + ".txt");
    }
    // The address sanitizer keeps freed memory for a while: little of it here, or
    // resident memory would tell of that instead.
    const Result result =
        shell("ASAN_OPTIONS=quarantine_size_mb=1 " + commandLine(ZK_EXAMPLE, arguments));
    EXPECT_EQ(result.status, 0) << result.err;
    std::istringstream lines(result.out);
    std::string head;
    std::getline(lines, head);
    EXPECT_EQ(head, "characters resident     peak     held     most     text");
    std::vector<Row> rows;
    for (Row row;
         lines >> row.characters >> row.resident >> row.peak >> row.held >> row.most >> row.text;) {
        rows.push_back(row);
    }
    EXPECT_EQ(rows.size(), 10u);
    return rows;
}

/// The round that both tests of the limit look at.
const std::vector<Row> &limitedRound()
{
    static const std::vector<Row> rows = soak(kSlowTests ? 60000 : 200000, kLimit);
    return rows;
}

TEST(ExampleSoak, PixelsAreUnderTheLimitWheneverATextIsStarted)
{
    const std::vector<Row> &rows = limitedRound();
    ASSERT_EQ(rows.size(), 10u);
    for (const Row &row : rows) {
        SCOPED_TRACE(row.characters);
        EXPECT_LT(row.held, kLimit);
        EXPECT_LT(row.most, kLimit + row.text) << "a text may add its own glyphs and no more";
    }
    EXPECT_GT(rows.back().most, kLimit) << "the limit was never reached";
}

TEST(ExampleSoak, ResidentMemoryStaysFlatOnceEveryGlyphWasSeen)
{
    const std::vector<Row> &rows = limitedRound();
    ASSERT_EQ(rows.size(), 10u);
    // The second half draws some 1200 texts, 400 in a slow build: 100 bytes left
    // behind by each text, and 1 KiB in a slow build, would be seen. The sanitizers
    // and the emulator grow a little by themselves.
    EXPECT_LE(rows[9].resident - rows[4].resident, kSlowTests ? 400 : 120);
    EXPECT_GE(rows[9].resident, 1000) << "no number was read";
    EXPECT_GE(rows[9].peak, rows[9].resident);
}

TEST(ExampleSoak, WithoutALimitAllPixelsAreKept)
{
    const std::vector<Row> rows = soak(20000, -1);
    ASSERT_EQ(rows.size(), 10u);
    EXPECT_GT(rows[9].held, 4 * kLimit);
    for (std::size_t i = 1; i < rows.size(); ++i) {
        EXPECT_GE(rows[i].held, rows[i - 1].held);
        EXPECT_LE(rows[i].characters, long(i + 1) * 2000 + 200);
    }
}

} // namespace
