#pragma once

// Data sets of known round shapes, in the manner of the published algorithm
// testing of coordinate metrology: partial arcs and patches, far from the
// origin, with or without Gaussian noise from fixed seeds; and an
// orthogonal-distance reference computed apart from the library, by
// MINPACK's Levenberg-Marquardt (Eigen's port) with exact derivatives from
// automatic differentiation, each shape in a minimal parameterisation of
// its own.
#include "FitTestSupport.h"
#include "GeometryTestSupport.h"
#include "MPointCloud.h"
#include "MVector3d.h"

#include <Eigen/Dense>
#include <gtest/gtest.h>
#include <unsupported/Eigen/AutoDiff>
#include <unsupported/Eigen/NonLinearOptimization>

#include <cmath>
#include <random>
#include <vector>

namespace ZOLAR3D::test {

// An orthonormal frame: w is the shape's axis, u and v span the rest.
struct Frame {
    MVector3d origin, u, v, w;

    MVector3d at(double a, double b, double c) const { return origin + u * a + v * b + w * c; }
};

// A frame with a random axis whose origin lies `offset` away from the
// world's origin in a random direction.
inline Frame randomFrame(RandomGeometry &random, double offset)
{
    Frame f;
    f.origin = random.unitVector() * offset;
    f.w = random.unitVector();
    f.u = MVector3d::PerpendicularTo(f.w).normalized();
    f.v = f.w.cross(f.u);
    return f;
}

// Gaussian noise of standard deviation sigma in each coordinate.
class Noise {
public:
    Noise(unsigned seed, double sigma) : m_engine(seed), m_normal(0.0, sigma), m_sigma(sigma) {}
    MVector3d operator()()
    {
        if (m_sigma == 0.0)
            return MVector3d(0, 0, 0);
        return MVector3d(m_normal(m_engine), m_normal(m_engine), m_normal(m_engine));
    }

private:
    std::mt19937 m_engine;
    std::normal_distribution<double> m_normal;
    double m_sigma;
};

// n points on the arc of `arc` radians of the circle of `radius` about
// frame.origin in the plane of u and v.
inline std::vector<MVector3d> circlePoints(const Frame &f, double radius, double arc, int n, Noise noise)
{
    std::vector<MVector3d> points;
    for (int i = 0; i < n; ++i) {
        const double t = arc * (i + 0.5) / n;
        points.push_back(f.at(radius * std::cos(t), radius * std::sin(t), 0.0) + noise());
    }
    return points;
}

// n points on the cap of the sphere about frame.origin around w, up to
// `halfAngle` from it, spread by a golden-angle spiral.
inline std::vector<MVector3d> spherePoints(const Frame &f, double radius, double halfAngle, int n, Noise noise)
{
    std::vector<MVector3d> points;
    const double lowest = std::cos(halfAngle);
    for (int i = 0; i < n; ++i) {
        const double z = 1.0 - (1.0 - lowest) * (i + 0.5) / n;
        const double ring = std::sqrt(1.0 - z * z);
        const double t = 2.399963229728653 * i;
        points.push_back(f.at(radius * ring * std::cos(t), radius * ring * std::sin(t), radius * z) + noise());
    }
    return points;
}

// n points on the patch of the cylinder about the axis (origin, w): `arc`
// radians around it and `length` along it, centred at the origin.
inline std::vector<MVector3d> cylinderPoints(const Frame &f, double radius, double arc, double length, int n,
                                             Noise noise)
{
    std::vector<MVector3d> points;
    for (int i = 0; i < n; ++i) {
        const double t = arc * (i + 0.5) / n;
        const double h = length * (std::fmod(0.618033988749895 * i, 1.0) - 0.5);
        points.push_back(f.at(radius * std::cos(t), radius * std::sin(t), h) + noise());
    }
    return points;
}

// n points on the cone with its apex at frame.origin, opening along w with
// half angle `halfAngle`, between heights `near` and `far` from the apex,
// over `arc` radians around the axis.
inline std::vector<MVector3d> conePoints(const Frame &f, double halfAngle, double nearHeight, double farHeight,
                                         double arc, int n, Noise noise)
{
    std::vector<MVector3d> points;
    for (int i = 0; i < n; ++i) {
        const double t = arc * (i + 0.5) / n;
        const double h = nearHeight + (farHeight - nearHeight) * std::fmod(0.618033988749895 * i, 1.0);
        const double rho = h * std::tan(halfAngle);
        points.push_back(f.at(rho * std::cos(t), rho * std::sin(t), h) + noise());
    }
    return points;
}

// The reference minimisation. A model gives the geometric residuals of one
// point (PerPoint of them, whose squares sum to the squared distance), the
// point taken relative to the frame of the true shape so that the reference
// keeps every digit, in any scalar type; parameters are deviations from the
// truth.
template <class Model>
class ReferenceProblem {
public:
    ReferenceProblem(const Model &model, const std::vector<MVector3d> &points) : m_model(model)
    {
        for (const MVector3d &p : points) {
            const MVector3d d = p - model.frame.origin;
            m_local.emplace_back(d.dot(model.frame.u), d.dot(model.frame.v), d.dot(model.frame.w));
        }
    }

