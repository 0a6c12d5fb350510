#include "dateformatmodel.h"
#include "freshprocess.h"

#include <zkdatetime.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

using namespace dateformatmodel;

namespace
{

std::string text(const ZkString &string)
{
    return string.toStdString();
}

bool isNullString(const ZkString &string)
{
    return string.isSharedWith(ZkString("x").mid(1));
}

ZkDate greg(int y, int m, int d)
{
    return ZkDate(y, m, d, Zk::DateGregorian);
}

std::string shown(const ZkDate &date)
{
    return date.isValid() ? text(date.toString("yyyy/M/d")) : "null";
}

std::string shown(const ZkTime &time)
{
    return time.isValid() ? text(time.toString("H:m:s.z")) : "null";
}

std::string shown(const ZkDateTime &moment)
{
    return moment.isNull() ? "null" : shown(moment.date()) + " " + shown(moment.time());
}

/// One of `pieces`, over and over.
std::string randomText(std::mt19937 &random, const std::vector<std::string> &pieces, int count)
{
    std::string result;
    for (int i = 0; i < count; ++i) {
        result += pieces[random() % pieces.size()];
    }
    return result;
}

struct WriteRow {
    const char *format;
    const char *out;
};

} // namespace

TEST(ZkDateFormat, WritesDates)
{
    const WriteRow kRows[] = {{"yyyy-MM-dd", "2024-03-05"},
                              {"d/M/yyyy", "5/3/2024"},
                              {"ddd", "055"},
                              {"dddd", "0505"},
                              {"MMM", "033"},
                              {"y", "y"},
                              {"yy", "yy"},
                              {"yyy", "yyy"},
                              {"yyyyy", "2024y"},
                              {"yyyyyyyy", "20242024"},
                              {"yyyyMMdd", "20240305"},
                              {"dMd", "535"},
                              {"'day' d", "day 5"},
                              {"D Y", "D Y"},
                              {"%d%%", "%5%%"},
                              {"روز d", "روز 5"}};
    for (const WriteRow &row : kRows) {
        EXPECT_EQ(text(greg(2024, 3, 5).toString(row.format)), row.out) << row.format;
    }
}

TEST(ZkDateFormat, YearsBeforeTheFirstTakeAFifthLetterForTheirSign)
{
    const struct {
        int year;
        const char *format, *out;
    } kRows[] = {{-44, "yyyy", "-0044"},    {-44, "yyyyy", "-0044"},
                 {-44, "yyyyyy", "-0044y"}, {-44, "yyyyyyyyy", "-0044-0044"},
                 {-4713, "yyyy", "-4713"},  {44, "yyyyy", "0044y"},
                 {12345, "yyyy", "12345"},  {11754508, "yyyy", "11754508"}};
    for (const auto &row : kRows) {
        EXPECT_EQ(text(greg(row.year, 3, 15).toString(row.format)), row.out) << row.format;
    }
}

TEST(ZkDateFormat, WritesTimes)
{
    const struct {
        ZkTime time;
        const char *format, *out;
    } kRows[] = {{ZkTime(0, 7, 9), "h:mm ap", "12:07 am"},
                 {ZkTime(13, 7, 9), "hh:mm:ss AP", "01:07:09 PM"},
                 {ZkTime(13, 7, 9), "HH:m:s", "13:7:9"},
                 {ZkTime(13, 7, 9), "HH h AP", "13 1 PM"},
                 {ZkTime(12, 0), "h a", "12 pm"},
                 {ZkTime(11, 59), "hh A", "11 AM"},
                 {ZkTime(0, 0), "hh", "00"},
                 {ZkTime(0, 0), "h", "0"},
                 {ZkTime(0, 0), "hh'a'", "00a"},
                 {ZkTime(0, 0), "a", "am"},
                 {ZkTime(13, 0), "Ap aP", "PM pm"},
                 {ZkTime(13, 0), "AAP", "PMPM"},
                 {ZkTime(13, 0), "p P", "p P"},
                 {ZkTime(1, 2, 3, 4), "z", "4"},
                 {ZkTime(1, 2, 3, 4), "zz", "44"},
                 {ZkTime(1, 2, 3, 4), "zzz", "004"},
                 {ZkTime(1, 2, 3, 4), "zzzz", "0044"},
                 {ZkTime(1, 2, 3, 456), "zzz z", "456 456"},
                 {ZkTime(1, 2, 3), "hhh", "011"},
                 {ZkTime(1, 2, 3), "hHh", "111"}};
    for (const auto &row : kRows) {
        EXPECT_EQ(text(row.time.toString(row.format)), row.out) << row.format;
    }
}

