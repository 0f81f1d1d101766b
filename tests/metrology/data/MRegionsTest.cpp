#include "MRegions.h"
#include "RegionsSupport.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <new>
#include <random>
#include <vector>

using namespace ZOLAR3D;

namespace {

using test::expectRegionInvariants;
using test::labelsOf;
using test::sizesOf;

// Region sizes recounted from plain labels.
std::vector<int> countLabels(const std::vector<int> &labels, int numRegions)
{
    std::vector<int> counts(std::size_t(numRegions), 0);
    for (int label : labels)
        if (label >= 0)
            ++counts[std::size_t(label)];
    return counts;
}

// A list of n elements whose regions hold the given numbers of elements, in order.
MRegions regionsOfSizes(int n, const std::vector<int> &sizes)
{
    MRegions regions(n);
    int element = 0;
    for (int size : sizes) {
        const int r = regions.addRegion();
        for (int k = 0; k < size; ++k)
            regions.addToRegion(element++, r);
    }
    return regions;
}

// A random grid labelling: each element is free with the given share,
// otherwise in a region drawn uniformly.
MRegions randomRegions(std::mt19937 &rng, int width, int height, int numRegions, double freeShare)
{
    std::bernoulli_distribution free(freeShare);
    std::uniform_int_distribution<int> region(0, std::max(numRegions - 1, 0));
    std::vector<int> labels(std::size_t(width) * std::size_t(height));
    for (int &label : labels)
        label = numRegions == 0 || free(rng) ? -1 : region(rng);
    return test::regionsOf(labels, numRegions, width, height);
}

// Grid shapes that reach every border case: single rows and columns too.
const int Shapes[][2] = {{1, 1}, {1, 7}, {7, 1}, {2, 2}, {5, 3}, {3, 5}, {9, 8}, {16, 11}, {64, 48}};

TEST(MRegions, ConstructionGivesUnlabelledElementsAndNothingForBadDimensions)
{
    struct Case {
        MRegions regions;
        int width, height, size;
    };
    const Case cases[] = {{MRegions(), 0, 0, 0},     {MRegions(5), 0, 0, 5},     {MRegions(3, 2), 3, 2, 6},
                          {MRegions(-4), 0, 0, 0},   {MRegions(-3, 4), 0, 0, 0}, {MRegions(3, -4), 0, 0, 0},
                          {MRegions(0, 4), 0, 0, 0}, {MRegions(4, 0), 0, 0, 0}};
    for (const Case &c : cases) {
        EXPECT_EQ(std::vector<int>({c.regions.width(), c.regions.height(), c.regions.numRegions()}),
                  std::vector<int>({c.width, c.height, 0}));
        EXPECT_EQ(labelsOf(c.regions), std::vector<int>(std::size_t(c.size), -1));
    }
    EXPECT_THROW(MRegions(1 << 16, 1 << 16), std::bad_alloc);
}

TEST(MRegions, AccessOutOfRangeAnswersNoRegion)
{
    MRegions regions(3);
    regions.addToRegion(0, regions.addRegion());
    for (int element : {-1, 3, INT_MIN, INT_MAX}) {
        EXPECT_EQ(regions[element], -1);
        EXPECT_EQ(regions.elementRegion(element), -1);
        EXPECT_FALSE(regions.contains(element));
    }
    EXPECT_TRUE(regions.contains(0));
    EXPECT_FALSE(regions.contains(1));
    EXPECT_EQ(regions.regionSize(1), 0);
    EXPECT_EQ(regions.regionSize(INT_MAX), 0);
}

TEST(MRegions, AddAndRemoveKeepSizes)
{
    MRegions regions(4, 3);
    EXPECT_EQ(regions.addRegion(), 0);
    EXPECT_EQ(regions.addRegion(), 1);
    EXPECT_TRUE(regions.addToRegion(5, 0));
    EXPECT_TRUE(regions.addToRegion(5, 1)); // moves
    EXPECT_TRUE(regions.addToRegion(3, 2, 0)); // column 3, row 2 is element 11
    EXPECT_EQ(regions[11], 0);
    EXPECT_EQ(sizesOf(regions), (std::vector<int>{1, 1}));

    EXPECT_FALSE(regions.addToRegion(12, 0));
    EXPECT_FALSE(regions.addToRegion(-1, 0));
    EXPECT_FALSE(regions.addToRegion(0, 2));
    EXPECT_FALSE(regions.addToRegion(0, -1));
    EXPECT_FALSE(regions.addToRegion(4, 0, 0)); // column beyond the row
    EXPECT_FALSE(regions.addToRegion(0, 3, 0));
    EXPECT_FALSE(regions.addToRegion(-1, 1, 0));

    EXPECT_TRUE(regions.remove(5));
    EXPECT_TRUE(regions.remove(5)); // already free: nothing to count down
    EXPECT_TRUE(regions.remove(3, 2));
    EXPECT_FALSE(regions.remove(12));
    EXPECT_FALSE(regions.remove(4, 0));
    EXPECT_EQ(sizesOf(regions), (std::vector<int>{0, 0}));
    expectRegionInvariants(regions);

    regions.addToRegion(0, 1);
    regions.reset();
    EXPECT_EQ(regions.numRegions(), 0);
    EXPECT_EQ(regions.size(), 12);
    EXPECT_EQ(labelsOf(regions), std::vector<int>(12, -1));
}

TEST(MRegions, NegativeRegionSizeCountsLabelledElements)
{
    const MRegions regions = regionsOfSizes(10, {1, 2, 3});
    EXPECT_EQ(regions.regionSize(-1), 6);
    EXPECT_EQ(regions.regionSize(INT_MIN), 6);
}

TEST(MRegions, RegionKeepsShapeAndOneRegion)
{
    std::mt19937 rng(11);
    const MRegions regions = randomRegions(rng, 6, 4, 3, 0.3);
    for (int r = -1; r <= 3; ++r) {
        const MRegions one = regions.region(r);
        EXPECT_EQ(one.width(), 6);
        EXPECT_EQ(one.height(), 4);
        ASSERT_EQ(one.numRegions(), 1);
        expectRegionInvariants(one);
        for (int i = 0; i < regions.size(); ++i)
            EXPECT_EQ(one[i], r >= 0 && regions[i] == r ? 0 : -1);
        EXPECT_EQ(one.regionSize(0), regions.regionSize(std::max(r, 0)) * (r >= 0));
    }
}

TEST(MRegions, InvertTwiceKeepsLabelledElementsAsOneRegion)
{
    std::mt19937 rng(3);
    const MRegions original = randomRegions(rng, 5, 5, 4, 0.4);
    MRegions regions = original;
    const std::vector<int> before = labelsOf(regions);
    regions.invert();
    ASSERT_EQ(regions.numRegions(), 1);
    expectRegionInvariants(regions);
    for (int i = 0; i < regions.size(); ++i)
        EXPECT_EQ(regions[i], before[std::size_t(i)] < 0 ? 0 : -1);
    regions.invert();
    ASSERT_EQ(regions.numRegions(), 1);
    for (int i = 0; i < regions.size(); ++i)
        EXPECT_EQ(regions[i], before[std::size_t(i)] < 0 ? -1 : 0);
    EXPECT_EQ(regions, !!original);
    EXPECT_EQ(original.inverse(), !original);
}

TEST(MRegions, InvertOfNothingIsOneEmptyRegion)
{
    MRegions empty;
    empty.invert();
    EXPECT_EQ(empty.numRegions(), 1);
    EXPECT_EQ(empty.regionSize(0), 0);
}

// The set operations against element-wise models, on random labellings with
// different numbers of regions on either side.
TEST(MRegions, SetAlgebraMatchesElementModel)
{
    std::mt19937 rng(7);
    for (int round = 0; round < 60; ++round) {
        const int width = 1 + int(rng() % 9), height = 1 + int(rng() % 9);
        const MRegions a = randomRegions(rng, width, height, int(rng() % 5), 0.5);
        const MRegions b = randomRegions(rng, width, height, int(rng() % 5), 0.5);
        const std::vector<int> la = labelsOf(a), lb = labelsOf(b);

        const MRegions both = a & b;
        const MRegions either = a | b;
        expectRegionInvariants(both);
        expectRegionInvariants(either);
        EXPECT_EQ(both.numRegions(), a.numRegions());
        EXPECT_EQ(either.numRegions(), std::max(a.numRegions(), b.numRegions()));
        EXPECT_EQ(both.width(), width);
        EXPECT_EQ(either.height(), height);
        for (std::size_t i = 0; i < la.size(); ++i) {
            EXPECT_EQ(both[int(i)], lb[i] >= 0 ? la[i] : -1);
            EXPECT_EQ(either[int(i)], la[i] >= 0 ? la[i] : lb[i]);
        }

        MRegions inPlace = a;
        inPlace &= b;
        EXPECT_EQ(inPlace, both);
        inPlace = a;
        inPlace |= b;
        EXPECT_EQ(inPlace, either);

        // Laws on the sets of labelled elements.
        EXPECT_EQ(labelsOf(a & a), la);
        EXPECT_EQ(labelsOf(a | a), la);
        EXPECT_EQ(labelsOf(!(a | b)), labelsOf((!a) & (!b)));
        EXPECT_EQ(labelsOf(!(a & b)), labelsOf((!a) | (!b)));
        EXPECT_EQ(labelsOf(a & !a), std::vector<int>(la.size(), -1));
    }
}

TEST(MRegions, SetOperandsOfDifferentSizesFail)
{
    MRegions a(4);
    a.addToRegion(1, a.addRegion());
    const MRegions b(5);
    {
        test::ScopedExceptions on;
        MRegions c = a;
        EXPECT_MEXCEPTION(c &= b, "MRegions::operator&: the regions differ in size!");
        EXPECT_MEXCEPTION(c |= b, "MRegions::operator|: the regions differ in size!");
        EXPECT_MEXCEPTION(c = a & b, "MRegions::operator&: the regions differ in size!");
        EXPECT_MEXCEPTION(c = a | b, "MRegions::operator|: the regions differ in size!");
        EXPECT_EQ(c, a);
    }
    test::ScopedExceptions off(false);
    MRegions c = a;
    c &= b;
    EXPECT_EQ(c, a);
    c |= b;
    EXPECT_EQ(c, a);
    EXPECT_EQ(a & b, a);
    EXPECT_EQ(a | b, a);
}

// A plain model of selectSize: clear what is out of bounds, then number the
// surviving regions in order.
std::vector<int> modelSelectSize(const std::vector<int> &labels, std::vector<int> sizes, int minSize, int maxSize, int &numRegions)
{
    const int upper = maxSize < 1 ? INT_MAX : maxSize;
    std::vector<int> newNumber(sizes.size(), -1);
    numRegions = 0;
    for (std::size_t r = 0; r < sizes.size(); ++r)
        if (sizes[r] >= minSize && sizes[r] <= upper && sizes[r] > 0)
            newNumber[r] = numRegions++;
    std::vector<int> result(labels);
    for (int &label : result)
        if (label >= 0)
            label = newNumber[std::size_t(label)];
    return result;
}

TEST(MRegions, SelectSizeMatchesModel)
{
    std::mt19937 rng(5);
    for (int round = 0; round < 40; ++round) {
        MRegions regions = randomRegions(rng, 12, 9, 1 + int(rng() % 12), 0.3);
        const int minSize = int(rng() % 16) - 3;
        const int maxSize = int(rng() % 20) - 4;
        int numRegions = 0;
        const std::vector<int> expected = modelSelectSize(labelsOf(regions), sizesOf(regions), minSize, maxSize, numRegions);
        regions.selectSize(minSize, maxSize);
        expectRegionInvariants(regions);
        EXPECT_EQ(labelsOf(regions), expected);
        EXPECT_EQ(regions.numRegions(), numRegions);
    }
}

TEST(MRegions, SelectSizeWithoutUpperLimitKeepsLargeRegions)
{
    MRegions regions = regionsOfSizes(20, {5, 4, 7, 0, 6});
    regions.selectSize(5, 0);
    EXPECT_EQ(sizesOf(regions), (std::vector<int>{5, 7}));
    expectRegionInvariants(regions);
    regions.selectSize(8, 6);
    EXPECT_EQ(regions.numRegions(), 0);
    EXPECT_EQ(regions.regionSize(-1), 0);
}

TEST(MRegions, SortBySizeRenumbersStably)
{
    const MRegions regions = regionsOfSizes(20, {2, 5, 0, 2, 5, 1});
    const std::vector<int> before = labelsOf(regions);

    MRegions descending = regions;
    descending.sortBySize(true);
    EXPECT_EQ(sizesOf(descending), (std::vector<int>{5, 5, 2, 2, 1, 0}));
    // Old regions 1, 4, 0, 3, 5, 2 in that order.
    const int descendingNumber[] = {2, 0, 5, 3, 1, 4};
    MRegions ascending = regions;
    ascending.sortBySize(false);
    EXPECT_EQ(sizesOf(ascending), (std::vector<int>{0, 1, 2, 2, 5, 5}));
    const int ascendingNumber[] = {2, 4, 0, 3, 5, 1};
    for (std::size_t i = 0; i < before.size(); ++i) {
        const int old = before[i];
        EXPECT_EQ(descending[int(i)], old < 0 ? -1 : descendingNumber[old]);
        EXPECT_EQ(ascending[int(i)], old < 0 ? -1 : ascendingNumber[old]);
    }
    expectRegionInvariants(descending);
    expectRegionInvariants(ascending);
}

TEST(MRegions, RemoveEmptyRegionsKeepsOrder)
{
    MRegions regions = test::regionsOf({3, 1, 3, -1, -1, -1}, 5);
    regions.removeEmptyRegions();
    EXPECT_EQ(labelsOf(regions), (std::vector<int>{1, 0, 1, -1, -1, -1}));
    EXPECT_EQ(sizesOf(regions), (std::vector<int>{1, 2}));
}

// Erosion and dilation written as they are told: scatter from a copy.
std::vector<int> modelErode(const std::vector<int> &labels, int width, int height)
{
    std::vector<int> result(labels);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            if (labels[std::size_t(y * width + x)] >= 0)
                continue;
            for (int dy = -1; dy <= 1; ++dy)
                for (int dx = -1; dx <= 1; ++dx)
                    if (x + dx >= 0 && x + dx < width && y + dy >= 0 && y + dy < height)
                        result[std::size_t((y + dy) * width + x + dx)] = -1;
        }
    return result;
}

