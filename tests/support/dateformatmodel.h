#ifndef ZK_TESTS_DATEFORMATMODEL_H
#define ZK_TESTS_DATEFORMATMODEL_H

#include <zkdatetime.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

/// Date patterns done by cutting and pasting text, and by the C library's scanner;
/// for tests and fuzz targets. Texts are UTF-8.
namespace dateformatmodel
{

/// Writing, as a list of pieces found one after the other from the left.
inline std::string modelText(const std::string &format, const ZkTime *time, const ZkDate *date)
{
    if (format.empty() || (time && !time->isValid()) || (date && !date->isValid())) {
        return "";
    }
    bool marker = false, quoted = false;
    for (char c : format) {
        quoted ^= c == '\'';
        marker |= !quoted && (c == 'A' || c == 'a');
    }
    const auto number = [](int value, int width) {
        char buffer[32];
        std::snprintf(buffer, sizeof buffer, "%0*d", width, value);
        return std::string(buffer);
    };
    const int hour = time ? time->hour() : 0;
    const int hour12 = hour == 0 ? 12 : hour > 12 ? hour - 12 : hour;
    const int shownHour = marker ? hour12 : hour;
    const int year = date ? date->year() : 0;
    std::string result;
    std::string rest = format;
    quoted = false;
    while (!rest.empty()) {
        const auto takes = [&rest](const char *token) { return rest.rfind(token, 0) == 0; };
        std::size_t length = 1;
        std::string piece = rest.substr(0, 1);
        if (takes("''")) {
            length = 2;
            piece = "'";
        } else if (rest[0] == '\'') {
            quoted = !quoted;
            piece = "";
        } else if (!quoted && time && (rest[0] == 'A' || rest[0] == 'a')) {
            length = rest.size() > 1 && (rest[1] == 'P' || rest[1] == 'p') ? 2 : 1;
            piece = rest[0] == 'A' ? (hour < 12 ? "AM" : "PM") : (hour < 12 ? "am" : "pm");
        } else if (!quoted) {
            struct Token {
                const char *token;
                bool there;
                std::string out;
            };
            const Token tokens[] = {
                {"hh", time != nullptr, number(shownHour, 2)},
                {"HH", time != nullptr, number(hour, 2)},
                {"h", time != nullptr, number(shownHour, 1)},
                {"H", time != nullptr, number(hour, 1)},
                {"mm", time != nullptr, number(time ? time->minute() : 0, 2)},
                {"m", time != nullptr, number(time ? time->minute() : 0, 1)},
                {"ss", time != nullptr, number(time ? time->second() : 0, 2)},
                {"s", time != nullptr, number(time ? time->second() : 0, 1)},
                {"zzz", time != nullptr, number(time ? time->msec() : 0, 3)},
                {"z", time != nullptr, number(time ? time->msec() : 0, 1)},
                {"dd", date != nullptr, number(date ? date->day() : 0, 2)},
                {"d", date != nullptr, number(date ? date->day() : 0, 1)},
                {"MM", date != nullptr, number(date ? date->month() : 0, 2)},
                {"M", date != nullptr, number(date ? date->month() : 0, 1)},
                {"yyyyy", date != nullptr && year <= 0, "-" + number(std::abs(year), 4)},
                {"yyyy", date != nullptr, (year <= 0 ? "-" : "") + number(std::abs(year), 4)},
            };
            for (const Token &token : tokens) {
                if (token.there && takes(token.token)) {
                    length = std::string(token.token).size();
                    piece = token.out;
                    break;
                }
            }
        }
        result += piece;
        rest.erase(0, length);
    }
    return result;
}

/// `pattern` up to the first '%' that is neither "%d" nor "%%", or the 17th number.
inline std::string harmless(const std::string &pattern)
{
    int numbers = 0;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] != '%') {
            continue;
        }
        const char next = i + 1 < pattern.size() ? pattern[i + 1] : '\0';
        if ((next != 'd' && next != '%') || (next == 'd' && ++numbers > 16)) {
            return pattern.substr(0, i);
        }
        ++i;
    }
    return pattern;
}

/// Numbers read by the C library, with room for more of them than are wanted.
inline int scanned(const std::string &in, const std::string &pattern, int (&n)[16])
{
    std::fill(n, n + 16, -1);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
    return std::sscanf(in.c_str(), harmless(pattern).c_str(), &n[0], &n[1], &n[2], &n[3], &n[4],
                       &n[5], &n[6], &n[7], &n[8], &n[9], &n[10], &n[11], &n[12], &n[13], &n[14],
                       &n[15]);
#pragma GCC diagnostic pop
}

struct Place {
    std::size_t position;
    std::size_t length;
    std::string with;
};

inline std::string replaced(std::string format, std::vector<Place> places)
{
    std::sort(places.begin(), places.end(),
              [](const Place &a, const Place &b) { return a.position > b.position; });
    for (const Place &place : places) {
        format.replace(place.position, place.length, place.with);
    }
    return format;
}