TEST(ZkDateFormat, QuotesKeepTextAndTwoQuotesAreOne)
{
    const WriteRow kRows[] = {
        {"'at' HH", "at 13"}, {"''", "'"},       {"'h''m'", "h'm"},          {"''HH''", "'13'"},
        {"'HH", "HH"},        {"HH'", "13"},     {"'''HH'", "'HH"},          {"'HH'''mm", "HH'07"},
        {"H'H'H", "13H13"},   {"'a' h", "a 13"}, {"'a''p' h ap", "a'p 1 pm"}};
    for (const WriteRow &row : kRows) {
        EXPECT_EQ(text(ZkTime(13, 7).toString(row.format)), row.out) << row.format;
    }
}

TEST(ZkDateFormat, LettersOfAnAbsentPartStay)
{
    EXPECT_EQ(text(greg(2024, 3, 5).toString("dd hh:mm:ss.zzz AP a")), "05 hh:mm:ss.zzz AP a");
    EXPECT_EQ(text(ZkTime(13, 7).toString("HH dd.MM.yyyy")), "13 dd.MM.yyyy");
}

TEST(ZkDateFormat, WritesBothPartsOfADateTime)
{
    const ZkDateTime moment(greg(2024, 3, 5), ZkTime(9, 7, 5, 40));
    EXPECT_EQ(text(moment.toString("yyyy-MM-dd hh:mm:ss")), "2024-03-05 09:07:05");
    EXPECT_EQ(text(moment.toString("d.M. H:mm:ss.zzz ap")), "5.3. 9:07:05.040 am");
}

TEST(ZkDateFormat, NothingToWriteIsTheNullString)
{
    EXPECT_TRUE(isNullString(greg(2024, 3, 5).toString("")));
    EXPECT_TRUE(isNullString(ZkDate().toString("d")));
    EXPECT_TRUE(isNullString(ZkTime().toString("h")));
    EXPECT_TRUE(isNullString(ZkTime(1, 2).toString("")));
    EXPECT_TRUE(isNullString(ZkDateTime().toString("d")));
    EXPECT_TRUE(isNullString(ZkDateTime(ZkDate(), ZkTime(1, 2)).toString("h")));
    ZkDateTime noTime{greg(2024, 3, 5)};
    noTime.setTime(ZkTime());
    EXPECT_TRUE(isNullString(noTime.toString("d")));
}

TEST(ZkDateFormat, DatesAreWrittenAndReadInTheProcessMode)
{
    inFreshProcess([] {
        ZkDate::setDateMode(Zk::DatePersian);
        EXPECT_EQ(text(greg(2024, 3, 20).toString("yyyy/MM/dd")), "1403/01/01");
        EXPECT_EQ(text(ZkDateTime(greg(2024, 3, 20)).toString("yyyy/MM/dd hh")), "1403/01/01 00");
        EXPECT_EQ(ZkDate::fromString("1402/1/1", "yyyy/M/d"), greg(2023, 3, 21));
        EXPECT_EQ(ZkDateTime::fromString("1402/1/1 1:2:3", "yyyy/M/d h:m:ss").date(),
                  greg(2023, 3, 21));
        // The year 621 is the Persian year 0.
        EXPECT_EQ(text(greg(621, 6, 1).toString("yyyyy/MM")), "-0000/03");
    });
}