std::vector<int> modelDilate(const std::vector<int> &labels, int width, int height)
{
    const int dx[] = {0, -1, 0, 1, -1, 1, -1, 1};
    const int dy[] = {-1, 0, 1, 0, -1, -1, 1, 1};
    std::vector<int> result(labels);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const int label = labels[std::size_t(y * width + x)];
            if (label < 0)
                continue;
            for (int k = 0; k < 8; ++k)
                if (x + dx[k] >= 0 && x + dx[k] < width && y + dy[k] >= 0 && y + dy[k] < height)
                    result[std::size_t((y + dy[k]) * width + x + dx[k])] = label;
        }
    return result;
}

TEST(MRegions, ErodeAndDilateMatchGridModel)
{
    std::mt19937 rng(13);
    for (const auto &shape : Shapes) {
        for (double freeShare : {0.05, 0.3, 0.7}) {
            const int width = shape[0], height = shape[1];
            const MRegions regions = randomRegions(rng, width, height, 3, freeShare);
            const std::vector<int> labels = labelsOf(regions);

            MRegions eroded = regions;
            eroded.erode();
            expectRegionInvariants(eroded);
            EXPECT_EQ(labelsOf(eroded), modelErode(labels, width, height));
            EXPECT_EQ(eroded.numRegions(), 3);

            MRegions dilated = regions;
            dilated.dilate();
            expectRegionInvariants(dilated);
            EXPECT_EQ(labelsOf(dilated), modelDilate(labels, width, height));
            EXPECT_EQ(dilated.numRegions(), 3);
        }
    }
}

