#pragma once

#include "FuzzSupport.h"
#include "MPointCloud.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace fuzz {

// What any loaded point cloud must satisfy: colours one per point or none,
// a grid only where it matches the points, and no more points than the
// input could describe (LZF expands a byte to 88 at most, and a point
// takes 12 bytes of a block at least).
inline void checkPointCloud(const ZOLAR3D::MPointCloud &cloud, bool loaded, std::size_t inputSize)
{
    require(loaded == (cloud.numPoints() >= 1), "true exactly when a point was read");
    require(cloud.numColors() == 0 || cloud.hasColors(), "colours one per point or none");
    require(cloud.numNormals() == 0, "no normals from a file");
    require((cloud.height() == 0 && cloud.width() == 0) || cloud.isOrganized2d(), "a grid only where it matches");
    require(std::uint64_t(cloud.numPoints()) * 12 <= 88 * std::uint64_t(inputSize), "points within what the input holds");
    volatile int sink = cloud.numValidPoints();
    for (int i = 0; i < cloud.numPoints(); i += 1 + cloud.numPoints() / 64)
        sink = sink + int(cloud[i].isValid()) + (cloud.hasColors() ? int(cloud.color(i).argb() & 1) : 0);
}

inline bool sameBits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// The number a coordinate becomes in a text file of the given digits.
inline double throughText(double value, int digits)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.*g", digits, value);
    return std::strtod(text, nullptr);
}

// The valid points of a cloud, each mapped as a text file stores it,
// against the points read back from that file, in order.
template <class Map>
bool sameValidPoints(const ZOLAR3D::MPointCloud &written, const ZOLAR3D::MPointCloud &read, Map map)
{
    int at = 0;
    for (int i = 0; i < written.numPoints(); ++i) {
        if (!written[i].isValid())
            continue;
        if (at >= read.numPoints())
            return false;
        const ZOLAR3D::MVector3d expected = map(written[i]);
        for (int c = 0; c < 3; ++c)
            if (!sameBits(read[at].data()[c], expected.data()[c]))
                return false;
        ++at;
    }
    return at == read.numPoints();
}

// Small clouds with invalid points, awkward numbers, colours and grids.
inline std::vector<ZOLAR3D::MPointCloud> seedClouds()
{
    using ZOLAR3D::MVector3d;
    std::vector<ZOLAR3D::MPointCloud> clouds;
    for (const auto &shape : {std::pair{1, 1}, std::pair{1, 7}, std::pair{2, 3}, std::pair{5, 4}}) {
        ZOLAR3D::MPointCloud cloud(shape.first * shape.second);
        for (int i = 0; i < cloud.numPoints(); ++i)
            if (i % 4 != 2)
                cloud[i] = MVector3d(0.125 * i - 1.0, 1e-7 * i, i % 3 == 0 ? -1e12 / (i + 1) : 3.0 + i);
        if (shape.first > 1)
            cloud.setOrganized2d(shape.first, shape.second);
        clouds.push_back(cloud);
        cloud.resizeColors(cloud.numPoints(), ZOLAR3D::MColor::Orange);
        cloud.setColor(0, ZOLAR3D::MColor(int(0x80402010)));
        clouds.push_back(cloud);
    }
    return clouds;
}

inline std::string seedName(const std::string &folder, int n, const char *suffix)
{
    return folder + "/seed" + std::to_string(n) + suffix;
}

} // namespace fuzz
