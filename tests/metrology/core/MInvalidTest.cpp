#include "MInvalid.h"
#include "MVector3d.h"
#include "MVector3f.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

using namespace ZOLAR3D;

namespace {

std::uint64_t bitsOf(double value)
{
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

std::uint32_t bitsOf(float value)
{
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

} // namespace

TEST(MInvalid, MarkerHasTheSameValueInBothWidths)
{
    EXPECT_EQ(bitsOf(MInvalid), 0x47EFFFFFE0000000ull);
    EXPECT_EQ(bitsOf(MInvalidF), 0x7F7FFFFFu);
    EXPECT_EQ(MInvalid, 3.4028234663852886e38);
    EXPECT_EQ(bitsOf(static_cast<float>(MInvalid)), 0x7F7FFFFFu);
    EXPECT_EQ(bitsOf(static_cast<double>(MInvalidF)), 0x47EFFFFFE0000000ull);
}

TEST(MInvalid, ValidValueRejectsMarkerAndNaNOnly)
{
    EXPECT_FALSE(MIsValidValue(MInvalid));
    EXPECT_FALSE(MIsValidValue(MInvalidF));
    EXPECT_FALSE(MIsValidValue(std::nan("")));
    EXPECT_TRUE(MIsValidValue(0.0));
    EXPECT_TRUE(MIsValidValue(-MInvalid));
    EXPECT_TRUE(MIsValidValue(std::numeric_limits<double>::infinity()));
    EXPECT_TRUE(MIsValidValue(std::nextafter(MInvalid, 0.0)));
}

TEST(MInvalid, MarkerSurvivesNarrowingAndWideningOfVectors)
{
    const MVector3f narrow(MVector3d::Invalid);
    EXPECT_EQ(bitsOf(narrow.x()), 0x7F7FFFFFu);
    const MVector3d wide(narrow);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(bitsOf(wide[i]), bitsOf(MVector3d::Invalid[i]));
    EXPECT_FALSE(wide.isValid());

    MVector3f assigned(1, 2, 3);
    assigned = MVector3d(MInvalid, 5, 6);
    EXPECT_FALSE(assigned.isValid());
    EXPECT_EQ(assigned.y(), 5.0f);
}

TEST(MInvalid, BitTestAgreesWithTheCompares)
{
    const double inf = std::numeric_limits<double>::infinity();
    const double values[] = {0.0, -0.0, 1.0, -MInvalid, MInvalid, std::nextafter(MInvalid, 0.0),
                             std::nextafter(MInvalid, inf), inf, -inf, std::numeric_limits<double>::quiet_NaN(),
                             -std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::denorm_min(),
                             std::numeric_limits<double>::max()};
    for (double v : values)
        EXPECT_EQ(MIsValidBits(v), MIsValidValue(v)) << v;
}
