#include "MPointCloud.h"
#include "MPointCloudArray.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <utility>
#include <vector>

using namespace ZOLAR3D;

namespace {

const double Marker = 3.4028234663852886e38;
const double NaN = std::numeric_limits<double>::quiet_NaN();
const char *IndexText = "MPointCloud: index out of range!";

bool sameBits(const MVector3d &a, const MVector3d &b) { return std::memcmp(&a, &b, sizeof a) == 0; }

MPointCloud linePoints(int n)
{
    MPointCloud cloud;
    for (int i = 0; i < n; ++i)
        cloud.add(i, 10.0 * i, 100.0 * i);
    return cloud;
}

// A rows x cols grid with colours and normals, about a tenth of its points
// invalid, half of those by the marker and half by a NaN coordinate.
MPointCloud randomGrid(int rows, int cols, unsigned seed)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> coordinate(-50.0, 50.0);
    std::uniform_int_distribution<int> kind(0, 19);
    MPointCloud cloud;
    for (int i = 0; i < rows * cols; ++i) {
        MVector3d p(coordinate(random), coordinate(random), coordinate(random));
        const int k = kind(random);
        if (k == 0)
            p.invalidate();
        else if (k == 1)
            p.setY(NaN);
        cloud.add(p);
        cloud.addColor(MColor(static_cast<int>(random())));
        cloud.addNormal(MVector3f(static_cast<float>(coordinate(random)), 1.0f, static_cast<float>(i)));
    }
    cloud.setOrganized2d(rows, cols);
    return cloud;
}

// The element a sub-cloud holds for a source point: the point itself, or
// for an invalid one the same with the marker in x.
MVector3d expectedElement(const MPointCloud &cloud, int index)
{
    MVector3d p = cloud.point(index);
    if (!p.isValid())
        p.setX(Marker);
    return p;
}

void addExpected(MPointCloud &expected, const MPointCloud &cloud, int index)
{
    expected.add(expectedElement(cloud, index));
    expected.addColor(cloud.color(index));
    expected.addNormal(cloud.normal(index));
}

} // namespace

// ---- Construction, counts and organisation

TEST(MPointCloud, CountedConstructorMakesInvalidPoints)
{
    const MPointCloud cloud(3);
    EXPECT_EQ(cloud.size(), 3);
    EXPECT_EQ(cloud.numValidPoints(), 0);
    EXPECT_FALSE(cloud.isOrganized2d());
    EXPECT_EQ(MPointCloud(-5).size(), 0);
    EXPECT_EQ(MPointCloud().height(), 0);
}

TEST(MPointCloud, GridElementHasRowTimesWidthPlusColumnIndex)
{
    MPointCloud cloud = linePoints(6);
    cloud.setOrganized2d(2, 3);
    EXPECT_TRUE(cloud.isOrganized2d());
    EXPECT_EQ(cloud.point(1, 2), cloud.point(5));
    EXPECT_EQ(cloud.point(1, 0), cloud.point(3));
    cloud.resizeColors(6, MColor::Gray);
    cloud.resizeNormals(6);
    cloud.setColor(1, 1, MColor::Red);
    cloud.setNormal(0, 2, MVector3f(0, 0, 1));
    cloud.setPoint(1, 1, MVector3d(7, 7, 7));
    EXPECT_EQ(cloud.color(4), MColor::Red);
    EXPECT_EQ(cloud.normal(2), MVector3f(0, 0, 1));
    EXPECT_EQ(cloud.normal(0, 2), MVector3f(0, 0, 1));
    EXPECT_EQ(cloud.color(1, 1), MColor::Red);
    EXPECT_EQ(cloud[4], MVector3d(7, 7, 7));

    cloud.add(MVector3d(1, 2, 3));
    EXPECT_FALSE(cloud.isOrganized2d());
    EXPECT_EQ(cloud.height(), 2);
    EXPECT_EQ(cloud.width(), 3);
}

TEST(MPointCloud, SingleRowIsNeverOrganised)
{
    MPointCloud cloud = linePoints(6);
    cloud.setOrganized2d(1, 6);
    EXPECT_FALSE(cloud.isOrganized2d());
    EXPECT_EQ(cloud.point(0, 5), cloud.point(5));
}

TEST(MPointCloud, NonsenseOrganisationNeverReachesOutsideThePoints)
{
    test::ScopedExceptions off(false);
    MPointCloud cloud = linePoints(6);
    cloud.setOrganized2d(-2, 3);
    EXPECT_FALSE(cloud.isOrganized2d());
    EXPECT_EQ(cloud.point(0, 0), MVector3d::Infinity);
    cloud.setOrganized2d(65536, 65536);  // the product wraps in 32 bits
    EXPECT_FALSE(cloud.isOrganized2d());
    cloud.setOrganized2d(1, 100);  // row and column inside, index past the points
    EXPECT_EQ(cloud.point(0, 50), MVector3d::Infinity);
    cloud.setPoint(0, 50, MVector3d::Zero);
    cloud.setOrganized2d(46341, 46341);  // row x width overflows an int
    EXPECT_EQ(cloud.point(46340, 46340), MVector3d::Infinity);
    cloud.setOrganized2d(0, 0);
    EXPECT_EQ(cloud, linePoints(6));
}

