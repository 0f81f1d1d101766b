// The bulk operations of MPointCloud against a plain loop over std::vector
// doing the same work on the same data: the memory-bandwidth limit.
#include "MPointCloud.h"

#include <benchmark/benchmark.h>

#include <cfloat>
#include <cmath>
#include <random>
#include <vector>

using namespace ZOLAR3D;

namespace {

constexpr int Rows = 2500;
constexpr int Cols = 4000;

struct PlainPoint {
    double x, y, z;
};

bool plainValid(double v) { return v == v && v != double(FLT_MAX); }
bool plainValid(const PlainPoint &p) { return plainValid(p.x) && plainValid(p.y) && plainValid(p.z); }

// A tilted wavy surface on a 2500 x 4000 grid with 3 % holes.
const MPointCloud &scan()
{
    static const MPointCloud cloud = [] {
        std::mt19937 random(42);
        std::uniform_real_distribution<double> unit(0.0, 1.0);
        MPointCloud c;
        c.reservePointCapacity(Rows * Cols);
        for (int row = 0; row < Rows; ++row)
            for (int col = 0; col < Cols; ++col) {
                const double x = 0.05 * col, y = 0.05 * row;
                c.add(x, y, 0.1 * x + std::sin(x) * std::cos(y));
                if (unit(random) < 0.03)
                    c.invalidatePoint(c.numPoints() - 1);
            }
        c.setOrganized2d(Rows, Cols);
        return c;
    }();
    return cloud;
}

const std::vector<PlainPoint> &plainScan()
{
    static const std::vector<PlainPoint> points = [] {
        const MPointCloud &c = scan();
        std::vector<PlainPoint> v(c.numPoints());
        for (int i = 0; i < c.numPoints(); ++i)
            v[i] = {c.points()[i].x(), c.points()[i].y(), c.points()[i].z()};
        return v;
    }();
    return points;
}

// A rigid motion with a slight turn: the points stay bounded over many runs.
const double Motion[16] = {0.9998, -0.0200, 0.0, 0.01,
                           0.0200, 0.9998, 0.0, -0.02,
                           0.0, 0.0, 1.0, 0.003,
                           0.0, 0.0, 0.0, 1.0};

void setCounters(benchmark::State &state, int points)
{
    state.SetItemsProcessed(state.iterations() * points);
}

// ---- applyTransformation

void BM_ApplyTransformation(benchmark::State &state)
{
    MPointCloud cloud = scan();
    const MMatrix4 m(Motion[0], Motion[1], Motion[2], Motion[3], Motion[4], Motion[5], Motion[6], Motion[7],
                     Motion[8], Motion[9], Motion[10], Motion[11], Motion[12], Motion[13], Motion[14], Motion[15]);
    for (auto _ : state) {
        cloud.applyTransformation(m);
        benchmark::DoNotOptimize(cloud.points());
        benchmark::ClobberMemory();
    }
    setCounters(state, cloud.numPoints());
}

void BM_PlainTransformation(benchmark::State &state)
{
    std::vector<PlainPoint> points = plainScan();
    const double *m = Motion;
    for (auto _ : state) {
        for (PlainPoint &p : points) {
            if (!plainValid(p))
                continue;
            const double x = p.x, y = p.y, z = p.z;
            const double w = m[12] * x + m[13] * y + m[14] * z + m[15];
            const double tx = m[0] * x + m[1] * y + m[2] * z + m[3];
            const double ty = m[4] * x + m[5] * y + m[6] * z + m[7];
            const double tz = m[8] * x + m[9] * y + m[10] * z + m[11];
            if (w == 1.0)
                p = {tx, ty, tz};
            else
                p = {tx / w, ty / w, tz / w};
        }
        benchmark::DoNotOptimize(points.data());
        benchmark::ClobberMemory();
    }
    setCounters(state, static_cast<int>(points.size()));
}

// ---- subsampled

void BM_Subsampled(benchmark::State &state)
{
    const MPointCloud &cloud = scan();
    const int step = static_cast<int>(state.range(0));
    for (auto _ : state) {
        MPointCloud sampled = cloud.subsampled(step);
        benchmark::DoNotOptimize(sampled.points());
    }
    setCounters(state, cloud.numPoints() / (step * step));
}

// The same sampling into a fresh vector, invalid points normalised likewise.
std::vector<PlainPoint> plainGrid(const std::vector<PlainPoint> &src, int row0, int col0, int rows, int cols, int step)
{
    std::vector<PlainPoint> out(static_cast<std::size_t>(rows) * cols);
    PlainPoint *dst = out.data();
    for (int r = 0; r < rows; ++r) {
        const PlainPoint *line = src.data() + static_cast<std::size_t>(row0 + r * step) * Cols + col0;
        for (int c = 0; c < cols; ++c) {
            PlainPoint p = line[static_cast<std::size_t>(c) * step];
            if (!plainValid(p))
                p.x = double(FLT_MAX);
            *dst++ = p;
        }
    }
    return out;
}

void BM_PlainSubsampled(benchmark::State &state)
{
    const std::vector<PlainPoint> &points = plainScan();
    const int step = static_cast<int>(state.range(0));
    for (auto _ : state) {
        std::vector<PlainPoint> sampled = plainGrid(points, 0, 0, (Rows + step - 1) / step, (Cols + step - 1) / step, step);
        benchmark::DoNotOptimize(sampled.data());
    }
    setCounters(state, static_cast<int>(points.size()) / (step * step));
}

// ---- roi: the middle 2000 x 3000 of the grid

void BM_Roi(benchmark::State &state)
{
    const MPointCloud &cloud = scan();
    for (auto _ : state) {
        MPointCloud window = cloud.roi(250, 500, 2000, 3000);
        benchmark::DoNotOptimize(window.points());
    }
    setCounters(state, 2000 * 3000);
}

void BM_PlainRoi(benchmark::State &state)
{
    const std::vector<PlainPoint> &points = plainScan();
    for (auto _ : state) {
        std::vector<PlainPoint> window = plainGrid(points, 250, 500, 2000, 3000, 1);
        benchmark::DoNotOptimize(window.data());
    }
    setCounters(state, 2000 * 3000);
}

// ---- removeInvalidPoints: each run compacts a fresh copy, copied untimed

void BM_RemoveInvalidPoints(benchmark::State &state)
{
    MPointCloud cloud;
    for (auto _ : state) {
        state.PauseTiming();
        cloud = scan();
        state.ResumeTiming();
        benchmark::DoNotOptimize(cloud.removeInvalidPoints());
    }
    setCounters(state, scan().numPoints());
}

void BM_PlainRemoveInvalidPoints(benchmark::State &state)
{
    std::vector<PlainPoint> points;
    for (auto _ : state) {
        state.PauseTiming();
        points = plainScan();
        state.ResumeTiming();
        std::size_t kept = 0;
        for (std::size_t i = 0; i < points.size(); ++i)
            if (plainValid(points[i]))
                points[kept++] = points[i];
        points.resize(kept);
        benchmark::DoNotOptimize(points.data());
    }
    setCounters(state, static_cast<int>(plainScan().size()));
}

} // namespace

BENCHMARK(BM_ApplyTransformation)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlainTransformation)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Subsampled)->Arg(2)->Arg(4)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlainSubsampled)->Arg(2)->Arg(4)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Roi)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlainRoi)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RemoveInvalidPoints)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlainRemoveInvalidPoints)->Unit(benchmark::kMillisecond);
