#include "face.h"
#include "json.h"
#include "options.h"

#include <zkscriptrules.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <set>

namespace zktext
{

namespace
{

struct CoverageCommand {
    FontOptions font;
    std::string output = "-";
    bool json = false;
    bool all = false;
};

typedef std::set<unsigned> Codes;

struct Range {
    unsigned first;
    unsigned last;
};

/// Characters of one script that a device may have to show.
struct Group {
    const char *name;
    Codes codes;
};

Codes codesOf(std::initializer_list<Range> ranges)
{
    Codes codes;
    for (const Range &range : ranges) {
        for (unsigned code = range.first; code <= range.last; ++code) {
            codes.insert(code);
        }
    }
    return codes;
}

/// What the library's shaping makes of each letter beside letters that join and
/// beside none. Shaping three units and reversing them leaves the middle one in
/// the middle.
Codes shapedForms(const Codes &letters)
{
    const ZkUcs2 kBeh = 0x0628; // joins on both sides
    Codes forms;
    for (const unsigned letter : letters) {
        for (const ZkUcs2 before : {ZkUcs2(0), kBeh}) {
            for (const ZkUcs2 after : {ZkUcs2(0), kBeh}) {
                ZkUcs2 text[3];
                int length = 0;
                if (before) {
                    text[length++] = before;
                }
                text[length++] = static_cast<ZkUcs2>(letter);
                if (after) {
                    text[length++] = after;
                }
                arabicRulesConvert(text, length);
                forms.insert(text[after ? 1 : 0]);
            }
        }
    }
    return forms;
}

/// The ligatures of LAM with each ALEF, alone and behind a letter that joins.
Codes lamAlefForms()
{
    const ZkUcs2 kBeh = 0x0628, kLam = 0x0644;
    Codes forms;
    for (const ZkUcs2 alef : {ZkUcs2(0x0622), ZkUcs2(0x0623), ZkUcs2(0x0625), ZkUcs2(0x0627)}) {
        ZkUcs2 alone[2] = {kLam, alef};
        ZkUcs2 joined[3] = {kBeh, kLam, alef};
        arabicRulesConvert(alone, 2);
        arabicRulesConvert(joined, 3);
        forms.insert(alone[1]);
        forms.insert(joined[1]);
    }
    return forms;
}

std::vector<Group> allGroups()
{
    const Codes arabic = codesOf({{0x0621, 0x063A}, {0x0641, 0x064A}});
    const Codes persian = {0x067E, 0x0686, 0x0698, 0x06A9, 0x06AF, 0x06CC};
    return {
        {"Latin, basic", codesOf({{0x20, 0x7E}})},
        {"Latin, western Europe", codesOf({{0xA0, 0xFF}})},
        {"Latin, extended A", codesOf({{0x100, 0x17F}})},
        {"Arabic letter forms", shapedForms(arabic)},
        {"Arabic lam-alef", lamAlefForms()},
        {"Persian letter forms", shapedForms(persian)},
        {"Arabic marks and signs", codesOf({{0x060C, 0x060C},
                                            {0x061B, 0x061B},
                                            {0x061F, 0x061F},
                                            {0x0640, 0x0640},
                                            {0x064B, 0x0652}})},
        {"Arabic digits", codesOf({{0x0660, 0x0669}})},
        {"Persian digits", codesOf({{0x06F0, 0x06F9}})},
        {"Hebrew letters", codesOf({{0x05D0, 0x05EA}})},
        {"Hebrew points", codesOf({{0x05B0, 0x05BC}, {0x05C1, 0x05C2}})},
        {"Thai", codesOf({{0x0E01, 0x0E3A}, {0x0E3F, 0x0E5B}})},
        {"Hiragana", codesOf({{0x3041, 0x3093}, {0x309B, 0x309E}})},
        {"Katakana", codesOf({{0x30A1, 0x30FE}})},
        {"CJK punctuation", codesOf({{0x3000, 0x3002}, {0x3008, 0x3011}, {0xFF01, 0xFF5E}})},
        {"Han", codesOf({{0x4E00, 0x9FA5}})},
        {"Han, later additions", codesOf({{0x9FA6, 0x9FCF}})},
        {"Hangul syllables", codesOf({{0xAC00, 0xD7A3}})},
    };
}

/// The characters of a group that the font lacks, as ranges of neighbouring codes.
std::vector<Range> gapsOf(const Group &group, FT_Face face, int *missing)
{
    std::vector<Range> gaps;
    *missing = 0;
    for (const unsigned code : group.codes) {
        if (FT_Get_Char_Index(face, code) != 0) {
            continue;
        }
        ++*missing;
        if (!gaps.empty() && gaps.back().last + 1 == code) {
            gaps.back().last = code;
        } else {
            gaps.push_back({code, code});
        }
    }
    return gaps;
}

std::string rangeName(const Range &range)
{
    const std::string first = codeName(range.first);
    return range.first == range.last ? first : first + ".." + codeName(range.last);
}

/// The gaps as indented lines; the last words tell how many ranges are not shown.
std::string gapLines(const std::vector<Range> &gaps, bool all)
{
    constexpr std::size_t kShown = 12, kLineLength = 76;
    std::string out, line = "   ";
    const std::size_t shown = all ? gaps.size() : std::min(gaps.size(), kShown);
    for (std::size_t i = 0; i < shown; ++i) {
        const std::string name = ' ' + rangeName(gaps[i]);
        if (line.size() + name.size() > kLineLength) {
            out += line + '\n';
            line = "   ";
        }
        line += name;
    }
    if (shown < gaps.size()) {
        line += " and " + std::to_string(gaps.size() - shown) + " more (--all)";
    }
    return gaps.empty() ? out : out + line + '\n';
}

std::string toTable(FT_Face face, bool all)
{
    std::string out;
    for (const Group &group : allGroups()) {
        int missing = 0;
        const std::vector<Range> gaps = gapsOf(group, face, &missing);
        const int total = static_cast<int>(group.codes.size());
        char line[80];
        std::snprintf(line, sizeof line, "%-24s %6d of %6d  %3d %%\n", group.name, total - missing,
                      total, (total - missing) * 100 / total);
        out += line + gapLines(gaps, all);
    }
    return out;
}

std::string toJson(FT_Face face)
{
    Json json;
    json.open('{').key("groups").open('[');
    for (const Group &group : allGroups()) {
        int missing = 0;
        const std::vector<Range> gaps = gapsOf(group, face, &missing);
        const int total = static_cast<int>(group.codes.size());
        json.open('{', true).key("name").string(group.name).key("total").number(total);
        json.key("present").number(total - missing).key("gaps").open('[');
        for (const Range &gap : gaps) {
            json.open('[').string(codeName(gap.first)).string(codeName(gap.last)).close();
        }
        json.close().close();
    }
    json.close().close();
    return json.text();
}

void report(const CoverageCommand &command)
{
    const host::FaceFile font(command.font.path());
    write(command.output, command.json ? toJson(font.face()) : toTable(font.face(), command.all));
}

} // namespace

void addCoverage(CLI::App &program)
{
    CLI::App *command = program.add_subcommand(
        "coverage", "Tell which characters of the supported scripts a font has");
    auto options = std::make_shared<CoverageCommand>();
    options->font.addFile(*command);
    command->add_flag("--json", options->json, "As JSON instead of a table");
    command->add_flag("--all", options->all, "List every gap in the table");
    command->add_option("-o,--output", options->output, "File; '-' is standard output")
        ->capture_default_str();
    command->callback([options] { report(*options); });
}

} // namespace zktext
