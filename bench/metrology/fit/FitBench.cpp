// The best-fit plane of a large scan against one plain pass of memory
// reading over the same points: the fit reads the points twice, once for the
// centre and the scatter, once more for the extent along the fitted axes.
#include "MPlane.h"
#include "MPointCloud.h"

#include <benchmark/benchmark.h>

#include <random>

using namespace ZOLAR3D;

namespace {

constexpr int NumPoints = 10'000'000;

// A tilted, slightly rough plane far from the origin, with 2 % holes.
const MPointCloud &scan()
{
    static const MPointCloud cloud = [] {
        std::mt19937 random(7);
        std::uniform_real_distribution<double> unit(0.0, 1.0);
        MPointCloud c;
        c.reservePointCapacity(NumPoints);
        for (int i = 0; i < NumPoints; ++i) {
            const double x = 1e5 + 0.01 * (i % 4000), y = -2e5 + 0.01 * (i / 4000);
            c.add(x, y, 3e5 + 0.2 * x - 0.1 * y + 0.001 * unit(random));
            if (unit(random) < 0.02)
                c.invalidatePoint(i);
        }
        return c;
    }();
    return cloud;
}

void BM_FitPlane(benchmark::State &state)
{
    const MPointCloud &cloud = scan();
    for (auto _ : state) {
        const MPlane plane = cloud.fitPlane();
        benchmark::DoNotOptimize(plane);
    }
    state.SetItemsProcessed(state.iterations() * NumPoints);
}
BENCHMARK(BM_FitPlane)->Unit(benchmark::kMillisecond);

// One pass of memory reading: the sum of all coordinates.
void BM_SumCoordinatesPlainLoop(benchmark::State &state)
{
    const MVector3d *p = scan().points();
    for (auto _ : state) {
        double x = 0.0, y = 0.0, z = 0.0;
        for (int i = 0; i < NumPoints; ++i) {
            x += p[i].x();
            y += p[i].y();
            z += p[i].z();
        }
        benchmark::DoNotOptimize(x + y + z);
    }
    state.SetItemsProcessed(state.iterations() * NumPoints);
}
BENCHMARK(BM_SumCoordinatesPlainLoop)->Unit(benchmark::kMillisecond);

} // namespace
