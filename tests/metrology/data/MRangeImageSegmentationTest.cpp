#include "MRangeImage.h"
#include "MRegions.h"
#include "RangeImageSamples.h"
#include "RegionsSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

using namespace ZOLAR3D;

namespace {

using test::labelsOf;

// The pieces the slow way: union-find over the four corners of every valid
// quad, numbered by the first pixel of the scan by rows, small pieces
// cleared in place.
std::vector<int> modelPieces(const MRangeImage &image, int minSize, int &numRegions)
{
    const int w = image.width();
    const std::size_t n = std::size_t(image.size());
    test::UnionFind pieces(n);
    std::vector<bool> inQuad(n, false);
    for (int row = 0; row + 1 < image.height(); ++row)
        for (int col = 0; col + 1 < w; ++col) {
            if (!image.isValidQuad(row, col, 1))
                continue;
            const int corners[] = {row * w + col, row * w + col + 1, (row + 1) * w + col, (row + 1) * w + col + 1};
            for (int c : corners) {
                inQuad[std::size_t(c)] = true;
                pieces.join(c, corners[0]);
            }
        }
    std::vector<int> number(n, -1);
    std::vector<int> result(n, -1);
    std::vector<int> sizes;
    numRegions = 0;
    for (std::size_t i = 0; i < n; ++i) {
        if (!inQuad[i])
            continue;
        int &root = number[std::size_t(pieces.find(int(i)))];
        if (root < 0) {
            root = numRegions++;
            sizes.push_back(0);
        }
        result[i] = root;
        ++sizes[std::size_t(root)];
    }
    for (int &label : result)
        if (label >= 0 && sizes[std::size_t(label)] < minSize)
            label = -1;
    return result;
}

TEST(MRangeImageSegmentation, MatchesUnionFindOverValidQuads)
{
    std::mt19937 rng(29);
    for (int round = 0; round < 30; ++round) {
        const int height = 1 + int(rng() % 14), width = 1 + int(rng() % 14);
        MRangeImage image = test::randomRangeImage(rng, height, width, false, 0.15);
        image.setPixelSize(1.0, 1.0);
        // Heights within +-50 against a limit of 30 per pixel: some quads
        // hold, some break.
        image.setMaxZSlope(30.0);
        for (int minSize : {0, 4, 9}) {
            int numRegions = 0;
            const std::vector<int> expected = modelPieces(image, minSize, numRegions);
            const MRegions pieces = image.connectivitySegmentation(minSize);
            EXPECT_EQ(pieces.width(), width);
            EXPECT_EQ(pieces.height(), height);
            EXPECT_EQ(pieces.numRegions(), numRegions);
            EXPECT_EQ(labelsOf(pieces), expected);
            for (int r = 0; r < pieces.numRegions(); ++r)
                EXPECT_EQ(pieces.regionSize(r), int(std::count(expected.begin(), expected.end(), r)));
        }
    }
}

TEST(MRangeImageSegmentation, SlopeBeyondLimitSeparatesPlateaus)
{
    // Left half at height 0, right half at height 10, joined by nothing but
    // a step; a gentle ramp along the rows on top.
    MRangeImage image(6, 8);
    for (int row = 0; row < 6; ++row)
        for (int col = 0; col < 8; ++col)
            image(row, col) = (col < 4 ? 0.0 : 10.0) + 0.5 * row;
    image.setMaxZSlope(3.0);
    const MRegions pieces = image.connectivitySegmentation(1);
    ASSERT_EQ(pieces.numRegions(), 2);
    for (int row = 0; row < 6; ++row)
        for (int col = 0; col < 8; ++col)
            EXPECT_EQ(pieces[row * 8 + col], col < 4 ? 0 : 1);

    // A limit above the step joins them.
    image.setMaxZSlope(11.0);
    EXPECT_EQ(image.connectivitySegmentation(1).numRegions(), 1);
}

TEST(MRangeImageSegmentation, PixelsOutsideValidQuadsHaveNoRegion)
{
    // A lone valid pixel and a row of valid pixels span no quad.
    MRangeImage image(4, 4);
    image(0, 0) = 1.0;
    for (int col = 0; col < 4; ++col)
        image(3, col) = 1.0;
    EXPECT_EQ(image.connectivitySegmentation(1).numRegions(), 0);
    EXPECT_EQ(image.connectivitySegmentation(1).regionSize(-1), 0);
}

TEST(MRangeImageSegmentation, EmptyImageGivesEmptyRegions)
{
    const MRegions pieces = MRangeImage().connectivitySegmentation(1);
    EXPECT_EQ(pieces.size(), 0);
    EXPECT_EQ(pieces.numRegions(), 0);
}

} // namespace
