#pragma once

#include "MMatrix4.h"
#include "MVector3d.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace ZOLAR3D::test {

// Whether two points agree within `tolerance` in every coordinate, with both
// printed when they do not.
inline ::testing::AssertionResult near(const MVector3d &actual, const MVector3d &expected, double tolerance)
{
    if (actual.equals(expected, tolerance))
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "(" << actual.x() << ", " << actual.y() << ", " << actual.z()
                                         << ") differs from (" << expected.x() << ", " << expected.y() << ", "
                                         << expected.z() << ") by more than " << tolerance;
}

// Reproducible random points, directions and rigid motions for property
// tests of the shapes.
class RandomGeometry {
public:
    explicit RandomGeometry(unsigned seed) : m_engine(seed) {}

    double uniform(double low, double high) { return std::uniform_real_distribution<double>(low, high)(m_engine); }

    // Uniform in the cube [-extent, extent]^3.
    MVector3d point(double extent) { return {uniform(-extent, extent), uniform(-extent, extent), uniform(-extent, extent)}; }

    // Uniform on the unit sphere.
    MVector3d unitVector()
    {
        const double z = uniform(-1.0, 1.0);
        const double angle = uniform(0.0, 2.0 * M_PI);
        const double r = std::sqrt(1.0 - z * z);
        return {r * std::cos(angle), r * std::sin(angle), z};
    }

    // A rotation by random Euler angles followed by a translation within `extent`.
    MMatrix4 rigidMotion(double extent)
    {
        const MMatrix4 rotation = MMatrix4::FromEuler(uniform(-M_PI, M_PI), uniform(-M_PI, M_PI), uniform(-M_PI, M_PI));
        return MMatrix4::Translation(point(extent)) * rotation;
    }

private:
    std::mt19937 m_engine;
};

} // namespace ZOLAR3D::test
