#include "metrology/data/detail/MNeighborhood.h"

#include <Eigen/Eigenvalues>

namespace ZOLAR3D::detail {

bool surfaceNormal(const MVector3d *points, int count, MVector3f &normal)
{
    // Centred first, then the scatter about the centre: no digits are lost to
    // coordinates far from the origin.
    double cx = 0.0, cy = 0.0, cz = 0.0;
    for (int i = 0; i < count; ++i) {
        cx += points[i].x();
        cy += points[i].y();
        cz += points[i].z();
    }
    cx /= count;
    cy /= count;
    cz /= count;
    double xx = 0.0, xy = 0.0, xz = 0.0, yy = 0.0, yz = 0.0, zz = 0.0;
    for (int i = 0; i < count; ++i) {
        const double dx = points[i].x() - cx, dy = points[i].y() - cy, dz = points[i].z() - cz;
        xx += dx * dx;
        xy += dx * dy;
        xz += dx * dz;
        yy += dy * dy;
        yz += dy * dz;
        zz += dz * dz;
    }
    Eigen::Matrix3d scatter;
    scatter << xx, xy, xz, xy, yy, yz, xz, yz, zz;
    // The closed form rather than the principal components' iterative
    // solver: it is exact to rounding here, since a surface patch has its two
    // large eigenvalues within a factor of seven and the least one, whose
    // vector is wanted, stands well apart from them; and it saves about a
    // quarter of the time of computeNormals.
    Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> solver;
    solver.computeDirect(scatter);
    // Ascending order: the two largest are hi and lo.
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
