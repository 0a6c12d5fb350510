// A device's day: scrolls through text in many scripts, sizes and styles, and tells
// at intervals how much memory that takes.
//
//     example_soak FONT.otf CHARACTERS LIMIT TEXT.txt...
//
// makes paragraphs of the words of the text files, CHARACTERS in all, and draws them
// one below the other on a small screen while the pixels of the cache are limited to
// LIMIT bytes. Prints a table; sizes in bytes, but for resident memory:
//
//     characters   drawn so far
//     resident     of the process, in KiB
//     peak         the most of that so far
//     held         pixels held when a text is started: the most so far
//     most         pixels held at any time: the most so far
//     text         pixels of the glyphs of one text alone: the most so far
//
// A text that is started trims the cache when the limit is reached, and then takes
// what glyphs it needs: held < LIMIT, and most < LIMIT + text.

#include "canvas.h"
#include "paragraph.h"
#include "textblock.h"

#include <zkfontcache.h>
#include <zkfontengine.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace
{

constexpr int kWidth = 320, kHeight = 240;
constexpr int kIntervals = 10;
const host::Color kPaper = {252, 252, 250, 255};

/// The words of one text file.
typedef std::vector<ZkString> Words;

Words readWords(const std::string &path)
{
    std::ifstream file(path);
    Words words;
    std::string problem;
    for (std::string word; file >> word;) {
        ZkString text;
        int leftOut = 0;
        if (host::textFromUtf8(word, &text, &leftOut, &problem) && !text.isEmpty()) {
            words.push_back(text);
        }
    }
    return words;
}

/// Paragraphs without end, the same ones on every run.
class Reading
{
public:
    explicit Reading(std::vector<Words> languages) : m_languages(std::move(languages)) {}

    /// A few dozen characters in one language, in one font.
    host::TextRequest next();

private:
    std::size_t below(std::size_t n) { return m_random() % n; }

    std::vector<Words> m_languages;
    std::mt19937 m_random{20260401};
};

host::TextRequest Reading::next()
{
    const ZkFont kFonts[] = {
        ZkFont(16, false, false, false, false), // text
        ZkFont(16, false, true, false, false),  // what stands out in it
        ZkFont(20, true, false, false, false),  // remarks
        ZkFont(32, false, false, true, true),   // titles
    };
    const Words &words = m_languages[below(m_languages.size())];
    host::TextRequest request;
    request.font = kFonts[below(std::size(kFonts))];
    request.width = kWidth;
    const std::size_t size = 20 + below(120);
    while (static_cast<std::size_t>(request.text.size()) < size) {
        if (!request.text.isEmpty()) {
            request.text.append(" ");
        }
        request.text.append(words[below(words.size())]);
    }
    return request;
}

/// A number of /proc/self/status, in KiB.
long processMemory(const std::string &name)
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.compare(0, name.size(), name) == 0) {
            return std::strtol(line.c_str() + name.size(), nullptr, 10);
        }
    }
    return 0;
}

/// The bytes of pixels of the different glyphs on these lines.
int pixelsOf(const std::vector<host::PlacedLine> &lines)
{
    std::set<const GlyphBitmap *> glyphs;
    int bytes = 0;
    for (const host::PlacedLine &line : lines) {
        for (const host::PlacedGlyph &placed : line.glyphs) {
            if (glyphs.insert(placed.glyph).second) {
                bytes += placed.glyph->width * placed.glyph->height;
            }
        }
    }
    return bytes;
}

/// The most that was seen of each number of pixel bytes.
struct Pixels {
    int held = 0;
    int most = 0;
    int text = 0;
};

/// Scrolls the screen up by one paragraph and draws that at the bottom.
void scrollIn(host::Canvas &screen, const host::TextRequest &request, Pixels *pixels)
{
    const ZkFontCache &cache = *ZkFontCache::instance();
    const ZkFontEngine started; // trims, as the layout would
    pixels->held = std::max(pixels->held, cache.pixelBytes());
    host::TextBlock block(request);
    const int rows = std::min(block.size().height(), kHeight);
    screen.setClip(screen.bounds());
    screen.scroll(-rows);
    screen.setClip(ZkRect(0, kHeight - rows, kWidth - 1, kHeight - 1));
    screen.fill(screen.bounds(), kPaper);
    block.place(0, kHeight - rows, 0);
    block.paint(screen, {{31, 41, 55, 255}, {251, 191, 36, 255}});
    pixels->text = std::max(pixels->text, pixelsOf(block.lines()));
    pixels->most = std::max(pixels->most, cache.pixelBytes());
}

void run(Reading reading, long characters)
{
    host::Canvas screen(kWidth, kHeight, kPaper);
    Pixels pixels;
    std::printf("%10s %8s %8s %8s %8s %8s\n", "characters", "resident", "peak", "held", "most",
                "text");
    long drawn = 0;
    for (int interval = 1; interval <= kIntervals; ++interval) {
        while (drawn < characters / kIntervals * interval) {
            const host::TextRequest request = reading.next();
            scrollIn(screen, request, &pixels);
            drawn += request.text.size();
        }
        const long resident = processMemory("VmRSS:");
        const long peak = std::max(processMemory("VmHWM:"), resident); // the kernel counts late
        std::printf("%10ld %8ld %8ld %8d %8d %8d\n", drawn, resident, peak, pixels.held,
                    pixels.most, pixels.text);
        std::fflush(stdout);
    }
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 5) {
        std::fprintf(stderr, "usage: example_soak FONT.otf CHARACTERS LIMIT TEXT.txt...\n");
        return 2;
    }
    char *countEnd = nullptr, *limitEnd = nullptr;
    const long count = std::strtol(argv[2], &countEnd, 10);
    const long limit = std::strtol(argv[3], &limitEnd, 10);
    if (*argv[2] == '\0' || *countEnd != '\0' || count < 1 || *argv[3] == '\0' ||
        *limitEnd != '\0' || limit < -1 || limit > INT_MAX) {
        std::fprintf(stderr, "example_soak: CHARACTERS wants a number above 0, LIMIT bytes or "
                             "-1 for none\n");
        return 2;
    }
    std::vector<Words> languages;
    for (int i = 4; i < argc; ++i) {
        languages.push_back(readWords(argv[i]));
        if (languages.back().empty()) {
            std::fprintf(stderr, "example_soak: no words in %s\n", argv[i]);
            return 1;
        }
    }
    ZkFontMetrics::setFontFile(argv[1], static_cast<int>(limit));
    run(Reading(std::move(languages)), count);
    return std::fflush(stdout) == 0 && std::ferror(stdout) == 0 ? 0 : 1;
}