TEST(ZkDateFormat, LongPatternsAreWrittenWhole)
{
    std::string format, expected;
    for (int i = 0; i < 500; ++i) {
        format += "dd'-'z";
        expected += "05-40";
        const ZkDateTime moment(greg(2024, 3, 5), ZkTime(9, 7, 5, 40));
        ASSERT_EQ(text(moment.toString(ZkString(format.c_str()))), expected);
    }
    const std::string letters(100000, 'x');
    EXPECT_EQ(text(greg(2024, 3, 5).toString(ZkString(letters.c_str()))), letters);
}

TEST(ZkDateFormat, WritesAnyPatternAsTokensFromTheLeft)
{
    const std::vector<std::string> pieces = {"h", "H", "m", "s", "z", "y",    "M",  "d",   "A",
                                             "a", "P", "p", "'", "-", "yyyy", "dd", "zzz", "é"};
    std::mt19937 random(71);
    for (int i = 0; i < 20000; ++i) {
        const std::string format = randomText(random, pieces, 1 + int(random() % 14));
        const ZkDate date = ZkDate::fromJulianDay(std::uint32_t(random() % 3000000 + 1));
        const ZkTime time = ZkTime::fromMSecsOfDay(int(random() % 86400000));
        const ZkString pattern(format.c_str());
        ASSERT_EQ(text(date.toString(pattern)), modelText(format, nullptr, &date)) << format;
        ASSERT_EQ(text(time.toString(pattern)), modelText(format, &time, nullptr)) << format;
        ASSERT_EQ(text(ZkDateTime(date, time).toString(pattern)), modelText(format, &time, &date))
            << format;
    }
}

namespace
{

struct ReadRow {
    const char *in, *format, *out;
};

} // namespace

TEST(ZkDateFormat, ReadsDates)
{
    const ReadRow kRows[] = {
        {"05.03.2024", "dd.MM.yyyy", "2024/3/5"},
        {"5.3.2024", "dd.MM.yyyy", "2024/3/5"},
        {"2024-03-05", "yyyy-MM-dd", "2024/3/5"},
        {"05.03.2024", "yyyy", "null"},
        {"05.03.2024", "dd.MM.yy", "null"},
        {"20240305", "yyyyMMdd", "null"},
        {"2024-03-05 and more", "yyyy-MM-dd", "2024/3/5"},
        {"2024-03-05", "yyyy-MM-dd and more", "2024/3/5"},
        {"2024-03", "yyyy-MM-dd", "null"},
        {"", "yyyy-MM-dd", "null"},
        {"2024-03-05", "", "null"},
        {"  2024-  3-\t5", "yyyy-MM-dd", "2024/3/5"},
        {"2024 -3-5", "yyyy-MM-dd", "null"},
        {"2024 -3-5", "yyyy -MM-dd", "2024/3/5"},
        {"2024-3-5", "yyyy -MM-dd", "2024/3/5"},
        {"2024+3+5", "yyyyMMdd", "2024/3/5"},
        {"-44/3/15", "yyyy/M/d", "-0044/3/15"},
        {"+44/+3/+15", "yyyy/M/d", "0044/3/15"},
        {"2023/2/29", "yyyy/M/d", "null"},
        {"1582/10/10", "yyyy/M/d", "null"},
        {"2024/-3/5", "yyyy/M/d", "null"},
        {"2024/--3/5", "yyyy/M/d", "null"},
        {"2024/x3/5", "yyyy/M/d", "null"},
        {"99999999999999999999/1/1", "yyyy/M/d", "null"},
        {"4294969320/1/1", "yyyy/M/d", "null"}, // not 2024 by wrapping
        {"2024/1/18446744073709551617", "yyyy/M/d", "null"},
        {"2024/00000000000000000000003/005", "yyyy/M/d", "2024/3/5"},
        {"day 5 of 3, 2024", "'day' dd of M, yyyy", "null"}, // quotes are characters
        {"'x' 5 of 3, 2024", "'x' dd of M, yyyy", "2024/3/5"},
        {"5 5 3 2024", "d dd M yyyy", "null"}, // "dd" is the day; the 'd' before it a letter
        {"d 5 3 2024", "d dd M yyyy", "2024/3/5"},
        {"روز ۵ 5/3/2024", "روز ۵ d/M/yyyy", "2024/3/5"},
        {"۵/3/2024", "d/M/yyyy", "null"},         // digits are ASCII
        {"2024\xC2\xA0/3/5", "yyyy/M/d", "null"}, // a no-break space is no white space
        {"2024/3/5", "yyyy/\v\f\n\r\t M/d", "2024/3/5"}};
    for (const ReadRow &row : kRows) {
        EXPECT_EQ(shown(ZkDate::fromString(row.in, row.format)), row.out)
            << row.in << " by " << row.format;
    }
}

