#include "zksize.h"

#include <cstring>

namespace
{

// True for +0 alone. A size of -0 goes on to the division.
bool isPlusZero(float value)
{
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits == 0;
}

// Whether the side that follows the box's height is the one to take.
template <typename Number>
bool takesHeight(Number followingWidth, Number boxWidth, Zk::AspectRatioMode mode)
{
    return mode == Zk::KeepAspect ? followingWidth <= boxWidth : followingWidth >= boxWidth;
}

} // namespace

void ZkSize::scale(const ZkSize &box, Zk::AspectRatioMode mode)
{
    if (mode == Zk::IgnoreAspect || m_width == 0 || m_height == 0) {
        *this = box;
        return;
    }
    const std::int64_t followingWidth =
        static_cast<std::int64_t>(box.m_height) * m_width / m_height;
    if (takesHeight<std::int64_t>(followingWidth, box.m_width, mode)) {
        *this = ZkSize(zkWrapped(followingWidth), box.m_height);
    } else {
        *this = ZkSize(box.m_width,
                       zkWrapped(static_cast<std::int64_t>(box.m_width) * m_height / m_width));
    }
}

void ZkSizeF::scale(const ZkSizeF &box, Zk::AspectRatioMode mode)
{
    if (mode == Zk::IgnoreAspect || isPlusZero(m_width) || isPlusZero(m_height)) {
        *this = box;
        return;
    }
    const float followingWidth = box.m_height * m_width / m_height;
    if (takesHeight(followingWidth, box.m_width, mode)) {
        *this = ZkSizeF(followingWidth, box.m_height);
    } else {
        *this = ZkSizeF(box.m_width, box.m_width * m_height / m_width);
    }
}
