#ifndef ZK_TESTS_FONTEDIT_H
#define ZK_TESTS_FONTEDIT_H

#include <cstdint>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

/// The bytes of an OpenType font, whose tables can be found and replaced.
class FontEdit
{
public:
    explicit FontEdit(const std::string &path)
    {
        if (std::FILE *const file = std::fopen(path.c_str(), "rb")) {
            unsigned char part[65536];
            while (const std::size_t size = std::fread(part, 1, sizeof part, file)) {
                bytes.insert(bytes.end(), part, part + size);
            }
            std::fclose(file);
        }
    }

    /// First byte and length of a table; (0, 0) when there is none.
    std::pair<std::size_t, std::size_t> table(const char *tag) const
    {
        const std::size_t at = record(tag);
        return at == 0 ? std::make_pair(std::size_t(0), std::size_t(0))
                       : std::make_pair(number(at + 8), number(at + 12));
    }

    /// Puts another table in its place, behind all others.
    void replace(const char *tag, const std::string &table)
    {
        const std::size_t at = record(tag);
        while (bytes.size() % 4 != 0) {
            bytes.push_back(0);
        }
        put(at + 8, bytes.size());
        put(at + 12, table.size());
        bytes.insert(bytes.end(), table.begin(), table.end());
    }

    std::vector<unsigned char> bytes;

private:
    std::size_t number(std::size_t at) const
    {
        return (std::size_t(bytes[at]) << 24) | (std::size_t(bytes[at + 1]) << 16) |
               (std::size_t(bytes[at + 2]) << 8) | bytes[at + 3];
    }
    void put(std::size_t at, std::size_t value)
    {
        for (std::size_t i = 0; i < 4; ++i) {
            bytes[at + i] = static_cast<unsigned char>(value >> (24 - 8 * i));
        }
    }
    /// Where the directory tells of a table; 0 when it does not.
    std::size_t record(const char *tag) const
    {
        const std::size_t count = bytes.size() < 12 ? 0 : (std::size_t(bytes[4]) << 8) | bytes[5];
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t at = 12 + 16 * i;
            if (std::equal(tag, tag + 4, bytes.begin() + static_cast<std::ptrdiff_t>(at))) {
                return at;
            }
        }
        return 0;
    }
};

#endif
