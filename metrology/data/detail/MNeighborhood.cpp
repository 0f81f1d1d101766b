#include "metrology/data/detail/MNeighborhood.h"

#include <Eigen/Eigenvalues>

namespace ZOLAR3D::detail {

bool surfaceNormal(const MVector3d *points, int count, MVector3f &normal)
{
    // Centred first, then the scatter about the centre: no digits are lost to
    // coordinates far from the origin.
    MVector3d centre(0.0, 0.0, 0.0);
    for (int i = 0; i < count; ++i)
        centre += points[i];
    centre /= double(count);
    Eigen::Matrix3d scatter = Eigen::Matrix3d::Zero();
    for (int i = 0; i < count; ++i) {
        const Eigen::Vector3d d(points[i].x() - centre.x(), points[i].y() - centre.y(), points[i].z() - centre.z());
        scatter.selfadjointView<Eigen::Lower>().rankUpdate(d);
    }
    const Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> solver(scatter);
    // The solver reads the lower triangle and sorts ascending: the two largest
    // are hi and lo.
    const double hi = solver.eigenvalues()(2);
    const double lo = solver.eigenvalues()(1);
    if (!(hi > 0.0 && (hi - lo) / (lo + hi) < 0.75))
        return false;
    const Eigen::Vector3d v = solver.eigenvectors().col(0).normalized();
    MVector3f n(float(v.x()), float(v.y()), float(v.z()));
    if (n.z() < 0.0f)
        n = -n;
    normal = n;
    return true;
}

} // namespace ZOLAR3D::detail
