#ifndef ZKDIGEST_H
#define ZKDIGEST_H

#include <cstddef>
#include <cstdint>
#include <cstring>

/// Part of `zkDigest`: each word changes all that comes after it.
inline std::uint64_t zkDigestMix(std::uint64_t hash, std::uint64_t word)
{
    hash = (hash ^ word) * 0x9E3779B97F4A7C15u;
    return hash ^ hash >> 29;
}

/// A 64-bit digest of bytes, read as words of the machine's order; `seed` chains calls.
/// Tells files apart and finds damage; it is no seal against somebody who wants to fool it.
inline std::uint64_t zkDigest(const void *bytes, std::size_t size, std::uint64_t seed)
{
    const auto *p = static_cast<const std::uint8_t *>(bytes);
    std::uint64_t hash[2] = {zkDigestMix(seed, size), ~seed};
    std::uint64_t words[2];
    for (; size >= sizeof words; size -= sizeof words, p += sizeof words) {
        std::memcpy(words, p, sizeof words);
        hash[0] = zkDigestMix(hash[0], words[0]);
        hash[1] = zkDigestMix(hash[1], words[1]);
    }
    words[0] = words[1] = 0;
    if (size > 0) {
        std::memcpy(words, p, size);
    }
    return zkDigestMix(zkDigestMix(zkDigestMix(hash[0], words[0]), words[1]), hash[1]);
}

#endif
