#include "metrology/fit/detail/MRoundFitStarts.h"

#include "MMatrix4.h"

#include <Eigen/Dense>

#include <cmath>

namespace ZOLAR3D {

namespace {

MVector3d meanOf(const MVector3d *points, int n)
{
    MVector3d sum(0.0, 0.0, 0.0);
    for (int i = 0; i < n; ++i)
        sum += points[i];
    return sum / n;
}

// A symmetric 3x3 moment matrix whose determinant is below the rounding of
// its own terms belongs to points without volume. The bound sits a little
// above double rounding of the largest products, relative to the cube of
// the trace, so that a thin but honest patch still counts.
bool hasVolume(const Eigen::Matrix3d &scatter)
{
    const double trace = scatter.trace();
    return scatter.determinant() > 1e-14 * trace * trace * trace;
}

} // namespace

// The sums are taken about the mean: raw moments of points far from the
// origin cancel catastrophically in P, Q, R, U and V. The formula is
// translation-invariant, so the centre found about the mean and shifted
// back is the same centre.
MCircle algebraicCircle(const MVector3d *points, int n)
{
    if (n < 3)
        return MCircle();
    const MVector3d mean = meanOf(points, n);
    double sx = 0, sy = 0, sxx = 0, sxy = 0, syy = 0, sxxx = 0, sxxy = 0, sxyy = 0, syyy = 0;
    for (int i = 0; i < n; ++i) {
        const double x = points[i].x() - mean.x(), y = points[i].y() - mean.y();
        sx += x;
        sy += y;
        sxx += x * x;
        sxy += x * y;
        syy += y * y;
        sxxx += x * x * x;
        sxxy += x * x * y;
        sxyy += x * y * y;
        syyy += y * y * y;
    }
    const double p = n * sxx - sx * sx, q = n * sxy - sx * sy, r = n * syy - sy * sy;
    const double u = (n * sxxx - sxx * sx) + (n * sxyy - syy * sx);
    const double v = (n * sxxy - sxx * sy) + (n * syyy - syy * sy);
    // Collinear points: P R - Q² vanishes up to the rounding of its terms,
    // and a centre computed from that rounding would be meaningless.
    if (!(p * r - q * q > 1e-14 * (p + r) * (p + r)))
        return MCircle();
    const double d = 2.0 * (p * r - q * q);
    const double cx = (u * r - v * q) / d, cy = (v * p - u * q) / d;
    const double radius = std::sqrt((sxx + syy - 2.0 * cx * sx - 2.0 * cy * sy) / n + cx * cx + cy * cy);
    return MCircle(MVector3d(cx + mean.x(), cy + mean.y(), mean.z()), MVector3d(0.0, 0.0, 1.0), radius, true);
}

// Accumulated about the mean for the same reason as the circle: far from
// the origin the raw moment matrix loses every digit of the centre.
MSphere algebraicSphere(const MVector3d *points, int n)
{
    if (n < 4)
        return MSphere();
    const MVector3d mean = meanOf(points, n);
    double m[16] = {};
    double b[4] = {};
    for (int i = 0; i < n; ++i) {
        const MVector3d d = points[i] - mean;
        const double row[4] = {1.0, d.x(), d.y(), d.z()};
        const double squared = d.dot(d);
        for (int j = 0; j < 4; ++j) {
            b[j] += squared * row[j];
            for (int k = j; k < 4; ++k)
                m[j * 4 + k] += row[j] * row[k];
        }
    }
    for (int j = 0; j < 4; ++j)
        for (int k = 0; k < j; ++k)
            m[j * 4 + k] = m[k * 4 + j];
    Eigen::Matrix3d scatter;
    for (int j = 0; j < 3; ++j)
        for (int k = 0; k < 3; ++k)
            scatter(j, k) = m[(j + 1) * 4 + k + 1];
    if (!hasVolume(scatter))
        return MSphere();
    const MMatrix4 inverse = MMatrix4(m[0], m[1], m[2], m[3], m[4], m[5], m[6], m[7], m[8], m[9], m[10], m[11], m[12],
                                      m[13], m[14], m[15])
                                 .inverse();
    double t[4];
    for (int j = 0; j < 4; ++j)
        t[j] = inverse(j, 0) * b[0] + inverse(j, 1) * b[1] + inverse(j, 2) * b[2] + inverse(j, 3) * b[3];
    const MVector3d centre(t[1] * 0.5, t[2] * 0.5, t[3] * 0.5);
    return MSphere(centre + mean, std::sqrt(t[0] + centre.dot(centre)));
}

// The centre is formed as p_k + sum t_i v_i, which equals the affine
// combination sum t_i p_i + (1 - sum t) p_k but keeps the digits of points
// far from the origin.
MSphere circumsphere(const MVector3d *points, int n)
{
    if (n < 2 || n > 4)
        return MSphere();
    const int k = n - 1;
    const MVector3d last = points[k];
    MVector3d v[3];
    Eigen::Matrix3d gram = Eigen::Matrix3d::Identity();
    Eigen::Vector3d w = Eigen::Vector3d::Zero();
    for (int i = 0; i < k; ++i) {
        v[i] = points[i] - last;
        w[i] = 0.5 * v[i].dot(v[i]);
        for (int j = 0; j <= i; ++j)
            gram(i, j) = gram(j, i) = v[i].dot(v[j]);
    }
    const Eigen::LLT<Eigen::MatrixXd> llt(gram.topLeftCorner(k, k));
    if (llt.info() != Eigen::Success)
        return MSphere();
    // Each pivot of the factor is the squared distance of one difference
    // from the span of the earlier ones; where that is lost in rounding the
    // points are affinely dependent.
    const Eigen::MatrixXd factor = llt.matrixL();
    for (int i = 0; i < k; ++i)
        if (!(factor(i, i) * factor(i, i) > 1e-14 * gram(i, i)))
            return MSphere();
    const Eigen::VectorXd t = llt.solve(w.head(k));
    MVector3d offset(0.0, 0.0, 0.0);
    for (int i = 0; i < k; ++i)
        offset += v[i] * t[i];
    return MSphere(last + offset, offset.norm());
}

std::vector<MVector3d> rotatedPoints(const MMatrix3 &rotation, const MVector3d *points, int n)
{
    std::vector<MVector3d> rotated(n);
    for (int i = 0; i < n; ++i)
        rotated[i] = rotation * points[i];
    return rotated;
}

} // namespace ZOLAR3D
