#include "FileBytes.h"
#include "MRangeImage.h"
#include "RangeImageSamples.h"
#include "TestSupport.h"
#include "metrology/core/detail/MPathEncoding.h"

#include <gtest/gtest.h>
#include <lzf.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>

using namespace ZOLAR3D;
using test::Bytes;
using test::fieldAt;

namespace {

constexpr std::size_t HeaderSize = 156;

// Values that a text format or a careless copy would not keep.
MRangeImage awkwardImage(std::mt19937 &rng, int height, int width, bool withColors)
{
    MRangeImage image = test::randomRangeImage(rng, height, width, withColors);
    const double specials[] = {-0.0, std::numeric_limits<double>::infinity(), std::numeric_limits<double>::denorm_min(),
                               std::nan("0x5a5a"), -std::numeric_limits<double>::quiet_NaN(), MInvalid, 1e-300};
    for (int i = 0; i < image.size() && i < 7; ++i)
        image[i * 3 % image.size()] = specials[i];
    MMatrix4 pose;
    std::uniform_real_distribution<double> any(-1e6, 1e6);
    for (int i = 0; i < 16; ++i)
        pose.data()[i] = any(rng); // stored as it is, rigid or not
    image.setPose(pose);
    return image;
}

Bytes lzfDecode(const unsigned char *stream, std::size_t size, std::size_t expected)
{
    Bytes out(expected + 1);
    const unsigned n = lzf_decompress(stream, unsigned(size), out.data(), unsigned(out.size()));
    out.resize(n);
    return out;
}

int countOpenFiles() { return int(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {})); }

// What every load must leave behind, whatever the file held.
void expectConsistent(const MRangeImage &image, std::size_t fileLength)
{
    ASSERT_EQ(image.size(), image.width() * image.height());
    EXPECT_GE(image.width(), 0);
    EXPECT_GE(image.height(), 0);
    EXPECT_TRUE(image.hasColors() || !image.colors() || image.size() == 0);
    EXPECT_LE(std::uint64_t(image.size()) * 8, 88 * std::uint64_t(fileLength));
    // Touch everything a caller could reach through the grid.
    EXPECT_LE(image.numValidPoints(), image.size());
    EXPECT_LE(image.numValidQuads(), image.size());
    if (image.size() > 0)
        image.localNormal(image.size() - 1);
}

class MriFile : public test::ScratchFiles {
protected:
    MriFile() : ScratchFiles("mri") {}

    // Both readers take any bytes and leave a consistent image.
    void expectBothReadersConsistent(const Bytes &bytes)
    {
        test::writeBytes(path("bad.mri"), bytes);
        MRangeImage loaded;
        ASSERT_TRUE(loaded.loadMri(path("bad.mri").c_str()));
        expectConsistent(loaded, bytes.size());
        ASSERT_TRUE(loaded.loadMriNoCompress(widePath("bad.mri").c_str()));
        expectConsistent(loaded, bytes.size());
    }
};

} // namespace

TEST_F(MriFile, LayoutIsTheHeaderThenTwoLzfStreams)
{
    std::mt19937 rng(1);
    MRangeImage image = test::randomRangeImage(rng, 3, 4, true);
    image.setPixelSize(0.5, 0.25);
    ASSERT_TRUE(image.saveMri(path("a.mri").c_str()));
    const Bytes bytes = test::readBytes(path("a.mri"));
    ASSERT_GT(bytes.size(), HeaderSize + 8);

    EXPECT_EQ(fieldAt<std::int32_t>(bytes, 0), 1);
    EXPECT_EQ(fieldAt<std::int32_t>(bytes, 4), 4); // width first
    EXPECT_EQ(fieldAt<std::int32_t>(bytes, 8), 3);
    EXPECT_EQ(fieldAt<double>(bytes, 12), 0.25); // column size first
    EXPECT_EQ(fieldAt<double>(bytes, 20), 0.5);
    EXPECT_EQ(std::memcmp(bytes.data() + 28, image.pose().data(), 128), 0);

    const auto valuesSize = std::size_t(fieldAt<std::int32_t>(bytes, HeaderSize));
    const Bytes values = lzfDecode(bytes.data() + HeaderSize + 4, valuesSize, 96);
    ASSERT_EQ(values.size(), 96u);
    EXPECT_EQ(std::memcmp(values.data(), image.values(), 96), 0);

    const std::size_t colorsAt = HeaderSize + 4 + valuesSize;
    const auto colorsSize = std::size_t(fieldAt<std::int32_t>(bytes, colorsAt));
    const Bytes colors = lzfDecode(bytes.data() + colorsAt + 4, colorsSize, 48);
    ASSERT_EQ(colors.size(), 48u);
    EXPECT_EQ(std::memcmp(colors.data(), image.colors(), 48), 0);
    EXPECT_EQ(bytes.size(), colorsAt + 4 + colorsSize);
}