TEST(MPointCloud, ColoursAndNormalsOfAnotherLengthCountAsAbsent)
{
    MPointCloud cloud = linePoints(6);
    for (int i = 0; i < 5; ++i) {
        cloud.addColor(MColor::Red);
        cloud.addNormal(MVector3f(0, 0, 1));
    }
    EXPECT_FALSE(cloud.hasColors());
    EXPECT_FALSE(cloud.hasNormals());
    EXPECT_EQ(cloud.color(4), MColor::Red);
    EXPECT_EQ(cloud.normal(4), MVector3f(0, 0, 1));
    cloud.addColor(MColor::Blue);
    EXPECT_TRUE(cloud.hasColors());
    EXPECT_FALSE(MPointCloud().hasColors());
}

// ---- Bounds-checked access

TEST(MPointCloud, BadIndexThrowsTheOneTextWithThePolicyOn)
{
    test::ScopedExceptions on;
    MPointCloud cloud = linePoints(6);
    cloud.setOrganized2d(2, 3);
    cloud.resizeColors(6, MColor::Red);
    cloud.resizeNormals(6);
    const MPointCloud &constant = cloud;
    EXPECT_MEXCEPTION(cloud.point(-1), IndexText);
    EXPECT_MEXCEPTION(cloud.point(6), IndexText);
    EXPECT_MEXCEPTION(cloud.point(2, 0), IndexText);
    EXPECT_MEXCEPTION(cloud.point(0, -1), IndexText);
    EXPECT_MEXCEPTION(constant[6], IndexText);
    EXPECT_MEXCEPTION(cloud[6], IndexText);
    EXPECT_MEXCEPTION(cloud.normal(6), IndexText);
    EXPECT_MEXCEPTION(cloud.normal(0, 3), IndexText);
    EXPECT_MEXCEPTION(cloud.color(-7), IndexText);
    EXPECT_MEXCEPTION(cloud.color(5, 0), IndexText);
    EXPECT_MEXCEPTION(cloud.setPoint(6, MVector3d::Zero), IndexText);
    EXPECT_MEXCEPTION(cloud.setPoint(1, 3, MVector3d::Zero), IndexText);
    EXPECT_MEXCEPTION(cloud.setNormal(-1, MVector3f::Zero), IndexText);
    EXPECT_MEXCEPTION(cloud.setNormal(2, 2, MVector3f::Zero), IndexText);
    EXPECT_MEXCEPTION(cloud.setColor(6, MColor::Blue), IndexText);
    EXPECT_MEXCEPTION(cloud.setColor(-1, 0, MColor::Blue), IndexText);
    EXPECT_MEXCEPTION(cloud.invalidatePoint(6), IndexText);
    EXPECT_MEXCEPTION(cloud.invalidatePoint(0, 3), IndexText);
    EXPECT_MEXCEPTION(MPointCloud().point(0), IndexText);
    EXPECT_EQ(cloud.numValidPoints(), 6);
}

TEST(MPointCloud, BadIndexGivesTheSharedFallbacksWithThePolicyOff)
{
    test::ScopedExceptions off(false);
    MPointCloud cloud = linePoints(6);
    cloud.setOrganized2d(2, 3);
    const MPointCloud before = cloud;
    const MPointCloud &constant = cloud;
    EXPECT_TRUE(sameBits(cloud.point(6), MVector3d::Infinity));
    EXPECT_TRUE(sameBits(cloud.point(-1, 0), MVector3d::Infinity));
    EXPECT_EQ(&constant[6], &MVector3d::Infinity);
    EXPECT_EQ(cloud.normal(0), MVector3f::Infinity);
    EXPECT_EQ(cloud.normal(1, 1), MVector3f::Infinity);
    EXPECT_EQ(cloud.color(0), MColor::Transparent);
    EXPECT_EQ(cloud.color(0, 0), MColor::Transparent);
    cloud.setPoint(6, MVector3d::Zero);
    cloud.setPoint(2, 0, MVector3d::Zero);
    cloud.setNormal(0, MVector3f::Zero);
    cloud.setColor(0, 0, MColor::Red);
    cloud.invalidatePoint(-1);
    cloud.invalidatePoint(0, 3);
    EXPECT_EQ(cloud, before);
}