    int values() const { return static_cast<int>(m_local.size()) * Model::PerPoint; }

    int operator()(const Eigen::VectorXd &x, Eigen::VectorXd &f) const
    {
        for (size_t i = 0; i < m_local.size(); ++i)
            m_model.residuals(x, m_local[i], &f[i * Model::PerPoint]);
        return 0;
    }

    int df(const Eigen::VectorXd &x, Eigen::MatrixXd &jacobian) const
    {
        using Dual = Eigen::AutoDiffScalar<Eigen::Matrix<double, Model::Parameters, 1>>;
        Eigen::Matrix<Dual, Eigen::Dynamic, 1> dual(Model::Parameters);
        for (int k = 0; k < Model::Parameters; ++k)
            dual[k] = Dual(x[k], Model::Parameters, k);
        Dual r[Model::PerPoint];
        for (size_t i = 0; i < m_local.size(); ++i) {
            m_model.residuals(dual, m_local[i], r);
            for (int k = 0; k < Model::PerPoint; ++k)
                jacobian.row(i * Model::PerPoint + k) = r[k].derivatives().transpose();
        }
        return 0;
    }

    // The parameters of the minimum, from the truth (all deviations 0).
    Eigen::VectorXd solve() const
    {
        Eigen::VectorXd x = Eigen::VectorXd::Zero(Model::Parameters);
        Eigen::LevenbergMarquardt<ReferenceProblem> solver(const_cast<ReferenceProblem &>(*this));
        solver.parameters.ftol = 1e-15;
        solver.parameters.xtol = 1e-15;
        solver.parameters.maxfev = 10000;
        solver.minimize(x);
        evaluations = solver.nfev;
        return x;
    }

    mutable int evaluations = 0;

private:
    Model m_model;
    std::vector<Eigen::Vector3d> m_local;
};

template <class Model>
Eigen::VectorXd referenceSolution(const Model &model, const std::vector<MVector3d> &points)
{
    return ReferenceProblem<Model>(model, points).solve();
}

// A unit vector tilted from the local w axis by (alpha, beta) along u and v.
template <class S>
Eigen::Matrix<S, 3, 1> tiltedAxis(const S &alpha, const S &beta)
{
    Eigen::Matrix<S, 3, 1> axis(alpha, beta, S(1.0));
    return axis / axis.norm();
}

// Sphere: centre deviation (3), radius.
struct SphereModel {
    static constexpr int Parameters = 4;
    static constexpr int PerPoint = 1;
    Frame frame;
    double radius;

    template <class S>
    void residuals(const Eigen::Matrix<S, Eigen::Dynamic, 1> &x, const Eigen::Vector3d &p, S *r) const
    {
        const Eigen::Matrix<S, 3, 1> d(S(p[0]) - x[0], S(p[1]) - x[1], S(p[2]) - x[2]);
        r[0] = d.norm() - (S(radius) + x[3]);
    }
    MVector3d centre(const Eigen::VectorXd &x) const { return frame.at(x[0], x[1], x[2]); }
};

// Circle: centre deviation (3), tilt of the normal (2), radius. The two
// residuals are the offsets from the nearest point of the curve within the
// circle's plane and across it.
struct CircleModel {
    static constexpr int Parameters = 6;
    static constexpr int PerPoint = 2;
    Frame frame;
    double radius;

