#include "zkline.h"

#include "geometry/zkfuzzy.h"

#include <cmath>

namespace
{

constexpr float kDegreesPerRadian = 57.29578F;
constexpr float kRadiansPerDegree = 0.017453292F;

// An angle this near to the full turn is called 0.
bool isFullTurn(float degrees)
{
    return zkFuzzyEqual(degrees, 360.0F);
}

} // namespace

ZkLineF ZkLineF::fromPolar(float length, float degrees)
{
    const float radians = degrees * kRadiansPerDegree;
    return ZkLineF(0, 0, std::cos(radians) * length, -std::sin(radians) * length);
}

bool ZkLineF::isNull() const
{
    return zkFuzzyEqual(m_x1, m_x2) && zkFuzzyEqual(m_y1, m_y2);
}

float ZkLineF::length() const
{
    return std::sqrt(dx() * dx() + dy() * dy());
}

float ZkLineF::angle() const
{
    float degrees = std::atan2(-dy(), dx()) * kDegreesPerRadian;
    if (degrees < 0) {
        degrees += 360.0F;
    }
    return isFullTurn(degrees) ? 0.0F : degrees;
}

void ZkLineF::setAngle(float degrees)
{
    const float radians = degrees * kRadiansPerDegree;
    const float keptLength = length();
    m_x2 = m_x1 + std::cos(radians) * keptLength;
    m_y2 = m_y1 - std::sin(radians) * keptLength;
}

ZkLineF ZkLineF::unitVector() const
{
    const float divisor = length();
    return ZkLineF(m_x1, m_y1, m_x1 + dx() / divisor, m_y1 + dy() / divisor);
}

float ZkLineF::angleTo(const ZkLineF &line) const
{
    if (isNull() || line.isNull()) {
        return 0;
    }
    // Neither angle is so near to a full turn that it counts as one, nor is what is left of it.
    const float turn = line.angle() - angle();
    return turn < 0 ? turn + 360.0F : turn;
}

float ZkLineF::angle(const ZkLineF &line) const
{
    if (isNull() || line.isNull()) {
        return 0;
    }
    const float cosine = (dx() * line.dx() + dy() * line.dy()) / (length() * line.length());
    if (!(cosine >= -1.0F && cosine <= 1.0F)) {
        return 0; // a NaN ends here too
    }
    return std::acos(cosine) * kDegreesPerRadian;
}