TEST(ZkDateFormat, ReadsTimes)
{
    const ReadRow kRows[] = {{"12:30:00 am", "hh:mm:ss ap", "0:30:0.0"},
                             {"12:30:00 pm", "hh:mm:ss ap", "12:30:0.0"},
                             {"01:30:00 pm", "hh:mm:ss ap", "13:30:0.0"},
                             {"01:30:00 am", "hh:mm:ss ap", "1:30:0.0"},
                             {"01:30:00 PM", "hh:mm:ss AP", "13:30:0.0"},
                             {"12:30:00 AM", "hh:mm:ss AP", "0:30:0.0"},
                             {"01:30:00 PM", "hh:mm:ss ap", "1:30:0.0"},
                             {"01:30:00 pm", "hh:mm:ss", "1:30:0.0"}, // nothing asks for it
                             {"pm 01:30:00", "ap hh:mm:ss", "13:30:0.0"},
                             {"am 12:30:00 pm", "ap hh:mm:ss", "0:30:0.0"},
                             {"am 11:30:00 pm", "ap hh:mm:ss", "23:30:0.0"},
                             {"01:30:00", "hh:mm:ss ap", "1:30:0.0"},
                             {"01:30:00", "aphh:mm:ss", "1:30:0.0"},
                             {"13:30:00 pm", "hh:mm:ss ap", "null"},
                             {"23:59:59", "h:m:s", "23:59:59.0"},
                             {"59 23 1", "m h s", "23:59:1.0"},
                             {"24:00:00", "hh:mm:ss", "null"},
                             {"10:20", "hh:mm", "null"},
                             {"10:20:30", "HH:mm:ss", "null"}, // "HH" is no hour
                             {"-1:30:00 pm", "hh:mm:ss ap", "11:30:0.0"},
                             {"2147483647:0:0 pm", "h:m:s ap", "null"},
                             {"-2147483648:0:0", "h:m:s", "null"},
                             {"10:20:30.5", "hh:mm:ss.zzz", "10:20:30.0"}};
    for (const ReadRow &row : kRows) {
        EXPECT_EQ(shown(ZkTime::fromString(row.in, row.format)), row.out)
            << row.in << " by " << row.format;
    }
}