TEST(MPointCloud, WritableFallbackIsScratchResetOnEveryFailure)
{
    test::ScopedExceptions off(false);
    MPointCloud cloud = linePoints(2);
    MVector3d &dummy = cloud[2];
    EXPECT_TRUE(sameBits(dummy, MVector3d::Infinity));
    dummy = MVector3d(1, 2, 3);
    EXPECT_EQ(&cloud[-1], &dummy);
    EXPECT_TRUE(sameBits(dummy, MVector3d::Infinity));
    EXPECT_EQ(cloud.numPoints(), 2);
    cloud[1] = MVector3d::Zero;
    EXPECT_EQ(cloud.point(1), MVector3d::Zero);
}

TEST(MPointCloud, InvalidatePointWritesTheMarkerIntoXOnly)
{
    MPointCloud cloud = linePoints(6);
    cloud.setOrganized2d(2, 3);
    cloud.invalidatePoint(4);
    cloud.invalidatePoint(1, 2);
    EXPECT_TRUE(sameBits(cloud.point(4), MVector3d(Marker, 40, 400)));
    EXPECT_TRUE(sameBits(cloud.point(5), MVector3d(Marker, 50, 500)));
    EXPECT_EQ(cloud.numValidPoints(), 4);
}

// ---- Copying, comparison, hand-over

TEST(MPointCloud, CopiesAreDeepAndComparedByBytes)
{
    MPointCloud cloud = randomGrid(3, 4, 1);
    const MPointCloud copy(cloud);
    MPointCloud assigned;
    assigned = cloud;
    MPointCloud &self = assigned;
    assigned = self;
    EXPECT_EQ(copy, cloud);
    EXPECT_EQ(assigned, cloud);
    EXPECT_NE(copy.points(), cloud.points());

    cloud.setPoint(0, MVector3d(1, 2, 3));
    EXPECT_NE(copy, cloud);

    // Bytes, not values: a NaN equals its own bits, 0.0 and -0.0 differ.
    MPointCloud nan, nanToo, zero, negativeZero;
    nan.add(NaN, 0, 0);
    nanToo.add(NaN, 0, 0);
    zero.add(0, 0, 0);
    negativeZero.add(-0.0, 0, 0);
    EXPECT_EQ(nan, nanToo);
    EXPECT_NE(zero, negativeZero);

    MPointCloud reshaped = copy;
    reshaped.setOrganized2d(4, 3);
    EXPECT_NE(reshaped, copy);
}

TEST(MPointCloud, TransferDataToKeepsHeightAndWidthInSource)
{
    MPointCloud source = randomGrid(3, 4, 2);
    const MPointCloud original = source;
    MPointCloud dest = linePoints(100);
    source.transferDataTo(dest);
    EXPECT_EQ(dest, original);
    EXPECT_TRUE(dest.isOrganized2d());
    EXPECT_EQ(source.numPoints(), 0);
    EXPECT_EQ(source.numColors(), 0);
    EXPECT_EQ(source.numNormals(), 0);
    EXPECT_EQ(source.pointCapacity(), 0);
    EXPECT_EQ(source.points(), nullptr);
    EXPECT_EQ(source.height(), 3);
    EXPECT_EQ(source.width(), 4);
    EXPECT_FALSE(source.isOrganized2d());

    dest.transferDataTo(dest);
    EXPECT_EQ(dest, original);
}

TEST(MPointCloud, MovesLeaveTheSourceEmptyAndUnorganised)
{
    const MPointCloud original = randomGrid(3, 4, 10);
    MPointCloud source = original;
    const MVector3d *storage = source.points();
    MPointCloud moved(std::move(source));
    EXPECT_EQ(moved, original);
    EXPECT_EQ(moved.points(), storage);
    EXPECT_EQ(source, MPointCloud());

    MPointCloud assigned = linePoints(5);
    assigned = std::move(moved);
    EXPECT_EQ(assigned, original);
    EXPECT_EQ(moved, MPointCloud());
}

TEST(MPointCloud, ClearingFreesArraysAndOrganisation)
{
    MPointCloud cloud = randomGrid(2, 3, 3);
    cloud.clearPoints();
    EXPECT_EQ(cloud.pointCapacity(), 0);
    EXPECT_EQ(cloud.height(), 0);
    EXPECT_EQ(cloud.width(), 0);
    EXPECT_EQ(cloud.numColors(), 6);
    EXPECT_EQ(cloud.numNormals(), 6);
    cloud.clearColors();
    EXPECT_EQ(cloud.colorCapacity(), 0);
    EXPECT_EQ(cloud.numNormals(), 6);
    cloud.clearNormals();
    EXPECT_EQ(cloud.normalCapacity(), 0);

    MPointCloud full = randomGrid(2, 3, 3);
    full.clear();
    EXPECT_EQ(full, MPointCloud());
}

// ---- Storage

