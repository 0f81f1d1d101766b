#include "MPrincipalComponentAnalysis.h"

#include "MPointCloud.h"
#include "metrology/search/detail/MDirectionSign.h"

#include <Eigen/Eigenvalues>

#include <cmath>

namespace ZOLAR3D {
namespace {

// Positions of the solver's eigenvalues from largest to smallest. Ties go to
// the lower position as the larger one; three equal values keep their order.
void orderEigenvalues(const double e[3], int order[3])
{
    const int largest = (e[0] >= e[1] && e[0] >= e[2]) ? 0 : (e[1] >= e[2] ? 1 : 2);
    int smallest = (e[1] >= e[0] && e[2] >= e[0]) ? 0 : (e[2] >= e[1] ? 1 : 2);
    if (smallest == largest)
        smallest = largest == 2 ? 1 : 2;
    order[0] = largest;
    order[1] = 3 - largest - smallest;
    order[2] = smallest;
}

// A right-handed frame in which the axis nearest to the z axis keeps its sign:
// the axis flipped is one of the others. On a tie both rules run in turn.
void makeRightHanded(MVector3d axes[3])
{
    const double z0 = std::fabs(axes[0].z()), z1 = std::fabs(axes[1].z()), z2 = std::fabs(axes[2].z());
    const double largest = std::max({z0, z1, z2});
    if (z0 == largest || z1 == largest)
        if (axes[0].cross(axes[1]).dot(axes[2]) < 0.0)
            axes[2] = -axes[2];
    if (z2 == largest)
        if (axes[2].cross(axes[0]).dot(axes[1]) < 0.0)
            axes[1] = -axes[1];
}

} // namespace

MPrincipalComponentAnalysis::MPrincipalComponentAnalysis()
    : m_eigenvalues{MInvalid, MInvalid, MInvalid}
{
}

MPrincipalComponentAnalysis::MPrincipalComponentAnalysis(const MPointCloud &cloud) : MPrincipalComponentAnalysis()
{
    compute(cloud.points(), cloud.size());
}

MPrincipalComponentAnalysis::MPrincipalComponentAnalysis(const MVector3d *points, int numPoints)
    : MPrincipalComponentAnalysis()
{
    compute(points, numPoints);
}

double MPrincipalComponentAnalysis::eigenValue(int i) const
{
    return unsigned(i) < 3u ? m_eigenvalues[i] : MInvalid;
}

MVector3d MPrincipalComponentAnalysis::eigenVector(int i) const
{
    return unsigned(i) < 3u ? m_eigenvectors[i] : MVector3d::Invalid;
}

MMatrix4 MPrincipalComponentAnalysis::pose() const
{
    return MMatrix4::Pose(m_eigenvectors[0], m_eigenvectors[1], m_eigenvectors[2], m_center);
}

void MPrincipalComponentAnalysis::compute(const MVector3d *points, int numPoints)
{
    if (!points)
        numPoints = 0;
    // The mean is summed relative to the first valid point and the scatter
    // about the mean, so that a cloud far from the origin keeps its digits.
    int count = 0;
    MVector3d reference = MVector3d::Zero, sum = MVector3d::Zero, shifted = MVector3d::Zero;
    for (int i = 0; i < numPoints; ++i) {
        if (!points[i].isValid())
            continue;
        if (count++ == 0)
            reference = points[i];
        sum += points[i];
        shifted += points[i] - reference;
    }
    if (count < 3) {
        // Nothing is solved; the centre is the plain sum, as callers expect.
        m_center = sum;
        return;
    }
    m_center = reference + shifted / count;

    double xx = 0.0, xy = 0.0, xz = 0.0, yy = 0.0, yz = 0.0, zz = 0.0;
    for (int i = 0; i < numPoints; ++i) {
        if (!points[i].isValid())
            continue;
        const MVector3d d = points[i] - m_center;
        xx += d.x() * d.x();
        xy += d.x() * d.y();
        xz += d.x() * d.z();
        yy += d.y() * d.y();
        yz += d.y() * d.z();
        zz += d.z() * d.z();
    }
    Eigen::Matrix3d scatter;
    scatter << xx, xy, xz, xy, yy, yz, xz, yz, zz;
    // The iterative solver, not the closed form, which loses accuracy on
    // nearly equal eigenvalues.
    const Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> solver(scatter, Eigen::ComputeEigenvectors);
    const double values[3] = {solver.eigenvalues()(0), solver.eigenvalues()(1), solver.eigenvalues()(2)};
    int order[3];
    orderEigenvalues(values, order);
    for (int k = 0; k < 3; ++k) {
        const Eigen::Vector3d v = solver.eigenvectors().col(order[k]);
        m_eigenvalues[k] = values[order[k]];
        m_eigenvectors[k] = MVector3d(v(0), v(1), v(2)).normalized();
        orientDirection(m_eigenvectors[k]);
    }
    makeRightHanded(m_eigenvectors);
}

} // namespace ZOLAR3D
