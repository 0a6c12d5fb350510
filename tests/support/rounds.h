#ifndef ZK_TESTS_ROUNDS_H
#define ZK_TESTS_ROUNDS_H

#include <cstdlib>

/// Where each round of a test takes many times as long: under the sanitizers and on
/// an emulated device.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || !defined(__OPTIMIZE__)
#    define ZK_TESTS_SLOW 1
#elif defined(__has_feature)
#    if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#        define ZK_TESTS_SLOW 1
#    endif
#endif
#if !defined(ZK_TESTS_SLOW) && defined(__arm__)
#    define ZK_TESTS_SLOW 1
#endif

#if defined(ZK_TESTS_SLOW)
constexpr bool kSlowTests = true;
#else
constexpr bool kSlowTests = false;
#endif

/// How often a random test runs: `rounds` times in an optimised build, a tenth of
/// that where rounds are slow; ZK_TEST_FACTOR in the environment multiplies both.
inline int scaledRounds(int rounds)
{
    const char *factor = std::getenv("ZK_TEST_FACTOR");
    return (kSlowTests ? rounds / 10 : rounds) * (factor != nullptr ? std::atoi(factor) : 1);
}

#endif
