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

    // Rows of cubes along x start at mixed, unrelated buckets, and the cubes
    // of a row follow one another: a scan walked row by row then walks the
    // table nearly in order, while no layout of cubes piles up in a bucket.
    unsigned hash() const
    {
        std::uint64_t row = bits(y) * 0x9E3779B97F4A7C15ull ^ bits(z) * 0xC2B2AE3D27D4EB4Full;
        row ^= row >> 29;
        row *= 0xBF58476D1CE4E5B9ull;
        return static_cast<unsigned>(row >> 32) + static_cast<unsigned>(along(x));
    }

private:
    // The whole number itself while doubles count exactly, the bits beyond.
    static std::uint64_t along(double count)
    {
        return std::fabs(count) < 0x1p52 ? std::uint64_t(std::int64_t(count)) : bits(count);
    }

    static std::uint64_t bits(double v)
    {
        std::uint64_t b;
        std::memcpy(&b, &v, sizeof b);
        return b;
    }
};

// A grid of cubes of one edge length whose cube (0, 0, 0) starts at the
// origin; the points placed in it lie at or above the origin on every axis.
// A point's cube counts are floor((p - origin) x (1 / edge)) per axis.
class MVoxelGrid {
public:
    // The edge is kept between the smallest normal double and the largest
    // finite one: an infinite edge gives one cube for everything, and the
    // reciprocal stays finite.
    MVoxelGrid(const MVector3d &origin, double edge)
        : m_origin(origin), m_edge(std::fmax(std::fmin(edge, DBL_MAX), DBL_MIN)), m_inverse(1.0 / m_edge)
    {
    }

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
    // Offsets are not negative, so truncation floors them; from 2^52 on every
    // double is whole already. A NaN stays NaN and makes a cell of its own.
    // Adding 0 turns a negative zero into the zero that equal cells hash by.
    double count(double offset) const
    {
        const double cubes = offset * m_inverse;
        return (cubes < 0x1p52 ? double(std::int64_t(cubes)) : cubes) + 0.0;
    }

    MVector3d m_origin;
    double m_edge;
    double m_inverse;
};

} // namespace ZOLAR3D