TEST(ZkDateFormat, ReadsDateTimes)
{
    const ReadRow kRows[] = {
        {"2024-03-05 09:07:05", "yyyy-MM-dd hh:mm:ss", "2024/3/5 9:7:5.0"},
        {"2024-3-5 9:7:5", "yyyy-M-d h:m:ss", "2024/3/5 9:7:5.0"},
        {"2024-3-5 9:7:5", "yyyy-M-d h:m:s", "null"}, // the last letter is lost
        {"2024-3-5 9:7:5", "yyyy-M-d h:m:s ", "2024/3/5 9:7:5.0"},
        {"5 7 9 5 3 2024", "s m h d M yyyy", "2024/3/5 9:7:5.0"},
        {"5 7 9 5 3 2024", "s m h d M yyy", "null"},
        {"2024-03-05 09:07:05", "yyyy-MM-dd HH:mm:ss", "null"},
        {"2024-03-05 09:07:05 PM", "yyyy-MM-dd hh:mm:ss AP", "2024/3/5 21:7:5.0"},
        {"2024-03-05 09:07:05 pm", "yyyy-MM-dd hh:mm:ss", "2024/3/5 21:7:5.0"},
        {"2024-03-05 12:07:05 am", "yyyy-MM-dd hh:mm:ss", "2024/3/5 0:7:5.0"},
        {"2024-03-05 12:07:05 lamp", "yyyy-MM-dd hh:mm:ss", "2024/3/5 0:7:5.0"},
        {"PM 2024-03-05 09:07:05", "AP yyyy-MM-dd hh:mm:ss", "2024/3/5 21:7:5.0"},
        {"pm 2024-03-05 09:07:05", "AP yyyy-MM-dd hh:mm:ss", "null"},
        {"2024-03-05 09:07:05", "AP yyyy-MM-dd hh:mm:ss", "2024/3/5 9:7:5.0"},
        {"2024-03-05 09:07:05", "A yyyy-MM-dd hh:mm:ss", "2024/3/5 9:7:5.0"},
        {"p2024-03-05 09:07:05", "Apyyyy-MM-dd hh:mm:ss", "2024/3/5 9:7:5.0"},
        {"2024-03-05 09:07:05", "yyyyy-MM-dd hh:mm:ss", "2024/3/5 9:7:5.0"},
        {"2024-03-05 25:07:05", "yyyy-MM-dd hh:mm:ss", "2024/3/5 0:0:0.0"},
        {"2024-13-05 09:07:05", "yyyy-MM-dd hh:mm:ss", "null 9:7:5.0"},
        {"2024-13-05 29:07:05", "yyyy-MM-dd hh:mm:ss", "null"},
        {"2024-03-05T09:07:05", "yyyy-MM-ddThh:mm:ss", "2024/3/5 9:7:5.0"},
        {"2024-03-05 09:07", "yyyy-MM-dd hh:mm:ss", "null"},
        {"2024-03-05 09:07:05.123", "yyyy-MM-dd hh:mm:ss.zzz", "2024/3/5 9:7:5.0"},
        {"", "yyyy-MM-dd hh:mm:ss", "null"},
        {"2024-03-05 09:07:05", "", "null"}};
    for (const ReadRow &row : kRows) {
        const ZkDateTime moment = ZkDateTime::fromString(row.in, row.format);
        EXPECT_EQ(shown(moment), row.out) << row.in << " by " << row.format;
        EXPECT_EQ(moment.timeSpec(), Zk::TimeLocal);
    }
}

TEST(ZkDateFormat, APercentSignInAPatternIsNeverADirectiveBeyondNumbers)
{
    const ReadRow kRows[] = {
        {"2024-03-05", "%nyyyy-MM-dd", "null"},
        {"2024-03-05", "%syyyy-MM-dd", "null"},
        {"2024-03-05", "%*dyyyy-MM-dd", "null"},
        {"2024-03-05", "%5dyyyy-MM-dd", "null"},
        {"2024-03-05", "yyyy-MM-dd%n%n%s", "2024/3/5"},
        {"2024-03-05", "yyyy-MM-dd%", "2024/3/5"},
        {"%2024-03-05", "%%yyyy-MM-dd", "2024/3/5"},
        {" %2024-03-05", "%%yyyy-MM-dd", "2024/3/5"},
        {"2024-03-05", "%%yyyy-MM-dd", "null"},
        {"%d-03-2024", "%dd-MM-yyyy", "null"},     // '%' and "%d" are "%%" and 'd'
        {"7 2024-03-05", "%d yyyy-MM-dd", "null"}, // the first 'd' is half of "%%d"
        {"5 3 2024", "dd %d MM yyyy", "2024/3/5"}, // reads day, month, year and stops
        {"5 2024 3", "dd %d MM yyyy", "null"},
        {"%d 5 7 2024", "%MM %d dd yyyy", "2024/5/7"}, // "%MM" is the text "%d"
        {"% 5 7 2024", "%MM %d dd yyyy", "null"},
    };
    for (const ReadRow &row : kRows) {
        EXPECT_EQ(shown(ZkDate::fromString(row.in, row.format)), row.out)
            << row.in << " by " << row.format;
    }
    // A number of the pattern's own takes the place of a later token.
    EXPECT_EQ(shown(ZkDate::fromString("5 3 2024", "dd %d yyyy MM")), "null");
    EXPECT_EQ(shown(ZkDate::fromString("5 2024 3", "dd %d yyyy MM")), "2024/3/5");
    EXPECT_EQ(shown(ZkDateTime::fromString("2024-03-05 09:07:05", "%nyyyy-MM-dd hh:mm:ss")),
              "null");
}

