// The minimum-zone plane and the flatness figure on a million points of a
// rough plate and on a real room scan, against the least-squares plane of
// the same points: one pass over all points, as the hull build makes too.
#include "MPlane.h"
#include "MPointCloud.h"

#include <benchmark/benchmark.h>

#include <random>

using namespace ZOLAR3D;

namespace {

constexpr int NumPoints = 1'000'000;

// A tilted plate of 100 x 60 with 0.05 of uniform roughness, far from the origin.
const MPointCloud &plate()
{
    static const MPointCloud cloud = [] {
        std::mt19937 random(3);
        std::uniform_real_distribution<double> unit(0.0, 1.0);
        MPointCloud c;
        c.reservePointCapacity(NumPoints);
        for (int i = 0; i < NumPoints; ++i) {
            const double x = 2e4 + 100 * unit(random), y = -5e3 + 60 * unit(random);
            c.add(x, y, 1e3 + 0.3 * x - 0.2 * y + 0.05 * unit(random));
        }
        return c;
    }();
    return cloud;
}

const MPointCloud &room()
{
    static const MPointCloud cloud = [] {
        MPointCloud c;
        c.loadPcd(ZOL3D_BENCH_DATA_DIR "/pcl_data/room_scan1.pcd");
        return c;
    }();
    return cloud;
}

void run(benchmark::State &state, const MPointCloud &cloud, double (*figure)(const MPointCloud &))
{
    if (cloud.numPoints() == 0) {
        state.SkipWithError("data missing");
        return;
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(figure(cloud));
    state.SetItemsProcessed(state.iterations() * cloud.numPoints());
}

double minimumZone(const MPointCloud &cloud)
{
    double flatness = 0.0;
    cloud.fitPlaneMZ(&flatness, nullptr, nullptr);
    return flatness;
}

double flatnessWithoutTen(const MPointCloud &cloud) { return cloud.gdtFlatness(10, nullptr); }

double leastSquares(const MPointCloud &cloud) { return cloud.fitPlane().position().z(); }

void BM_FitPlaneMZ_Plate(benchmark::State &state) { run(state, plate(), minimumZone); }
void BM_GdtFlatness10_Plate(benchmark::State &state) { run(state, plate(), flatnessWithoutTen); }
void BM_FitPlane_Plate(benchmark::State &state) { run(state, plate(), leastSquares); }
void BM_FitPlaneMZ_Room(benchmark::State &state) { run(state, room(), minimumZone); }
void BM_FitPlane_Room(benchmark::State &state) { run(state, room(), leastSquares); }

BENCHMARK(BM_FitPlaneMZ_Plate)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GdtFlatness10_Plate)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FitPlane_Plate)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FitPlaneMZ_Room)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FitPlane_Room)->Unit(benchmark::kMillisecond);

} // namespace
