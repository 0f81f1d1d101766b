// Distances of a point cloud to a shape through computeDistancesTo, against
// the same formula and cut written out by hand over the raw points: the
// member must cost nothing beyond the loop a caller would write.
//
// Pairs over the same 10 million points:
//   <Shape>Distances           MPointCloud::computeDistancesTo
//   <Shape>DistancesPlainLoop  validity test, distance and cut inline
// The ratio of the two is what to report.
#include "MCylinder.h"
#include "MInvalid.h"
#include "MPlane.h"
#include "MPointCloud.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

using namespace ZOLAR3D;

namespace {

constexpr int PointCount = 10'000'000;
// About half of the points lie within the cut of each shape, so that the
// cut is not a foregone conclusion.
constexpr double MaxDistance = 40.0;

// Points in a cube of 200 around the origin, every 97th a hole. Built once
// and shared by all cases.
const MPointCloud &cloud()
{
    static const MPointCloud points = [] {
        std::mt19937 random(1);
        std::uniform_real_distribution<double> coordinate(-100, 100);
        MPointCloud c(PointCount);
        for (int i = 0; i < PointCount; ++i)
            c[i] = MVector3d(coordinate(random), coordinate(random), coordinate(random));
        for (int i = 0; i < PointCount; i += 97)
            c.invalidatePoint(i);
        return c;
    }();
    return points;
}

const MVector3d Origin(1.5, -2.0, 3.0);
const MVector3d Direction = MVector3d(0.3, -0.5, 0.8).normalized();
constexpr double Radius = 30.0;

bool validPoint(const double *q)
{
    return q[0] == q[0] && q[0] != MInvalid && q[1] == q[1] && q[1] != MInvalid && q[2] == q[2] && q[2] != MInvalid;
}

template <class Shape>
void measureMember(benchmark::State &state, const Shape &shape)
{
    const MPointCloud &points = cloud();
    std::vector<double> out(PointCount);
    for (auto _ : state) {
        points.computeDistancesTo(shape, MaxDistance, out.data());
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * PointCount);
}

// The hand loop over raw doubles; distance(q) answers for a valid point.
template <class Distance>
void measurePlain(benchmark::State &state, Distance distance)
{
    const MPointCloud &points = cloud();
    std::vector<double> out(PointCount);
    for (auto _ : state) {
        const double *q = points.points()->data();
        double *o = out.data();
        for (int i = 0; i < PointCount; ++i, q += 3) {
            const double d = validPoint(q) ? distance(q) : MInvalid;
            o[i] = std::fabs(d) <= MaxDistance ? d : MInvalid;
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * PointCount);
}

void PlaneDistances(benchmark::State &state) { measureMember(state, MPlane(Origin, Direction)); }
BENCHMARK(PlaneDistances)->Unit(benchmark::kMillisecond);

void PlaneDistancesPlainLoop(benchmark::State &state)
{
    const double o[3] = {Origin.x(), Origin.y(), Origin.z()};
    const double n[3] = {Direction.x(), Direction.y(), Direction.z()};
    measurePlain(state, [&](const double *q) { return (q[0] - o[0]) * n[0] + (q[1] - o[1]) * n[1] + (q[2] - o[2]) * n[2]; });
}
BENCHMARK(PlaneDistancesPlainLoop)->Unit(benchmark::kMillisecond);

void CylinderDistances(benchmark::State &state) { measureMember(state, MCylinder(Origin, Direction, Radius, 80.0)); }
BENCHMARK(CylinderDistances)->Unit(benchmark::kMillisecond);

void CylinderDistancesPlainLoop(benchmark::State &state)
{
    const double o[3] = {Origin.x(), Origin.y(), Origin.z()};
    const double d[3] = {Direction.x(), Direction.y(), Direction.z()};
    measurePlain(state, [&](const double *q) {
        const double wx = q[0] - o[0], wy = q[1] - o[1], wz = q[2] - o[2];
        const double cx = d[1] * wz - d[2] * wy, cy = d[2] * wx - d[0] * wz, cz = d[0] * wy - d[1] * wx;
        return std::sqrt(cx * cx + cy * cy + cz * cz) - Radius;
    });
}
BENCHMARK(CylinderDistancesPlainLoop)->Unit(benchmark::kMillisecond);

} // namespace
