#pragma once

#include "GeometryTestSupport.h"
#include "MPointCloud.h"
#include "MVector3d.h"

#include <Eigen/Dense>
#include <gtest/gtest.h>

#include <vector>

namespace ZOLAR3D::test {

inline MPointCloud cloudOf(const std::vector<MVector3d> &points)
{
    MPointCloud cloud;
    for (const MVector3d &p : points)
        cloud.add(p);
    return cloud;
}

// The least-squares reference of a point set, computed apart from the
// library: the mean in long double, relative to the first point, and the
// principal axes as right singular vectors of the centred points, largest
// spread first. Axes carry whatever sign the decomposition gives them.
struct ReferenceFit {
    MVector3d centroid;
    MVector3d axes[3];
};

inline ReferenceFit referenceFit(const std::vector<MVector3d> &points)
{
    const MVector3d first = points.front();
    long double sum[3] = {0, 0, 0};
    for (const MVector3d &p : points)
        for (int k = 0; k < 3; ++k)
            sum[k] += static_cast<long double>(p[k]) - first[k];
    const long double n = points.size();
    const MVector3d shift(double(sum[0] / n), double(sum[1] / n), double(sum[2] / n));
    Eigen::MatrixXd centred(points.size(), 3);
    for (size_t i = 0; i < points.size(); ++i)
        for (int k = 0; k < 3; ++k)
            centred(i, k) = (points[i][k] - first[k]) - shift[k];
    const Eigen::JacobiSVD<Eigen::MatrixXd> svd(centred, Eigen::ComputeThinV);
    ReferenceFit reference;
    reference.centroid = first + shift;
    for (int k = 0; k < 3; ++k)
        reference.axes[k] = MVector3d(svd.matrixV()(0, k), svd.matrixV()(1, k), svd.matrixV()(2, k));
    return reference;
}

// Whether two directions agree up to sign within `tolerance` (length of
// the cross product of the unit vectors).
inline ::testing::AssertionResult parallel(const MVector3d &a, const MVector3d &b, double tolerance)
{
    const double sine = a.normalized().cross(b.normalized()).norm();
    if (sine <= tolerance)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "directions (" << a.x() << ", " << a.y() << ", " << a.z() << ") and ("
                                         << b.x() << ", " << b.y() << ", " << b.z() << ") are " << sine
                                         << " apart in sine, more than " << tolerance;
}

// Whether the component of largest magnitude is positive.
inline bool dominantPositive(const MVector3d &v)
{
    const MVector3d a = v.abs();
    const int k = a.x() >= a.y() && a.x() >= a.z() ? 0 : (a.y() >= a.z() ? 1 : 2);
    return v[k] > 0.0;
}

} // namespace ZOLAR3D::test
