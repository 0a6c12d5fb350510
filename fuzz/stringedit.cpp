// Edits of four strings that may share their blocks, beside a model that keeps
// text, capacity and sharing. Each byte chooses an edit or one of its arguments.

#include "stringedits.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string difference = StringEdits(data, size).run();
    if (!difference.empty()) {
        std::fprintf(stderr, "%s\n", difference.c_str());
        std::abort();
    }
    return 0;
}
