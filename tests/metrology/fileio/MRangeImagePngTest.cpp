#include "FileBytes.h"
#include "MRangeImage.h"
#include "RangeImageSamples.h"
#include "TestSupport.h"

#include <gtest/gtest.h>
#include <lodepng.h>

#include <cmath>
#include <cstdlib>
#include <vector>

using namespace ZOLAR3D;
using test::Bytes;

namespace {

struct Samples {
    unsigned width = 0;
    unsigned height = 0;
    std::vector<unsigned short> values;
};

// Decodes a PNG file to 16-bit grey with lodepng itself, reading the
// big-endian sample bytes by hand.
Samples decode(const std::string &path)
{
    Samples samples;
    unsigned char *raw = nullptr;
    const unsigned error = lodepng_decode_file(&raw, &samples.width, &samples.height, path.c_str(), LCT_GREY, 16);
    EXPECT_EQ(error, 0u) << path;
    if (error == 0) {
        samples.values.resize(std::size_t(samples.width) * samples.height);
        for (std::size_t i = 0; i < samples.values.size(); ++i)
            samples.values[i] = (unsigned short)(raw[2 * i] << 8 | raw[2 * i + 1]);
    }
    std::free(raw);
    return samples;
}

MRangeImage row(std::initializer_list<double> values)
{
    MRangeImage image(1, int(values.size()));
    image.setValues(values.begin());
    return image;
}

class PngFile : public test::ScratchFiles {
protected:
    PngFile() : ScratchFiles("png") {}

    std::vector<unsigned short> savedSamples(const MRangeImage &image, double resolution)
    {
        EXPECT_TRUE(image.savePng(path("s.png").c_str(), resolution));
        const Samples samples = decode(path("s.png"));
        EXPECT_EQ(samples.width, unsigned(image.width()));
        EXPECT_EQ(samples.height, unsigned(image.height()));
        return samples.values;
    }
};

using SampleList = std::vector<unsigned short>;

} // namespace

TEST_F(PngFile, OpenDepthImageLoadsWithItsSamplesTimesTheZScale)
{
    const std::string file = test::dataFile("open3d/RGBD_depth_00000.png");
    if (file.empty())
        GTEST_SKIP() << "open3d depth image absent";
    const Samples samples = decode(file);
    ASSERT_EQ(samples.width, 640u);
    ASSERT_EQ(samples.height, 480u);

    MRangeImage image;
    ASSERT_TRUE(image.loadPng(file.c_str()));
    ASSERT_EQ(image.width(), 640);
    ASSERT_EQ(image.height(), 480);
    EXPECT_EQ(image.pixelSizeRows(), 1.0);
    EXPECT_EQ(image.pixelSizeColumns(), 1.0);
    int holes = 0;
    for (int i = 0; i < image.size(); ++i) {
        if (samples.values[i] == 0) {
            ++holes;
            EXPECT_FALSE(image.isValid(i));
        } else {
            ASSERT_EQ(image[i], samples.values[i] * 0.1) << i;
        }
    }
    EXPECT_GT(holes, 0);
    EXPECT_LT(holes, image.size());

    ASSERT_TRUE(image.loadPng(file.c_str(), 2.0, 3.0, 0.001));
    EXPECT_EQ(image.pixelSizeColumns(), 2.0);
    EXPECT_EQ(image.pixelSizeRows(), 3.0);
    const int i = 320 + 240 * 640;
    if (samples.values[i] != 0) {
        EXPECT_EQ(image.worldPoint(240, 320), MVector3d(240 * 2.0, 320 * 3.0, samples.values[i] * 0.001));
    }
}

TEST_F(PngFile, HeightsAreLiftedSoThatTheLowestGetsSampleOne)
{
    EXPECT_EQ(savedSamples(row({-2.0, 0.0, 1.05, MInvalid}), 0.5), (SampleList{1, 5, 7, 0}));
    // Rounding of the offset never pushes the lowest height to the invalid 0.
    EXPECT_EQ(savedSamples(row({-0.3, 0.0}), 0.1)[0], 1);
    EXPECT_EQ(savedSamples(row({-1e-17, 7.7}), 0.1)[0], 1);
    EXPECT_EQ(savedSamples(row({0.0, 0.0}), 1.0), (SampleList{1, 1}));
}

