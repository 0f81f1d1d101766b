// PCD files written by the Point Cloud Library and by Open3D, read by the
// library and compared with a small decoder of the format written here.
#include "FileBytes.h"
#include "MPointCloud.h"
#include "PointCloudSamples.h"
#include "TestSupport.h"

#include <gtest/gtest.h>
#include <lzf.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

using namespace ZOLAR3D;
using test::Bytes;

namespace {

const char *const DataFiles[] = {
    "pcl_test/bun0.pcd",       "pcl_test/bun4.pcd",        "pcl_test/bunny.pcd",
    "pcl_test/car6.pcd",       "pcl_test/colored_cloud.pcd", "pcl_test/lamppost.pcd",
    "pcl_test/milk.pcd",       "pcl_test/milk_color.pcd",   "pcl_test/noisy_slice_displaced.pcd",
    "pcl_test/sac_plane_test.pcd", "pcl_test/table_scene_mug_stereo_textured.pcd", "pcl_data/object_template_0.pcd",
    "pcl_data/person.pcd",     "pcl_data/room_scan1.pcd",   "pcl_data/room_scan2.pcd",
    "open3d/Feature_cloud_bin_0.pcd", "open3d/Feature_cloud_bin_1.pcd", "open3d/fragment.pcd"};

// What a file holds, decoded by the format's own layout: header values,
// then per point the three coordinates and the 32 bits of an "rgb" field.
struct Decoded {
    std::vector<std::string> fields;
    std::vector<int> sizes, counts;
    std::vector<char> types;
    int width = 0, height = 0, points = 0;
    bool viewpoint = false;
    std::string mode;
    std::vector<MVector3d> xyz;
    std::vector<std::uint32_t> rgb;
    // The fields besides x, y, z and rgb that a compressed block leaves out.
    bool hasOtherFields = false;