TEST(MPointCloud, ResizeLeavesHeightAndWidth)
{
    MPointCloud cloud = randomGrid(2, 3, 4);
    const MColor lastColor = cloud.color(5);
    cloud.resize(8);
    EXPECT_EQ(cloud.height(), 2);
    EXPECT_EQ(cloud.width(), 3);
    EXPECT_FALSE(cloud.isOrganized2d());
    ASSERT_EQ(cloud.numColors(), 8);
    ASSERT_EQ(cloud.numNormals(), 8);
    EXPECT_EQ(cloud.color(5), lastColor);
    EXPECT_EQ(cloud.color(6), MColor::Gray);
    EXPECT_EQ(cloud.color(7), MColor::Gray);
    cloud.resize(6);
    EXPECT_TRUE(cloud.isOrganized2d());
    cloud.resize(-1);
    EXPECT_EQ(cloud.numPoints(), 0);
    EXPECT_EQ(cloud.numColors(), 0);
}

TEST(MPointCloud, ResizeExtendsOnlyColoursAndNormalsThatMatchedThePoints)
{
    MPointCloud cloud = linePoints(4);
    cloud.resizeColors(3, MColor::Red);
    cloud.resize(6);
    EXPECT_EQ(cloud.numPoints(), 6);
    EXPECT_EQ(cloud.numColors(), 3);
    EXPECT_EQ(cloud.numNormals(), 0);
    cloud.resizeNormals(-4);
    cloud.resizeColors(-4, MColor::Red);
    cloud.resizePoints(-4);
    EXPECT_EQ(cloud.numPoints() + cloud.numColors() + cloud.numNormals(), 0);
}

TEST(MPointCloud, ReserveCapacityGrowsOnlyWhatTheCloudHolds)
{
    MPointCloud cloud = linePoints(4);
    cloud.resizeNormals(4);
    cloud.reserveCapacity(100);
    EXPECT_EQ(cloud.pointCapacity(), 100);
    EXPECT_EQ(cloud.normalCapacity(), 100);
    EXPECT_EQ(cloud.colorCapacity(), 0);
    cloud.reserveColorCapacity(50);
    EXPECT_EQ(cloud.colorCapacity(), 50);
    EXPECT_EQ(cloud.numColors(), 0);
    cloud.reservePointCapacity(-3);
    EXPECT_EQ(cloud.pointCapacity(), 100);
    EXPECT_EQ(cloud.numPoints(), 4);
}

// ---- Filling

TEST(MPointCloud, AddReturnsTheIndexAndLeavesTheRestAlone)
{
    MPointCloud cloud;
    EXPECT_EQ(cloud.add(1, 2, 3), 0);
    EXPECT_EQ(cloud.add(MVector3d(4, 5, 6)), 1);
    EXPECT_EQ(cloud.addPoint(MVector3d(7, 8, 9)), 2);
    EXPECT_EQ(cloud.pointCapacity(), 4);
    EXPECT_EQ(cloud.numColors(), 0);
    EXPECT_EQ(cloud.addColor(MColor::Red), 0);
    EXPECT_EQ(cloud.addNormal(MVector3f(0, 0, 1)), 0);
    EXPECT_EQ(cloud.point(2), MVector3d(7, 8, 9));
}

TEST(MPointCloud, BulkFormsReadTriplesAndWidenFloats)
{
    const double doubles[] = {1, 2, 3, 4, 5, 6};
    const float floats[] = {0.1f, 0.2f, 0.3f, static_cast<float>(Marker), 0, 0};
    const MVector3d vectors[] = {MVector3d(7, 8, 9)};
    const MVector3f floatVectors[] = {MVector3f(0.5f, 0.25f, 0.125f), MVector3f()};

    MPointCloud cloud;
    cloud.addPoints(doubles, 2);
    cloud.addPoints(vectors, 1);
    cloud.addPoints(floats, 2);
    cloud.addPoints(floatVectors, 2);
    ASSERT_EQ(cloud.numPoints(), 7);
    EXPECT_EQ(cloud.point(1), MVector3d(4, 5, 6));
    EXPECT_EQ(cloud.point(2), MVector3d(7, 8, 9));
    EXPECT_EQ(cloud.point(3), MVector3d(double(0.1f), double(0.2f), double(0.3f)));
    // The marker survives widening bit for bit.
    EXPECT_EQ(cloud.point(4).x(), Marker);
    EXPECT_FALSE(cloud.point(4).isValid());
    EXPECT_EQ(cloud.point(5), MVector3d(0.5, 0.25, 0.125));
    EXPECT_TRUE(sameBits(cloud.point(6), MVector3d::Invalid));

    cloud.setOrganized2d(7, 1);
    cloud.resizeColors(7, MColor::Red);
    cloud.setPoints(floats, 1);
    EXPECT_EQ(cloud.numPoints(), 1);
    EXPECT_EQ(cloud.numColors(), 7);
    EXPECT_EQ(cloud.height(), 7);
    cloud.setPoints(vectors, 1);
    EXPECT_EQ(cloud.point(0), MVector3d(7, 8, 9));
    cloud.setPoints(floatVectors, 1);
    EXPECT_EQ(cloud.point(0), MVector3d(0.5, 0.25, 0.125));
    cloud.setPoints(doubles, 2);
    EXPECT_EQ(cloud.point(1), MVector3d(4, 5, 6));

    const MColor colours[] = {MColor::Blue, MColor::Green};
    cloud.setColors(colours, 2);
    EXPECT_TRUE(cloud.hasColors());
    cloud.setNormals(floatVectors, 2);
    EXPECT_TRUE(cloud.hasNormals());
    EXPECT_EQ(cloud.normal(0), floatVectors[0]);
}