TEST(ZkDateFormat, AZeroUnitEndsTextAndPattern)
{
    ZkString in("2024-03-05 09:07:05"), format("yyyy-MM-dd hh:mm:ss");
    EXPECT_TRUE(ZkDateTime::fromString(in, format).isValid());
    ZkString cut = in;
    cut.insert(10, ZkUcs2(0));
    EXPECT_TRUE(ZkDateTime::fromString(cut, format).isNull());
    EXPECT_EQ(shown(ZkDate::fromString(cut, "yyyy-MM-dd")), "2024/3/5");
    cut = format;
    cut.insert(5, ZkUcs2(0));
    EXPECT_TRUE(ZkDateTime::fromString(in, cut).isNull());
    EXPECT_FALSE(ZkDate::fromString(in, cut).isValid());
    ZkString marked = in;
    marked.append(ZkString(1, ZkUcs2(0))).append("pm");
    EXPECT_EQ(shown(ZkDateTime::fromString(marked, format)), "2024/3/5 21:7:5.0")
        << "markers are looked for in all of the text";
}

TEST(ZkDateFormat, ReadsWhatTheCLibrarysScannerReads)
{
    const std::vector<std::string> letters = {"yyyy", "MM", "M", "dd",  "d",  "hh", "h", "mm",
                                              "m",    "ss", "s", "AP",  "ap", "A",  "y", "-",
                                              "/",    ":",  " ", "\t ", "é",  "x",  "%%"};
    const std::vector<std::string> texts = {"2024", "3",  "12", "05", "7",  "-1", "+8",
                                            "23",   "am", "PM", "pm", "AM", "-",  "/",
                                            ":",    " ",  "\n", "é",  "x",  "%"};
    std::mt19937 random(72);
    int dates = 0, times = 0, moments = 0;
    for (int i = 0; i < 40000; ++i) {
        std::string format, in;
        if (i % 3 == 0) {
            format = randomText(random, letters, int(random() % 12));
            in = randomText(random, texts, int(random() % 12));
        } else {
            // A pattern of all six fields in some order, and a text that might match.
            std::vector<std::string> fields = {"yyyy", "M", "d", "h", "m", "s"};
            std::shuffle(fields.begin(), fields.end(), random);
            for (const std::string &field : fields) {
                const std::string separator = letters[11 + random() % 12];
                format += random() % 2 && field != "yyyy" ? field + field : field;
                format += separator;
                in += field == "yyyy" ? std::to_string(int(random() % 5000) - 100)
                                      : std::to_string(1 + random() % 14);
                in += separator == "%%"   ? "%"
                      : separator == "AP" ? "PM"
                      : separator == "ap" ? "am"
                                          : separator;
            }
            // Anywhere but inside a character.
            std::size_t position = random() % in.size();
            while (position > 0 && (static_cast<unsigned char>(in[position]) & 0xC0) == 0x80) {
                --position;
            }
            if (random() % 4 == 0) {
                in.insert(position, texts[random() % texts.size()]);
            }
        }
        const ZkString textIn(in.c_str()), pattern(format.c_str());
        const ZkDate date = ZkDate::fromString(textIn, pattern);
        const ZkTime time = ZkTime::fromString(textIn, pattern);
        const ZkDateTime moment = ZkDateTime::fromString(textIn, pattern);
        ASSERT_EQ(shown(date), shown(modelDate(in, format))) << in << " by " << format;
        ASSERT_EQ(shown(time), shown(modelTime(in, format))) << in << " by " << format;
        ASSERT_EQ(shown(moment), shown(modelDateTime(in, format))) << in << " by " << format;
        dates += date.isValid();
        times += time.isValid();
        moments += moment.isValid();
    }
    EXPECT_GT(dates, 400);
    EXPECT_GT(times, 1000);
    EXPECT_GT(moments, 1000);
}