    template <class S>
    void residuals(const Eigen::Matrix<S, Eigen::Dynamic, 1> &x, const Eigen::Vector3d &p, S *r) const
    {
        const Eigen::Matrix<S, 3, 1> q(S(p[0]) - x[0], S(p[1]) - x[1], S(p[2]) - x[2]);
        const Eigen::Matrix<S, 3, 1> n = tiltedAxis(x[3], x[4]);
        const S across = q.dot(n);
        r[0] = (q - n * across).norm() - (S(radius) + x[5]);
        r[1] = across;
    }
    MVector3d centre(const Eigen::VectorXd &x) const { return frame.at(x[0], x[1], x[2]); }
    MVector3d normal(const Eigen::VectorXd &x) const
    {
        const Eigen::Vector3d n = tiltedAxis(x[3], x[4]);
        return frame.u * n[0] + frame.v * n[1] + frame.w * n[2];
    }
};

// Cylinder: shift of the axis across itself (2), tilt (2), radius.
struct CylinderModel {
    static constexpr int Parameters = 5;
    static constexpr int PerPoint = 1;
    Frame frame;
    double radius;

    template <class S>
    void residuals(const Eigen::Matrix<S, Eigen::Dynamic, 1> &x, const Eigen::Vector3d &p, S *r) const
    {
        const Eigen::Matrix<S, 3, 1> q(S(p[0]) - x[0], S(p[1]) - x[1], S(p[2]));
        const Eigen::Matrix<S, 3, 1> d = tiltedAxis(x[2], x[3]);
        r[0] = (q - d * q.dot(d)).norm() - (S(radius) + x[4]);
    }
    MVector3d axisPoint(const Eigen::VectorXd &x) const { return frame.at(x[0], x[1], 0.0); }
    MVector3d direction(const Eigen::VectorXd &x) const
    {
        const Eigen::Vector3d d = tiltedAxis(x[2], x[3]);
        return frame.u * d[0] + frame.v * d[1] + frame.w * d[2];
    }
};

// Cone: apex deviation (3), tilt of the axis towards the base (2), half
// opening angle. The residual is the distance from the mantle line in the
// plane through the axis and the point.
struct ConeModel {
    static constexpr int Parameters = 6;
    static constexpr int PerPoint = 1;
    Frame frame;
    double halfAngle;

    template <class S>
    void residuals(const Eigen::Matrix<S, Eigen::Dynamic, 1> &x, const Eigen::Vector3d &p, S *r) const
    {
        using std::cos;
        using std::sin;
        const Eigen::Matrix<S, 3, 1> q(S(p[0]) - x[0], S(p[1]) - x[1], S(p[2]) - x[2]);
        const Eigen::Matrix<S, 3, 1> b = tiltedAxis(x[3], x[4]);
        const S h = q.dot(b);
        const S rho = (q - b * h).norm();
        const S angle = S(halfAngle) + x[5];
        r[0] = rho * cos(angle) - h * sin(angle);
    }
    MVector3d apex(const Eigen::VectorXd &x) const { return frame.at(x[0], x[1], x[2]); }
    MVector3d towardsBase(const Eigen::VectorXd &x) const
    {
        const Eigen::Vector3d b = tiltedAxis(x[3], x[4]);
        return frame.u * b[0] + frame.v * b[1] + frame.w * b[2];
    }
    double halfAngleOf(const Eigen::VectorXd &x) const { return halfAngle + x[5]; }
};

// The sine of the angle between two lines' directions.
inline double sineBetween(const MVector3d &a, const MVector3d &b) { return a.normalized().cross(b.normalized()).norm(); }

// The distance of point p from the line through `at` along `direction`.
inline double distanceFromLine(const MVector3d &p, const MVector3d &at, const MVector3d &direction)
{
    return (p - at).cross(direction.normalized()).norm();
}

} // namespace ZOLAR3D::test
