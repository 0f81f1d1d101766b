#include "FileBytes.h"
#include "MRangeImage.h"
#include "RangeImageSamples.h"
#include "TestSupport.h"
#include "metrology/core/detail/MPathEncoding.h"

#include <gtest/gtest.h>

using namespace ZOLAR3D;

TEST(MRangeImageFile, SuffixChoosesTheFormatExactly)
{
    const std::string dir = test::scratchDir("rangeimage_dispatch");
    std::mt19937 rng(14);
    const MRangeImage image = test::randomRangeImage(rng, 4, 5, true);

    ASSERT_TRUE(image.save((dir + "/a.mri").c_str()));
    ASSERT_TRUE(image.saveMri((dir + "/b.mri").c_str()));
    EXPECT_EQ(test::readBytes(dir + "/a.mri"), test::readBytes(dir + "/b.mri"));
    MRangeImage loaded;
    ASSERT_TRUE(loaded.load(MPathEncoding::widen((dir + "/a.mri").c_str()).c_str()));
    EXPECT_EQ(loaded, image);

    // "png" saves with a resolution of a tenth of the mean pixel size and
    // loads with unit pixels and a Z scale of 0.1.
    ASSERT_TRUE(image.save(MPathEncoding::widen((dir + "/a.png").c_str()).c_str()));
    ASSERT_TRUE(image.savePng((dir + "/b.png").c_str(), -0.1));
    EXPECT_EQ(test::readBytes(dir + "/a.png"), test::readBytes(dir + "/b.png"));
    MRangeImage fromPng, expected;
    ASSERT_TRUE(fromPng.load((dir + "/a.png").c_str()));
    ASSERT_TRUE(expected.loadPng((dir + "/b.png").c_str(), 1.0, 1.0, 0.1));
    EXPECT_EQ(fromPng, expected);

    for (const char *name : {"/c.MRI", "/c.Png", "/c", "/c.", "/c.mri.bak", "/folder.mri/c"}) {
        EXPECT_FALSE(image.save((dir + name).c_str())) << name;
        EXPECT_FALSE(loaded.load((dir + name).c_str())) << name;
    }
    EXPECT_FALSE(loaded.load((dir + "/missing.mri").c_str()));
}
