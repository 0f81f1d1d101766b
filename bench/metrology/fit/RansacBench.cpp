// The best plane of a real stereo scan of a table (640 x 480, many holes) by
// RANSAC with 1000 hypotheses and a band of 1 cm, against the Point Cloud
// Library's SACSegmentation where it is installed, on the same points in
// the same run, single-threaded. Both report the points within the band of
// the plane they return. When one plane is wanted, a hypothesis that cannot
// beat the best so far stops counting and is not refitted; the search for
// two planes shows the cost of counting and refitting every hypothesis.
//
// The library is given the organised scan and drops its holes itself;
// SACSegmentation gets the valid points alone. Its RANSAC ends early once
// its estimate of the hypotheses needed is met: a probability of 1 makes
// that estimate infinite, and with a maximum of 999 it stops after its
// 1000th hypothesis (it tests the count after each one).
#include "MPlane.h"
#include "MPointCloud.h"

#include <benchmark/benchmark.h>

#include <cmath>

#ifdef ZOL3D_HAVE_PCL
#include <pcl/ModelCoefficients.h>
#include <pcl/point_types.h>
#include <pcl/segmentation/sac_segmentation.h>
#endif

using namespace ZOLAR3D;

namespace {

constexpr double Band = 0.01;
constexpr int Hypotheses = 1000;

const MPointCloud &tableScan()
{
    static const MPointCloud cloud = [] {
        MPointCloud loaded;
        loaded.loadPcd(ZOL3D_BENCH_DATA_DIR "/pcl_test/table_scene_mug_stereo_textured.pcd");
        return loaded;
    }();
    return cloud;
}

void RansacBestPlane(benchmark::State &state)
{
    const MPointCloud &cloud = tableScan();
    if (cloud.numPoints() == 0) {
        state.SkipWithError("table scan not found");
        return;
    }
    MPlane plane;
    for (auto _ : state) {
        plane = cloud.ransacBestPlane(Band);
        benchmark::DoNotOptimize(plane);
    }
    state.counters["inliers"] = cloud.selectDistanceRange(plane, -Band, Band).regionSize(0);
    state.counters["points"] = cloud.numValidPoints();
}
BENCHMARK(RansacBestPlane)->Unit(benchmark::kMillisecond);

// Two planes from the same 1000 hypotheses: every hypothesis is counted to
// the end and refitted, as the choice among several shapes needs them all.
void RansacAllPlanesTwo(benchmark::State &state)
{
    const MPointCloud &cloud = tableScan();
    if (cloud.numPoints() == 0) {
        state.SkipWithError("table scan not found");
        return;
    }
    MPlane planes[2];
    for (auto _ : state)
        benchmark::DoNotOptimize(cloud.ransacAllPlanes(Band, planes, 2, Hypotheses / 2));
    state.counters["inliers"] = cloud.selectDistanceRange(planes[0], -Band, Band).regionSize(0);
}
BENCHMARK(RansacAllPlanesTwo)->Unit(benchmark::kMillisecond);

#ifdef ZOL3D_HAVE_PCL

pcl::PointCloud<pcl::PointXYZ>::Ptr pclTableScan()
{
    static const pcl::PointCloud<pcl::PointXYZ>::Ptr cloud = [] {
        pcl::PointCloud<pcl::PointXYZ>::Ptr converted(new pcl::PointCloud<pcl::PointXYZ>);
        const MPointCloud &scan = tableScan();
        for (int i = 0; i < scan.numPoints(); ++i) {
            const MVector3d &p = scan[i];
            if (p.isValid())
                converted->push_back(pcl::PointXYZ(float(p.x()), float(p.y()), float(p.z())));
        }
        return converted;
    }();
    return cloud;
}

void PclSacSegmentationPlane(benchmark::State &state)
{
    const auto cloud = pclTableScan();
    if (cloud->empty()) {
        state.SkipWithError("table scan not found");
        return;
    }
    pcl::SACSegmentation<pcl::PointXYZ> segmentation;
    segmentation.setOptimizeCoefficients(true);
    segmentation.setModelType(pcl::SACMODEL_PLANE);
    segmentation.setMethodType(pcl::SAC_RANSAC);
    segmentation.setMaxIterations(Hypotheses - 1);
    segmentation.setProbability(1.0);
    segmentation.setDistanceThreshold(Band);
    segmentation.setNumberOfThreads(-1);
    segmentation.setInputCloud(cloud);
    pcl::PointIndices inliers;
    pcl::ModelCoefficients coefficients;
    for (auto _ : state) {
        segmentation.segment(inliers, coefficients);
        benchmark::DoNotOptimize(inliers.indices.data());
    }
    state.counters["inliers"] = double(inliers.indices.size());
    state.counters["points"] = double(cloud->size());
}
BENCHMARK(PclSacSegmentationPlane)->Unit(benchmark::kMillisecond);

#endif

} // namespace