TEST(MPointCloud, BulkFormsTakeANullSourceOrNegativeCountAsNoPoints)
{
    const double doubles[] = {1, 2, 3};
    MPointCloud cloud = linePoints(3);
    cloud.addPoints(static_cast<const double *>(nullptr), 5);
    cloud.addPoints(doubles, -3);
    cloud.addPoints(static_cast<const MVector3f *>(nullptr), 2);
    cloud.addPoints(static_cast<const MVector3d *>(nullptr), 2);
    EXPECT_EQ(cloud, linePoints(3));

    cloud.setPoints(doubles, -1);
    EXPECT_EQ(cloud.numPoints(), 0);
    cloud = linePoints(3);
    cloud.setPoints(static_cast<const float *>(nullptr), 2);
    EXPECT_EQ(cloud.numPoints(), 0);
    cloud.resizeColors(3, MColor::Red);
    cloud.setColors(nullptr, 4);
    EXPECT_EQ(cloud.numColors(), 0);
}

TEST(MPointCloud, BulkFormsReadTheirOwnStorageSafely)
{
    MPointCloud cloud = linePoints(3);
    cloud.addPoints(cloud.points(), cloud.numPoints());
    ASSERT_EQ(cloud.numPoints(), 6);
    EXPECT_EQ(cloud.point(4), MVector3d(1, 10, 100));
    cloud.addPoints(reinterpret_cast<const double *>(cloud.points() + 5), 1);
    EXPECT_EQ(cloud.point(6), MVector3d(2, 20, 200));
    cloud.setPoints(cloud.points() + 1, 2);
    ASSERT_EQ(cloud.numPoints(), 2);
    EXPECT_EQ(cloud.point(0), MVector3d(1, 10, 100));
    EXPECT_EQ(cloud.point(1), MVector3d(2, 20, 200));
}

// ---- Values and simple edits

TEST(MPointCloud, NaNPointsAreInvalid)
{
    MPointCloud cloud = linePoints(4);
    cloud.setPoint(1, MVector3d(0, NaN, 0));
    cloud.setPoint(2, MVector3d(0, 0, Marker));
    EXPECT_EQ(cloud.numValidPoints(), 2);

    std::vector<double> x(4), y(4), z(4);
    cloud.getXValues(x.data());
    cloud.getYValues(y.data());
    cloud.getZValues(z.data());
    EXPECT_EQ(x, (std::vector<double>{0, Marker, Marker, 3}));
    EXPECT_EQ(y, (std::vector<double>{0, Marker, Marker, 30}));
    EXPECT_EQ(z, (std::vector<double>{0, Marker, Marker, 300}));
    cloud.getXValues(nullptr);
}

TEST(MPointCloud, FlipsNegateValidPointsOnly)
{
    MPointCloud cloud = linePoints(3);
    cloud.invalidatePoint(2);
    cloud.addNormal(MVector3f(1, 1, 1));
    cloud.flipX();
    cloud.flipY();
    cloud.flipZ();
    cloud.flipZ();
    EXPECT_EQ(cloud.point(1), MVector3d(-1, -10, 100));
    EXPECT_TRUE(sameBits(cloud.point(2), MVector3d(Marker, 20, 200)));
    EXPECT_EQ(cloud.normal(0), MVector3f(1, 1, 1));
}

TEST(MPointCloud, CleanPointsOutsideRangeInvalidatesAndCounts)
{
    MPointCloud cloud;
    cloud.add(1, 1, 1);
    cloud.add(-5, 0, 0);
    cloud.add(0, 0, 5);
    cloud.add(0, 6, 0);
    cloud.add(MVector3d());
    EXPECT_EQ(cloud.cleanPointsOutsideRange(5.0), 1);
    EXPECT_FALSE(cloud.point(3).isValid());
    EXPECT_EQ(cloud.point(3).y(), 6);
    EXPECT_EQ(cloud.numValidPoints(), 3);
    EXPECT_EQ(cloud.cleanPointsOutsideRange(-1.0), 3);
    EXPECT_EQ(cloud.numValidPoints(), 0);
}

// ---- Transformation