TEST_F(PngFile, PositiveHeightsKeepTheirAbsoluteScale)
{
    // 0.3 / 0.5 truncates to the invalid sample 0.
    EXPECT_EQ(savedSamples(row({0.3, 2.0, 5.55}), 0.5), (SampleList{0, 4, 11}));
    EXPECT_EQ(savedSamples(row({1e9, 1.0}), 1.0), (SampleList{65535, 1}));
    EXPECT_EQ(savedSamples(row({MInvalid, MInvalid}), 1.0), (SampleList{0, 0}));
}

TEST_F(PngFile, NegativeResolutionIsAMultipleOfTheMeanPixelSize)
{
    MRangeImage image = row({3.0, 9.0, 10.0});
    image.setPixelSize(2.0, 4.0);
    EXPECT_EQ(savedSamples(image, -1.0), (SampleList{1, 3, 3}));
}

TEST_F(PngFile, ZeroResolutionFails)
{
    const MRangeImage image = row({1.0});
    EXPECT_FALSE(image.savePng(path("zero.png").c_str(), 0.0));
    test::ScopedExceptions on;
    EXPECT_MEXCEPTION(image.savePng(L"zero.png", 0.0), "MRangeImage::savePng: invalid argument for resolutionZ (must be != 0)");
}

TEST_F(PngFile, RoundTripKeepsHeightsUpToTheOffsetAndTheResolution)
{
    std::mt19937 rng(12);
    for (const double resolution : {0.01, 0.25, -0.5}) {
        const MRangeImage image = test::randomRangeImage(rng, 23, 31, false);
        ASSERT_TRUE(image.savePng(path("rt.png").c_str(), resolution));
        const double step = resolution > 0 ? resolution : -resolution * image.averagePixelSize();
        MRangeImage loaded;
        ASSERT_TRUE(loaded.loadPng(path("rt.png").c_str(), 0.5, 0.25, step));
        ASSERT_EQ(loaded.width(), 31);
        ASSERT_EQ(loaded.height(), 23);
        double lowest = MInvalid;
        for (int i = 0; i < image.size(); ++i)
            lowest = std::min(lowest, image[i]);
        for (int i = 0; i < image.size(); ++i) {
            if (!image.isValid(i)) {
                EXPECT_FALSE(loaded.isValid(i));
                continue;
            }
            const double sample = std::trunc((image[i] - lowest) / step + 1.0);
            EXPECT_EQ(loaded[i], sample * step);
        }
    }
}

TEST_F(PngFile, BrokenFilesGiveFalseAndLeaveTheImageAlone)
{
    std::mt19937 rng(13);
    ASSERT_TRUE(test::randomRangeImage(rng, 5, 7, false).savePng(path("good.png").c_str(), 0.1));
    const Bytes good = test::readBytes(path("good.png"));
    MRangeImage image = test::randomRangeImage(rng, 2, 2, true);
    const MRangeImage before = image;
    for (std::size_t cut = 0; cut < good.size(); ++cut) {
        test::writeBytes(path("cut.png"), good.data(), cut);
        EXPECT_FALSE(image.loadPng(path("cut.png").c_str())) << cut;
    }
    EXPECT_FALSE(image.loadPng(path("missing.png").c_str()));
    EXPECT_FALSE(image.loadPng(m_dir.c_str()));
    EXPECT_EQ(image, before);

    // A header announcing far more pixels than the file could ever hold is
    // refused before the decoder allocates for it. Width is at byte 16, the
    // IHDR chunk (length, type, data, crc) starts at byte 8.
    Bytes forged = good;
    const unsigned char side[] = {0x00, 0x00, 0x80, 0x00}; // 32768, big-endian
    std::copy(side, side + 4, forged.begin() + 16);
    std::copy(side, side + 4, forged.begin() + 20);
    lodepng_chunk_generate_crc(forged.data() + 8);
    test::writeBytes(path("forged.png"), forged);
    EXPECT_FALSE(image.loadPng(path("forged.png").c_str()));
    EXPECT_EQ(image, before);
}

TEST_F(PngFile, SaveFailsWithoutAFileOrPixels)
{
    const MRangeImage image = row({1.0, 2.0});
    EXPECT_FALSE(image.savePng(path("no/such/folder.png").c_str(), 0.1));
    EXPECT_FALSE(MRangeImage().savePng(path("empty.png").c_str(), 0.1));
}
