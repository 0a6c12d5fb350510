#include "stringedits.h"

#include <gtest/gtest.h>

#include <random>

// Fixed seeds: the same edits on every machine.
TEST(ZkStringEdit, RandomEditsKeepTextCapacityAndSharingLikeTheModel)
{
    for (unsigned seed = 1; seed <= 400; ++seed) {
        std::mt19937 random(seed);
        std::vector<std::uint8_t> bytes(2000);
        for (std::uint8_t &byte : bytes) {
            byte = static_cast<std::uint8_t>(random());
        }
        ASSERT_EQ(StringEdits(bytes.data(), bytes.size()).run(), "") << "seed " << seed;
    }
}
