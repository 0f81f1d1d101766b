// RANSAC on real scans, checked against brute-force counts of the band.
#include "FitTestSupport.h"
#include "MPlaneRansac.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

using namespace ZOLAR3D;
using test::parallel;

namespace {

MPointCloud loadScan(const char *name)
{
    MPointCloud cloud;
    const std::string path = test::dataFile(name);
    if (!path.empty())
        cloud.loadPcd(path.c_str());
    return cloud;
}

// The valid points within band of the plane, by the plane's equation.
int countWithinBand(const MPointCloud &cloud, const MPlane &plane, double band)
{
    const MVector3d n = plane.normal();
    const double offset = n.dot(plane.position());
    int count = 0;
    for (int i = 0; i < cloud.numPoints(); ++i) {
        const MVector3d &p = cloud[i];
        if (p.isValid() && std::fabs(n.dot(p) - offset) <= band)
            ++count;
    }
    return count;
}

// The best plane of a scan by the class, with fewer hypotheses than the
// entry point so that the checks stay quick under the sanitizers.
MRansac<MPlane, MPlaneFit>::Model bestPlane(const MPointCloud &cloud, double band, int iterations)
{
    MPlaneRansac ransac;
    ransac.setThreshold(band);
    ransac.setNumIterations(iterations);
    ransac.setPoints(cloud);
    ransac.run();
    return ransac.models().empty() ? MRansac<MPlane, MPlaneFit>::Model() : ransac.models().front();
}

// The returned plane holds in its band about the points that its hypothesis
// counted, all of them within the band, and is close to their least-squares
// plane, within `tilt` (sine of the angle), which grows with the noise across
// the band. No other plane of the scan holds half as many points.
void expectDominantPlane(const MPointCloud &cloud, double band, int iterations, double tilt)
{
    const auto best = bestPlane(cloud, band, iterations);
    ASSERT_TRUE(best.shape.isValid());
    const int within = countWithinBand(cloud, best.shape, band);
    EXPECT_NEAR(within, best.count, 0.02 * best.count);

    const MRegions selected = cloud.selectDistanceRange(best.shape, -band, band);
    EXPECT_EQ(selected.regionSize(0), within);
    const MPointCloud inliers = cloud.regionPoints(selected, 0);
    EXPECT_EQ(countWithinBand(inliers, best.shape, band), inliers.numPoints());
    EXPECT_TRUE(parallel(inliers.fitPlane().normal(), best.shape.normal(), tilt));

    MPointCloud rest = cloud;
    rest.removeRegions(selected);
    EXPECT_LT(bestPlane(rest, band, iterations).count, best.count / 2);
}

} // namespace

TEST(MRansacScan, BestPlaneOfTheTableSceneIsTheTable)
{
    const MPointCloud cloud = loadScan("pcl_test/table_scene_mug_stereo_textured.pcd");
    if (cloud.numPoints() == 0)
        GTEST_SKIP();
    expectDominantPlane(cloud, 0.01, 200, 1e-3);

    // The entry point with its 1000 hypotheses finds the same plane.
    const MPlane table = cloud.ransacBestPlane(0.01);
    const auto best = bestPlane(cloud, 0.01, 200);
    EXPECT_TRUE(parallel(table.normal(), best.shape.normal(), 1e-3));
    EXPECT_NEAR(table.distance(best.shape.position()), 0.0, 1e-3);
}

TEST(MRansacScan, BestPlaneOfAPlaneWithOutliers)
{
    const MPointCloud cloud = loadScan("pcl_test/sac_plane_test.pcd");
    if (cloud.numPoints() == 0)
        GTEST_SKIP();
    expectDominantPlane(cloud, 0.01, 1000, 1e-2);
}
