#pragma once

#include "MVector3d.h"

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace ZOLAR3D {

// The position of a cube of a regular grid, counted in cubes from the grid's
// origin along each axis. The counts are whole numbers held as doubles: they
// stay exact up to 2^53 cubes per axis, where integers of any width would
// have to saturate or wrap, and merge only neighbouring cubes beyond that.
struct MVoxelCell {
    double x, y, z;

    bool operator==(const MVoxelCell &o) const { return x == o.x && y == o.y && z == o.z; }

    // Multiplicative mixing, so that neighbouring cubes land in unrelated
    // buckets whatever the bucket count.
    unsigned hash() const
    {
        std::uint64_t h = bits(x) * 0x9E3779B97F4A7C15ull ^ bits(y) * 0xC2B2AE3D27D4EB4Full ^
                          bits(z) * 0x165667B19E3779F9ull;
        h ^= h >> 29;
        h *= 0xBF58476D1CE4E5B9ull;
        return static_cast<unsigned>(h >> 32);
    }

private:
    static std::uint64_t bits(double v)
    {
        std::uint64_t b;
        std::memcpy(&b, &v, sizeof b);
        return b;
    }
};

// A grid of cubes of one edge length whose cube (0, 0, 0) starts at the
// origin; the points placed in it lie at or above the origin on every axis.
class MVoxelGrid {
public:
    // An infinite edge becomes the largest finite one: a single cube then
    // holds everything, and corners stay finite.
    MVoxelGrid(const MVector3d &origin, double edge) : m_origin(origin), m_edge(std::fmin(edge, DBL_MAX)) {}

    double edge() const { return m_edge; }

    MVoxelCell cellOf(const MVector3d &p) const
    {
        return {count(p.x() - m_origin.x()), count(p.y() - m_origin.y()), count(p.z() - m_origin.z())};
    }

    MVector3d cornerOf(const MVoxelCell &cell) const
    {
        return {m_origin.x() + cell.x * m_edge, m_origin.y() + cell.y * m_edge, m_origin.z() + cell.z * m_edge};
    }

private:
    // Adding 0 turns a negative zero into the zero that equal cells hash by.
    double count(double offset) const { return std::floor(offset / m_edge) + 0.0; }

    MVector3d m_origin;
    double m_edge;
};

} // namespace ZOLAR3D
