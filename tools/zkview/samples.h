#ifndef ZKVIEW_SAMPLES_H
#define ZKVIEW_SAMPLES_H

#include <string>
#include <vector>

namespace zkview
{

/// A paragraph to look at, in UTF-8.
struct Sample {
    const char *name;
    std::string text;
};

/// One for each script.
const std::vector<Sample> &samples();

} // namespace zkview

#endif
