#include "FitTestSupport.h"
#include "MLineFit.h"
#include "MLineSegmentFit.h"
#include "MPlaneFit.h"
#include "MStatistics.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

using namespace ZOLAR3D;
using test::cloudOf;
using test::parallel;

namespace {

// The fit object's own way: a private copy of the valid points, no outlier pass.
template <class Fit>
auto fitOfCopy(const MPointCloud &cloud)
{
    Fit fit;
    fit.setPoints(cloud);
    fit.compute(0.0);
    return fit.result();
}

// A noisy slanted strip with holes of every kind, first among them.
MPointCloud stripWithHoles(int count)
{
    test::RandomGeometry random(11);
    MPointCloud cloud(1);
    for (int i = 0; i < count; ++i) {
        const double t = random.uniform(0, 40);
        cloud.add(MVector3d(1e5, 2e5, -1e5) + MVector3d(t, 0.3 * t, -0.2 * t) + random.point(0.5));
        if (i % 7 == 3)
            cloud.add(MVector3d());
        if (i % 11 == 5)
            cloud.add(std::numeric_limits<double>::quiet_NaN(), 0, 0);
    }
    return cloud;
}

} // namespace

TEST(MPointCloudFit, EntryPointsGiveTheFitOfTheCopiedValidPoints)
{
    for (int count : {2, 3, 4, 500}) {
        const MPointCloud cloud = stripWithHoles(count);
        if (count >= 3) {
            EXPECT_EQ(cloud.fitPlane(), fitOfCopy<MPlaneFit>(cloud));
        }
        EXPECT_EQ(cloud.fitLine(), fitOfCopy<MLineFit>(cloud));
        EXPECT_EQ(cloud.fitLineSegment(), fitOfCopy<MLineSegmentFit>(cloud));
    }
}

TEST(MPointCloudFit, TwoValidPointsAmongHolesAreTheTwoPointCases)
{
    MPointCloud cloud(4);
    cloud.add(3, 0, 0);
    cloud.add(MVector3d());
    cloud.add(1, 0, 0);
    cloud.add(MVector3d());
    const MLine line = cloud.fitLine();
    EXPECT_EQ(line.position(), MVector3d(2, 0, 0));
    EXPECT_EQ(line.direction(), MVector3d(1, 0, 0));
    EXPECT_EQ(line.lengthAttribute(), 2.0);
    const MLineSegment segment = cloud.fitLineSegment();
    EXPECT_EQ(segment.start(), MVector3d(3, 0, 0));
    EXPECT_EQ(segment.end(), MVector3d(1, 0, 0));
}

TEST(MPointCloudFit, BestPlaneOfARealScanAgreesWithTheReference)
{
    const std::string path = test::dataFile("pcl_test/sac_plane_test.pcd");
    if (path.empty())
        GTEST_SKIP() << "real test data absent";
    MPointCloud cloud;
    ASSERT_TRUE(cloud.loadPcd(path.c_str()));
    std::vector<MVector3d> points;
    for (int i = 0; i < cloud.numPoints(); ++i)
        if (cloud.point(i).isValid())
            points.push_back(cloud.point(i));
    ASSERT_GE(points.size(), 3u);

    const test::ReferenceFit reference = test::referenceFit(points);
    const MPlane plane = cloud.fitPlane();
    EXPECT_TRUE(parallel(plane.normal(), reference.axes[2], 1e-9));
    EXPECT_NEAR((plane.position() - reference.centroid).dot(reference.axes[2]), 0.0, 1e-9);

    // One outlier pass of two deviations leaves a tighter plane.
    const auto spread = [](const MPlane &p, const MPointCloud &c) {
        std::vector<double> d;
        for (int i = 0; i < c.numPoints(); ++i)
            d.push_back(p.distance(c.point(i)));
        return MStatistics(d.data(), int(d.size())).standardDeviation;
    };
    MPlaneFit fit;
    fit.setPoints(cloud);
    fit.compute(2.0);
    EXPECT_LT(fit.points().numPoints(), int(points.size()));
    EXPECT_LT(spread(fit.result(), fit.points()), spread(plane, cloud));
}
