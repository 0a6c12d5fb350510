#include <zkstring.h>

#include <benchmark/benchmark.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

// The string beside ICU, simdutf and the standard library. Texts are the words of a sentence
// of each script, to the length told in the name of the case.

#if defined(ZK_BENCH_SIMDUTF)
// Declared by hand: Debian has this simdutf inside a library of another name, and no header.
namespace simdutf
{
std::size_t convert_utf8_to_utf16(const char *in, std::size_t n, char16_t *out);
std::size_t convert_utf16_to_utf8(const char16_t *in, std::size_t n, char *out);
} // namespace simdutf
#endif

namespace
{

struct Script {
    const char *name;
    const char *sentence;
};
const Script kScripts[] = {
    {"ascii", "All human beings are born free and equal in dignity and rights. "},
    {"french", "Tous les \u00EAtres humains naissent libres et \u00E9gaux en dignit\u00E9 et en "
               "droits, dou\u00E9s de raison. "},
    {"arabic",
     "\u064A\u0648\u0644\u062F \u062C\u0645\u064A\u0639 \u0627\u0644\u0646\u0627\u0633 "
     "\u0623\u062D\u0631\u0627\u0631\u0627\u064B \u0645\u062A\u0633\u0627\u0648\u064A\u0646 "
     "\u0641\u064A \u0627\u0644\u0643\u0631\u0627\u0645\u0629 "
     "\u0648\u0627\u0644\u062D\u0642\u0648\u0642. "},
    {"cyrillic", "\u0412\u0441\u0435 \u043B\u044E\u0434\u0438 "
                 "\u0440\u043E\u0436\u0434\u0430\u044E\u0442\u0441\u044F "
                 "\u0441\u0432\u043E\u0431\u043E\u0434\u043D\u044B\u043C\u0438 \u0438 "
                 "\u0440\u0430\u0432\u043D\u044B\u043C\u0438 \u0432 \u0441\u0432\u043E\u0451\u043C "
                 "\u0434\u043E\u0441\u0442\u043E\u0438\u043D\u0441\u0442\u0432\u0435. "},
    {"thai", "\u0E21\u0E19\u0E38\u0E29\u0E22\u0E4C\u0E17\u0E31\u0E49\u0E07\u0E2B\u0E25\u0E32\u0E22"
             "\u0E40\u0E01\u0E34\u0E14\u0E21\u0E32\u0E21\u0E35\u0E2D\u0E34\u0E2A\u0E23\u0E30 "},
    {"chinese", "\u4EBA\u4EBA\u751F\u800C\u81EA\u7531\uFF0C\u5728\u5C0A\u4E25\u548C\u6743\u5229"
                "\u4E0A\u4E00\u5F8B\u5E73\u7B49\u3002"},
};

/// The words of `sentence` in random order in exactly `bytes` bytes, blanks where a
/// character would be cut. An order that repeats would be learnt by the processor.
std::string shuffled(const std::string &sentence, std::size_t bytes)
{
    std::istringstream stream(sentence);
    const std::vector<std::string> words{std::istream_iterator<std::string>(stream), {}};
    std::minstd_rand random(20240611);
    std::string text;
    while (text.size() <= bytes) {
        text += words[random() % words.size()] + ' ';
    }
    std::size_t cut = bytes;
    while ((static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) {
        --cut;
    }
    text.resize(cut);
    text.resize(bytes, ' ');
    return text;
}

std::u16string unitsOf(const std::string &utf8)
{
    return ZkString(std::string_view(utf8)).toStdU16String();
}

const ZkUcs2 *zk(const char16_t *units)
{
    return reinterpret_cast<const ZkUcs2 *>(units);
}

constexpr int kLong = 64 * 1024;
constexpr int kShort = 12;

void require(bool condition, const char *what)
{
    if (!condition) {
        std::fprintf(stderr, "bench_strings: %s differ\n", what);
        std::abort();
    }
}

template <typename Body>
void add(const std::string &name, Body body)
{
    benchmark::RegisterBenchmark(name.c_str(), [body](benchmark::State &state) {
        for (auto _ : state) {
            body();
        }
    });
}

/// UTF-8 in and out of a buffer that is there already.
void addConversions(const Script &script, int bytes)
{
    const std::string size = bytes == kLong ? "64K" : std::to_string(bytes);
    const auto text = std::make_shared<std::string>(shuffled(script.sentence, std::size_t(bytes)));
    const auto units = std::make_shared<std::u16string>(unitsOf(*text));
    const auto unitsOut = std::make_shared<std::vector<char16_t>>(std::size_t(bytes));
    const auto bytesOut = std::make_shared<std::vector<char>>(std::size_t(bytes) * 3);
    const int count = int(units->size());

    const std::string decode = "decode-" + size + "/" + script.name;
    add(decode + "/zk", [=] {
        benchmark::DoNotOptimize(ZkString::utf8ToUcs2(reinterpret_cast<ZkUcs2 *>(unitsOut->data()),
                                                      text->data(), bytes));
        benchmark::ClobberMemory();
    });
    const auto icuDecode = [=] {
        UErrorCode error = U_ZERO_ERROR;
        int32_t length = 0;
        u_strFromUTF8(unitsOut->data(), int32_t(unitsOut->size()), &length, text->data(), bytes,
                      &error);
        benchmark::DoNotOptimize(length);
        benchmark::ClobberMemory();
        return length;
    };
    require(icuDecode() == count && std::equal(units->begin(), units->end(), unitsOut->begin()),
            script.name);
    add(decode + "/icu", icuDecode);
    // What writing the units takes when there is nothing to decode.
    add(decode + "/memcpy", [=] {
        std::memcpy(unitsOut->data(), units->data(), std::size_t(count) * sizeof(char16_t));
        benchmark::ClobberMemory();
    });

    const std::string encode = "encode-" + size + "/" + script.name;
    add(encode + "/zk", [=] {
        benchmark::DoNotOptimize(ZkString::ucs2ToUtf8(bytesOut->data(), zk(units->data()), count));
        benchmark::ClobberMemory();
    });
    const auto icuEncode = [=] {
        UErrorCode error = U_ZERO_ERROR;
        int32_t length = 0;
        u_strToUTF8(bytesOut->data(), int32_t(bytesOut->size()), &length, units->data(), count,
                    &error);
        benchmark::DoNotOptimize(length);
        benchmark::ClobberMemory();
        return length;
    };
    require(icuEncode() == bytes && std::equal(text->begin(), text->end(), bytesOut->begin()),
            script.name);
    add(encode + "/icu", icuEncode);

#if defined(ZK_BENCH_SIMDUTF)
    // It checks that the text is right, and makes nothing of one that is not.
    const auto simdDecode = [=] {
        const std::size_t length =
            simdutf::convert_utf8_to_utf16(text->data(), text->size(), unitsOut->data());
        benchmark::DoNotOptimize(length);
        benchmark::ClobberMemory();
        return length;
    };
    const auto simdEncode = [=] {
        const std::size_t length =
            simdutf::convert_utf16_to_utf8(units->data(), units->size(), bytesOut->data());
        benchmark::DoNotOptimize(length);
        benchmark::ClobberMemory();
        return length;
    };
    require(simdDecode() == units->size() && simdEncode() == text->size(), script.name);
    add(decode + "/simdutf", simdDecode);
    add(encode + "/simdutf", simdEncode);
#endif
}

/// Twelve bytes of UTF-8 that the compiler does not know.
const char *shortText()
{
    const char *text = "Hello, world";
    benchmark::DoNotOptimize(text);
    return text;
}

/// A string made from 12 bytes of UTF-8 and given back.
void addConstruction()
{
    add("make-12/zk", [] { benchmark::DoNotOptimize(ZkString(shortText())); });
    add("make-12/icu", [] {
        const auto text = icu::UnicodeString::fromUTF8(icu::StringPiece(shortText(), 12));
        benchmark::DoNotOptimize(text.getBuffer());
    });
    add("make-12/std", [] {
        std::u16string text;
        text.reserve(12);
        for (const char *p = shortText(); *p != '\0'; ++p) {
            text.push_back(static_cast<unsigned char>(*p));
        }
        benchmark::DoNotOptimize(text.data());
    });
    static const ZkString original(shortText());
    add("copy/zk", [] {
        const ZkString copy = original;
        benchmark::DoNotOptimize(&copy);
    });
    static std::atomic<int> owners(1);
    add("copy/atomic", [] {
        owners.fetch_add(1, std::memory_order_relaxed);
        benchmark::DoNotOptimize(&owners);
        benchmark::DoNotOptimize(owners.fetch_sub(1, std::memory_order_acq_rel));
    });
    static const icu::UnicodeString icuOriginal = icu::UnicodeString::fromUTF8(
        "Hello, world, in a text too long for a string to hold in itself");
    add("copy/icu", [] {
        const icu::UnicodeString copy = icuOriginal; // NOLINT: the copy is what is timed
        benchmark::DoNotOptimize(copy.getBuffer());
    });
}

/// A needle that ends a haystack, found by every peer.
void addSearch(const std::string &name, const std::u16string &haystack,
               const std::u16string &needle)
{
    const auto h = std::make_shared<std::u16string>(haystack);
    const auto n = std::make_shared<std::u16string>(needle);
    const int hl = int(h->size());
    const int nl = int(n->size());
    const int expected = int(h->find(*n));

    const auto ours = [=] {
        const int at = zkFindString(zk(h->data()), hl, 0, zk(n->data()), nl, Zk::CaseSensitive);
        benchmark::DoNotOptimize(at);
        return at;
    };
    const auto icu = [=] {
        const UChar *at = u_strFindFirst(h->data(), hl, n->data(), nl);
        benchmark::DoNotOptimize(at);
        return int(at - h->data());
    };
    // The nearest place that is even stands in for the right one.
    const auto memory = [=] {
        const char *begin = reinterpret_cast<const char *>(h->data());
        const char *at = begin;
        const std::size_t bytes = std::size_t(hl) * 2;
        do {
            at = static_cast<const char *>(
                memmem(at, bytes - std::size_t(at - begin), n->data(), std::size_t(nl) * 2));
        } while ((at - begin) % 2 != 0 && ++at != nullptr);
        benchmark::DoNotOptimize(at);
        return int(at - begin) / 2;
    };
    require(ours() == expected && icu() == expected && memory() == expected, name.c_str());
    add(name + "/zk", ours);
    add(name + "/icu", icu);
    add(name + "/memmem", memory);
    add(name + "/std", [=] {
        benchmark::DoNotOptimize(h->data());
        benchmark::DoNotOptimize(h->find(*n));
    });
}

/// The same without regard to case. ICU has no such search of its own: each place
/// is compared with u_strncasecmp, as a program would.
void addFoldedSearch(const std::string &name, const std::u16string &haystack,
                     const std::u16string &needle)
{
    static const std::vector<char16_t> fold = [] {
        std::vector<char16_t> table(0x10000);
        for (int c = 0; c < 0x10000; ++c) {
            table[std::size_t(c)] = static_cast<char16_t>(u_foldCase(c, U_FOLD_CASE_DEFAULT));
        }
        return table;
    }();
    const auto h = std::make_shared<std::u16string>(haystack);
    const auto n = std::make_shared<std::u16string>(needle);
    const int hl = int(h->size());
    const int nl = int(n->size());

    const auto ours = [=] {
        const int at = zkFindString(zk(h->data()), hl, 0, zk(n->data()), nl, Zk::CaseInsensitive);
        benchmark::DoNotOptimize(at);
        return at;
    };
    const auto icu = [=] {
        int at = 0;
        while (u_strncasecmp(h->data() + at, n->data(), nl, U_FOLD_CASE_DEFAULT) != 0) {
            ++at;
        }
        benchmark::DoNotOptimize(at);
        return at;
    };
    const auto standard = [=] {
        const auto at = std::search(h->begin(), h->end(), n->begin(), n->end(),
                                    [](char16_t a, char16_t b) { return fold[a] == fold[b]; });
        benchmark::DoNotOptimize(at);
        return int(at - h->begin());
    };
    require(ours() == icu() && ours() == standard(), name.c_str());
    add(name + "/zk", ours);
    add(name + "/icu", icu);
    add(name + "/std", standard);
}

/// 64 K units of the words of `sentence`, the last of them `needle`.
std::u16string endingWith(const char *sentence, const std::u16string &needle)
{
    const std::u16string text = unitsOf(shuffled(sentence, kLong * 2));
    return text.substr(0, std::size_t(kLong) - needle.size()) + needle;
}

void addSearches()
{
    const char *english = kScripts[0].sentence;
    const char *arabic = kScripts[2].sentence;
    const std::u16string rare = u"Zebra stripe";
    const std::u16string common = u"eequal in di";
    const std::u16string arabicNeedle =
        u"\u0627\u0644\u0643\u0631\u0627\u0645\u0627\u062A \u0641\u064A\u0647";
    addSearch("find-12-in-64K/rare", endingWith(english, rare), rare);
    addSearch("find-12-in-64K/common", endingWith(english, common), common);
    addSearch("find-12-in-64K/arabic", endingWith(arabic, arabicNeedle), arabicNeedle);
    addSearch("find-4-in-40/ascii", u"the quick brown fox jumps over the lazys", u"azys");
    addSearch("find-4-in-40/arabic", unitsOf(arabic).substr(0, 36) + u"\u0627\u0644\u0643\u0632",
              u"\u0627\u0644\u0643\u0632");
    addFoldedSearch("find-folded-12-in-64K/rare", endingWith(english, u"zEBRA sTRIPE"), rare);
    addFoldedSearch("find-folded-12-in-64K/common", endingWith(english, u"EEQUAL IN DI"), common);
    addFoldedSearch("find-folded-12-in-64K/arabic", endingWith(arabic, arabicNeedle), arabicNeedle);
    addFoldedSearch("find-folded-4-in-40/ascii", u"the quick brown fox jumps over the lAZYs",
                    u"azys");
}

} // namespace

int main(int argc, char **argv)
{
    for (const Script &script : kScripts) {
        addConversions(script, kLong);
        addConversions(script, kShort);
    }
    addConstruction();
    addSearches();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
