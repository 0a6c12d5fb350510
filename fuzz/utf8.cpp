// Any bytes as UTF-8 into units and back, beside a decoder of one byte at a time.
// Both conversions get buffers without a byte to spare.

#include "stringmodel.h"

#include <zkstring.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace
{

void require(bool holds, const char *what)
{
    if (!holds) {
        std::fprintf(stderr, "%s\n", what);
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string text(data, data + size);
    const model::Units expected = model::decode(text);

    const std::vector<char> in(text.begin(), text.end());
    model::Units units(in.size());
    units.resize(std::size_t(ZkString::utf8ToUcs2(units.data(), in.data(), int(in.size()))));
    require(units == expected, "units differ");

    const model::Units exact(units.begin(), units.end());
    std::vector<char> bytes(exact.size() * 3);
    bytes.resize(std::size_t(ZkString::ucs2ToUtf8(bytes.data(), exact.data(), int(exact.size()))));
    require(std::string(bytes.begin(), bytes.end()) == model::encode(expected), "bytes differ");

    const ZkString string{std::string_view(text)};
    require(model::Units(string.begin(), string.end()) == expected, "string differs");
    require(string.toStdString() == model::encode(expected), "string comes back changed");
    return 0;
}
