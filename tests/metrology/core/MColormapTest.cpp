#include "MColormap.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

using namespace ZOLAR3D;

namespace {

std::vector<double> stopsOf(const MColormap &map)
{
    return std::vector<double>(map.values().data(), map.values().data() + map.size());
}

} // namespace

TEST(MColormap, RainbowRunsFromMinusHighToHighByDefault)
{
    const MColormap map = MColormap::Rainbow(10);
    EXPECT_EQ(stopsOf(map), (std::vector<double>{-10, -5, 0, 5, 10}));
    EXPECT_EQ(map.colors().size(), 5);
    EXPECT_EQ(map.color(0), MColor::Green);
    EXPECT_EQ(map.color(-10), MColor::Blue);
    EXPECT_EQ(map.color(-5), MColor(128, 255, 255, 255));
    EXPECT_EQ(map.color(5), MColor::Yellow);
    EXPECT_EQ(map.color(10), MColor::Red);

    EXPECT_EQ(stopsOf(MColormap::Rainbow(10, 0)), (std::vector<double>{0, 2.5, 5, 7.5, 10}));
    EXPECT_EQ(stopsOf(MColormap::Rainbow(0.3, 0.1)).back(), 0.3); // the ends are exact
}

TEST(MColormap, ColoursBetweenStopsAreWeightedAndTruncated)
{
    const MColormap map = MColormap::Rainbow(10);
    // Yellow and red half and half: green 0.5 x 255 = 127.5, truncated.
    EXPECT_EQ(map.color(7.5), MColor(255, 127, 0));
    // A quarter of the way from yellow to red: green 0.75 x 255 = 191.25.
    EXPECT_EQ(map.color(6.25), MColor(255, 191, 0));
    // Green and yellow half and half.
    EXPECT_EQ(map.color(2.5), MColor(127, 255, 0));
    // Blue and light cyan: red 0.5 x float(128 / 255) x 255 = 64.000004.
    EXPECT_EQ(map.color(-7.5), MColor(64, 127, 255));
}

TEST(MColormap, ValuesOutsideTheStopsAreBlack)
{
    const MColormap map = MColormap::Rgb(10);
    EXPECT_EQ(map.color(10.5), MColor::Black);
    EXPECT_EQ(map.color(-10.000001), MColor::Black);
    EXPECT_EQ(map.color(std::numeric_limits<double>::quiet_NaN()), MColor::Black);
    EXPECT_FALSE(map.contains(11));
    EXPECT_TRUE(map.contains(-10));
}

TEST(MColormap, UnsortedStopsTakeTheFirstBracketingPair)
{
    const double values[3] = {0, 10, 5};
    const MColor colors[3] = {MColor::Blue, MColor::Red, MColor::Green};
    MColormap map;
    map.set(values, colors, 3);
    // (0, 10) brackets 7.5 before (10, 5) does: a quarter blue, three quarters red.
    EXPECT_EQ(map.color(7.5), MColor(191, 0, 63));

    const double falling[2] = {10, 0};
    const MColor ends[2] = {MColor::Red, MColor::Blue};
    map.set(falling, ends, 2);
    EXPECT_EQ(map.color(2.5), MColor(63, 0, 191));
    EXPECT_EQ(map.minValue(), 0);
    EXPECT_EQ(map.maxValue(), 10);
}

TEST(MColormap, ResultIsOpaqueWhateverTheStopAlpha)
{
    const double values[2] = {0, 1};
    const MColor colors[2] = {MColor(255, 0, 255, 0), MColor(255, 0, 255, 17)};
    MColormap map;
    map.set(values, colors, 2);
    EXPECT_EQ(map.color(0.5), MColor(255, 0, 255, 255));
    EXPECT_EQ(map.color(0), MColor(255, 0, 255, 255));
}

TEST(MColormap, DegenerateMapsAreBlackAndEmptyRangeIsInverted)
{
    MColormap empty;
    EXPECT_EQ(empty.minValue(), MInvalid);
    EXPECT_EQ(empty.maxValue(), -MInvalid);
    EXPECT_FALSE(empty.contains(0));
    EXPECT_EQ(empty.color(0), MColor::Black);

    const double one = 3;
    MColormap single;
    single.set(&one, &MColor::Red, 1);
    EXPECT_TRUE(single.contains(3));
    EXPECT_EQ(single.color(3), MColor::Black);

    // A NaN stop brackets nothing, so values it cuts off find no pair.
    const double withNaN[3] = {0, std::numeric_limits<double>::quiet_NaN(), 10};
    const MColor colors[3] = {MColor::Red, MColor::Green, MColor::Blue};
    MColormap broken;
    broken.set(withNaN, colors, 3);
    EXPECT_TRUE(broken.contains(5));
    EXPECT_EQ(broken.color(5), MColor::Black);

    broken.set(withNaN, nullptr, 3);
    EXPECT_EQ(broken.size(), 0);
    EXPECT_EQ(broken.colors().size(), 0);
}

TEST(MColormap, EqualStopsGiveTheFirstStopsColour)
{
    const MColormap flat = MColormap::Rainbow(0);
    EXPECT_EQ(flat.color(0), MColor::Blue);
    EXPECT_EQ(flat.color(1e-300), MColor::Black);
}

TEST(MColormap, RainbowToInfinityColoursEveryFiniteValue)
{
    const MColormap map = MColormap::RainbowToInfinity(10);
    EXPECT_EQ(stopsOf(map), (std::vector<double>{-MInvalid, -10, -5, 0, 5, 10, MInvalid}));
    EXPECT_EQ(map.color(-3e38), MColor::Blue);
    EXPECT_EQ(map.color(1e30), MColor::Red);
    EXPECT_EQ(map.color(MInvalid), MColor::Red);
    EXPECT_EQ(map.color(0), MColor::Green);
    EXPECT_EQ(map.color(1e39), MColor::Black);
}

TEST(MColormap, ThreeColorsPutsTheMiddleColourHalfway)
{
    const MColormap map = MColormap::ThreeColors(4, 2, MColor::White, MColor::Gray, MColor::Black);
    EXPECT_EQ(stopsOf(map), (std::vector<double>{2, 3, 4}));
    EXPECT_EQ(map.color(2), MColor::Black);
    EXPECT_EQ(map.color(3), MColor::Gray);
    EXPECT_EQ(map.colors()[2], MColor::White);

    const MColormap rgb = MColormap::Rgb(1);
    EXPECT_EQ(stopsOf(rgb), (std::vector<double>{-1, 0, 1}));
    EXPECT_EQ(rgb.color(-1), MColor::Blue);
    EXPECT_EQ(rgb.color(0.5), MColor(127, 127, 0));
}
