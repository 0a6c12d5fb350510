// Analysis of text beside ICU, FriBidi and libunibreak: time per character for levels,
// lines, grapheme clusters and words, for labels, paragraphs and pages. Of memory, what an
// object keeps behind a text, bytes a character, and how often it asked for memory for its
// first text and for that again are told as nanoseconds.

#include <zkbidi.h>
#include <zktextbreaks.h>

#include "heapcount.h"
#include "utf16.h"

#include <benchmark/benchmark.h>
#include <fribidi.h>
#include <linebreak.h>
#include <unicode/ubidi.h>
#include <unicode/ubrk.h>
#include <unicode/ustring.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace
{

struct Sample {
    const char *name;
    const char *utf8;
};
const Sample kSamples[] = {
    {"english", "All human beings are born free and equal in dignity and rights. They are endowed "
                "with reason and conscience. "},
    {"german", "Alle Menschen sind frei und gleich an W\u00fcrde und Rechten geboren. Sie sind mit "
               "Vernunft und Gewissen begabt \u2013 \u201ejeder\u201c. "},
    {"arabic", "\u064a\u0648\u0644\u062f \u062c\u0645\u064a\u0639 \u0627\u0644\u0646\u0627\u0633 "
               "\u0623\u062d\u0631\u0627\u0631\u0627 \u0645\u062a\u0633\u0627\u0648\u064a\u0646 "
               "\u0641\u064a \u0627\u0644\u0643\u0631\u0627\u0645\u0629 "
               "\u0648\u0627\u0644\u062d\u0642\u0648\u0642. "},
    {"hebrew",
     "\u05db\u05dc \u05d1\u05e0\u05d9 \u05d4\u05d0\u05d3\u05dd \u05e0\u05d5\u05dc\u05d3\u05d5 "
     "\u05d1\u05e0\u05d9 \u05d7\u05d5\u05e8\u05d9\u05df \u05d5\u05e9\u05d5\u05d5\u05d9\u05dd "
     "\u05d1\u05e2\u05e8\u05db\u05dd. "},
    {"mixed", "Price (\u0642\u064a\u0645\u0629 24%): 1,250.50 [\u05e9\u05dc\u05d5\u05dd 3-4] see "
              "\u0627\u0644\u0639\u0631\u0628\u064a\u0629 (RTL) ok. "},
    {"thai", "\u0e21\u0e19\u0e38\u0e29\u0e22\u0e4c\u0e17\u0e31\u0e49\u0e07\u0e2b\u0e25\u0e32\u0e22"
             "\u0e40\u0e01\u0e34\u0e14\u0e21\u0e32\u0e21\u0e35\u0e2d\u0e34\u0e2a\u0e23\u0e30 "
             "\u0e41\u0e25\u0e30\u0e40\u0e2a\u0e21\u0e2d\u0e20\u0e32\u0e04 "},
    {"chinese", "\u4eba\u4eba\u751f\u800c\u81ea\u7531\uff0c\u5728\u5c0a\u4e25\u548c\u6743\u5229"
                "\u4e0a\u4e00\u5f8b\u5e73\u7b49\u3002\u4ed6\u4eec\u8d4b\u6709\u7406\u6027\u3002"},
    {"korean", "\ubaa8\ub4e0 \uc778\uac04\uc740 \ud0dc\uc5b4\ub0a0 \ub54c\ubd80\ud130 "
               "\uc790\uc720\ub85c\uc6b0\uba70 \uadf8 \uc874\uc5c4\uacfc \uad8c\ub9ac\uc5d0. "},
    {"emoji", "\U0001F600\U0001F469\u200D\U0001F680 \U0001F1E9\U0001F1EA ok "
              "\U0001F44D\U0001F3FD\u2764\uFE0F "},
};
const int kSizes[] = {12, 200, 10000};

/// The sample over and over, cut at `size` characters.
std::u32string repeated(const Sample &sample, int size)
{
    std::vector<UChar32> points(4 * std::string(sample.utf8).size());
    UErrorCode error = U_ZERO_ERROR;
    std::vector<UChar> units(points.size());
    int count = 0, length = 0;
    u_strFromUTF8(units.data(), static_cast<int>(units.size()), &length, sample.utf8, -1, &error);
    u_strToUTF32(points.data(), static_cast<int>(points.size()), &count, units.data(), length,
                 &error);
    std::u32string text;
    for (int i = 0; i < size; ++i) {
        text.push_back(static_cast<char32_t>(points[static_cast<std::size_t>(i % count)]));
    }
    return text;
}

struct Text {
    explicit Text(const std::u32string &text) : points(text), units(utf16Of(text)) {}

    int size() const { return static_cast<int>(units.size()); }
    const UChar *icu() const { return reinterpret_cast<const UChar *>(units.data()); }

    std::u32string points;
    std::vector<ZkUcs2> units;
};

/// Runs `work` and reports time per character.
template <typename Work>
void measure(benchmark::State &state, const Text &text, Work work)
{
    for (auto _ : state) {
        work();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(text.points.size()));
}

[[noreturn]] void differ(const char *what)
{
    std::fprintf(stderr, "%s differ\n", what);
    std::abort();
}

class IcuBidi
{
public:
    IcuBidi() : m_bidi(ubidi_open()) {}
    ~IcuBidi() { ubidi_close(m_bidi); }
    IcuBidi(const IcuBidi &) = delete;
    IcuBidi &operator=(const IcuBidi &) = delete;

    const UBiDiLevel *levels(const Text &text)
    {
        UErrorCode error = U_ZERO_ERROR;
        ubidi_setPara(m_bidi, text.icu(), text.size(), UBIDI_DEFAULT_LTR, nullptr, &error);
        return ubidi_getLevels(m_bidi, &error);
    }

private:
    UBiDi *m_bidi;
};

class FriBidi
{
public:
    explicit FriBidi(const Text &text)
        : m_types(text.points.size()), m_brackets(text.points.size()), m_levels(text.points.size())
    {
    }

    const FriBidiLevel *levels(const Text &text)
    {
        const auto count = static_cast<FriBidiStrIndex>(text.points.size());
        const auto *const points = reinterpret_cast<const FriBidiChar *>(text.points.data());
        fribidi_get_bidi_types(points, count, m_types.data());
        fribidi_get_bracket_types(points, count, m_types.data(), m_brackets.data());
        FriBidiParType base = FRIBIDI_PAR_ON;
        const FriBidiLevel most = fribidi_get_par_embedding_levels_ex(
            m_types.data(), m_brackets.data(), count, &base, m_levels.data());
        return most == 0 ? nullptr : m_levels.data();
    }

private:
    std::vector<FriBidiCharType> m_types;
    std::vector<FriBidiBracketType> m_brackets;
    std::vector<FriBidiLevel> m_levels;
};

void registerLevels(const std::string &name, const Text &text)
{
    ZkBidi ours;
    IcuBidi icu;
    ours.setText(text.units.data(), text.size());
    const UBiDiLevel *const levels = icu.levels(text);
    for (int i = 0; i < text.size(); ++i) {
        if (ours.level(i) != levels[i]) {
            differ(name.c_str());
        }
    }
    benchmark::RegisterBenchmark(("levels/" + name + "/zk").c_str(),
                                 [text](benchmark::State &state) {
                                     ZkBidi bidi;
                                     measure(state, text, [&] {
                                         bidi.setText(text.units.data(), text.size());
                                         benchmark::DoNotOptimize(bidi.level(text.size() - 1));
                                     });
                                 });
    benchmark::RegisterBenchmark(
        ("levels/" + name + "/icu").c_str(), [text](benchmark::State &state) {
            IcuBidi bidi;
            measure(state, text, [&] { benchmark::DoNotOptimize(bidi.levels(text)); });
        });
    benchmark::RegisterBenchmark(
        ("levels/" + name + "/fribidi").c_str(), [text](benchmark::State &state) {
            FriBidi bidi(text);
            measure(state, text, [&] { benchmark::DoNotOptimize(bidi.levels(text)); });
        });
}

/// Every boundary that ICU finds, one after the other, as a line breaker asks for them.
int icuBoundaries(UBreakIterator *iterator, const Text &text)
{
    UErrorCode error = U_ZERO_ERROR;
    ubrk_setText(iterator, text.icu(), text.size(), &error);
    int count = 0;
    for (ubrk_first(iterator); ubrk_next(iterator) != UBRK_DONE;) {
        ++count;
    }
    return count;
}

void registerIcuBreaks(const std::string &name, UBreakIteratorType type, const Text &text)
{
    benchmark::RegisterBenchmark(name.c_str(), [type, text](benchmark::State &state) {
        UErrorCode error = U_ZERO_ERROR;
        UBreakIterator *const iterator = ubrk_open(type, "en", nullptr, 0, &error);
        measure(state, text, [&] { benchmark::DoNotOptimize(icuBoundaries(iterator, text)); });
        ubrk_close(iterator);
    });
}

/// Each kind alone, as the peers find it.
void registerBreaks(const std::string &name, const Text &text)
{
    const struct {
        const char *name;
        unsigned flags;
    } kKinds[] = {{"lines", ZkTextBreaks::Lines},
                  {"clusters", ZkTextBreaks::Grapheme},
                  {"words", ZkTextBreaks::Word}};
    for (const auto &kind : kKinds) {
        const unsigned wanted = kind.flags;
        benchmark::RegisterBenchmark(
            (kind.name + ("/" + name) + "/zk").c_str(), [text, wanted](benchmark::State &state) {
                std::vector<std::uint8_t> flags(text.units.size() + 1);
                measure(state, text, [&] {
                    ZkTextBreaks::find(text.units.data(), text.size(), flags.data(),
                                       ZkTextBreaks::BetweenClusters, nullptr, wanted);
                    benchmark::ClobberMemory();
                });
            });
    }
    registerIcuBreaks("lines/" + name + "/icu", UBRK_LINE, text);
    registerIcuBreaks("clusters/" + name + "/icu", UBRK_CHARACTER, text);
    registerIcuBreaks("words/" + name + "/icu", UBRK_WORD, text);
    if (name.rfind("emoji", 0) == 0) {
        return; // libunibreak ends the process at a flag
    }
    benchmark::RegisterBenchmark(
        ("lines/" + name + "/libunibreak").c_str(), [text](benchmark::State &state) {
            std::vector<char> breaks(text.units.size());
            measure(state, text, [&] {
                set_linebreaks_utf16(text.units.data(), text.units.size(), "en", breaks.data());
                benchmark::ClobberMemory();
            });
        });
}

/// One look-up for both beside two.
void registerShared(const std::string &name, const Text &text)
{
    benchmark::RegisterBenchmark(("all/" + name + "/zk").c_str(), [text](benchmark::State &state) {
        ZkTextCharacters characters;
        ZkBidi bidi;
        ZkTextBreaks breaks;
        measure(state, text, [&] {
            characters.setText(text.units.data(), text.size());
            bidi.setText(characters);
            breaks.setText(characters);
            benchmark::DoNotOptimize(breaks.flags());
        });
    });
    benchmark::RegisterBenchmark(("all/" + name + "/zk_apart").c_str(),
                                 [text](benchmark::State &state) {
                                     ZkBidi bidi;
                                     ZkTextBreaks breaks;
                                     measure(state, text, [&] {
                                         bidi.setText(text.units.data(), text.size());
                                         breaks.setText(text.units.data(), text.size());
                                         benchmark::DoNotOptimize(breaks.flags());
                                     });
                                 });
}

/// `Engine` is made on the heap and reads a text twice.
template <typename Engine>
void registerMemory(const std::string &what, const char *who, const Text &text)
{
    const auto told = [](benchmark::State &state, double number) {
        state.SetIterationTime(number * 1e-9);
    };
    benchmark::RegisterBenchmark(
        ("bytes/" + what + "/" + who).c_str(),
        [text, told](benchmark::State &state) {
            for (auto _ : state) {
                const std::size_t before = heapcount::bytes;
                const auto engine = std::make_unique<Engine>();
                engine->read(text);
                told(state, static_cast<double>(heapcount::bytes - before));
            }
            state.SetItemsProcessed(static_cast<std::int64_t>(
                state.iterations() * static_cast<std::int64_t>(text.points.size())));
        })
        ->UseManualTime()
        ->Iterations(1);
    for (const bool isFirst : {true, false}) {
        benchmark::RegisterBenchmark(
            ((isFirst ? "allocations/" : "allocations_again/") + what + "/" + who).c_str(),
            [text, told, isFirst](benchmark::State &state) {
                for (auto _ : state) {
                    Engine engine;
                    if (!isFirst) {
                        engine.read(text);
                    }
                    const std::size_t before = heapcount::calls;
                    engine.read(text);
                    told(state, static_cast<double>(heapcount::calls - before));
                }
            })
            ->UseManualTime()
            ->Iterations(1);
    }
}

class OurLevels
{
public:
    void read(const Text &text) { m_bidi.setText(text.units.data(), text.size()); }

private:
    ZkBidi m_bidi;
};

class IcuLevels
{
public:
    void read(const Text &text) { m_bidi.levels(text); }

private:
    IcuBidi m_bidi;
};

/// The caller keeps the arrays of FriBidi, which has some of its own while it works.
class FriBidiLevels
{
public:
    void read(const Text &text)
    {
        m_bidi = std::make_unique<FriBidi>(text);
        m_bidi->levels(text);
    }

private:
    std::unique_ptr<FriBidi> m_bidi;
};

class OurBreaks
{
public:
    void read(const Text &text) { m_breaks.setText(text.units.data(), text.size()); }

private:
    ZkTextBreaks m_breaks;
};

/// Lines, clusters and words, as ours.
class IcuBreaks
{
public:
    IcuBreaks()
    {
        UErrorCode error = U_ZERO_ERROR;
        m_iterators[0] = ubrk_open(UBRK_LINE, "en", nullptr, 0, &error);
        m_iterators[1] = ubrk_open(UBRK_CHARACTER, "en", nullptr, 0, &error);
        m_iterators[2] = ubrk_open(UBRK_WORD, "en", nullptr, 0, &error);
    }
    ~IcuBreaks()
    {
        for (UBreakIterator *const iterator : m_iterators) {
            ubrk_close(iterator);
        }
    }
    IcuBreaks(const IcuBreaks &) = delete;
    IcuBreaks &operator=(const IcuBreaks &) = delete;

    void read(const Text &text)
    {
        for (UBreakIterator *const iterator : m_iterators) {
            icuBoundaries(iterator, text);
        }
    }

private:
    UBreakIterator *m_iterators[3];
};

void registerMemories(const std::string &name, const Text &text)
{
    registerMemory<OurLevels>("levels/" + name, "zk", text);
    registerMemory<IcuLevels>("levels/" + name, "icu", text);
    registerMemory<FriBidiLevels>("levels/" + name, "fribidi", text);
    registerMemory<OurBreaks>("breaks/" + name, "zk", text);
    registerMemory<IcuBreaks>("breaks/" + name, "icu", text);
}

} // namespace

int main(int argc, char **argv)
{
    init_linebreak();
    for (const Sample &sample : kSamples) {
        for (const int size : kSizes) {
            const Text text(repeated(sample, size));
            const std::string name = std::string(sample.name) + "_" + std::to_string(size);
            registerLevels(name, text);
            registerBreaks(name, text);
            registerShared(name, text);
            registerMemories(name, text);
        }
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
