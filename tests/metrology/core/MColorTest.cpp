#include "MColor.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <set>

using namespace ZOLAR3D;

TEST(MColor, ConstructorsKeepTheLowByteOfEachChannel)
{
    EXPECT_EQ(MColor().argb(), 0u);
    EXPECT_EQ(MColor(1, 2, 3, 4).argb(), 0x04010203u);
    EXPECT_EQ(MColor(300, 0, 0, 0).red(), 44);
    EXPECT_EQ(MColor(-1, 0, 0, 0).red(), 255);
    EXPECT_EQ(MColor(int(0x80FF0010)).argb(), 0x80FF0010u);
    EXPECT_EQ(MColor::FromRgb(10, 20, 30).argb(), 0xFF0A141Eu);
    EXPECT_EQ(MColor(10, 20, 30).alpha(), 255);
}

TEST(MColor, MemoryHoldsBlueGreenRedAlpha)
{
    const MColor color(0x11, 0x22, 0x33, 0x44);
    unsigned char bytes[4];
    std::memcpy(bytes, color.data(), 4);
    const unsigned char expected[4] = {0x33, 0x22, 0x11, 0x44};
    EXPECT_EQ(std::memcmp(bytes, expected, 4), 0);
}

TEST(MColor, NamedColours)
{
    const std::pair<MColor, unsigned> table[] = {
        {MColor::Black, 0xFF000000},     {MColor::White, 0xFFFFFFFF},      {MColor::Gray, 0xFFA0A0A0},
        {MColor::LightGray, 0xFFC0C0C0}, {MColor::DarkGray, 0xFF808080},   {MColor::Red, 0xFFFF0000},
        {MColor::Green, 0xFF00FF00},     {MColor::Blue, 0xFF0000FF},       {MColor::Cyan, 0xFF00FFFF},
        {MColor::Magenta, 0xFFFF00FF},   {MColor::Yellow, 0xFFFFFF00},     {MColor::Orange, 0xFFFFA500},
        {MColor::Gold, 0xFFFFD700},      {MColor::Peach, 0xFFFFDAB9},      {MColor::Pink, 0xFFFFC0CB},
        {MColor::Brown, 0xFFA52A2A},     {MColor::Maroon, 0xFF800000},     {MColor::DarkRed, 0xFF800000},
        {MColor::DarkGreen, 0xFF008000}, {MColor::DarkBlue, 0xFF000080},   {MColor::DarkCyan, 0xFF008080},
        {MColor::DarkMagenta, 0xFF800080}, {MColor::DarkYellow, 0xFF808000}, {MColor::Transparent, 0},
    };
    for (const auto &[color, argb] : table)
        EXPECT_EQ(color.argb(), argb);
}

TEST(MColor, ChannelAccess)
{
    MColor color(0x12345678);
    EXPECT_EQ(color.alpha(), 0x12);
    EXPECT_EQ(color.red(), 0x34);
    EXPECT_EQ(color.green(), 0x56);
    EXPECT_EQ(color.blue(), 0x78);
    color.setRed(0x1AB);
    color.setGreen(0);
    color.setBlue(255);
    color.setAlpha(1);
    EXPECT_EQ(color.value(), 0x01AB00FFu);
    EXPECT_DOUBLE_EQ(MColor::Orange.greenF(), 165 / 255.0);
    EXPECT_EQ(MColor::White.alphaF(), 1.0);
    color.setArgb(0xFF000000u);
    color.setRedF(0.5);
    color.setGreenF(1.0);
    color.setBlueF(0.999);
    color.setAlphaF(0.0);
    EXPECT_EQ(color.argb(), 0x007FFFFEu);
    color.setValues(7u);
    EXPECT_EQ(color, MColor(0, 0, 7, 0));
    EXPECT_NE(color, MColor::Blue);
}

TEST(MColor, FloatChannelsTruncateAndWrapLikeIntegers)
{
    EXPECT_EQ(MColor::FromRgbF(1.0, 0.5, 0.0).argb(), 0xFFFF7F00u);
    EXPECT_EQ(MColor::FromRgbF(2.0, 0, 0, 1).red(), 510 & 0xFF);
    EXPECT_EQ(MColor::FromRgbF(std::nan(""), 0, 0, 1).red(), 0);
    EXPECT_EQ(MColor::FromRgbF(1e300, 0, 0, 1).red(), 0);
    EXPECT_EQ(MColor::FromRgbF(-1e300, 0, 0, 1).red(), 0);
}

TEST(MColor, BrightnessIsMeanOfExtremeChannels)
{
    EXPECT_EQ(MColor(10, 200, 101).brightness(), 105);
    EXPECT_EQ(MColor(0, 0, 1).brightness(), 0);
    EXPECT_DOUBLE_EQ(MColor(10, 200, 101).brightnessF(), 210 / 510.0);
}

TEST(MColor, Vector3fConversions)
{
    EXPECT_EQ(MColor::FromVector3f(MVector3f(1, 0, 0)), MColor::Red);
    EXPECT_EQ(MColor::FromVector3f(MVector3f(0.5f, 0.25f, 1)).argb(), 0xFF7F3FFFu);
    const MVector3f rgb = MColor(255, 51, 0, 7).toVector3f();
    EXPECT_EQ(rgb, MVector3f(1.0f, 0.2f, 0.0f));
    MColor color(0);
    color.fromVector3f(rgb);
    EXPECT_EQ(color, MColor(255, 51, 0, 255));
}

TEST(MColor, RandomMeetsTheBrightnessFloor)
{
    std::set<unsigned> seen;
    for (int i = 0; i < 200; ++i) {
        const MColor color = MColor::Random(17, 200);
        EXPECT_EQ(color.alpha(), 17);
        EXPECT_GE(std::max({color.red(), color.green(), color.blue()}), 200);
        seen.insert(color.argb());
    }
    EXPECT_GT(seen.size(), 150u);
    // A floor above 255 is capped: the brightest channel must be 255.
    const MColor capped = MColor::Random(255, 1000);
    EXPECT_EQ(std::max({capped.red(), capped.green(), capped.blue()}), 255);
}