    int indexOf(const std::string &name) const
    {
        for (std::size_t i = 0; i < fields.size(); ++i)
            if (fields[i] == name)
                return int(i);
        return -1;
    }
};

template <class T>
T at(const unsigned char *bytes)
{
    T value;
    std::memcpy(&value, bytes, sizeof(T));
    return value;
}

double realAt(const unsigned char *bytes, int size) { return size == 8 ? at<double>(bytes) : double(at<float>(bytes)); }

void decodeAscii(Decoded &d, std::istream &body)
{
    // The first token of a field is the sum of the counts in front of it.
    std::vector<int> firstToken(d.fields.size() + 1, 0);
    for (std::size_t f = 0; f < d.fields.size(); ++f)
        firstToken[f + 1] = firstToken[f] + d.counts[f];
    const int x = d.indexOf("x"), rgb = d.indexOf("rgb");
    std::string line;
    while (int(d.xyz.size()) < d.points && std::getline(body, line)) {
        std::istringstream tokens(line);
        std::vector<std::string> t{std::istream_iterator<std::string>(tokens), {}};
        d.xyz.emplace_back(std::strtod(t[firstToken[x]].c_str(), nullptr), std::strtod(t[firstToken[x + 1]].c_str(), nullptr),
                           std::strtod(t[firstToken[x + 2]].c_str(), nullptr));
        if (rgb >= 0) {
            const std::string &token = t[firstToken[rgb]];
            const float packed = std::strtof(token.c_str(), nullptr);
            d.rgb.push_back(d.types[rgb] == 'U' ? std::uint32_t(std::strtoull(token.c_str(), nullptr, 10)) : at<std::uint32_t>(
                                                                                                             reinterpret_cast<const unsigned char *>(&packed)));
        }
    }
}

void decodeBinary(Decoded &d, const unsigned char *body, std::size_t size)
{
    std::vector<std::size_t> offsets(d.fields.size() + 1, 0);
    for (std::size_t f = 0; f < d.fields.size(); ++f)
        offsets[f + 1] = offsets[f] + std::size_t(d.sizes[f] * d.counts[f]);
    const std::size_t record = offsets.back();
    ASSERT_GE(size, record * std::size_t(d.points));
    const int x = d.indexOf("x"), rgb = d.indexOf("rgb");
    for (int i = 0; i < d.points; ++i) {
        const unsigned char *r = body + std::size_t(i) * record;
        d.xyz.emplace_back(realAt(r + offsets[x], d.sizes[x]), realAt(r + offsets[x + 1], d.sizes[x + 1]),
                           realAt(r + offsets[x + 2], d.sizes[x + 2]));
        if (rgb >= 0)
            d.rgb.push_back(at<std::uint32_t>(r + offsets[rgb]));
    }
}

void decodeCompressed(Decoded &d, const unsigned char *body, std::size_t size)
{
    ASSERT_GE(size, 8u);
    const auto compressed = at<std::uint32_t>(body), uncompressed = at<std::uint32_t>(body + 4);
    ASSERT_GE(size, 8u + compressed);
    Bytes block(uncompressed);
    ASSERT_EQ(lzf_decompress(body + 8, compressed, block.data(), uncompressed), uncompressed);
    std::vector<std::size_t> offsets(d.fields.size() + 1, 0);
    for (std::size_t f = 0; f < d.fields.size(); ++f)
        offsets[f + 1] = offsets[f] + std::size_t(d.sizes[f] * d.counts[f] * d.points);
    const int x = d.indexOf("x"), rgb = d.indexOf("rgb");
    for (int i = 0; i < d.points; ++i) {
        double c[3];
        for (int k = 0; k < 3; ++k)
            c[k] = realAt(block.data() + offsets[x + k] + std::size_t(i * d.sizes[x + k]), d.sizes[x + k]);
        d.xyz.emplace_back(c[0], c[1], c[2]);
        if (rgb >= 0)
            d.rgb.push_back(at<std::uint32_t>(block.data() + offsets[rgb] + std::size_t(i) * 4));
    }
}

Decoded decode(const std::string &file)
{
    const Bytes bytes = test::readBytes(file);
    std::string text(bytes.begin(), bytes.end());
    std::istringstream in(text);
    Decoded d;
    std::string line;
    while (d.mode.empty() && std::getline(in, line)) {
        std::istringstream words(line);
        std::string key;
        words >> key;
        if (key == "FIELDS")
            d.fields.assign(std::istream_iterator<std::string>(words), {});
        std::string value;
        while (words >> value) {
            if (key == "SIZE")
                d.sizes.push_back(std::stoi(value));
            else if (key == "COUNT")
                d.counts.push_back(std::stoi(value));
            else if (key == "TYPE")
                d.types.push_back(value[0]);
            else if (key == "WIDTH")
                d.width = std::stoi(value);
            else if (key == "HEIGHT")
                d.height = std::stoi(value);
            else if (key == "POINTS")
                d.points = std::stoi(value);
            else if (key == "DATA")
                d.mode = value;
        }
        d.viewpoint = d.viewpoint || key == "VIEWPOINT";
    }
    for (const std::string &field : d.fields)
        d.hasOtherFields = d.hasOtherFields || (field != "x" && field != "y" && field != "z" && field != "rgb");
    const auto bodyAt = std::size_t(in.tellg());
    if (d.mode == "ascii")
        decodeAscii(d, in);
    else if (d.mode == "binary")
        decodeBinary(d, bytes.data() + bodyAt, bytes.size() - bodyAt);
    else
        decodeCompressed(d, bytes.data() + bodyAt, bytes.size() - bodyAt);
    return d;
}

bool sameCoordinate(double a, double b) { return (std::isnan(a) && std::isnan(b)) || test::bitsOf(a) == test::bitsOf(b); }

std::string dataFolderOrSkip() { return test::dataFile("MANIFEST.md"); }

} // namespace

TEST(PcdData, EveryFileReadsAsItsOwnLayoutSays)
{
    if (dataFolderOrSkip().empty())
        GTEST_SKIP() << "shared data folder absent";
    for (const char *name : DataFiles) {
        SCOPED_TRACE(name);
        const std::string file = test::dataFile(name);
        ASSERT_FALSE(file.empty());
        const Decoded d = decode(file);
        ASSERT_EQ(int(d.xyz.size()), d.points);

        MPointCloud cloud;
        if (!d.viewpoint) {
            // Version .5 files of the Point Cloud Library have no VIEWPOINT.
            EXPECT_FALSE(cloud.loadPcd(file.c_str()));
            test::ScopedExceptions on;
            EXPECT_MEXCEPTION(cloud.loadPcd(file.c_str()), "The PCD file header is unknown or the version is not supported");
            continue;
        }
        ASSERT_TRUE(cloud.loadPcd(file.c_str()));
        ASSERT_EQ(cloud.numPoints(), d.points);
        EXPECT_EQ(cloud.isOrganized2d(), d.height > 1);
        if (d.height > 1) {
            EXPECT_EQ(cloud.height(), d.height);
            EXPECT_EQ(cloud.width(), d.width);
        }
        EXPECT_EQ(cloud.hasColors(), d.indexOf("rgb") >= 0);
        EXPECT_EQ(cloud.numNormals(), 0);

        const bool compressed = d.mode == "binary_compressed";
        // A compressed block leaves out other fields, so that the stream of
        // a file with them is cut short: the last run stays unread.
        const bool cut = compressed && d.hasOtherFields;
        int unread = 0;
        for (int i = 0; i < d.points; ++i) {
            for (int c = 0; c < 3; ++c) {
                const double expected = d.xyz[std::size_t(i)].data()[c];
                const double got = cloud[i].data()[c];
                if (compressed && std::isnan(expected)) {
                    ASSERT_EQ(got, MInvalid) << i;
                } else if (cut && got == MInvalid) {
                    ASSERT_GE(i, d.points - 66) << i;
                    ++unread;
                } else {
                    ASSERT_TRUE(sameCoordinate(got, expected)) << i << " " << c << ": " << got << " " << expected;
                }
            }
            if (cloud.hasColors()) {
                ASSERT_EQ(cloud.color(i).argb(), d.rgb[std::size_t(i)]) << i;
            }
        }
        EXPECT_LT(unread, 66);
    }
}

