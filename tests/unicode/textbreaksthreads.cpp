// What analysis remembers of the characters it has looked up is shared by all threads.

#include <zktextbreaks.h>

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace
{

/// Marks, symbols and letters of many blocks, from `first` on, beside one another.
std::vector<ZkUcs2> textFrom(unsigned first)
{
    std::vector<ZkUcs2> text;
    for (unsigned c = first; c < 0x3000; c += 7) {
        text.push_back(static_cast<ZkUcs2>(c));
        text.push_back(0xD83D);
        text.push_back(static_cast<ZkUcs2>(0xDC00 + c % 0x400));
    }
    return text;
}

std::vector<std::uint8_t> flagsOf(const std::vector<ZkUcs2> &text)
{
    std::vector<std::uint8_t> flags(text.size() + 1);
    ZkTextBreaks::find(text.data(), static_cast<int>(text.size()), flags.data());
    return flags;
}

} // namespace

TEST(TextBreaksThreads, ReadTheSameAsOneAlone)
{
    constexpr unsigned kThreads = 4;
    std::vector<std::vector<std::uint8_t>> found(kThreads);
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < kThreads; ++i) {
        threads.emplace_back([i, &found] {
            const std::vector<ZkUcs2> text = textFrom(0x300 + i);
            for (int round = 0; round < 20; ++round) {
                found[i] = flagsOf(text);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    for (unsigned i = 0; i < kThreads; ++i) {
        EXPECT_EQ(found[i], flagsOf(textFrom(0x300 + i))) << i;
    }
}