TEST_F(MriFile, EmptyImageWritesTheHeaderAndTwoZeroSizes)
{
    ASSERT_TRUE(MRangeImage().saveMri(path("empty.mri").c_str()));
    const Bytes bytes = test::readBytes(path("empty.mri"));
    ASSERT_EQ(bytes.size(), HeaderSize + 8);
    EXPECT_EQ(fieldAt<std::int32_t>(bytes, HeaderSize), 0);
    EXPECT_EQ(fieldAt<std::int32_t>(bytes, HeaderSize + 4), 0);
    MRangeImage loaded(3, 3);
    EXPECT_TRUE(loaded.loadMri(path("empty.mri").c_str()));
    EXPECT_EQ(loaded, MRangeImage());
}

TEST_F(MriFile, RoundTripKeepsEverythingTheFormatStoresBitForBit)
{
    std::mt19937 rng(2);
    const int shapes[][2] = {{1, 1}, {1, 7}, {7, 1}, {13, 17}, {64, 64}, {200, 3}};
    for (const auto &shape : shapes) {
        for (const bool withColors : {false, true}) {
            const MRangeImage image = awkwardImage(rng, shape[0], shape[1], withColors);
            ASSERT_TRUE(image.saveMri(path("r.mri").c_str()));
            MRangeImage loaded = test::randomRangeImage(rng, 2, 2, true);
            loaded.setMaxZSlope(7.0); // not stored: the loaded image keeps its own
            ASSERT_TRUE(loaded.loadMri(path("r.mri").c_str()));
            EXPECT_EQ(loaded.maxZSlope(), 7.0);
            loaded.setMaxZSlope(image.maxZSlope());
            EXPECT_EQ(loaded, image) << shape[0] << "x" << shape[1] << " colours " << withColors;
            EXPECT_EQ(loaded.hasColors(), withColors);
        }
    }
}

TEST_F(MriFile, LoadMriIgnoresTheVersion)
{
    std::mt19937 rng(3);
    const MRangeImage image = test::randomRangeImage(rng, 4, 5, true);
    ASSERT_TRUE(image.saveMri(path("v.mri").c_str()));
    Bytes bytes = test::readBytes(path("v.mri"));
    test::setFieldAt<std::int32_t>(bytes, 0, 7);
    test::writeBytes(path("v7.mri"), bytes);
    MRangeImage loaded;
    ASSERT_TRUE(loaded.loadMri(path("v7.mri").c_str()));
    EXPECT_EQ(loaded, image);
}

TEST_F(MriFile, ColourStreamLongerThanTheValueStreamIsCut)
{
    // Flat heights compress to a few bytes, random colours hardly at all; the
    // reader decodes the colours with the length of the value stream.
    std::mt19937 rng(4);
    MRangeImage image = test::randomRangeImage(rng, 64, 64, true);
    image.init(2.0);
    ASSERT_TRUE(image.saveMri(path("cut.mri").c_str()));
    const Bytes bytes = test::readBytes(path("cut.mri"));
    const auto valuesSize = fieldAt<std::int32_t>(bytes, HeaderSize);
    const auto colorsSize = fieldAt<std::int32_t>(bytes, HeaderSize + 4 + valuesSize);
    ASSERT_LT(valuesSize, colorsSize);

    MRangeImage loaded;
    ASSERT_TRUE(loaded.loadMri(path("cut.mri").c_str()));
    EXPECT_EQ(std::memcmp(loaded.values(), image.values(), 4096 * sizeof(double)), 0);
    ASSERT_TRUE(loaded.hasColors());
    int decoded = 0;
    while (decoded < 4096 && loaded.color(decoded) == image.color(decoded))
        ++decoded;
    EXPECT_GT(decoded, 0);
    EXPECT_LE(decoded * 4, valuesSize);
    EXPECT_EQ(loaded.color(4095), MColor::LightGray);
}

