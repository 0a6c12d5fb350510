#include <zkthaiwords.h>

#include <cstdlib>
#include <string>
#include <vector>

#include <thai/thbrk.h>
#include <thai/thwbrk.h>

#include <gtest/gtest.h>

namespace
{

const char16_t kArticle[] = u"มนุษย์ทั้งหลายเกิดมามีอิสระและเสมอภาคกันในเกียรติศักดิ์และสิทธิ "
                            u"ต่างมีเหตุผลและมโนธรรมและควรปฏิบัติต่อกันด้วยเจตนารมณ์แห่งภราดรภาพ";

const ZkUcs2 *units(const std::u16string &text)
{
    return reinterpret_cast<const ZkUcs2 *>(text.data());
}

std::vector<std::uint8_t> wordStarts(ZkWordBreaker &words, const std::u16string &text)
{
    std::vector<std::uint8_t> starts(text.size());
    words.findWords(units(text), static_cast<int>(text.size()), starts.data());
    return starts;
}

/// The text with bars where words begin.
std::u16string divided(ZkWordBreaker &words, const std::u16string &text)
{
    const std::vector<std::uint8_t> starts = wordStarts(words, text);
    std::u16string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (starts[i] != 0) {
            out += u'|';
        }
        out += text[i];
    }
    return out;
}

/// What libthai says through its interface for wide characters.
std::vector<std::uint8_t> libthaiStarts(ThBrk *dictionary, const std::u16string &text)
{
    std::vector<thwchar_t> wide(text.begin(), text.end());
    wide.push_back(0);
    std::vector<int> places(text.size() + 1);
    const int count = th_brk_wc_find_breaks(dictionary, wide.data(), places.data(), places.size());
    std::vector<std::uint8_t> starts(text.size());
    for (int i = 0; i < count; ++i) {
        starts[static_cast<std::size_t>(places[static_cast<std::size_t>(i)])] = 1;
    }
    return starts;
}

/// The dictionary that is installed, opened once.
class ZkThaiWordsBesideLibthai : public testing::Test
{
protected:
    ~ZkThaiWordsBesideLibthai() override { th_brk_delete(m_dictionary); }

    std::vector<std::uint8_t> expected(const std::u16string &text)
    {
        return libthaiStarts(m_dictionary, text);
    }

    ZkThaiWords words;

private:
    ThBrk *m_dictionary = th_brk_new(nullptr);
};

} // namespace

TEST(ZkThaiWords, DividesASentenceIntoWords)
{
    ZkThaiWords words;
    ASSERT_TRUE(words.isValid());
    EXPECT_EQ(divided(words, u"สวัสดีชาวโลก"), u"สวัสดี|ชาว|โลก");
    EXPECT_EQ(divided(words, u"ภาษาไทยไม่เว้นวรรค"), u"ภาษา|ไทย|ไม่|เว้น|วรรค");
}

TEST_F(ZkThaiWordsBesideLibthai, DividesStretchesOfAnArticle)
{
    const std::u16string article = kArticle;
    int compared = 0;
    for (std::size_t first = 0; first < article.size(); first += 3) {
        for (std::size_t last = first + 1; last <= article.size() && article[last - 1] != u' ';
             ++last) {
            const std::u16string stretch = article.substr(first, last - first);
            ASSERT_EQ(wordStarts(words, stretch), expected(stretch)) << first << ".." << last;
            ++compared;
        }
    }
    EXPECT_GT(compared, 1000);
}

TEST_F(ZkThaiWordsBesideLibthai, DividesRandomLetters)
{
    unsigned seed = 7;
    for (unsigned round = 0; round < 300; ++round) {
        std::u16string text;
        const unsigned length = 1 + (round * 37u) % 200;
        for (unsigned i = 0; i < length; ++i) {
            seed = seed * 1664525u + 1013904223u;
            const unsigned letter = (seed >> 16) % 0x57;
            text += static_cast<char16_t>(0x0E01 + (letter < 0x3A ? letter : letter + 4));
        }
        ASSERT_EQ(wordStarts(words, text), expected(text)) << "round " << round;
    }
}

TEST(ZkThaiWords, FindsTheSameWordsAgain)
{
    const std::u16string text = u"มนุษย์ทั้งหลายเกิดมามีอิสระและเสมอภาคกันในเกียรติศักดิ์และสิทธิ";
    ZkThaiWords known;
    ASSERT_TRUE(known.isValid());
    for (int round = 0; round < 2; ++round) {
        for (std::size_t first = 0; first < text.size(); ++first) {
            for (std::size_t size = 1; first + size <= text.size(); size += 3) {
                const ZkUcs2 *const part = reinterpret_cast<const ZkUcs2 *>(text.data()) + first;
                std::vector<std::uint8_t> starts(size), expected(size);
                known.findWords(part, static_cast<int>(size), starts.data());
                if (round == 1 && first % 8 == 0) {
                    ZkThaiWords fresh;
                    fresh.findWords(part, static_cast<int>(size), expected.data());
                    EXPECT_EQ(starts, expected) << first << ", " << size;
                    known.findWords(part, static_cast<int>(size), starts.data());
                    EXPECT_EQ(starts, expected) << "known";
                }
            }
        }
    }
}

