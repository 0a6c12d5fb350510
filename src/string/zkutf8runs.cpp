#include "string/zkutf8blocks.h"

#if defined(__ARM_NEON)

#    include "string/zkutf8neon.h"

std::ptrdiff_t zkWidenAscii(ZkUcs2 *out, const unsigned char *in, std::ptrdiff_t n)
{
    constexpr int kOne = ZkUtf8Blocks::kAscii, kMany = ZkUtf8Blocks::kManyAscii;
    std::ptrdiff_t done = 0;
    if (n < kOne || !ZkUtf8Blocks::widen(out, in)) { // most runs are short
        return done;
    }
    done = kOne;
    while (n - done >= kMany && ZkUtf8Blocks::widenMany(out + done, in + done)) {
        done += kMany;
    }
    while (n - done >= kOne && ZkUtf8Blocks::widen(out + done, in + done)) {
        done += kOne;
    }
    return done;
}

std::ptrdiff_t zkNarrowAscii(unsigned char *out, const ZkUcs2 *in, std::ptrdiff_t n)
{
    constexpr int kOne = ZkUtf8Blocks::kAscii;
    std::ptrdiff_t done = 0;
    while (n - done >= kOne && ZkUtf8Blocks::narrow(out + done, in + done)) {
        done += kOne;
    }
    return done;
}

std::ptrdiff_t zkDecodeTriples(ZkUcs2 *out, const unsigned char *in, std::ptrdiff_t n)
{
    constexpr int kOne = ZkUtf8Blocks::kTriples;
    std::ptrdiff_t done = 0;
    while (n - 3 * done >= 3 * kOne && ZkUtf8Blocks::decodeTriples(out + done, in + 3 * done)) {
        done += kOne;
    }
    return done;
}

std::ptrdiff_t zkEncodeTriples(unsigned char *out, const ZkUcs2 *in, std::ptrdiff_t n)
{
    constexpr int kOne = ZkUtf8Blocks::kTriples;
    std::ptrdiff_t done = 0;
    while (n - done >= kOne && ZkUtf8Blocks::encodeTriples(out + 3 * done, in + done)) {
        done += kOne;
    }
    return done;
}

bool zkWidenFew(ZkUcs2 *out, const unsigned char *in, std::ptrdiff_t n)
{
    return ZkUtf8Blocks::widenFew(out, in, n);
}

bool zkNarrowFew(unsigned char *out, const ZkUcs2 *in, std::ptrdiff_t n)
{
    return ZkUtf8Blocks::narrowFew(out, in, n);
}

#endif
