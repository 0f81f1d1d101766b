// The per-point operations of the value classes against the same arithmetic
// written as a plain loop over raw doubles: the classes must cost nothing.
#include "MMatrix4.h"
#include "MVector3d.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

using namespace ZOLAR3D;

namespace {

constexpr int PointCount = 1 << 20;

std::vector<MVector3d> makePoints()
{
    std::mt19937 random(1);
    std::uniform_real_distribution<double> coordinate(-100, 100);
    std::vector<MVector3d> points(PointCount);
    for (MVector3d &p : points)
        p = MVector3d(coordinate(random), coordinate(random), coordinate(random));
    for (size_t i = 0; i < points.size(); i += 97)
        points[i].invalidate();
    return points;
}

const MMatrix4 &pose()
{
    static const MMatrix4 m = MMatrix4::FromEuler(0.1, 0.2, 0.3) * MMatrix4::Translation(1, 2, 3);
    return m;
}

void TransformPoints(benchmark::State &state)
{
    std::vector<MVector3d> points = makePoints();
    const MMatrix4 &m = pose();
    for (auto _ : state) {
        for (MVector3d &p : points)
            m.transform(p);
        benchmark::DoNotOptimize(points.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * PointCount);
}
BENCHMARK(TransformPoints);

// The same work on raw doubles: skip the marker and NaN, affine product,
// division by w only when w is not 1.
void TransformPointsPlainLoop(benchmark::State &state)
{
    std::vector<MVector3d> points = makePoints();
    double *raw = points[0].data();
    double m[16];
    std::copy(pose().data(), pose().data() + 16, m);
    for (auto _ : state) {
        for (int i = 0; i < PointCount; ++i) {
            double *p = raw + 3 * i;
            const double x = p[0], y = p[1], z = p[2];
            if (!(x == x && x != MInvalid && y == y && y != MInvalid && z == z && z != MInvalid))
                continue;
            const double px = m[0] * x + m[1] * y + m[2] * z + m[3];
            const double py = m[4] * x + m[5] * y + m[6] * z + m[7];
            const double pz = m[8] * x + m[9] * y + m[10] * z + m[11];
            const double w = m[12] * x + m[13] * y + m[14] * z + m[15];
            if (w == 1.0) {
                p[0] = px, p[1] = py, p[2] = pz;
            } else {
                p[0] = px / w, p[1] = py / w, p[2] = pz / w;
            }
        }
        benchmark::DoNotOptimize(raw);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * PointCount);
}
BENCHMARK(TransformPointsPlainLoop);

void SumOfNorms(benchmark::State &state)
{
    const std::vector<MVector3d> points = makePoints();
    for (auto _ : state) {
        double sum = 0;
        for (const MVector3d &p : points)
            if (p.isValid())
                sum += p.norm();
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * PointCount);
}
BENCHMARK(SumOfNorms);

void SumOfNormsPlainLoop(benchmark::State &state)
{
    const std::vector<MVector3d> points = makePoints();
    const double *raw = points[0].data();
    for (auto _ : state) {
        double sum = 0;
        for (int i = 0; i < PointCount; ++i) {
            const double x = raw[3 * i], y = raw[3 * i + 1], z = raw[3 * i + 2];
            if (!(x == x && x != MInvalid && y == y && y != MInvalid && z == z && z != MInvalid))
                continue;
            sum += std::sqrt(x * x + y * y + z * z);
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * PointCount);
}
BENCHMARK(SumOfNormsPlainLoop);

} // namespace