TEST(MPointCloud, ApplyTransformationMovesPointsAndTurnsNormals)
{
    // Quarter turn about z, then a shift by (10, 20, 30).
    const MMatrix4 m(0, -1, 0, 10,
                     1, 0, 0, 20,
                     0, 0, 1, 30,
                     0, 0, 0, 1);
    MPointCloud cloud;
    cloud.add(1, 2, 3);
    cloud.add(MVector3d(Marker, 5, 6));
    cloud.add(0, NaN, 0);
    cloud.addNormal(MVector3f(1, 0, 0));
    cloud.addNormal(MVector3f());
    cloud.addNormal(MVector3f(0, 0, 1));
    const MPointCloud original = cloud;
    const MPointCloud product = m * cloud;
    EXPECT_EQ(cloud, original);

    cloud.applyTransformation(m);
    EXPECT_EQ(cloud, product);
    EXPECT_EQ(cloud.point(0), MVector3d(8, 21, 33));
    EXPECT_TRUE(sameBits(cloud.point(1), original.point(1)));
    EXPECT_TRUE(sameBits(cloud.point(2), original.point(2)));
    EXPECT_EQ(cloud.normal(0), MVector3f(0, 1, 0));
    EXPECT_TRUE(sameBits(MVector3d(cloud.normal(1)), MVector3d(original.normal(1))));
    EXPECT_EQ(cloud.normal(2), MVector3f(0, 0, 1));
}

TEST(MPointCloud, ApplyTransformationDividesByAPerspectiveW)
{
    // w = 0.5 x + 1: the affine part (2x + 1, 3y, z - 4) is divided by it.
    const MMatrix4 m(2, 0, 0, 1,
                     0, 3, 0, 0,
                     0, 0, 1, -4,
                     0.5, 0, 0, 1);
    MPointCloud cloud;
    cloud.add(2, 1, 8);   // w = 2
    cloud.add(0, 5, 5);   // w = 1 exactly: plain affine result
    cloud.add(-4, 1, 1);  // w = -1
    cloud.applyTransformation(m);
    EXPECT_EQ(cloud.point(0), MVector3d(2.5, 1.5, 2));
    EXPECT_EQ(cloud.point(1), MVector3d(1, 15, 1));
    EXPECT_EQ(cloud.point(2), MVector3d(7, -3, 3));
}

TEST(MPointCloud, NormalsTakeTheRotationBlockAndStayUnnormalised)
{
    const MMatrix4 m(2, 0, 0, 100,
                     0, 1, 1, 100,
                     0, 0, 3, 100,
                     1, 1, 1, 5);
    MPointCloud cloud;
    cloud.add(0, 0, 0);
    cloud.addNormal(MVector3f(1, 0, 0));
    cloud.addNormal(MVector3f(0, 0.5f, 1));  // normals beyond the points turn too
    cloud.applyTransformation(m);
    EXPECT_EQ(cloud.point(0), MVector3d(20, 20, 20));
    EXPECT_EQ(cloud.normal(0), MVector3f(2, 0, 0));
    EXPECT_EQ(cloud.normal(1), MVector3f(0, 1.5f, 3));
}

// ---- Removing invalid points

TEST(MPointCloud, RemoveInvalidPointsKeepsColoursAndNormalsAligned)
{
    const MPointCloud grid = randomGrid(7, 9, 5);
    MPointCloud expected;
    for (int i = 0; i < grid.numPoints(); ++i)
        if (grid.point(i).isValid())
            addExpected(expected, grid, i);
    ASSERT_LT(expected.numPoints(), grid.numPoints());

    MPointCloud cloud = grid;
    EXPECT_EQ(cloud.removeInvalidPoints(), expected.numPoints());
    EXPECT_EQ(cloud, expected);
    EXPECT_EQ(cloud.height(), 0);
    EXPECT_EQ(cloud.width(), 0);
}

TEST(MPointCloud, RemoveInvalidPointsKeepsOrganisationWhenNothingIsDropped)
{
    MPointCloud cloud = linePoints(6);
    cloud.setOrganized2d(2, 3);
    EXPECT_EQ(cloud.removeInvalidPoints(), 6);
    EXPECT_TRUE(cloud.isOrganized2d());
    cloud.invalidatePoint(3);
    EXPECT_EQ(cloud.removeInvalidPoints(), 5);
    EXPECT_EQ(cloud.height(), 0);
    EXPECT_EQ(cloud.point(3), MVector3d(4, 40, 400));
    EXPECT_EQ(MPointCloud().removeInvalidPoints(), 0);
}

TEST(MPointCloud, RemoveInvalidPointsLeavesMismatchedArraysAlone)
{
    MPointCloud cloud = linePoints(4);
    cloud.invalidatePoint(0);
    cloud.resizeColors(3, MColor::Red);
    cloud.setColor(0, MColor::Blue);
    EXPECT_EQ(cloud.removeInvalidPoints(), 3);
    EXPECT_EQ(cloud.numColors(), 3);
    EXPECT_EQ(cloud.color(0), MColor::Blue);
    EXPECT_EQ(cloud.numNormals(), 0);
}