TEST_F(MriFile, FilesThatWillNotOpenGiveFalse)
{
    std::mt19937 rng(5);
    MRangeImage image = test::randomRangeImage(rng, 3, 3, true);
    const MRangeImage before = image;
    EXPECT_FALSE(image.loadMri(path("missing.mri").c_str()));
    EXPECT_FALSE(image.loadMriNoCompress(widePath("missing.mri").c_str()));
    EXPECT_EQ(image, before);

    const int open = countOpenFiles();
    EXPECT_FALSE(image.saveMri(path("no/such/folder.mri").c_str()));
    EXPECT_FALSE(image.saveMriNoCompress(widePath("no/such/folder.mri").c_str()));
    EXPECT_EQ(countOpenFiles(), open);
    // A write that does not get through is a failure too.
    if (std::filesystem::exists("/dev/full")) {
        EXPECT_FALSE(image.saveMri("/dev/full"));
        EXPECT_FALSE(image.saveMriNoCompress(L"/dev/full"));
    }
}

TEST_F(MriFile, NarrowAndWidePathsReachTheSameFile)
{
    std::mt19937 rng(6);
    const MRangeImage image = test::randomRangeImage(rng, 2, 3, false);
    const std::string name = path("h\xC3\xB6he_\xE6\xB8\xAC.mri");
    ASSERT_TRUE(image.saveMri(name.c_str()));
    MRangeImage loaded;
    ASSERT_TRUE(loaded.loadMri(MPathEncoding::widen(name.c_str()).c_str()));
    EXPECT_EQ(loaded, image);
}

TEST_F(MriFile, TruncatedFilesLoadAPartlyFilledImageAtEveryCutLength)
{
    std::mt19937 rng(7);
    const MRangeImage image = test::randomRangeImage(rng, 5, 6, true);
    ASSERT_TRUE(image.saveMri(path("full.mri").c_str()));
    const Bytes bytes = test::readBytes(path("full.mri"));
    const auto valuesSize = std::size_t(fieldAt<std::int32_t>(bytes, HeaderSize));
    for (std::size_t cut = 0; cut < bytes.size(); ++cut) {
        test::writeBytes(path("cut.mri"), bytes.data(), cut);
        MRangeImage loaded;
        ASSERT_TRUE(loaded.loadMri(path("cut.mri").c_str())) << cut;
        expectConsistent(loaded, cut);
        if (cut >= 28) {
            EXPECT_EQ(loaded.pixelSizeRows(), image.pixelSizeRows());
        }
        if (cut >= HeaderSize) {
            EXPECT_EQ(loaded.pose(), image.pose());
        }
        if (loaded.size() == 0)
            continue;
        // Every pixel is either the saved one or invalid, but for the one
        // double that the end of the stream may have split.
        int foreign = 0;
        for (int i = 0; i < loaded.size(); ++i)
            foreign += std::memcmp(&loaded.values()[i], &image.values()[i], 8) != 0 && loaded[i] != MInvalid;
        EXPECT_LE(foreign, 1) << cut;
        if (cut >= HeaderSize + 4 + valuesSize) {
            EXPECT_EQ(std::memcmp(loaded.values(), image.values(), 30 * sizeof(double)), 0) << cut;
        }
    }
}

TEST_F(MriFile, TruncatedUncompressedFilesKeepWhatTheirHeaderHolds)
{
    std::mt19937 rng(17);
    const MRangeImage image = test::randomRangeImage(rng, 4, 3, true);
    ASSERT_TRUE(image.saveMriNoCompress(widePath("full.mri").c_str()));
    const Bytes bytes = test::readBytes(path("full.mri"));
    for (std::size_t cut = 0; cut < bytes.size(); ++cut) {
        test::writeBytes(path("cut.mri"), bytes.data(), cut);
        MRangeImage loaded;
        ASSERT_TRUE(loaded.loadMriNoCompress(widePath("cut.mri").c_str())) << cut;
        expectConsistent(loaded, cut);
        EXPECT_LE(std::uint64_t(loaded.size()) * 8, cut);
        if (cut >= HeaderSize) {
            EXPECT_EQ(loaded.pose(), image.pose());
            EXPECT_EQ(loaded.width(), 3) << cut;
        }
    }
}