TEST(MRegions, ErodeOfFullGridChangesNothing)
{
    MRegions regions = test::regionsOf(std::vector<int>(12, 0), 1, 4, 3);
    const MRegions before = regions;
    regions.erode();
    EXPECT_EQ(regions, before);
}

// Each labelled element writes onto its neighbours in scan order, so the
// element of region 0 on the left ends in region 1 of its right neighbour.
TEST(MRegions, DilateLetsLaterElementsOverwriteEarlierRegions)
{
    MRegions regions = test::regionsOf({-1, 0, 1, -1}, 2, 4, 1);
    regions.dilate();
    EXPECT_EQ(labelsOf(regions), (std::vector<int>{0, 1, 0, 1}));
    EXPECT_EQ(sizesOf(regions), (std::vector<int>{2, 2}));
}

// Connectivity the slow way: union-find over 4-adjacent labelled elements,
// then numbers handed out by the scan by rows that skips the last column,
// then small components cleared in place.
std::vector<int> modelConnectivity(const std::vector<int> &labels, int width, int height, int minSize, int &numRegions)
{
    test::UnionFind components(labels.size());
    const auto labelled = [&labels](int i) { return labels[std::size_t(i)] >= 0; };
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const int i = y * width + x;
            if (labelled(i) && x + 1 < width && labelled(i + 1))
                components.join(i, i + 1);
            if (labelled(i) && y + 1 < height && labelled(i + width))
                components.join(i, i + width);
        }
    std::vector<int> number(labels.size(), -1);
    numRegions = 0;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x + 1 < width; ++x) {
            const int root = components.find(y * width + x);
            if (labelled(y * width + x) && number[std::size_t(root)] < 0)
                number[std::size_t(root)] = numRegions++;
        }
    std::vector<int> result(labels.size(), -1);
    for (std::size_t i = 0; i < labels.size(); ++i)
        if (labels[i] >= 0)
            result[i] = number[std::size_t(components.find(int(i)))];
    const std::vector<int> sizes = countLabels(result, numRegions);
    for (int &label : result)
        if (label >= 0 && sizes[std::size_t(label)] < minSize)
            label = -1;
    return result;
}