TEST(MPointCloud, CompressMemoryKeepsCapacity)
{
    MPointCloud cloud = linePoints(100);
    for (int i = 0; i < 100; i += 2)
        cloud.invalidatePoint(i);
    const int capacity = cloud.pointCapacity();
    EXPECT_EQ(cloud.compressMemory(), 50);
    EXPECT_EQ(cloud.numPoints(), 50);
    EXPECT_EQ(cloud.point(0), MVector3d(1, 10, 100));
    EXPECT_EQ(cloud.pointCapacity(), capacity);

    EXPECT_EQ(MPointCloud(5).compressMemory(), 0);
}

// ---- Transpose

TEST(MPointCloud, TransposeMovesPointRowColToColRowAndLeavesColoursAndNormals)
{
    const MPointCloud grid = randomGrid(5, 7, 6);
    MPointCloud cloud = grid;
    cloud.transpose();
    EXPECT_EQ(cloud.height(), 7);
    EXPECT_EQ(cloud.width(), 5);
    for (int row = 0; row < 5; ++row)
        for (int col = 0; col < 7; ++col)
            EXPECT_TRUE(sameBits(cloud.point(col, row), grid.point(row, col)));
    for (int i = 0; i < grid.numPoints(); ++i) {
        EXPECT_EQ(cloud.color(i), grid.color(i));
        EXPECT_EQ(cloud.normal(i), grid.normal(i));
    }
    cloud.transpose();
    EXPECT_EQ(cloud, grid);
}

TEST(MPointCloud, TransposeRoiAndSubsampledRefuseWithTheirTextsAndChangeNothing)
{
    const MPointCloud list = linePoints(6);
    MPointCloud row = list;
    row.setOrganized2d(1, 6);
    {
        test::ScopedExceptions on;
        EXPECT_MEXCEPTION(row.transpose(), "MPointCloud::transpose: the point cloud must be 2d-organized!");
        EXPECT_MEXCEPTION(list.roi(0, 0, 1, 1), "MPointCloud::roi(): this method requires a 2d organization");
        EXPECT_MEXCEPTION(list.subsampled(0), "MPointCloud::subsampled(): parameter out of range!");
    }
    row.transpose();
    EXPECT_EQ(row.height(), 1);
    EXPECT_EQ(row.point(1), MVector3d(1, 10, 100));
    EXPECT_EQ(list.roi(0, 0, 1, 1), MPointCloud());
    EXPECT_EQ(list.subsampled(-2), MPointCloud());
}

// ---- Rectangles, samples, subsets, sums

TEST(MPointCloud, RoiMatchesIndexArithmeticOnRandomGrids)
{
    std::mt19937 random(8);
    std::uniform_int_distribution<int> any(-12, 12);
    for (int trial = 0; trial < 200; ++trial) {
        const int rows = 2 + trial % 5;
        const int cols = 1 + trial % 7;
        const MPointCloud grid = randomGrid(rows, cols, trial);
        const int row = any(random), col = any(random), numRows = any(random), numCols = any(random);

        // The rectangle of rows [r0, r1) and columns [c0, c1), by plain set logic.
        const int rowA = numRows < 0 ? row + numRows : row;
        const int colA = numCols < 0 ? col + numCols : col;
        const int r0 = std::max(rowA, 0), r1 = std::min(rowA + std::abs(numRows), rows);
        const int c0 = std::max(colA, 0), c1 = std::min(colA + std::abs(numCols), cols);
        MPointCloud expected;
        for (int r = r0; r < r1; ++r)
            for (int c = c0; c < c1; ++c)
                addExpected(expected, grid, r * cols + c);
        expected.setOrganized2d(std::max(r1 - r0, 0), std::max(c1 - c0, 0));

        const MPointCloud roi = grid.roi(row, col, numRows, numCols);
        ASSERT_EQ(roi, expected) << rows << "x" << cols << " roi(" << row << ", " << col << ", " << numRows << ", " << numCols << ")";
    }
}

TEST(MPointCloud, RoiCountsNegativeSizesBackFromTheStart)
{
    MPointCloud grid(16);
    grid.setOrganized2d(4, 4);
    EXPECT_EQ(grid.roi(-1, 0, 3, 2).height(), 2);
    EXPECT_EQ(grid.roi(-1, 0, 3, 2).width(), 2);
    EXPECT_EQ(grid.roi(3, 3, -2, -10).numPoints(), 6);
    EXPECT_EQ(grid.roi(0, 0, 0x7fffffff, 0x7fffffff).numPoints(), 16);
    EXPECT_EQ(grid.roi(-0x7fffffff - 1, 2, -0x7fffffff - 1, 1).numPoints(), 0);
}

