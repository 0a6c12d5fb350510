// Numbers into strings and back. A string is two blocks of memory and 16-bit
// units, so a peer that writes bytes into a buffer is timed with what it takes
// to make such a string of them, and one that reads bytes with narrowing the
// units first. All write and read the same (checked at the start).

#include <zklocale.h>
#include <zkstring.h>

#include <benchmark/benchmark.h>

#include <double-conversion/double-conversion.h>
#include <fast_float/fast_float.h>
#include <fmt/compile.h>
#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace
{

constexpr int kCount = 1000; // numbers a round

// What a string costs beside its text: a block for the counts and one for the
// units, which are widened into it.
class TwoBlocks
{
public:
    TwoBlocks(const char *text, std::size_t n)
        : m_head(std::malloc(sizeof(ZkString::Data))),
          m_units(static_cast<ZkUcs2 *>(std::malloc((n + 1) * sizeof(ZkUcs2))))
    {
        for (std::size_t i = 0; i < n; ++i) {
            m_units[i] = static_cast<unsigned char>(text[i]);
        }
        m_units[n] = 0;
        benchmark::DoNotOptimize(m_head); // else the compiler leaves the block out
    }

    ~TwoBlocks()
    {
        std::free(m_units);
        std::free(m_head);
    }

    TwoBlocks(const TwoBlocks &) = delete;
    TwoBlocks &operator=(const TwoBlocks &) = delete;

    const ZkUcs2 *constData() const { return m_units; }

private:
    void *m_head;
    ZkUcs2 *m_units;
};

// The units of a number as bytes, with a 0 behind them.
struct Narrowed {
    explicit Narrowed(const ZkString &text) : size(static_cast<std::size_t>(text.size()))
    {
        for (std::size_t i = 0; i < size; ++i) {
            bytes[i] = static_cast<char>(text.constData()[i]);
        }
        bytes[size] = '\0';
    }

    const char *end() const { return bytes + size; }

    std::size_t size;
    char bytes[64];
};

[[noreturn]] void stop(const char *who, const std::string &result, const std::string &expected)
{
    std::fprintf(stderr, "%s gives %s for %s\n", who, result.c_str(), expected.c_str());
    std::exit(1);
}

// How a peer writes a value: into a buffer, returning the end of the text.
template <typename Value>
using Writer = char *(*)(char *, char *, Value);

template <typename Value>
void addWriter(const std::string &name, const char *who, const std::vector<Value> &values,
               Writer<Value> write, ZkString (*ours)(Value))
{
    for (const Value value : values) {
        char buffer[512];
        const std::string text(buffer, write(buffer, std::end(buffer), value));
        if (ours(value).toStdString() != text) {
            stop(who, text, ours(value).toStdString());
        }
    }
    benchmark::RegisterBenchmark((name + "/" + who).c_str(), [&values, write](auto &state) {
        for (auto _ : state) {
            for (const Value value : values) {
                char buffer[512];
                char *end = write(buffer, std::end(buffer), value);
                const TwoBlocks text(buffer, static_cast<std::size_t>(end - buffer));
                benchmark::DoNotOptimize(text.constData());
            }
        }
        state.SetItemsProcessed(state.iterations() * kCount);
    });
}

template <typename Value>
void addOurWriter(const std::string &name, const std::vector<Value> &values,
                  ZkString (*write)(Value))
{
    benchmark::RegisterBenchmark((name + "/zk").c_str(), [&values, write](auto &state) {
        for (auto _ : state) {
            for (const Value value : values) {
                const ZkString text = write(value);
                benchmark::DoNotOptimize(text.constData());
            }
        }
        state.SetItemsProcessed(state.iterations() * kCount);
    });
}

template <typename Value>
using Reader = Value (*)(const Narrowed &);

template <typename Value>
void addReader(const std::string &name, const char *who, const std::vector<ZkString> &texts,
               Reader<Value> read, Value (*ours)(const ZkString &))
{
    for (const ZkString &text : texts) {
        const Value value = read(Narrowed(text)), expected = ours(text);
        if (std::memcmp(&value, &expected, sizeof value) != 0) {
            stop(who, std::to_string(value), text.toStdString());
        }
    }
    benchmark::RegisterBenchmark((name + "/" + who).c_str(), [&texts, read](auto &state) {
        for (auto _ : state) {
            for (const ZkString &text : texts) {
                const Narrowed bytes(text);
                benchmark::DoNotOptimize(read(bytes));
            }
        }
        state.SetItemsProcessed(state.iterations() * kCount);
    });
}

template <typename Value>
void addOurReader(const std::string &name, const std::vector<ZkString> &texts,
                  Value (*read)(const ZkString &))
{
    benchmark::RegisterBenchmark((name + "/zk").c_str(), [&texts, read](auto &state) {
        for (auto _ : state) {
            for (const ZkString &text : texts) {
                benchmark::DoNotOptimize(read(text));
            }
        }
        state.SetItemsProcessed(state.iterations() * kCount);
    });
}

std::vector<double> randomDoubles()
{
    std::mt19937_64 random(1);
    std::vector<double> values;
    while (values.size() < kCount) {
        const std::uint64_t bits = random();
        double value;
        std::memcpy(&value, &bits, sizeof value);
        if (std::isfinite(value)) {
            values.push_back(value);
        }
    }
    return values;
}

// Amounts with two digits behind the point.
std::vector<double> amounts()
{
    std::mt19937_64 random(2);
    std::vector<double> values;
    while (values.size() < kCount) {
        values.push_back(static_cast<double>(random() % 10000000) / 100);
    }
    return values;
}

template <typename Integer>
std::vector<Integer> integers(int mostBits)
{
    std::mt19937_64 random(3);
    std::vector<Integer> values;
    while (values.size() < kCount) {
        values.push_back(static_cast<Integer>(random() >> (64 - mostBits)));
    }
    return values;
}

// The doubles in the shortest form that reads back the same, or with 17 digits.
std::vector<ZkString> textsOf(const std::vector<double> &values, bool shortest)
{
    std::vector<ZkString> texts;
    for (const double value : values) {
        char buffer[64];
        const std::to_chars_result end = shortest ? std::to_chars(buffer, std::end(buffer), value)
                                                  : std::to_chars(buffer, std::end(buffer), value,
                                                                  std::chars_format::general, 17);
        texts.emplace_back(buffer, static_cast<int>(end.ptr - buffer));
    }
    return texts;
}

template <typename Integer>
std::vector<ZkString> textsOf(const std::vector<Integer> &values)
{
    std::vector<ZkString> texts;
    for (const Integer value : values) {
        const std::string text = std::to_string(value);
        texts.emplace_back(text.c_str());
    }
    return texts;
}

const double_conversion::DoubleToStringConverter &converter()
{
    using double_conversion::DoubleToStringConverter;
    static const DoubleToStringConverter made(DoubleToStringConverter::EMIT_POSITIVE_EXPONENT_SIGN,
                                              "inf", "nan", 'e', -6, 21, 6, 0, 2);
    return made;
}

template <int Precision>
ZkString ourGeneral(double value)
{
    return ZkString::number(value, 'g', Precision);
}

template <int Precision>
void addGeneralWriters(const std::string &name, const std::vector<double> &values)
{
    ZkString (*const ours)(double) = ourGeneral<Precision>;
    addOurWriter(name, values, ours);
    addWriter<double>(
        name, "to_chars", values,
        [](char *to, char *end, double value) {
            return std::to_chars(to, end, value, std::chars_format::general, Precision).ptr;
        },
        ours);
    addWriter<double>(
        name, "fmt", values,
        [](char *to, char *, double value) {
            return fmt::format_to(to, FMT_COMPILE("{:.{}g}"), value, Precision);
        },
        ours);
    addWriter<double>(
        name, "snprintf", values,
        [](char *to, char *end, double value) {
            return to +
                   std::snprintf(to, static_cast<std::size_t>(end - to), "%.*g", Precision, value);
        },
        ours);
}

void addFixedWriters(const std::string &name, const std::vector<double> &values)
{
    ZkString (*const ours)(double) = [](double value) { return ZkString::number(value, 'f', 2); };
    addOurWriter(name, values, ours);
    addWriter<double>(
        name, "to_chars", values,
        [](char *to, char *end, double value) {
            return std::to_chars(to, end, value, std::chars_format::fixed, 2).ptr;
        },
        ours);
    addWriter<double>(
        name, "double-conversion", values,
        [](char *to, char *end, double value) {
            double_conversion::StringBuilder builder(to, static_cast<int>(end - to));
            converter().ToFixed(value, 2, &builder);
            return to + builder.position();
        },
        ours);
    addWriter<double>(
        name, "fmt", values,
        [](char *to, char *, double value) {
            return fmt::format_to(to, FMT_COMPILE("{:.2f}"), value);
        },
        ours);
    addWriter<double>(
        name, "snprintf", values,
        [](char *to, char *end, double value) {
            return to + std::snprintf(to, static_cast<std::size_t>(end - to), "%.2f", value);
        },
        ours);
}

void addDoubleReaders(const std::string &name, const std::vector<ZkString> &texts)
{
    double (*const ours)(const ZkString &) = [](const ZkString &text) { return text.toDouble(); };
    addOurReader(name, texts, ours);
    addReader<double>(
        name, "fast_float", texts,
        [](const Narrowed &text) {
            double value = 0;
            fast_float::from_chars(text.bytes, text.end(), value);
            return value;
        },
        ours);
    addReader<double>(
        name, "from_chars", texts,
        [](const Narrowed &text) {
            double value = 0;
            std::from_chars(text.bytes, text.end(), value);
            return value;
        },
        ours);
    addReader<double>(
        name, "double-conversion", texts,
        [](const Narrowed &text) {
            static const double_conversion::StringToDoubleConverter reader(0, 0, 0, "inf", "nan");
            int read = 0;
            return reader.StringToDouble(text.bytes, static_cast<int>(text.size), &read);
        },
        ours);
    addReader<double>(
        name, "strtod", texts,
        [](const Narrowed &text) { return std::strtod(text.bytes, nullptr); }, ours);
}

template <typename Integer>
void addIntegers(const std::string &what, const std::vector<Integer> &values,
                 const std::vector<ZkString> &texts, Integer (*readOurs)(const ZkString &))
{
    ZkString (*const writeOurs)(Integer) = [](Integer value) { return ZkString::number(value); };
    const std::string write = "write_" + what;
    addOurWriter(write, values, writeOurs);
    addWriter<Integer>(
        write, "to_chars", values,
        [](char *to, char *end, Integer value) { return std::to_chars(to, end, value).ptr; },
        writeOurs);
    addWriter<Integer>(
        write, "fmt", values,
        [](char *to, char *, Integer value) {
            const fmt::format_int text(value);
            std::memcpy(to, text.data(), text.size());
            return to + text.size();
        },
        writeOurs);
    const std::string read = "read_" + what;
    addOurReader(read, texts, readOurs);
    addReader<Integer>(
        read, "from_chars", texts,
        [](const Narrowed &text) {
            Integer value = 0;
            std::from_chars(text.bytes, text.end(), value);
            return value;
        },
        readOurs);
}

// One directive or a few, as a status line has them.
template <typename... Values>
void addFormat(const std::string &name, const char *format, Values... values)
{
    const std::string full = "sprintf_" + name;
    char buffer[512];
    std::snprintf(buffer, sizeof buffer, format, values...);
    const std::string ours = ZkString().sprintf(format, values...).toStdString();
    if (ours != buffer) {
        stop("sprintf", ours, buffer);
    }
    benchmark::RegisterBenchmark((full + "/zk").c_str(), [format, values...](auto &state) {
        for (auto _ : state) {
            ZkString text;
            text.sprintf(format, values...);
            benchmark::DoNotOptimize(text.constData());
        }
    });
    benchmark::RegisterBenchmark((full + "/snprintf").c_str(), [format, values...](auto &state) {
        for (auto _ : state) {
            char bytes[512];
            const char *opaque = format; // else the compiler prints some of it itself
            benchmark::DoNotOptimize(opaque);
            const int n = std::snprintf(bytes, sizeof bytes, opaque, values...);
            const TwoBlocks text(bytes, static_cast<std::size_t>(n));
            benchmark::DoNotOptimize(text.constData());
        }
    });
}

// Three values into a sentence, one call of arg() each.
void addArguments()
{
    static const ZkString sentence("%1 of %2 files, %3 bytes");
    benchmark::RegisterBenchmark("arg_three/zk", [](auto &state) {
        for (auto _ : state) {
            const ZkString text = sentence.arg(17).arg(342).arg(1048576LL);
            benchmark::DoNotOptimize(text.constData());
        }
    });
    benchmark::RegisterBenchmark("arg_three/fmt", [](auto &state) {
        for (auto _ : state) {
            char bytes[128];
            int files = 17;
            benchmark::DoNotOptimize(files);
            const char *end =
                fmt::format_to(bytes, "{} of {} files, {} bytes", files, 342, 1048576LL);
            const TwoBlocks text(bytes, static_cast<std::size_t>(end - bytes));
            benchmark::DoNotOptimize(text.constData());
        }
    });
}

} // namespace

