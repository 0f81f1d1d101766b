// The k-d tree against nanoflann on the same points and queries: build, nearest
// neighbour, radius search with about 30 points in the ball, and the ten
// nearest. Single thread; each iteration runs all queries.
#include "MKdTree.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

#ifdef ZOL3D_HAVE_NANOFLANN
#include <nanoflann.hpp>
#endif

using namespace ZOLAR3D;

namespace {

constexpr int NumPoints = 1000000;
constexpr int NumQueries = 1000000;
// Uniform points in the unit cube: a ball of this radius holds 30 on average.
const double BallRadius = std::cbrt(30.0 / (4.0 / 3.0 * M_PI * NumPoints));
constexpr int NumNearest = 10;

std::vector<MVector3d> uniformPoints(int n, unsigned seed)
{
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<double> coordinate(0.0, 1.0);
    std::vector<MVector3d> points(n);
    for (MVector3d &p : points)
        p.setValues(coordinate(random), coordinate(random), coordinate(random));
    return points;
}

const std::vector<MVector3d> &points()
{
    static const std::vector<MVector3d> data = uniformPoints(NumPoints, 1);
    return data;
}

const std::vector<MVector3d> &queries()
{
    static const std::vector<MVector3d> data = uniformPoints(NumQueries, 2);
    return data;
}

const MKdTree &tree()
{
    static const MKdTree *built = [] {
        auto *t = new MKdTree;
        t->from(points().data(), int(points().size()));
        return t;
    }();
    return *built;
}

void setQueries(benchmark::State &state) { state.SetItemsProcessed(state.iterations() * int64_t(queries().size())); }

void Zol3DBuild(benchmark::State &state)
{
    for (auto _ : state) {
        MKdTree t;
        t.from(points().data(), int(points().size()));
        benchmark::ClobberMemory();
    }
}

void Zol3DNearestNeighbor(benchmark::State &state)
{
    const MKdTree &t = tree();
    for (auto _ : state) {
        long long sum = 0;
        for (const MVector3d &q : queries()) {
            int index = -1;
            t.findNearestNeighbor(q, 1.0, nullptr, &index, false);
            sum += index;
        }
        benchmark::DoNotOptimize(sum);
    }
    setQueries(state);
}

void Zol3DRadius(benchmark::State &state)
{
    const MKdTree &t = tree();
    std::vector<MVector3d> found(1000);
    std::vector<int> indices(1000);
    long long total = 0;
    for (auto _ : state) {
        total = 0;
        for (const MVector3d &q : queries())
            total += t.findAllNeighbors(q, BallRadius, 1000, found.data(), indices.data());
        benchmark::DoNotOptimize(total);
    }
    state.counters["perBall"] = double(total) / double(queries().size());
    setQueries(state);
}

void Zol3DNearest10(benchmark::State &state)
{
    const MKdTree &t = tree();
    MVector3d found[NumNearest];
    int indices[NumNearest];
    long long total = 0;
    for (auto _ : state) {
        total = 0;
        for (const MVector3d &q : queries())
            total += t.findNearestNeighbors(q, BallRadius, NumNearest, found, indices);
        benchmark::DoNotOptimize(total);
    }
    state.counters["found"] = double(total) / double(queries().size());
    setQueries(state);
}

BENCHMARK(Zol3DBuild)->Unit(benchmark::kMillisecond);
BENCHMARK(Zol3DNearestNeighbor)->Unit(benchmark::kMillisecond);
BENCHMARK(Zol3DRadius)->Unit(benchmark::kMillisecond);
BENCHMARK(Zol3DNearest10)->Unit(benchmark::kMillisecond);

#ifdef ZOL3D_HAVE_NANOFLANN

// nanoflann reads the same points in place.
struct PointSource {
    const std::vector<MVector3d> &points;
    size_t kdtree_get_point_count() const { return points.size(); }
    double kdtree_get_pt(size_t i, size_t axis) const { return points[i][int(axis)]; }
    template <class Box>
    bool kdtree_get_bbox(Box &) const
    {
        return false;
    }
};

using NanoTree = nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<double, PointSource>, PointSource, 3>;

const PointSource source{points()};

const NanoTree &nanoTree()
{
    static const NanoTree *built = new NanoTree(3, source, nanoflann::KDTreeSingleIndexAdaptorParams(10));
    return *built;
}

void NanoflannBuild(benchmark::State &state)
{
    for (auto _ : state) {
        NanoTree t(3, source, nanoflann::KDTreeSingleIndexAdaptorParams(10));
        benchmark::ClobberMemory();
    }
}

void NanoflannNearestNeighbor(benchmark::State &state)
{
    const NanoTree &t = nanoTree();
    for (auto _ : state) {
        long long sum = 0;
        for (const MVector3d &q : queries()) {
            uint32_t index = 0;
            double d2 = 0.0;
            t.knnSearch(q.data(), 1, &index, &d2);
            sum += index;
        }
        benchmark::DoNotOptimize(sum);
    }
    setQueries(state);
}

void NanoflannRadius(benchmark::State &state)
{
    const NanoTree &t = nanoTree();
    std::vector<std::pair<uint32_t, double>> found;
    found.reserve(1000);
    // Unsorted, like the tree order of findAllNeighbors.
    const nanoflann::SearchParams params(32, 0.0f, false);
    long long total = 0;
    for (auto _ : state) {
        total = 0;
        for (const MVector3d &q : queries())
            total += t.radiusSearch(q.data(), BallRadius * BallRadius, found, params);
        benchmark::DoNotOptimize(total);
    }
    state.counters["perBall"] = double(total) / double(queries().size());
    setQueries(state);
}

void NanoflannNearest10(benchmark::State &state)
{
    const NanoTree &t = nanoTree();
    uint32_t indices[NumNearest];
    double d2[NumNearest];
    long long total = 0;
    for (auto _ : state) {
        total = 0;
        for (const MVector3d &q : queries())
            total += t.knnSearch(q.data(), NumNearest, indices, d2);
        benchmark::DoNotOptimize(total);
    }
    state.counters["found"] = double(total) / double(queries().size());
    setQueries(state);
}

BENCHMARK(NanoflannBuild)->Unit(benchmark::kMillisecond);
BENCHMARK(NanoflannNearestNeighbor)->Unit(benchmark::kMillisecond);
BENCHMARK(NanoflannRadius)->Unit(benchmark::kMillisecond);
BENCHMARK(NanoflannNearest10)->Unit(benchmark::kMillisecond);

#endif

} // namespace