TEST(MPointCloud, RoiCarriesOnlyColoursAndNormalsThatArePresent)
{
    MPointCloud grid = linePoints(6);
    grid.setOrganized2d(3, 2);
    grid.resizeColors(5, MColor::Red);
    const MPointCloud roi = grid.roi(1, 0, 2, 2);
    EXPECT_EQ(roi.numPoints(), 4);
    EXPECT_EQ(roi.numColors(), 0);
    EXPECT_EQ(roi.numNormals(), 0);
    EXPECT_EQ(roi.point(0), MVector3d(2, 20, 200));
}

TEST(MPointCloud, SubsampledMatchesIndexArithmeticOnRandomClouds)
{
    for (int trial = 0; trial < 60; ++trial) {
        const int rows = 2 + trial % 6;
        const int cols = 1 + trial % 9;
        const int step = 1 + trial % 5;
        const MPointCloud grid = randomGrid(rows, cols, 100 + trial);

        MPointCloud expectedGrid;
        for (int r = 0; r < rows; r += step)
            for (int c = 0; c < cols; c += step)
                addExpected(expectedGrid, grid, r * cols + c);
        expectedGrid.setOrganized2d((rows + step - 1) / step, (cols + step - 1) / step);
        ASSERT_EQ(grid.subsampled(step), expectedGrid) << rows << "x" << cols << " step " << step;

        MPointCloud unorganised = grid;
        unorganised.setOrganized2d(0, 0);
        MPointCloud expectedList;
        for (int i = 0; i < grid.numPoints(); i += step)
            addExpected(expectedList, grid, i);
        ASSERT_EQ(unorganised.subsampled(step), expectedList) << rows * cols << " points, step " << step;
    }
}

TEST(MPointCloud, SubsampledKeepsTheGridShape)
{
    MPointCloud grid(15);
    grid.setOrganized2d(3, 5);
    const MPointCloud sampled = grid.subsampled(2);
    EXPECT_EQ(sampled.height(), 2);
    EXPECT_EQ(sampled.width(), 3);
    EXPECT_TRUE(sampled.isOrganized2d());
    EXPECT_EQ(grid.subsampled(0x7fffffff).numPoints(), 1);
    EXPECT_EQ(MPointCloud().subsampled(3).numPoints(), 0);
}

TEST(MPointCloud, SubsetTakesValidPointsOfAClampedRange)
{
    const MPointCloud grid = randomGrid(4, 6, 9);
    for (int first = -3; first <= 26; first += 5) {
        for (int last = -2; last <= 27; last += 3) {
            MPointCloud expected;
            for (int i = std::max(first, 0); i < std::min(last, 24); ++i)
                if (grid.point(i).isValid())
                    addExpected(expected, grid, i);
            ASSERT_EQ(grid.subset(first, last), expected) << "subset(" << first << ", " << last << ")";
        }
    }
    EXPECT_EQ(grid.subset(-3, 2).height(), 0);
    EXPECT_EQ(grid.subset(5, 5), MPointCloud());
}

TEST(MPointCloud, SumHoldsValidPointsOfBothAndSharedAttributesOnly)
{
    MPointCloud a = linePoints(3);
    a.invalidatePoint(1);
    a.resizeColors(3, MColor::Red);
    a.resizeNormals(3);
    a.setOrganized2d(3, 1);
    MPointCloud b = linePoints(2);
    b.resizeColors(2, MColor::Blue);

    const MPointCloud sum = a + b;
    ASSERT_EQ(sum.numPoints(), 4);
    EXPECT_EQ(sum.point(1), MVector3d(2, 20, 200));
    EXPECT_EQ(sum.point(2), MVector3d(0, 0, 0));
    EXPECT_EQ(sum.height(), 0);
    ASSERT_TRUE(sum.hasColors());
    EXPECT_EQ(sum.color(1), MColor::Red);
    EXPECT_EQ(sum.color(3), MColor::Blue);
    EXPECT_EQ(sum.numNormals(), 0);

    // An empty cloud has all the colours it needs.
    EXPECT_EQ((a + MPointCloud()).numColors(), 2);
    EXPECT_EQ((MPointCloud() + MPointCloud()).numPoints(), 0);
}

// ---- Arrays of clouds

TEST(MPointCloudArray, ElementsAreCopiedOneByOne)
{
    MPointCloudArray clouds;
    for (int i = 0; i < 5; ++i)
        clouds.add(randomGrid(2, 3, 20 + i));
    MPointCloudArray copy(clouds);
    MPointCloudArray assigned;
    assigned = clouds;
    clouds[0].clear();
    clouds.resize(1);
    clouds.reserveCapacity(64);
    EXPECT_EQ(copy[4], randomGrid(2, 3, 24));
    EXPECT_EQ(assigned[0], randomGrid(2, 3, 20));
    EXPECT_NE(copy[1].points(), assigned[1].points());
}
