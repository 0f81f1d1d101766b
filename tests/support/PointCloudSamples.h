#pragma once

#include "MInvalid.h"
#include "MPointCloud.h"

#include <cstdint>
#include <cstring>
#include <random>

namespace ZOLAR3D::test {

// Random points within +-1000 with a share of invalid ones, random colours
// of any alpha when asked, organised when height > 1.
inline MPointCloud randomPointCloud(std::mt19937 &rng, int height, int width, bool withColors, double invalidShare = 0.2)
{
    std::uniform_real_distribution<double> coordinate(-1000.0, 1000.0);
    std::bernoulli_distribution invalid(invalidShare);
    std::uniform_int_distribution<std::uint32_t> argb;
    MPointCloud cloud(height * width);
    for (int i = 0; i < cloud.size(); ++i)
        if (!invalid(rng))
            cloud[i] = MVector3d(coordinate(rng), coordinate(rng), coordinate(rng));
    if (withColors) {
        cloud.resizeColors(cloud.size(), MColor::Gray);
        for (int i = 0; i < cloud.size(); ++i)
            cloud.colors()[i].setArgb(argb(rng));
    }
    if (height > 1)
        cloud.setOrganized2d(height, width);
    return cloud;
}

inline std::uint64_t bitsOf(double value)
{
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

inline std::uint32_t bitsOf(float value)
{
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

// Bitwise equality of two points, so that NaN payloads and signed zeros count.
inline bool samePoint(const MVector3d &a, const MVector3d &b) { return std::memcmp(a.data(), b.data(), 3 * sizeof(double)) == 0; }

} // namespace ZOLAR3D::test