// The usual patterns have a way of their own, which must end where the scanner would.
TEST(ZkDateFormat, LongFieldsAndWhatIsNearThemReadLikeTheCLibrarysScanner)
{
    std::mt19937 random(74);
    static const char *const kSeparators[] = {"-", "/", ":", " ", "", "T", ".", "  ", "h", "a"};
    static const char kOdd[] = "0123456789-+ aApPmMdyhs%/:";
    const auto number = [&](int digits) {
        std::string text;
        for (; digits > 0; --digits) {
            text += char('0' + random() % (random() % 3 == 0 ? 10 : 2));
        }
        return text;
    };
    int dates = 0, moments = 0;
    for (int i = 0; i < 40000; ++i) {
        std::vector<std::string> fields = {"yyyy", "MM", "dd"};
        if (i % 2 == 0) {
            fields.insert(fields.end(), {"hh", "mm", "ss"});
        }
        if (i % 4 >= 2) {
            std::shuffle(fields.begin(), fields.end(), random);
        }
        std::string format, in;
        for (const std::string &field : fields) {
            const int digits = int(field.size()) + (random() % 40 == 0) - (random() % 40 == 0);
            const std::string separator = kSeparators[random() % (random() % 4 == 0 ? 10 : 4)];
            format += field + separator;
            in += number(digits) + separator;
        }
        if (random() % 3 != 0) { // nothing behind the last field
            format.resize(format.find_last_of("yMdms") + 1);
        }
        const auto disturb = [&](std::string *text) {
            if (random() % 4 == 0 && !text->empty()) {
                const std::size_t at = random() % text->size();
                const std::string piece(1, kOdd[random() % (sizeof kOdd - 1)]);
                random() % 2 == 0 ? text->insert(at, piece) : text->replace(at, 1, piece);
            }
        };
        disturb(&format);
        disturb(&in);
        in += random() % 4 == 0 ? "pm" : random() % 4 == 0 ? "7" : "";
        const ZkString textIn(in.c_str()), pattern(format.c_str());
        const ZkDate date = ZkDate::fromString(textIn, pattern);
        const ZkDateTime moment = ZkDateTime::fromString(textIn, pattern);
        ASSERT_EQ(shown(date), shown(modelDate(in, format))) << in << " by " << format;
        ASSERT_EQ(shown(moment), shown(modelDateTime(in, format))) << in << " by " << format;
        dates += date.isValid();
        moments += moment.isValid();
    }
    EXPECT_GT(dates, 400);
    EXPECT_GT(moments, 400);
}

TEST(ZkDateFormat, WhatIsWrittenReadsBack)
{
    std::mt19937 random(73);
    const char *const kDates[] = {"yyyy-MM-dd", "d/M/yyyy", "MM/dd/yyyy", "d. M. yyyy"};
    const char *const kTimes[] = {"hh:mm:ss", "h:m:s", "hh:mm:ss ap", "AP h.mm.ss"};
    const char *const kBoth[] = {"yyyy-MM-dd hh:mm:ss", "hh:mm:ss ap d.M.yyyy",
                                 "d/M/yyyy h:m:ss AP"};
    for (int i = 0; i < 5000; ++i) {
        const ZkDate date = ZkDate::fromJulianDay(std::uint32_t(random() | 1u));
        const ZkTime time = ZkTime::fromMSecsOfDay(int(random() % 86400) * 1000);
        for (const char *format : kDates) {
            ASSERT_EQ(ZkDate::fromString(date.toString(format), format), date) << format;
        }
        for (const char *format : kTimes) {
            ASSERT_EQ(ZkTime::fromString(time.toString(format), format), time) << format;
        }
        for (const char *format : kBoth) {
            const ZkDateTime moment(date, time);
            ASSERT_EQ(ZkDateTime::fromString(moment.toString(format), format), moment) << format;
        }
    }
}
