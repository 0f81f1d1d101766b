// The k-d tree against nanoflann on the same points and queries: build, nearest
// neighbour, radius search with about 30 points in the ball, and the ten
// nearest. Two data sets: a million uniform random points with a million
// random queries; and a real room scan, whose nearest neighbours are sought
// for the points of a second scan of the room, as registration does, and whose
// balls and ten nearest are sought around its own points, as normal estimation
// does. Single thread; each iteration runs all queries.
#include "MKdTree.h"
#include "MPointCloud.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#ifdef ZOL3D_HAVE_NANOFLANN
#include <nanoflann.hpp>
#endif

using namespace ZOLAR3D;

namespace {

constexpr int NumNearest = 10;
constexpr int BallCapacity = 1000;

struct DataSet {
    std::vector<MVector3d> points;
    // For the nearest neighbour.
    std::vector<MVector3d> queries;
    // For the balls and the ten nearest.
    std::vector<MVector3d> centers;
    // A ball of this radius around a center holds about 30 points on average.
    double radius = 0.0;
    bool ok = false;
};

std::vector<MVector3d> uniformPoints(int n, unsigned seed)
{
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<double> coordinate(0.0, 1.0);
    std::vector<MVector3d> points(n);
    for (MVector3d &p : points)
        p.setValues(coordinate(random), coordinate(random), coordinate(random));
    return points;
}

const DataSet &uniform()
{
    static const DataSet data = [] {
        DataSet d;
        d.points = uniformPoints(1000000, 1);
        d.queries = uniformPoints(1000000, 2);
        d.centers = d.queries;
        d.radius = std::cbrt(30.0 / (4.0 / 3.0 * M_PI * 1e6));
        d.ok = true;
        return d;
    }();
    return data;
}

std::vector<MVector3d> validPointsOf(const std::string &file)
{
    MPointCloud cloud;
    std::vector<MVector3d> points;
    if (!cloud.loadPcd((std::string(ZOL3D_BENCH_DATA_DIR) + "/" + file).c_str()))
        return points;
    for (int i = 0; i < cloud.size(); ++i)
        if (cloud.points()[i].isValid())
            points.push_back(cloud.points()[i]);
    return points;
}

// The radius whose balls around the queries hold 30 points on average.
double radiusForThirty(const std::vector<MVector3d> &points, const std::vector<MVector3d> &queries)
{
    MKdTree tree;
    tree.from(points.data(), int(points.size()));
    auto meanCount = [&](double r) {
        long long total = 0;
        for (size_t i = 0; i < queries.size(); i += 97)
            total += tree.findAllNeighbors(queries[i], r, BallCapacity, nullptr, nullptr);
        return double(total) / double((queries.size() + 96) / 97);
    };
    double lo = 0.0, hi = 1.0;
    while (meanCount(hi) < 30.0)
        hi *= 2.0;
    for (int step = 0; step < 40; ++step) {
        const double mid = 0.5 * (lo + hi);
        (meanCount(mid) < 30.0 ? lo : hi) = mid;
    }
    return hi;
}

const DataSet &roomScan()
{
    static const DataSet data = [] {
        DataSet d;
        d.points = validPointsOf("pcl_data/room_scan1.pcd");
        d.queries = validPointsOf("pcl_data/room_scan2.pcd");
        d.centers = d.points;
        d.ok = !d.points.empty() && !d.queries.empty();
        if (d.ok)
            d.radius = radiusForThirty(d.points, d.centers);
        return d;
    }();
    return data;
}

using DataSource = const DataSet &(*)();

bool ready(benchmark::State &state, const DataSet &data)
{
    if (!data.ok)
        state.SkipWithError("the room scans of the shared data are missing");
    return data.ok;
}

void countQueries(benchmark::State &state, const std::vector<MVector3d> &queries)
{
    state.SetItemsProcessed(state.iterations() * int64_t(queries.size()));
}

const MKdTree &treeOf(const DataSet &data)
{
    // One tree per data set, built on first use and kept for the process.
    static const MKdTree *uniformTree = nullptr;
    static const MKdTree *scanTree = nullptr;
    const MKdTree *&tree = &data == &uniform() ? uniformTree : scanTree;
    if (!tree) {
        auto *built = new MKdTree;
        built->from(data.points.data(), int(data.points.size()));
        tree = built;
    }
    return *tree;
}

void Zol3DBuild(benchmark::State &state, DataSource source)
{
    const DataSet &data = source();
    if (!ready(state, data))
        return;
    for (auto _ : state) {
        MKdTree t;
        t.from(data.points.data(), int(data.points.size()));
        benchmark::ClobberMemory();
    }
}

void Zol3DNearestNeighbor(benchmark::State &state, DataSource source)
{
    const DataSet &data = source();
    if (!ready(state, data))
        return;
    const MKdTree &t = treeOf(data);
    for (auto _ : state) {
        long long sum = 0;
        for (const MVector3d &q : data.queries) {
            int index = -1;
            t.findNearestNeighbor(q, 1e30, nullptr, &index, false);
            sum += index;
        }
        benchmark::DoNotOptimize(sum);
    }
    countQueries(state, data.queries);
}

void Zol3DRadius(benchmark::State &state, DataSource source)
{
    const DataSet &data = source();
    if (!ready(state, data))
        return;
    const MKdTree &t = treeOf(data);
    std::vector<MVector3d> found(BallCapacity);
    std::vector<int> indices(BallCapacity);
    long long total = 0;
    for (auto _ : state) {
        total = 0;
        for (const MVector3d &q : data.centers)
            total += t.findAllNeighbors(q, data.radius, BallCapacity, found.data(), indices.data());
        benchmark::DoNotOptimize(total);
    }
    state.counters["perBall"] = double(total) / double(data.centers.size());
    countQueries(state, data.centers);
}

void Zol3DNearest10(benchmark::State &state, DataSource source)
{
    const DataSet &data = source();
    if (!ready(state, data))
        return;
    const MKdTree &t = treeOf(data);
    MVector3d found[NumNearest];
    int indices[NumNearest];
    long long total = 0;
    for (auto _ : state) {
        total = 0;
        for (const MVector3d &q : data.centers)
            total += t.findNearestNeighbors(q, data.radius, NumNearest, found, indices);
        benchmark::DoNotOptimize(total);
    }
    state.counters["found"] = double(total) / double(data.centers.size());
    countQueries(state, data.centers);
}

#define ZOL3D_TREE_CASES(prefix)                                                                               \
    BENCHMARK_CAPTURE(prefix##Build, uniform, uniform)->Unit(benchmark::kMillisecond);                        \
    BENCHMARK_CAPTURE(prefix##NearestNeighbor, uniform, uniform)->Unit(benchmark::kMillisecond);              \
    BENCHMARK_CAPTURE(prefix##Radius, uniform, uniform)->Unit(benchmark::kMillisecond);                       \
    BENCHMARK_CAPTURE(prefix##Nearest10, uniform, uniform)->Unit(benchmark::kMillisecond);                    \
    BENCHMARK_CAPTURE(prefix##Build, roomScan, roomScan)->Unit(benchmark::kMillisecond);                      \
    BENCHMARK_CAPTURE(prefix##NearestNeighbor, roomScan, roomScan)->Unit(benchmark::kMillisecond);            \
    BENCHMARK_CAPTURE(prefix##Radius, roomScan, roomScan)->Unit(benchmark::kMillisecond);                     \
    BENCHMARK_CAPTURE(prefix##Nearest10, roomScan, roomScan)->Unit(benchmark::kMillisecond)

ZOL3D_TREE_CASES(Zol3D);

#ifdef ZOL3D_HAVE_NANOFLANN

// nanoflann reads the points of a data set in place.
struct PointSource {
    const std::vector<MVector3d> *points;
    size_t kdtree_get_point_count() const { return points->size(); }
    double kdtree_get_pt(size_t i, size_t axis) const { return (*points)[i][int(axis)]; }
    template <class Box>
    bool kdtree_get_bbox(Box &) const
    {
        return false;
    }
};

using NanoTree = nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<double, PointSource>, PointSource, 3>;

// Leaves of up to 10 points, nanoflann's default.
const nanoflann::KDTreeSingleIndexAdaptorParams NanoParams(10);

const NanoTree &nanoTreeOf(const DataSet &data)
{
    static PointSource uniformSource{nullptr}, scanSource{nullptr};
    static const NanoTree *uniformTree = nullptr;
    static const NanoTree *scanTree = nullptr;
    const bool isUniform = &data == &uniform();
    PointSource &source = isUniform ? uniformSource : scanSource;
    const NanoTree *&tree = isUniform ? uniformTree : scanTree;
    if (!tree) {
        source.points = &data.points;
        tree = new NanoTree(3, source, NanoParams);
    }
    return *tree;
}

void NanoflannBuild(benchmark::State &state, DataSource source)
{
    const DataSet &data = source();
    if (!ready(state, data))
        return;
    const PointSource points{&data.points};
    for (auto _ : state) {
        NanoTree t(3, points, NanoParams);
        benchmark::ClobberMemory();
    }
}

void NanoflannNearestNeighbor(benchmark::State &state, DataSource source)
{
    const DataSet &data = source();
    if (!ready(state, data))
        return;
    const NanoTree &t = nanoTreeOf(data);
    for (auto _ : state) {
        long long sum = 0;
        for (const MVector3d &q : data.queries) {
            uint32_t index = 0;
            double d2 = 0.0;
            t.knnSearch(q.data(), 1, &index, &d2);
            sum += index;
        }
        benchmark::DoNotOptimize(sum);
    }
    countQueries(state, data.queries);
}

void NanoflannRadius(benchmark::State &state, DataSource source)
{
    const DataSet &data = source();
    if (!ready(state, data))
        return;
    const NanoTree &t = nanoTreeOf(data);
    std::vector<std::pair<uint32_t, double>> found;
    found.reserve(BallCapacity);
    // Unsorted, like the tree order of findAllNeighbors.
    const nanoflann::SearchParams params(32, 0.0f, false);
    long long total = 0;
    for (auto _ : state) {
        total = 0;
        for (const MVector3d &q : data.centers)
            total += t.radiusSearch(q.data(), data.radius * data.radius, found, params);
        benchmark::DoNotOptimize(total);
    }
    state.counters["perBall"] = double(total) / double(data.centers.size());
    countQueries(state, data.centers);
}

void NanoflannNearest10(benchmark::State &state, DataSource source)
{
    const DataSet &data = source();
    if (!ready(state, data))
        return;
    const NanoTree &t = nanoTreeOf(data);
    uint32_t indices[NumNearest];
    double d2[NumNearest];
    const double squaredRadius = data.radius * data.radius;
    long long total = 0;
    for (auto _ : state) {
        total = 0;
        for (const MVector3d &q : data.centers) {
            // The ten nearest within the ball, as findNearestNeighbors gives
            // them: the worst distance accepted starts at the radius.
            nanoflann::KNNResultSet<double, uint32_t> result(NumNearest);
            result.init(indices, d2);
            d2[NumNearest - 1] = squaredRadius;
            t.findNeighbors(result, q.data(), nanoflann::SearchParams());
            total += result.size();
        }
        benchmark::DoNotOptimize(total);
    }
    state.counters["found"] = double(total) / double(data.centers.size());
    countQueries(state, data.centers);
}

ZOL3D_TREE_CASES(Nanoflann);

#endif

} // namespace
