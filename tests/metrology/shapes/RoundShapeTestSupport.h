#pragma once

#include "GeometryTestSupport.h"
#include "MMatrix4.h"
#include "MVector3d.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace ZOLAR3D::test {

constexpr double TestPi = 3.141592653589793;

// A parameter range of a surface. A periodic parameter (an angle) is never
// clamped: the search may move past either end of its period.
struct ParameterRange {
    double low, high;
    bool periodic = false;

    double clamp(double t) const { return periodic ? t : std::min(std::max(t, low), high); }
    bool canMoveBelow(double t) const { return periodic || t > low; }
    bool canMoveAbove(double t) const { return periodic || t < high; }
};

inline ParameterRange angleRange() { return {0.0, 2.0 * TestPi, true}; }

// The smallest distance from p to a two-parameter surface: a steps x steps
// grid over the ranges, then finer grids around the best sample, moved along
// without shrinking while the best sample lies on an edge that can still
// move, so that the answer is good to far below the first grid's spacing.
template <class Surface>
double sampledDistance(const Surface &surface, const ParameterRange &uRange, const ParameterRange &vRange, int steps,
                       const MVector3d &p)
{
    double best = std::numeric_limits<double>::max();
    double centreU = 0.5 * (uRange.low + uRange.high), centreV = 0.5 * (vRange.low + vRange.high);
    double halfU = 0.5 * (uRange.high - uRange.low), halfV = 0.5 * (vRange.high - vRange.low);
    const double stopU = 1e-10 * halfU, stopV = 1e-10 * halfV;
    for (int round = 0; round < 500 && (halfU > stopU || halfV > stopV); ++round) {
        const double lowU = uRange.clamp(centreU - halfU), highU = uRange.clamp(centreU + halfU);
        const double lowV = vRange.clamp(centreV - halfV), highV = vRange.clamp(centreV + halfV);
        int bestI = -1, bestJ = -1;
        for (int i = 0; i <= steps; ++i) {
            const double u = lowU + (highU - lowU) * i / steps;
            for (int j = 0; j <= steps; ++j) {
                const double v = lowV + (highV - lowV) * j / steps;
                const double d = (surface(u, v) - p).norm();
                if (d < best) {
                    best = d;
                    bestI = i;
                    bestJ = j;
                    centreU = u;
                    centreV = v;
                }
            }
        }
        const bool onEdgeU = (bestI == 0 && uRange.canMoveBelow(lowU)) || (bestI == steps && uRange.canMoveAbove(highU));
        const bool onEdgeV = (bestJ == 0 && vRange.canMoveBelow(lowV)) || (bestJ == steps && vRange.canMoveAbove(highV));
        if (!onEdgeU && !onEdgeV) {
            halfU = 3.0 * (highU - lowU) / steps;
            halfV = 3.0 * (highV - lowV) / steps;
        }
    }
    return best;
}

// A rigid motion applied to an axial shape and a point alike keeps their
// distance and carries the projection along; the moved shape's pose maps the
// local origin and Z axis onto its position and axis.
template <class Shape>
void expectFollowsRigidMotion(const Shape &shape, const MMatrix4 &m, const MVector3d &p,
                              const MVector3d &(Shape::*axis)() const)
{
    Shape moved = shape;
    moved.applyTransformation(m);
    EXPECT_NEAR(moved.distance(m * p), shape.distance(p), 1e-9);
    EXPECT_TRUE(near(moved.projection(m * p), m * shape.projection(p), 1e-9));
    const MMatrix4 pose = moved.pose();
    EXPECT_TRUE(near(pose * MVector3d(0, 0, 0), moved.position(), 1e-12));
    MVector3d z = MVector3d::ZUnit;
    pose.rotateAndScale(z);
    EXPECT_TRUE(near(z, (moved.*axis)(), 1e-12));
}

// Unit vectors spanning the plane across the unit axis a, completing a right-handed frame.
inline void frameAcross(const MVector3d &a, MVector3d &e1, MVector3d &e2)
{
    const MVector3d helper = std::fabs(a.x()) < 0.9 ? MVector3d::XUnit : MVector3d::YUnit;
    e1 = a.cross(helper).normalized();
    e2 = a.cross(e1);
}

} // namespace ZOLAR3D::test
