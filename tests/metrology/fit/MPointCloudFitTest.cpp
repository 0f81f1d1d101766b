#include "FitTestSupport.h"
#include "MCircle.h"
#include "MCone.h"
#include "MCylinder.h"
#include "MLineFit.h"
#include "MLineSegmentFit.h"
#include "MPlaneFit.h"
#include "MPointFit.h"
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

// `valid` points in general position after a marked and a NaN point.
MPointCloud validAmongHoles(int valid)
{
    const MVector3d general[] = {{1, 0, 0}, {0, 1, 0}, {-1, 0, 0}, {0, -1, 1}, {2, 0, 3}};
    MPointCloud cloud = cloudOf({MVector3d(), MVector3d(0, std::numeric_limits<double>::quiet_NaN(), 0)});
    for (int i = 0; i < valid; ++i)
        cloud.add(general[i]);
    return cloud;
}

} // namespace

TEST(MPointCloudFit, OnePointShortOfEachFitsMinimumRaisesItsTextOrGivesAnInvalidShape)
{
    struct Case {
        const char *text;
        int minimum;
        bool (*fitIsValid)(const MPointCloud &);
    };
    const Case cases[] = {
        {"PointFit: not enough valid points given (minimum required: 1)", 1,
         [](const MPointCloud &c) { MPointFit fit; fit.setPoints(c); fit.compute(0.0); return fit.result().isValid(); }},
        {"LineFit: not enough valid points given (minimum required: 2)", 2,
         [](const MPointCloud &c) { return c.fitLine().isValid(); }},
        {"LineSegmentFit: not enough valid points given (minimum required: 2)", 2,
         [](const MPointCloud &c) { return c.fitLineSegment().isValid(); }},
        {"PlaneFit: not enough valid points given (minimum required: 3)", 3,
         [](const MPointCloud &c) { return c.fitPlane().isValid(); }},
        {"PlaneFit: not enough valid points given (minimum required: 3)", 3,
         [](const MPointCloud &c) { MPlaneFit fit; fit.setPoints(c); fit.fitFast(); return fit.result().isValid(); }},
        {"CircleFit: not enough valid points given (minimum required: 3)", 3,
         [](const MPointCloud &c) { return c.fitCircle(0.0).isValid(); }},
        {"CircleFit: not enough valid points given (minimum required: 3)", 3,
         [](const MPointCloud &c) { return c.fitCircleFast(0.0).isValid(); }},
        {"CircleFit: not enough valid points given (minimum required: 3)", 3,
         [](const MPointCloud &c) { return c.fitCircleMC().isValid(); }},
        {"CylinderFit: not enough valid points given (minimum required: 5)", 5,
         [](const MPointCloud &c) { return c.fitCylinder(1.0).isValid(); }},
        {"ConeFit: not enough valid points given (minimum required: 6)", 6,
         [](const MPointCloud &c) { return c.fitCone().isValid(); }},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.text);
        for (const MPointCloud &cloud : {MPointCloud(), validAmongHoles(c.minimum - 1)}) {
            EXPECT_FALSE(c.fitIsValid(cloud));
            test::ScopedExceptions on;
            EXPECT_MEXCEPTION(c.fitIsValid(cloud), c.text);
        }
    }
}

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