TEST(MRegions, ConnectivityMatchesUnionFind)
{
    std::mt19937 rng(17);
    for (const auto &shape : Shapes) {
        for (double freeShare : {0.2, 0.45, 0.6}) {
            for (int minSize : {-2, 0, 1, 3}) {
                const int width = shape[0], height = shape[1];
                const MRegions regions = randomRegions(rng, width, height, 3, freeShare);
                int numRegions = 0;
                const std::vector<int> expected = modelConnectivity(labelsOf(regions), width, height, minSize, numRegions);
                const MRegions connected = regions.connectivitySegmentation(minSize);
                expectRegionInvariants(connected);
                EXPECT_EQ(connected.width(), width);
                EXPECT_EQ(connected.height(), height);
                EXPECT_EQ(connected.numRegions(), numRegions);
                EXPECT_EQ(labelsOf(connected), expected);
            }
        }
    }
}

TEST(MRegions, ConnectivityJoinsAcrossRegionsButNotDiagonally)
{
    // 0 1 . .
    // . . 1 .
    const MRegions regions = test::regionsOf({0, 1, -1, -1, -1, -1, 1, -1}, 2, 4, 2);
    const MRegions connected = regions.connectivitySegmentation(1);
    EXPECT_EQ(labelsOf(connected), (std::vector<int>{0, 0, -1, -1, -1, -1, 1, -1}));
}

