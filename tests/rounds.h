#ifndef ZK_TESTS_ROUNDS_H
#define ZK_TESTS_ROUNDS_H

/// How often a random test runs: all of `rounds` in an optimised build for this
/// machine, few where each round takes many times as long (sanitizers, an emulated
/// device).
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
constexpr int scaledRounds(int rounds)
{
    return rounds / 100;
}
#else
constexpr int scaledRounds(int rounds)
{
    return rounds;
}
#endif

#endif
