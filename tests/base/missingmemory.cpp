// One allocation after the other of a day's work fails, each in a process of its own.
// The process then ends with the line that says so, or it goes on with a message and does
// what it can; it never throws, never reads what is not there and never is silent about
// another result. Once memory is back the same work gives what it always gave.

#include <zkbitarray.h>
#include <zkbitmap.h>
#include <zkbmpdata.h>
#include <zkdatetime.h>
#include <zkfontcache.h>
#include <zkfontmetrics.h>
#include <zkhash.h>
#include <zkmap.h>
#include <zkregion.h>
#include <zkstringlist.h>
#include <zktextbreaks.h>

#include "mallochook.h"
#include "rounds.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace
{

/// What came of the work, in one number that takes no memory.
class Digest
{
public:
    void add(std::uint64_t value) { m_value = (m_value ^ value) * 0x100000001B3u; }
    void add(const ZkString &text)
    {
        for (int i = 0; i < text.size(); ++i) {
            add(text.constData()[i]);
        }
    }
    void add(const GlyphBitmap &glyph)
    {
        add(glyph.unicode);
        add(static_cast<std::uint64_t>(glyph.advance) << 32 |
            static_cast<unsigned>(glyph.width << 16 | glyph.height));
        add(static_cast<std::uint64_t>(glyph.left) << 32 | static_cast<unsigned>(glyph.top));
        for (int i = 0; glyph.pixels != nullptr && i < glyph.width * glyph.height; ++i) {
            add(glyph.pixels[i]);
        }
    }
    std::uint64_t value() const { return m_value; }

private:
    std::uint64_t m_value = 0xCBF29CE484222325u;
};

void layOut(const char *text, const ZkFont &font, Digest *digest)
{
    ZkFontMetrics layout(text, font);
    layout.setTextMinRect(0, 0, 70, 200);
    layout.setWorpWrap(true);
    layout.setAlignment(1 | 16);
    digest->add(static_cast<unsigned>(layout.sizeHint().width()));
    for (const PaintInfo &line : layout.paintInfoList()) {
        digest->add(static_cast<unsigned>(line.left) | std::uint64_t(line.bottom) << 32);
        digest->add(static_cast<unsigned>(line.right));
        for (const GlyphBitmap *glyph : line.glyphs) {
            digest->add(*glyph);
        }
    }
}

void useText(Digest *digest)
{
    const ZkFont plain(16, false, false, false, false), outlined(24, true, true, true, false);
    for (int round = 0; round < 2; ++round) {
        layOut("Hello, wrapped world: a text of more than thirty-two letters", plain, digest);
        layOut("Hello", outlined, digest);
        layOut("\xD8\xB3\xD9\x84\xD8\xA7\xD9\x85 12 \xD8\xAF\xD9\x86\xDB\x8C\xD8\xA7", plain,
               digest);
        layOut("\xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D abc", plain, digest);
        layOut("\xE0\xB8\x97\xE0\xB8\xB5\xE0\xB9\x88\xE0\xB8\x99\xE0\xB8\xB5\xE0\xB9\x88", plain,
               digest);
        ZkFontMetrics::clearFontCache();
    }
}

void useContainers(Digest *digest)
{
    ZkList<ZkRect> list;
    ZkHash<ZkString, int> hash;
    ZkMap<int, ZkString> map;
    for (int i = 0; i < 40; ++i) {
        list.append(ZkRect(i, i, 2 * i, 2 * i));
        hash.insert(ZkString::number(i), i);
        map.insert(7 * i % 40, ZkString::number(i, 2));
    }
    ZkList<ZkRect> copy = list;
    copy.prepend(ZkRect(1, 2, 3, 4));
    for (const ZkRect &r : copy) {
        digest->add(static_cast<unsigned>(r.left() + r.right()));
    }
    for (int i = 0; i < 40; ++i) {
        digest->add(static_cast<unsigned>(hash.value(ZkString::number(i))));
    }
    for (const ZkString &text : map) {
        digest->add(text);
    }
    ZkBitArray bits(100, false);
    bits.setBit(70);
    digest->add(static_cast<unsigned>((bits | ZkBitArray(100, true)).size()));
}

void useStrings(Digest *digest)
{
    ZkStringList words = ZkString("one, two, three, four, five, six").split(", ");
    words.sort();
    digest->add(words.join("; "));
    ZkString text = ZkString("%1 of %2 (%3)").arg(3).arg(4.5).arg("per cent");
    text.replace("of", "out of");
    text.append(ZkString().sprintf("%08.3f|%s|%x", 3.14159, "text", 48879));
    digest->add(text.toUpper());
    digest->add(ZkString(text.toUtf8().constData()));
    digest->add(ZkString::number(1234567.25, 'f', 2));
    digest->add(static_cast<std::uint64_t>(
        ZkString("12345678901234567890123456789e-20").toDouble() * 1000));
}

void useDatesAndRegions(Digest *digest)
{
    const ZkDateTime noon(ZkDate(2024, 7, 1), ZkTime(12, 0), Zk::TimeUtc);
    digest->add(noon.addDays(40).addSecs(12345).toString("yyyy-MM-dd HH:mm:ss.zzz"));
    digest->add(static_cast<std::uint64_t>(
        ZkDateTime::fromString("2024-03-01 12:30:45", "yyyy-MM-dd hh:mm:ss").date().julianDay()));
    ZkRegion region;
    for (int i = 0; i < 60; ++i) {
        region |= ZkRect(7 * i % 50, 11 * i % 50, 7 * i % 50 + 5, 11 * i % 50 + 3);
    }
    region -= ZkRegion(10, 10, 20, 20);
    for (const ZkRect &r : (region & ZkRegion(5, 5, 40, 40)).rects()) {
        digest->add(static_cast<unsigned>(r.left() * 1000 + r.bottom()));
    }
}

void useBreaks(Digest *digest)
{
    const ZkString text("A text of more than a label's length, and some words");
    ZkTextBreaks breaks;
    for (const int units : {30, text.size()}) {
        breaks.setText(text.constData(), units);
        for (int i = 0; i <= units; ++i) {
            digest->add(breaks.flags()[i]);
        }
    }
}

void usePicture(const char *path, Digest *digest)
{
    ZkBitmap bitmap(path);
    unsigned char pixels[16 * 16 * 4] = {};
    if (bitmap.isOpen()) {
        bitmap.decode(pixels);
    }
    for (unsigned char byte : pixels) {
        digest->add(byte);
    }
}

// All of it, from opening a font on. The library's own statics make a second time
// cheaper, never different.
std::uint64_t work(const char *picture)
{
    Digest digest;
    ZkFontMetrics::setFontFile(ZK_FONT_DEJAVU);
    useText(&digest);
    useContainers(&digest);
    useBreaks(&digest);
    useStrings(&digest);
    useDatesAndRegions(&digest);
    usePicture(picture, &digest);
    ZkFontMetrics::closeFontFile();
    return digest.value();
}

/// What a process did in which the given allocation failed.
struct Outcome {
    int status = 0;
    std::uint64_t starved = 0, healthy = 0; // the digests with the failure and after it
    int allocations = 0;
    std::string printed; // on both streams
};

std::string contentsOf(std::FILE *file)
{
    std::string text;
    std::rewind(file);
    for (int c; (c = std::fgetc(file)) != EOF;) {
        text += static_cast<char>(c);
    }
    return text;
}

Outcome outcomeOf(int number, const char *picture)
{
    Outcome outcome;
    std::FILE *const output = std::tmpfile();
    std::FILE *const digests = std::tmpfile();
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        dup2(fileno(output), STDOUT_FILENO);
        dup2(fileno(output), STDERR_FILENO);
        setvbuf(stdout, nullptr, _IONBF, 0); // whose buffer is no business of this test
        mallochook::allocations = 0;
        mallochook::failing = number;
        std::uint64_t row[3];
        row[0] = work(picture);
        row[2] = static_cast<unsigned>(mallochook::allocations);
        mallochook::failing = -1;
        row[1] = work(picture);
        if (write(fileno(digests), row, sizeof row) != sizeof row) {
            _exit(2);
        }
        _exit(0);
    }
    waitpid(child, &outcome.status, 0);
    outcome.printed = contentsOf(output);
    std::uint64_t row[3] = {};
    std::rewind(digests);
    if (std::fread(row, sizeof row, 1, digests) == 1) {
        outcome.starved = row[0];
        outcome.healthy = row[1];
        outcome.allocations = static_cast<int>(row[2]);
    }
    std::fclose(output);
    std::fclose(digests);
    return outcome;
}