int main(int argc, char **argv)
{
    static const std::vector<double> random = randomDoubles(), money = amounts();
    addGeneralWriters<6>("write_6_digits_random", random);
    addGeneralWriters<6>("write_6_digits_amounts", money);
    addGeneralWriters<17>("write_17_digits_random", random);
    addGeneralWriters<17>("write_17_digits_amounts", money);
    addFixedWriters("write_fixed_2_amounts", money);

    static const std::vector<ZkString> randomTexts = textsOf(random, true);
    static const std::vector<ZkString> longTexts = textsOf(random, false);
    static const std::vector<ZkString> moneyTexts = textsOf(money, true);
    addDoubleReaders("read_random", randomTexts);
    addDoubleReaders("read_17_digits", longTexts);
    addDoubleReaders("read_amounts", moneyTexts);

    static const auto small = integers<int>(10);
    static const std::vector<ZkString> smallTexts = textsOf(small);
    addIntegers<int>("int_small", small, smallTexts,
                     [](const ZkString &text) { return text.toInt(); });
    static const auto full = integers<long long>(64);
    static const std::vector<ZkString> fullTexts = textsOf(full);
    addIntegers<long long>("int64", full, fullTexts,
                           [](const ZkString &text) { return text.toLongLong(); });
    static const auto natural = integers<unsigned long long>(64);
    static const std::vector<ZkString> naturalTexts = textsOf(natural);
    addIntegers<unsigned long long>("uint64", natural, naturalTexts,
                                    [](const ZkString &text) { return text.toULongLong(); });

    addFormat("int", "%d", 1234567);
    addFormat("text", "file %s has no pages left", "report.txt");
    addFormat("mixed", "%5d|%-8s|%04x|%c", 42, "abc", 255, 'x');
    addFormat("double", "%.2f of %g", 1234.5, 0.25);
    addArguments();

    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