TEST(MRegions, LastColumnNeverStartsARegion)
{
    // A column of elements along the right border is reached by nothing.
    MRegions regions(3, 3);
    const int r = regions.addRegion();
    for (int y = 0; y < 3; ++y)
        regions.addToRegion(2, y, r);
    EXPECT_EQ(regions.connectivitySegmentation(1).numRegions(), 0);
    // Joined to the column before it, it is flooded into.
    regions.addToRegion(1, 2, r);
    const MRegions connected = regions.connectivitySegmentation(1);
    EXPECT_EQ(connected.numRegions(), 1);
    EXPECT_EQ(connected.regionSize(0), 4);
}

TEST(MRegions, SmallComponentsKeepTheirEmptyNumber)
{
    // x . x x
    const MRegions regions = test::regionsOf({0, -1, 0, 0}, 1, 4, 1);
    const MRegions connected = regions.connectivitySegmentation(2);
    EXPECT_EQ(connected.numRegions(), 2);
    EXPECT_EQ(sizesOf(connected), (std::vector<int>{0, 2}));
    EXPECT_EQ(labelsOf(connected), (std::vector<int>{-1, -1, 1, 1}));
}

TEST(MRegions, BoundingRectangleMatchesScan)
{
    std::mt19937 rng(19);
    for (const auto &shape : Shapes) {
        const int width = shape[0], height = shape[1];
        const MRegions regions = randomRegions(rng, width, height, 4, 0.6);
        for (int r = 0; r < 4; ++r) {
            int x = -1, y = -1, w = -1, h = -1;
            const bool found = regions.getBoundingRectangle(r, x, y, w, h);
            EXPECT_EQ(found, regions.regionSize(r) > 0);
            int minX = width, maxX = -1, minY = height, maxY = -1;
            for (int i = 0; i < regions.size(); ++i)
                if (regions[i] == r) {
                    minX = std::min(minX, i % width);
                    maxX = std::max(maxX, i % width);
                    minY = std::min(minY, i / width);
                    maxY = std::max(maxY, i / width);
                }
            if (found)
                EXPECT_EQ(std::vector<int>({x, y, w, h}), std::vector<int>({minX, minY, maxX - minX + 1, maxY - minY + 1}));
            else
                EXPECT_EQ(std::vector<int>({x, y, w, h}), std::vector<int>({0, 0, 0, 0}));
        }
        int x, y, w, h;
        EXPECT_FALSE(regions.getBoundingRectangle(4, x, y, w, h));
        EXPECT_FALSE(regions.getBoundingRectangle(-1, x, y, w, h));
    }
}