/// Position of each of three tokens, longest spelling first; false if one is missing.
inline bool places(const std::string &format,
                   const std::vector<std::vector<std::string>> &spellings,
                   std::vector<Place> &found)
{
    for (const auto &spelling : spellings) {
        std::size_t position = std::string::npos, length = 0;
        for (const std::string &token : spelling) {
            if (position == std::string::npos) {
                position = format.find(token);
                length = token.size();
            }
        }
        if (position == std::string::npos) {
            return false;
        }
        found.push_back({position, length, "%d"});
    }
    return true;
}

/// The three numbers in the order of the tokens.
inline bool threeNumbers(const std::string &in, const std::string &format,
                         const std::vector<Place> &tokens, const std::vector<Place> &others,
                         int (&values)[3])
{
    std::vector<Place> all = tokens;
    all.insert(all.end(), others.begin(), others.end());
    int n[16];
    if (scanned(in, replaced(format, all), n) < 3) {
        return false;
    }
    for (int i = 0; i < 3; ++i) {
        int rank = 0;
        for (const Place &other : tokens) {
            rank += other.position < tokens[std::size_t(i)].position ? 1 : 0;
        }
        values[i] = n[rank];
    }
    return true;
}

inline ZkDate modelDate(const std::string &in, const std::string &format)
{
    std::vector<Place> tokens;
    int n[3];
    if (!places(format, {{"yyyy"}, {"MM", "M"}, {"dd", "d"}}, tokens) ||
        !threeNumbers(in, format, tokens, {}, n)) {
        return ZkDate();
    }
    return ZkDate(n[0], n[1], n[2]);
}

inline int modelHour(int hour, bool am, bool pm)
{
    return hour == 12 ? (am ? 0 : 12) : pm ? hour + 12 : hour;
}

inline ZkTime modelTime(const std::string &in, const std::string &format)
{
    const auto has = [&in](const char *marker) { return in.find(marker) != std::string::npos; };
    std::vector<Place> tokens, markers;
    if (!places(format, {{"hh", "h"}, {"mm", "m"}, {"ss", "s"}}, tokens)) {
        return ZkTime();
    }
    bool am = false, pm = false;
    std::size_t position = format.find("AP");
    if (position != std::string::npos) {
        am = has("AM");
        pm = has("PM");
        markers.push_back({position, 2, am ? "AM" : pm ? "PM" : ""});
    } else if ((position = format.find("ap")) != std::string::npos) {
        am = has("am");
        pm = has("pm");
        markers.push_back({position, 2, am ? "am" : pm ? "pm" : ""});
    }
    int n[3];
    if (!threeNumbers(in, format, tokens, markers, n)) {
        return ZkTime();
    }
    return ZkTime(modelHour(n[0], am, pm), n[1], n[2]);
}

inline ZkDateTime modelDateTime(const std::string &in, const std::string &format)
{
    const auto has = [&in](const char *marker) { return in.find(marker) != std::string::npos; };
    if (in.empty() || format.empty()) {
        return ZkDateTime();
    }
    struct Record {
        int position, value, field;
    } records[6];
    for (int i = 0; i < 6; ++i) {
        records[i] = {-1, -1, i};
    }
    std::string pattern;
    const std::string letters = "yMdhms";
    for (std::size_t i = 0; i < format.size();) {
        const char c = format[i];
        const std::size_t field = letters.find(c);
        if (field == std::string::npos && c != 'A' && c != 'a') {
            pattern += c;
            ++i;
            continue;
        }
        if (i + 1 == format.size()) {
            break;
        }
        if (format.compare(i, 2, "AP") == 0) {
            pattern += has("AM") ? "AM" : has("PM") ? "PM" : "";
            i += 2;
        } else if (format.compare(i, 2, "ap") == 0) {
            pattern += has("am") ? "am" : has("pm") ? "pm" : "";
            i += 2;
        } else if (c == 'A' || c == 'a' || (c == 'y' && format.compare(i, 4, "yyyy") != 0)) {
            ++i;
        } else {
            records[field].position = int(i);
            pattern += "%d";
            i += c == 'y' ? 4 : format[i + 1] == c ? 2 : 1;
        }
    }
    for (const Record &record : records) {
        if (record.position < 0) {
            return ZkDateTime();
        }
    }
    for (int i = 0; i < 6; ++i) {
        for (int j = i + 1; j < 6; ++j) {
            if (records[j].position < records[i].position) {
                std::swap(records[i], records[j]);
            }
        }
    }
    int n[16], value[6];
    if (scanned(in, pattern, n) < 6) {
        return ZkDateTime();
    }
    for (int i = 0; i < 6; ++i) {
        value[records[i].field] = n[i];
    }
    const int hour = modelHour(value[3], has("AM") || has("am"), has("pm") || has("PM"));
    return ZkDateTime(ZkDate(value[0], value[1], value[2]), ZkTime(hour, value[4], value[5]));
}

} // namespace dateformatmodel

#endif