TEST_F(MriFile, CorruptedFilesNeverReachBeyondWhatTheFileCanHold)
{
    std::mt19937 rng(8);
    const MRangeImage image = test::randomRangeImage(rng, 9, 8, true, 0.5);
    ASSERT_TRUE(image.saveMri(path("good.mri").c_str()));
    const Bytes good = test::readBytes(path("good.mri"));
    std::uniform_int_distribution<std::size_t> at(0, good.size() - 1);
    for (int trial = 0; trial < 3000; ++trial) {
        Bytes bad = good;
        for (int k = 0; k <= trial % 4; ++k)
            bad[at(rng)] = (unsigned char)rng();
        expectBothReadersConsistent(bad);
    }

    // Sizes no file of this length can back.
    const std::pair<std::size_t, std::int32_t> forged[] = {
        {4, INT_MAX}, {8, INT_MAX}, {4, -5}, {8, INT_MIN}, {HeaderSize, INT_MAX}, {HeaderSize, -1},
        {HeaderSize + 4 + std::size_t(fieldAt<std::int32_t>(good, HeaderSize)), INT_MAX}};
    for (const auto &[offset, value] : forged) {
        Bytes bad = good;
        test::setFieldAt(bad, offset, value);
        expectBothReadersConsistent(bad);
    }

    // Files without a length of their own read as empty ones.
    MRangeImage fromDevice;
    EXPECT_TRUE(fromDevice.loadMri("/dev/null"));
    EXPECT_EQ(fromDevice.size(), 0);
    EXPECT_TRUE(fromDevice.loadMri(m_dir.c_str()));
    EXPECT_EQ(fromDevice.size(), 0);
}

TEST_F(MriFile, UncompressedLayoutIsTheHeaderThenRawCountsAndArrays)
{
    std::mt19937 rng(9);
    const MRangeImage image = test::randomRangeImage(rng, 3, 2, true);
    ASSERT_TRUE(image.saveMriNoCompress(widePath("raw.mri").c_str()));
    const Bytes bytes = test::readBytes(path("raw.mri"));
    ASSERT_EQ(bytes.size(), HeaderSize + 4 + 48 + 4 + 24);
    EXPECT_EQ(fieldAt<std::int32_t>(bytes, 4), 2);
    EXPECT_EQ(fieldAt<std::int32_t>(bytes, 8), 3);
    EXPECT_EQ(fieldAt<std::int32_t>(bytes, HeaderSize), 6);
    EXPECT_EQ(std::memcmp(bytes.data() + HeaderSize + 4, image.values(), 48), 0);
    EXPECT_EQ(fieldAt<std::int32_t>(bytes, HeaderSize + 52), 6);
    EXPECT_EQ(std::memcmp(bytes.data() + HeaderSize + 56, image.colors(), 24), 0);

    MRangeImage plain = image;
    plain.clearColors();
    ASSERT_TRUE(plain.saveMriNoCompress(widePath("plain.mri").c_str()));
    const Bytes plainBytes = test::readBytes(path("plain.mri"));
    ASSERT_EQ(plainBytes.size(), HeaderSize + 4 + 48 + 4);
    EXPECT_EQ(fieldAt<std::int32_t>(plainBytes, HeaderSize + 52), 0);
}

TEST_F(MriFile, LoadMriNoCompressKeepsTheGeometryButNotTheValues)
{
    std::mt19937 rng(10);
    MRangeImage image = test::randomRangeImage(rng, 4, 6, false, 0.0);
    ASSERT_TRUE(image.saveMriNoCompress(widePath("geometry.mri").c_str()));
    MRangeImage loaded = test::randomRangeImage(rng, 2, 2, true, 0.0);
    ASSERT_TRUE(loaded.loadMriNoCompress(widePath("geometry.mri").c_str()));
    EXPECT_EQ(loaded.width(), 6);
    EXPECT_EQ(loaded.height(), 4);
    EXPECT_EQ(loaded.pose(), image.pose());
    EXPECT_EQ(loaded.pixelSizeRows(), image.pixelSizeRows());
    EXPECT_EQ(loaded.pixelSizeColumns(), image.pixelSizeColumns());
    EXPECT_EQ(loaded.worldToImageMatrix(), image.worldToImageMatrix());
    EXPECT_EQ(loaded.numValidPoints(), 0);
}

TEST_F(MriFile, LoadMriNoCompressReadsTheColourCountFromInsideTheValues)
{
    // The reader passes over 4 bytes for a 2x2 image, so the colour count is
    // the high half of the first value: 1.0 gives 0x3FF00000, -1.0 a negative count.
    MRangeImage image(2, 2);
    image.init(-1.0);
    image[0] = 1.0;
    ASSERT_TRUE(image.saveMriNoCompress(widePath("inside.mri").c_str()));
    MRangeImage loaded;
    ASSERT_TRUE(loaded.loadMriNoCompress(widePath("inside.mri").c_str()));
    ASSERT_TRUE(loaded.hasColors());
    EXPECT_EQ(loaded.color(3), MColor::LightGray);

    image[0] = -1.0;
    image.createColors(MColor::Red); // written, but never reached by the reader
    ASSERT_TRUE(image.saveMriNoCompress(widePath("inside.mri").c_str()));
    ASSERT_TRUE(loaded.loadMriNoCompress(widePath("inside.mri").c_str()));
    EXPECT_FALSE(loaded.hasColors());
}
