#include "MPrincipalComponentAnalysis.h"

#include "MPointCloud.h"
#include "metrology/core/detail/MPointStream.h"
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

// Count, mean and scatter about the mean of some valid points; the mean is
// kept as an offset from a reference point of the whole set, so that a cloud
// far from the origin keeps its digits.
struct Moments {
    double count = 0.0;
    MVector3d mean = MVector3d::Zero;
    double xx = 0.0, xy = 0.0, xz = 0.0, yy = 0.0, yz = 0.0, zz = 0.0;
};

// Takes the points of part into whole (with the same reference): the
// scatters add, and so does the spread of the two means, weighted by
// n_whole n_part / (n_whole + n_part). Exact in real arithmetic, and stable.
void merge(Moments &whole, const Moments &part)
{
    const double count = whole.count + part.count;
    const MVector3d delta = part.mean - whole.mean;
    const MVector3d weighted = delta * (whole.count * part.count / count);
    whole.xx += part.xx + weighted.x() * delta.x();
    whole.xy += part.xy + weighted.x() * delta.y();
    whole.xz += part.xz + weighted.x() * delta.z();
    whole.yy += part.yy + weighted.y() * delta.y();
    whole.yz += part.yz + weighted.y() * delta.z();
    whole.zz += part.zz + weighted.z() * delta.z();
    whole.mean += delta * (part.count / count);
    whole.count = count;
}

// How many valid points make a block.
constexpr int BlockSize = 256;

// The sums of a block of valid points, taken as offsets from a point near
// them: the previous block's mean, which lies among the points whatever
// their order.
struct BlockSums {
    MVector3d reference;
    int count = 0;
    MVector3d sum = MVector3d::Zero;
    double xx = 0.0, xy = 0.0, xz = 0.0, yy = 0.0, yz = 0.0, zz = 0.0;

    void add(const MVector3d &p)
    {
        const MVector3d d = p - reference;
        ++count;
        sum += d;
        xx += d.x() * d.x();
        xy += d.x() * d.y();
        xz += d.x() * d.z();
        yy += d.y() * d.y();
        yz += d.y() * d.z();
        zz += d.z() * d.z();
    }

    // The block's moments with the reference of the whole set: the scatter
    // about the block's mean follows exactly as S - s s^T / n, a small
    // correction since the block's reference lies close to that mean.
    Moments moments(const MVector3d &wholeReference) const
    {
        Moments block;
        block.count = count;
        const MVector3d offset = sum / count;
        block.mean = (reference - wholeReference) + offset;
        block.xx = xx - sum.x() * offset.x();
        block.xy = xy - sum.x() * offset.y();
        block.xz = xz - sum.x() * offset.z();
        block.yy = yy - sum.y() * offset.y();
        block.yz = yz - sum.y() * offset.z();
        block.zz = zz - sum.z() * offset.z();
        return block;
    }
};

// The moments of the valid points, with the first of them as reference. A
// large cloud is read once: the valid points are summed in blocks of
// BlockSize and the blocks merged. The blocks are counted in valid points,
// so that holes in the array do not change the arithmetic.
Moments momentsOfValidPoints(const MVector3d *points, int numPoints, MVector3d &reference)
{
    Moments whole;
    int first = 0;
    while (first < numPoints && !points[first].isValid())
        ++first;
    if (first == numPoints)
        return whole;
    reference = points[first];
    BlockSums block;
    block.reference = reference;
    const auto takeBlock = [&] {
        const Moments part = block.moments(reference);
        merge(whole, part);
        block = BlockSums();
        block.reference = reference + part.mean;
    };
    streamPoints(points + first, numPoints - first, [&](const MVector3d &p) {
        if (!p.isValid())
            return;
        block.add(p);
        if (block.count == BlockSize)
            takeBlock();
    });
    if (block.count > 0)
        takeBlock();
    return whole;
}

MVector3d plainSum(const MVector3d *points, int numPoints)
{
    MVector3d sum = MVector3d::Zero;
    for (int i = 0; i < numPoints; ++i)
        if (points[i].isValid())
            sum += points[i];
    return sum;
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
    MVector3d reference;
    const Moments moments = momentsOfValidPoints(points, numPoints, reference);
    if (moments.count < 3.0) {
        // Nothing is solved; the centre is the plain sum, as callers expect.
        m_center = plainSum(points, numPoints);
        return;
    }
    m_center = reference + moments.mean;
    Eigen::Matrix3d scatter;
    scatter << moments.xx, moments.xy, moments.xz, moments.xy, moments.yy, moments.yz, moments.xz, moments.yz,
        moments.zz;
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
