#pragma once

#include "MInvalid.h"
#include "MPointCloud.h"

#include <cmath>
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

// Appends a rows x cols grid origin + u * (col * spacing) + v * (row * spacing).
inline void addGrid(MPointCloud &cloud, int rows, int cols, double spacing, const MVector3d &origin, const MVector3d &u,
                    const MVector3d &v)
{
    for (int r = 0; r < rows; ++r)
        for (int c = 0; c < cols; ++c)
            cloud.add(origin + u * (c * spacing) + v * (r * spacing));
}

// Appends n points spread evenly over a sphere along a golden-angle spiral.
inline void addSphere(MPointCloud &cloud, int n, double radius, const MVector3d &centre)
{
    const double golden = M_PI * (3.0 - std::sqrt(5.0));
    for (int i = 0; i < n; ++i) {
        const double z = 1.0 - 2.0 * (i + 0.5) / n;
        const double ring = std::sqrt(1.0 - z * z);
        cloud.add(centre + MVector3d(ring * std::cos(golden * i), ring * std::sin(golden * i), z) * radius);
    }
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