TEST(PcdData, SamplesKnownFromTheAsciiText)
{
    if (dataFolderOrSkip().empty())
        GTEST_SKIP() << "shared data folder absent";
    MPointCloud cloud;
    ASSERT_TRUE(cloud.loadPcd(test::dataFile("pcl_test/bun0.pcd").c_str()));
    EXPECT_EQ(cloud[0], MVector3d(0.0054215998, 0.11349, 0.040748999));
    EXPECT_EQ(cloud[396].isValid(), true);
    ASSERT_TRUE(cloud.loadPcd(test::dataFile("pcl_test/lamppost.pcd").c_str()));
    EXPECT_EQ(cloud[0], MVector3d(-10, 0, 0));
    EXPECT_EQ(cloud[1], MVector3d(-10.015625, 0, 0.042999268));
    // Padding fields behind z take four tokens and change nothing.
    ASSERT_TRUE(cloud.loadPcd(test::dataFile("pcl_data/object_template_0.pcd").c_str()));
    EXPECT_EQ(cloud[0], MVector3d(-0.15265, 0.0388, 0.691));
}

TEST(PcdData, OpenThreeDColoursKeepTheirFloatBits)
{
    // Open3D writes rgb as a float whose bits are 0x00RRGGBB: the colours
    // come back with alpha 0, as stored.
    if (dataFolderOrSkip().empty())
        GTEST_SKIP() << "shared data folder absent";
    MPointCloud cloud;
    ASSERT_TRUE(cloud.loadPcd(test::dataFile("open3d/fragment.pcd").c_str()));
    ASSERT_TRUE(cloud.hasColors());
    for (int i = 0; i < cloud.numPoints(); i += 97)
        ASSERT_EQ(cloud.color(i).alpha(), 0) << i;
}

TEST(PcdData, RealCloudsSurviveTheWriter)
{
    if (dataFolderOrSkip().empty())
        GTEST_SKIP() << "shared data folder absent";
    const std::string dir = test::scratchDir("pcddata");
    for (const char *name : {"pcl_test/table_scene_mug_stereo_textured.pcd", "pcl_test/colored_cloud.pcd", "open3d/fragment.pcd",
                             "pcl_data/object_template_0.pcd"}) {
        SCOPED_TRACE(name);
        MPointCloud cloud;
        ASSERT_TRUE(cloud.loadPcd(test::dataFile(name).c_str()));
        for (int precision : {1, 2}) {
            ASSERT_TRUE(cloud.savePcd((dir + "/again.pcd").c_str(), precision));
            MPointCloud again;
            ASSERT_TRUE(again.loadPcd((dir + "/again.pcd").c_str()));
            ASSERT_EQ(again.numPoints(), cloud.numPoints());
            EXPECT_EQ(again.height(), cloud.height());
            EXPECT_EQ(again.width(), cloud.width());
            EXPECT_EQ(again.hasColors(), cloud.hasColors());
            // Precision 2 keeps every valid point; 1 narrows it, which the
            // binary files, holding floats, do not notice.
            for (int i = 0; i < cloud.numPoints(); ++i) {
                const MVector3d &p = cloud[i];
                const MVector3d stored = precision == 2 ? p : MVector3d(float(p.x()), float(p.y()), float(p.z()));
                ASSERT_TRUE(test::samePoint(again[i], p.isValid() ? stored : MVector3d())) << i;
                if (cloud.hasColors()) {
                    ASSERT_EQ(again.color(i), cloud.color(i));
                }
            }
        }
    }
}
