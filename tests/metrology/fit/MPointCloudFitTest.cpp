#include "FitTestSupport.h"
#include "MLineFit.h"
#include "MLineSegmentFit.h"
#include "MPlaneFit.h"

#include <gtest/gtest.h>

#include <limits>

using namespace ZOLAR3D;
using test::cloudOf;

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