TEST(ZkThaiWords, FindsNothingInFrontOfTheFirstLetter)
{
    ZkThaiWords words;
    for (const char16_t *text : {u"ก", u"ไทย", u"ัก", u"ລາວ"}) {
        EXPECT_EQ(wordStarts(words, text)[0], 0);
    }
}

TEST(ZkThaiWords, LeavesOtherScriptsToTheirClusters)
{
    ZkThaiWords words;
    for (const char16_t *text : {u"ສະບາຍດີ", u"សួស្តី", u"မင်္ဂလာပါ"}) {
        const std::u16string stretch = text;
        const int size = static_cast<int>(stretch.size());
        std::vector<std::uint8_t> flags(stretch.size() + 1);
        ZkTextBreaks::find(units(stretch), size, flags.data());
        const std::vector<std::uint8_t> starts = wordStarts(words, stretch);
        int found = 0;
        for (std::size_t i = 1; i < stretch.size(); ++i) {
            EXPECT_EQ(starts[i] != 0, (flags[i] & ZkTextBreaks::LineAllowed) != 0) << i;
            found += starts[i];
        }
        EXPECT_GT(found, 0);
    }
}

TEST(ZkThaiWords, BeginsAWordWhereTheScriptChanges)
{
    ZkThaiWords words;
    const std::u16string text = u"ไทยລາວไทย";
    const std::vector<std::uint8_t> starts = wordStarts(words, text);
    EXPECT_EQ(starts[3], 1);
    EXPECT_EQ(starts[6], 1);
    EXPECT_EQ(starts[8], 0) << "the stretch is a Thai word";
}

TEST(ZkThaiWords, WithoutADictionaryLinesEndBetweenClusters)
{
    ZkThaiWords none("/nonexistent");
    EXPECT_FALSE(none.isValid());
    EXPECT_EQ(divided(none, u"ที่นี่"), u"ที่|นี่");
}

TEST(ZkThaiWords, ReadsADictionaryByItsName)
{
    ZkThaiWords installed("/usr/share/libthai/thbrk.tri");
    ASSERT_TRUE(installed.isValid());
    EXPECT_EQ(divided(installed, u"สวัสดีชาวโลก"), u"สวัสดี|ชาว|โลก");
}

TEST_F(ZkThaiWordsBesideLibthai, DividesLongTextsAsIfAtOnce)
{
    std::u16string article;
    for (const char16_t letter : std::u16string(kArticle)) {
        if (letter != u' ') {
            article += letter;
        }
    }
    std::u16string text;
    while (text.size() < 6000) {
        text += article;
    }
    EXPECT_EQ(wordStarts(words, text), expected(text));
}

TEST_F(ZkThaiWordsBesideLibthai, DecidesWhereLinesOfATextMayEnd)
{
    ZkTextBreaks breaks;
    breaks.setWordBreaker(&words);
    const std::u16string text = std::u16string(kArticle) + u" (" + kArticle + u")";
    breaks.setText(units(text), static_cast<int>(text.size()));
    // Of each stretch of Thai letters, the breaks inside are libthai's.
    int inside = 0;
    for (std::size_t first = 0, last; first < text.size(); first = last) {
        last = first + 1;
        if (text[first] < 0x0E01) {
            continue;
        }
        while (last < text.size() && text[last] >= 0x0E01) {
            ++last;
        }
        const std::vector<std::uint8_t> starts = expected(text.substr(first, last - first));
        for (std::size_t i = first + 1; i < last; ++i) {
            EXPECT_EQ((breaks.flags()[i] & ZkTextBreaks::LineAllowed) != 0, starts[i - first] != 0)
                << i;
            inside += starts[i - first];
        }
    }
    EXPECT_GT(inside, 40);
}

TEST(ZkThaiWords, LooksAtLongTextsPieceByPiece)
{
    ZkThaiWords words;
    std::u16string text;
    for (int i = 0; i < 20000; ++i) {
        text += u"ภาษาไทย";
    }
    const std::vector<std::uint8_t> starts = wordStarts(words, text);
    for (std::size_t i = 0; i < text.size(); ++i) {
        ASSERT_EQ(starts[i] != 0, i > 0 && (i % 7 == 0 || i % 7 == 4)) << i;
    }
}
