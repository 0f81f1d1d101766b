// Connectivity segmentation of a 4096 x 4096 range image, against the grid
// flood of a labelling of the same size (the same flood without the quad
// tests) and against counting the valid quads (the quad tests alone); and
// the k-d tree connectivity growing of a million points, against
// pcl::EuclideanClusterExtraction at the same radius where PCL is installed.
#include "MInvalid.h"
#include "MPointCloud.h"
#include "MRangeImage.h"
#include "MRegions.h"

#include <benchmark/benchmark.h>

#ifdef ZOL3D_HAVE_PCL
// The cluster extraction lives in a PCL library that the benchmarks do not
// link; its templates are compiled here instead.
#define PCL_NO_PRECOMPILE
#include <pcl/point_cloud.h>
#include <pcl/point_types.h>
#include <pcl/search/kdtree.h>
#include <pcl/segmentation/extract_clusters.h>
#endif

#include <cmath>
#include <random>

using namespace ZOLAR3D;

namespace {

constexpr int ImageSide = 4096;
constexpr int CloudSide = 1000;
// Neighbours within 2.5 grid spacings: about 20 per ball.
constexpr double Radius = 2.5;

// A wavy surface cut by Z steps into pieces, with 2 % holes.
const MRangeImage &scanImage()
{
    static const MRangeImage image = [] {
        std::mt19937 random(7);
        std::uniform_real_distribution<double> unit(0.0, 1.0);
        MRangeImage im(ImageSide, ImageSide);
        for (int row = 0; row < ImageSide; ++row)
            for (int col = 0; col < ImageSide; ++col) {
                const double step = ((row / 700) + (col / 900)) % 3 * 20.0;
                im(row, col) = unit(random) < 0.02 ? MInvalid : step + std::sin(row / 90.0) * std::cos(col / 120.0);
            }
        return im;
    }();
    return image;
}

const MRegions &validPixels()
{
    static const MRegions regions = [] {
        const MRangeImage &im = scanImage();
        MRegions r(im.width(), im.height());
        const int region = r.addRegion();
        for (int i = 0; i < im.size(); ++i)
            if (im.values()[i] != MInvalid)
                r.addToRegion(i, region);
        return r;
    }();
    return regions;
}

// A million points on a jittered grid of spacing 1 over a wavy surface, with
// gaps of 4 spacings every 250 rows and columns, so that it falls into 16 pieces.
const MPointCloud &scanCloud()
{
    static const MPointCloud cloud = [] {
        std::mt19937 random(11);
        std::uniform_real_distribution<double> jitter(-0.1, 0.1);
        MPointCloud c;
        c.reservePointCapacity(CloudSide * CloudSide);
        for (int row = 0; row < CloudSide; ++row)
            for (int col = 0; col < CloudSide; ++col) {
                const double x = col + 4.0 * (col / 250) + jitter(random);
                const double y = row + 4.0 * (row / 250) + jitter(random);
                c.add(x, y, 5.0 * std::sin(x / 40.0) * std::cos(y / 55.0) + jitter(random));
            }
        return c;
    }();
    return cloud;
}

void RangeImageConnectivity(benchmark::State &state)
{
    const MRangeImage &image = scanImage();
    int regions = 0;
    for (auto _ : state) {
        const MRegions result = image.connectivitySegmentation(1);
        regions = result.numRegions();
        benchmark::DoNotOptimize(regions);
    }
    state.counters["regions"] = regions;
    state.SetItemsProcessed(state.iterations() * image.size());
}

void RegionsConnectivity(benchmark::State &state)
{
    const MRegions &labelling = validPixels();
    for (auto _ : state) {
        const MRegions result = labelling.connectivitySegmentation(1);
        benchmark::DoNotOptimize(result.numRegions());
    }
    state.SetItemsProcessed(state.iterations() * labelling.size());
}

void RangeImageValidQuads(benchmark::State &state)
{
    const MRangeImage &image = scanImage();
    for (auto _ : state)
        benchmark::DoNotOptimize(image.numValidQuads());
    state.SetItemsProcessed(state.iterations() * image.size());
}

void PointCloudConnectivity(benchmark::State &state)
{
    const MPointCloud &cloud = scanCloud();
    int regions = 0;
    for (auto _ : state) {
        const MRegions result = cloud.connectivitySegmentation(1, Radius);
        regions = result.numRegions();
        benchmark::DoNotOptimize(regions);
    }
    state.counters["regions"] = regions;
    state.SetItemsProcessed(state.iterations() * cloud.numPoints());
}

#ifdef ZOL3D_HAVE_PCL
void PclEuclideanClusters(benchmark::State &state)
{
    const MPointCloud &cloud = scanCloud();
    pcl::PointCloud<pcl::PointXYZ>::Ptr points(new pcl::PointCloud<pcl::PointXYZ>);
    points->reserve(std::size_t(cloud.numPoints()));
    for (int i = 0; i < cloud.numPoints(); ++i) {
        const MVector3d &p = cloud.points()[i];
        points->push_back(pcl::PointXYZ(float(p.x()), float(p.y()), float(p.z())));
    }
    std::size_t regions = 0;
    for (auto _ : state) {
        // The tree is built inside the loop, as the library builds its own.
        pcl::search::KdTree<pcl::PointXYZ>::Ptr tree(new pcl::search::KdTree<pcl::PointXYZ>);
        tree->setInputCloud(points);
        pcl::EuclideanClusterExtraction<pcl::PointXYZ> extraction;
        extraction.setClusterTolerance(Radius);
        extraction.setMinClusterSize(1);
        extraction.setMaxClusterSize(cloud.numPoints());
        extraction.setSearchMethod(tree);
        extraction.setInputCloud(points);
        std::vector<pcl::PointIndices> clusters;
        extraction.extract(clusters);
        regions = clusters.size();
        benchmark::DoNotOptimize(regions);
    }
    state.counters["regions"] = double(regions);
    state.SetItemsProcessed(state.iterations() * cloud.numPoints());
}
BENCHMARK(PclEuclideanClusters)->Unit(benchmark::kMillisecond);
#endif

BENCHMARK(RangeImageConnectivity)->Unit(benchmark::kMillisecond);
BENCHMARK(RegionsConnectivity)->Unit(benchmark::kMillisecond);
BENCHMARK(RangeImageValidQuads)->Unit(benchmark::kMillisecond);
BENCHMARK(PointCloudConnectivity)->Unit(benchmark::kMillisecond);

} // namespace
