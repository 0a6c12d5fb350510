#ifndef ZKFUZZY_H
#define ZKFUZZY_H

#include <cmath>

/// Whether two numbers are the same but for rounding: they differ by at most
/// 0.00001 times the smaller magnitude. Nothing but 0 is that close to 0.
inline bool zkFuzzyEqual(float a, float b)
{
    const float absA = std::fabs(a);
    const float absB = std::fabs(b);
    return std::fabs(a - b) <= 0.00001F * (absA < absB ? absA : absB);
}

#endif