bool contains(const std::string &text, const char *part)
{
    return text.find(part) != std::string::npos;
}

// What is wrong with an outcome, beside the one in which nothing failed; empty when
// it is as the library promises.
std::string problemOf(const Outcome &outcome, const Outcome &whole)
{
    const bool told = contains(outcome.printed, "libzk: no memory for ");
    if (WIFSIGNALED(outcome.status)) {
        const int signal = WTERMSIG(outcome.status);
        // Without its pool of records the geometry ends by a signal of its own.
        return told && (signal == SIGABRT || signal == SIGSEGV) ? ""
                                                                : "ended by a signal and no word";
    }
    if (WEXITSTATUS(outcome.status) == 1) {
        return contains(outcome.printed, "FT_Init_FreeType error!") ||
                       contains(outcome.printed, "open font(")
                   ? ""
                   : "exited without a reason";
    }
    if (WEXITSTATUS(outcome.status) != 0) {
        return "exited";
    }
    if (outcome.healthy != whole.healthy) {
        return "the result stays another one";
    }
    if (outcome.starved != whole.starved && outcome.printed.empty()) {
        return "another result without a word";
    }
    return "";
}

} // namespace

TEST(MissingMemory, EachAllocationThatFailsIsToldAndNothingIsThrown)
{
    if (!mallochook::kCanRefuse) {
        GTEST_SKIP() << "the sanitizer's malloc cannot be made to fail";
    }
    char picture[] = "/tmp/zkmemoryXXXXXX";
    close(mkstemp(picture));
    unsigned char pixels[13 * 9 * 3];
    for (unsigned i = 0; i < sizeof pixels; ++i) {
        pixels[i] = static_cast<unsigned char>(37 * i);
    }
    const BmpData::Image image = {13, 9, 3, pixels};
    BmpData().SaveImage(picture, &image);

    const Outcome whole = outcomeOf(-1, picture);
    ASSERT_EQ(whole.status, 0) << whole.printed;
    ASSERT_EQ(whole.printed, "");
    ASSERT_EQ(whole.starved, whole.healthy);
    ASSERT_GT(whole.allocations, 500);
    const int step = kSlowTests ? 13 : 1;
    int aborted = 0, survived = 0;
    for (int number = 0; number < whole.allocations; number += step) {
        const Outcome outcome = outcomeOf(number, picture);
        EXPECT_EQ(problemOf(outcome, whole), "") << "allocation " << number << ":\n"
                                                 << outcome.printed;
        (WIFSIGNALED(outcome.status) ? aborted : survived) += 1;
    }
    EXPECT_GT(aborted, 0);
    EXPECT_GT(survived, 0);
    unlink(picture);
}
