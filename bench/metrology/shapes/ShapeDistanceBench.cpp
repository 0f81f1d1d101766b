// Per-point distance of each shape against the same formula written out by
// hand over raw doubles: the shape classes must cost nothing beyond it.
//
// Each shape contributes a pair of cases over the same points:
//   <Shape>Distance           the class's own distance(p)
//   <Shape>DistancePlainLoop  the same arithmetic by hand, validity tests included
// The ratio of the two is what to report. A new shape adds one pair.
#include "MBox.h"
#include "MCircle.h"
#include "MCone.h"
#include "MCylinder.h"
#include "MInvalid.h"
#include "MLine.h"
#include "MLineSegment.h"
#include "MPlane.h"
#include "MRay.h"
#include "MSphere.h"
#include "MTriangle.h"
#include "MTriangleDistanceAnalysis.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

using namespace ZOLAR3D;

namespace {

constexpr int PointCount = 10'000'000;

// Points in a cube of 200 around the origin, every 97th a hole. Built once
// and shared by all cases.
const std::vector<MVector3d> &points()
{
    static const std::vector<MVector3d> cloud = [] {
        std::mt19937 random(1);
        std::uniform_real_distribution<double> coordinate(-100, 100);
        std::vector<MVector3d> p(PointCount);
        for (MVector3d &point : p)
            point = MVector3d(coordinate(random), coordinate(random), coordinate(random));
        for (size_t i = 0; i < p.size(); i += 97)
            p[i].invalidate();
        return p;
    }();
    return cloud;
}

// Writes distance(shape, p) of every point into one array per pass. The
// shape is copied into a local first, as a caller's own variable would be, so
// that the class and the plain loop see their data alike.
template <class Shape, class Distance>
void measure(benchmark::State &state, const Shape &prepared, Distance distance)
{
    const Shape shape = prepared;
    const std::vector<MVector3d> &p = points();
    std::vector<double> out(p.size());
    for (auto _ : state) {
        for (size_t i = 0; i < p.size(); ++i)
            out[i] = distance(shape, p[i]);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * PointCount);
}

bool validPoint(const double *q)
{
    return q[0] == q[0] && q[0] != MInvalid && q[1] == q[1] && q[1] != MInvalid && q[2] == q[2] && q[2] != MInvalid;
}

// The shapes measured, each in general position.
const MVector3d Origin(1.5, -2.0, 3.0);
const MVector3d Direction = MVector3d(0.3, -0.5, 0.8).normalized();
const MVector3d End(40.0, 25.0, -10.0);
struct TriangleCorners {
    MVector3d corner[3];
};
const TriangleCorners Corners = {{MVector3d(-30, -20, 5), MVector3d(40, -10, -5), MVector3d(0, 35, 10)}};

// Plain copies of a point and a direction, for the hand-written loops.
struct PlainAxis {
    double o[3], d[3];
    PlainAxis(const MVector3d &origin, const MVector3d &direction)
        : o{origin.x(), origin.y(), origin.z()}, d{direction.x(), direction.y(), direction.z()}
    {
    }
};

void LineDistance(benchmark::State &state)
{
    measure(state, MLine(Origin, Direction), [](const MLine &line, const MVector3d &p) { return line.distance(p); });
}
BENCHMARK(LineDistance)->Unit(benchmark::kMillisecond);

void LineDistancePlainLoop(benchmark::State &state)
{
    measure(state, PlainAxis(Origin, Direction), [](const PlainAxis &line, const MVector3d &p) {
        const double *q = p.data(), *o = line.o, *d = line.d;
        if (!validPoint(q))
            return MInvalid;
        const double wx = q[0] - o[0], wy = q[1] - o[1], wz = q[2] - o[2];
        const double cx = d[1] * wz - d[2] * wy, cy = d[2] * wx - d[0] * wz, cz = d[0] * wy - d[1] * wx;
        return std::sqrt(cx * cx + cy * cy + cz * cz);
    });
}
BENCHMARK(LineDistancePlainLoop)->Unit(benchmark::kMillisecond);

void RayDistance(benchmark::State &state)
{
    measure(state, MRay(Origin, Direction), [](const MRay &ray, const MVector3d &p) { return ray.distance(p); });
}
BENCHMARK(RayDistance)->Unit(benchmark::kMillisecond);

void RayDistancePlainLoop(benchmark::State &state)
{
    measure(state, PlainAxis(Origin, Direction), [](const PlainAxis &ray, const MVector3d &p) {
        const double *q = p.data(), *o = ray.o, *d = ray.d;
        if (!validPoint(q))
            return MInvalid;
        const double wx = q[0] - o[0], wy = q[1] - o[1], wz = q[2] - o[2];
        if (wx * d[0] + wy * d[1] + wz * d[2] < 0.0)
            return std::sqrt(wx * wx + wy * wy + wz * wz);
        const double cx = d[1] * wz - d[2] * wy, cy = d[2] * wx - d[0] * wz, cz = d[0] * wy - d[1] * wx;
        return std::sqrt(cx * cx + cy * cy + cz * cz);
    });
}
BENCHMARK(RayDistancePlainLoop)->Unit(benchmark::kMillisecond);

void SegmentDistance(benchmark::State &state)
{
    measure(state, MLineSegment(Origin, End),
            [](const MLineSegment &segment, const MVector3d &p) { return segment.distance(p); });
}
BENCHMARK(SegmentDistance)->Unit(benchmark::kMillisecond);

// The start and the vector to the end.
void SegmentDistancePlainLoop(benchmark::State &state)
{
    measure(state, PlainAxis(Origin, End - Origin), [](const PlainAxis &segment, const MVector3d &p) {
        const double *q = p.data(), *s = segment.o, *v = segment.d;
        if (!validPoint(q))
            return MInvalid;
        const double wx = q[0] - s[0], wy = q[1] - s[1], wz = q[2] - s[2];
        double f = (wx * v[0] + wy * v[1] + wz * v[2]) / (v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
        f = f > 0.0 ? (f < 1.0 ? f : 1.0) : 0.0;
        const double ox = wx - v[0] * f, oy = wy - v[1] * f, oz = wz - v[2] * f;
        return std::sqrt(ox * ox + oy * oy + oz * oz);
    });
}
BENCHMARK(SegmentDistancePlainLoop)->Unit(benchmark::kMillisecond);

void PlaneDistance(benchmark::State &state)
{
    measure(state, MPlane(Origin, Direction), [](const MPlane &plane, const MVector3d &p) { return plane.distance(p); });
}
BENCHMARK(PlaneDistance)->Unit(benchmark::kMillisecond);

void PlaneDistancePlainLoop(benchmark::State &state)
{
    measure(state, PlainAxis(Origin, Direction), [](const PlainAxis &plane, const MVector3d &p) {
        const double *q = p.data(), *o = plane.o, *n = plane.d;
        if (!validPoint(q))
            return MInvalid;
        return (q[0] - o[0]) * n[0] + (q[1] - o[1]) * n[1] + (q[2] - o[2]) * n[2];
    });
}
BENCHMARK(PlaneDistancePlainLoop)->Unit(benchmark::kMillisecond);

// The triangle analysis by hand: preparation from three corners (normal, the
// rotation of the normal into +Z, edges, barycentric divisor) and the query
// (height, barycentric place, nearest edge).
struct PlainTriangle {
    double corner[3][3];
    double axisX[3], axisY[3], normal[3];
    double edgeDirection[3][3], edgeLength[3];
    double e0x, e0y, e1x, e1y, twiceArea;
    bool valid;

    explicit PlainTriangle(const TriangleCorners &c)
    {
        for (int i = 0; i < 3; ++i)
            for (int k = 0; k < 3; ++k)
                corner[i][k] = c.corner[i][k];
        const int ends[3][2] = {{0, 1}, {0, 2}, {1, 2}};
        double edge[3][3];
        for (int e = 0; e < 3; ++e)
            for (int k = 0; k < 3; ++k)
                edge[e][k] = corner[ends[e][1]][k] - corner[ends[e][0]][k];
        double n[3] = {edge[0][1] * edge[1][2] - edge[0][2] * edge[1][1], edge[0][2] * edge[1][0] - edge[0][0] * edge[1][2],
                       edge[0][0] * edge[1][1] - edge[0][1] * edge[1][0]};
        const double length = std::sqrt(dot(n, n));
        valid = length >= 1e-12;
        if (!valid)
            return;
        const double x = n[0] / length, y = n[1] / length, z = n[2] / length;
        if (std::fabs(z + 1.0) < 1e-20) {
            setRows(1, 0, 0, 0, -1, 0, 0, 0, -1);
        } else {
            const double k = 1.0 / (z + 1.0);
            setRows(1 - x * x * k, -x * y * k, -x, -x * y * k, 1 - y * y * k, -y, x, y, z);
        }
        for (int e = 0; e < 3; ++e) {
            edgeLength[e] = std::sqrt(dot(edge[e], edge[e]));
            for (int k = 0; k < 3; ++k)
                edgeDirection[e][k] = edge[e][k] / edgeLength[e];
        }
        e0x = dot(edge[0], axisX), e0y = dot(edge[0], axisY);
        e1x = dot(edge[1], axisX), e1y = dot(edge[1], axisY);
        twiceArea = e0x * e1y - e0y * e1x;
    }

    void setRows(double a, double b, double c, double d, double e, double f, double g, double h, double i)
    {
        axisX[0] = a, axisX[1] = b, axisX[2] = c;
        axisY[0] = d, axisY[1] = e, axisY[2] = f;
        normal[0] = g, normal[1] = h, normal[2] = i;
    }

    static double dot(const double *a, const double *b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

    double toEdge(int edge, const double *q) const
    {
        const double *o = corner[edge == 2 ? 1 : 0];
        const double *d = edgeDirection[edge];
        const double w[3] = {q[0] - o[0], q[1] - o[1], q[2] - o[2]};
        double along = dot(w, d);
        along = along > 0.0 ? (along < edgeLength[edge] ? along : edgeLength[edge]) : 0.0;
        const double f[3] = {w[0] - d[0] * along, w[1] - d[1] * along, w[2] - d[2] * along};
        return std::sqrt(dot(f, f));
    }

    double distance(const double *q) const
    {
        if (!valid || !validPoint(q))
            return MInvalid;
        const double w[3] = {q[0] - corner[0][0], q[1] - corner[0][1], q[2] - corner[0][2]};
        const double h = dot(w, normal);
        const double x = dot(w, axisX), y = dot(w, axisY);
        const double u = (e0x * y - e0y * x) / twiceArea;
        const double v = (x * e1y - y * e1x) / twiceArea;
        if (u >= -1e-7 && v >= -1e-7 && 1.0 - u - v >= -1e-7)
            return h;
        double nearest = MInvalid;
        if (u < 0.0)
            nearest = std::fmin(nearest, toEdge(0, q));
        if (v < 0.0)
            nearest = std::fmin(nearest, toEdge(1, q));
        if (u + v > 1.0)
            nearest = std::fmin(nearest, toEdge(2, q));
        if (nearest == MInvalid)
            return MInvalid;
        return h < 0.0 ? -nearest : nearest;
    }
};

void TriangleAnalysisDistance(benchmark::State &state)
{
    measure(state, MTriangleDistanceAnalysis(Corners.corner[0], Corners.corner[1], Corners.corner[2]),
            [](const MTriangleDistanceAnalysis &analysis, const MVector3d &p) { return analysis.distance(p); });
}
BENCHMARK(TriangleAnalysisDistance)->Unit(benchmark::kMillisecond);

void TriangleAnalysisDistancePlainLoop(benchmark::State &state)
{
    measure(state, PlainTriangle(Corners),
            [](const PlainTriangle &triangle, const MVector3d &p) { return triangle.distance(p.data()); });
}
BENCHMARK(TriangleAnalysisDistancePlainLoop)->Unit(benchmark::kMillisecond);

// MTriangle::distance prepares the analysis afresh for every point; the plain
// loop writes the same preparation before each query. The compiler may lift
// the hand-written preparation out of the loop, but not the class's, whose
// rotation comes from an out-of-line builder that can raise.
void TriangleDistance(benchmark::State &state)
{
    measure(state, MTriangle(Corners.corner[0], Corners.corner[1], Corners.corner[2]),
            [](const MTriangle &triangle, const MVector3d &p) { return triangle.distance(p); });
}
BENCHMARK(TriangleDistance)->Unit(benchmark::kMillisecond);

void TriangleDistancePlainLoop(benchmark::State &state)
{
    measure(state, Corners, [](const TriangleCorners &corners, const MVector3d &p) {
        return PlainTriangle(corners).distance(p.data());
    });
}
BENCHMARK(TriangleDistancePlainLoop)->Unit(benchmark::kMillisecond);

// Round shapes and the box. Their plain loops take the members as raw
// doubles; constants that the classes derive once (the cone's sine and
// cosine, the box's inverse pose) are derived once here as well.
const double Radius = 12.5;
const double ConeAngle = 0.9;

// An axis with a radius, and the cone's half-angle terms.
struct PlainRound : PlainAxis {
    double radius, sinHalf, cosHalf;
    PlainRound(const MVector3d &origin, const MVector3d &direction, double r, double angle = 0.0)
        : PlainAxis(origin, direction), radius(r), sinHalf(std::sin(0.5 * angle)), cosHalf(std::cos(0.5 * angle))
    {
    }
};

void CircleDistance(benchmark::State &state)
{
    measure(state, MCircle(Origin, Direction, Radius),
            [](const MCircle &circle, const MVector3d &p) { return circle.distance(p); });
}
BENCHMARK(CircleDistance)->Unit(benchmark::kMillisecond);

void CircleDistancePlainLoop(benchmark::State &state)
{
    measure(state, PlainRound(Origin, Direction, Radius), [](const PlainRound &circle, const MVector3d &p) {
        const double *q = p.data(), *o = circle.o, *n = circle.d;
        if (!validPoint(q))
            return MInvalid;
        const double wx = q[0] - o[0], wy = q[1] - o[1], wz = q[2] - o[2];
        const double a = wx * n[0] + wy * n[1] + wz * n[2];
        const double cx = wy * n[2] - wz * n[1], cy = wz * n[0] - wx * n[2], cz = wx * n[1] - wy * n[0];
        const double r = std::sqrt(cx * cx + cy * cy + cz * cz) - circle.radius;
        return std::sqrt(r * r + a * a);
    });
}
BENCHMARK(CircleDistancePlainLoop)->Unit(benchmark::kMillisecond);

void SphereDistance(benchmark::State &state)
{
    measure(state, MSphere(Origin, Radius), [](const MSphere &sphere, const MVector3d &p) { return sphere.distance(p); });
}
BENCHMARK(SphereDistance)->Unit(benchmark::kMillisecond);

void SphereDistancePlainLoop(benchmark::State &state)
{
    measure(state, PlainRound(Origin, Direction, Radius), [](const PlainRound &sphere, const MVector3d &p) {
        const double *q = p.data(), *o = sphere.o;
        if (!validPoint(q))
            return MInvalid;
        const double wx = q[0] - o[0], wy = q[1] - o[1], wz = q[2] - o[2];
        return std::sqrt(wx * wx + wy * wy + wz * wz) - sphere.radius;
    });
}
BENCHMARK(SphereDistancePlainLoop)->Unit(benchmark::kMillisecond);

void CylinderDistance(benchmark::State &state)
{
    measure(state, MCylinder(Origin, Direction, Radius, 80.0),
            [](const MCylinder &cylinder, const MVector3d &p) { return cylinder.distance(p); });
}
BENCHMARK(CylinderDistance)->Unit(benchmark::kMillisecond);

void CylinderDistancePlainLoop(benchmark::State &state)
{
    measure(state, PlainRound(Origin, Direction, Radius), [](const PlainRound &cylinder, const MVector3d &p) {
        const double *q = p.data(), *o = cylinder.o, *d = cylinder.d;
        if (!validPoint(q))
            return MInvalid;
        const double wx = q[0] - o[0], wy = q[1] - o[1], wz = q[2] - o[2];
        const double cx = d[1] * wz - d[2] * wy, cy = d[2] * wx - d[0] * wz, cz = d[0] * wy - d[1] * wx;
        return std::sqrt(cx * cx + cy * cy + cz * cz) - cylinder.radius;
    });
}
BENCHMARK(CylinderDistancePlainLoop)->Unit(benchmark::kMillisecond);

void ConeDistance(benchmark::State &state)
{
    measure(state, MCone(Origin, Direction, Radius, ConeAngle, 80.0),
            [](const MCone &cone, const MVector3d &p) { return cone.distance(p); });
}
BENCHMARK(ConeDistance)->Unit(benchmark::kMillisecond);

// Past the apex the apex itself is the nearest point.
void ConeDistancePlainLoop(benchmark::State &state)
{
    measure(state, PlainRound(Origin, Direction, Radius, ConeAngle), [](const PlainRound &cone, const MVector3d &p) {
        const double *q = p.data(), *o = cone.o, *d = cone.d;
        if (!validPoint(q))
            return MInvalid;
        const double s = cone.sinHalf, c = cone.cosHalf, r0 = cone.radius;
        const double wx = q[0] - o[0], wy = q[1] - o[1], wz = q[2] - o[2];
        const double a = wx * d[0] + wy * d[1] + wz * d[2];
        const double cx = wy * d[2] - wz * d[1], cy = wz * d[0] - wx * d[2], cz = wx * d[1] - wy * d[0];
        const double r = std::sqrt(cx * cx + cy * cy + cz * cz);
        if (r0 + ((r - r0) * s - a * c) * s < 0.0) {
            const double past = a - r0 * c / s;
            return std::sqrt(past * past + r * r);
        }
        return s * a + c * (r - r0);
    });
}
BENCHMARK(ConeDistancePlainLoop)->Unit(benchmark::kMillisecond);

const MMatrix4 BoxPose = MMatrix4::Translation(Origin) * MMatrix4::AxisAngleRotation(Direction, 0.7);
const MVector3d BoxSize(60.0, 90.0, 30.0);

void BoxDistance(benchmark::State &state)
{
    measure(state, MBox(BoxSize, BoxPose), [](const MBox &box, const MVector3d &p) { return box.distance(p); });
}
BENCHMARK(BoxDistance)->Unit(benchmark::kMillisecond);

// The top three rows of the inverse pose and the half size.
struct PlainBox {
    double m[12], half[3];
    PlainBox(const MVector3d &size, const MMatrix4 &pose) : half{0.5 * size.x(), 0.5 * size.y(), 0.5 * size.z()}
    {
        const MMatrix4 inverse = pose.rigidInverse();
        for (int i = 0; i < 12; ++i)
            m[i] = inverse.data()[i];
    }
};

void BoxDistancePlainLoop(benchmark::State &state)
{
    measure(state, PlainBox(BoxSize, BoxPose), [](const PlainBox &box, const MVector3d &p) {
        const double *q = p.data(), *m = box.m;
        if (!validPoint(q))
            return MInvalid;
        const double ex = std::fabs(m[0] * q[0] + m[1] * q[1] + m[2] * q[2] + m[3]) - box.half[0];
        const double ey = std::fabs(m[4] * q[0] + m[5] * q[1] + m[6] * q[2] + m[7]) - box.half[1];
        const double ez = std::fabs(m[8] * q[0] + m[9] * q[1] + m[10] * q[2] + m[11]) - box.half[2];
        if (ex < 0.0 && ey < 0.0 && ez < 0.0)
            return std::max(ex, std::max(ey, ez));
        const double ox = std::max(ex, 0.0), oy = std::max(ey, 0.0), oz = std::max(ez, 0.0);
        return std::sqrt(ox * ox + oy * oy + oz * oz);
    });
}
BENCHMARK(BoxDistancePlainLoop)->Unit(benchmark::kMillisecond);

} // namespace