TEST(MRegions, GridOperationsWithoutGridFail)
{
    MRegions list(6);
    list.addToRegion(2, list.addRegion());
    int x, y, w, h;
    {
        test::ScopedExceptions on;
        EXPECT_MEXCEPTION(list.erode(), "MRegions::erode: the regions must be 2d-organized!");
        EXPECT_MEXCEPTION(list.dilate(), "MRegions::dilate: the regions must be 2d-organized!");
        EXPECT_MEXCEPTION(list.connectivitySegmentation(1), "MRegions::connectivitySegmentation: the regions must be 2d-organized!");
        EXPECT_MEXCEPTION(list.getBoundingRectangle(0, x, y, w, h), "MRegions::getBoundingRectangle: the regions must be 2d-organized!");
    }
    test::ScopedExceptions off(false);
    const MRegions before = list;
    list.erode();
    list.dilate();
    EXPECT_EQ(list, before);
    const MRegions connected = list.connectivitySegmentation(1);
    EXPECT_EQ(connected.size(), 6);
    EXPECT_EQ(connected.numRegions(), 0);
    EXPECT_FALSE(list.getBoundingRectangle(0, x, y, w, h));

    // An empty labelling is a grid of nothing.
    test::ScopedExceptions on;
    MRegions empty;
    empty.erode();
    empty.dilate();
    EXPECT_EQ(empty.connectivitySegmentation(1).size(), 0);
}

TEST(MRegions, CopiesAndTransfersAreWhole)
{
    std::mt19937 rng(23);
    const MRegions original = randomRegions(rng, 5, 4, 3, 0.3);
    MRegions copy = original;
    EXPECT_EQ(copy, original);
    copy.addRegion();
    EXPECT_NE(copy, original);

    MRegions source = original;
    MRegions dest(2);
    source.transferDataTo(dest);
    EXPECT_EQ(dest, original);
    EXPECT_EQ(source.size(), 0);
    EXPECT_EQ(source.width(), 0);
    EXPECT_EQ(source.numRegions(), 0);

    MRegions moved(std::move(dest));
    EXPECT_EQ(moved, original);
}

} // namespace
