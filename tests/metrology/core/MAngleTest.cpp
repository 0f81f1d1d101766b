#include "MAngle.h"

#include <gtest/gtest.h>

using namespace ZOLAR3D;

TEST(MAngle, DegreeConversions)
{
    EXPECT_EQ(MAngle::DegToRad(180.0), 3.141592653589793);
    EXPECT_EQ(MAngle::DegToRad(90.0), 1.5707963267948966);
    EXPECT_EQ(MAngle::RadToDeg(MAngle::Pi), 180.0);
    EXPECT_DOUBLE_EQ(MAngle::RadToDeg(MAngle::DegToRad(37.5)), 37.5);
}
