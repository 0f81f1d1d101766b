// loadPcd on any bytes: the header failure or a consistent cloud, the same
// answer with exceptions on, and a save and load that keep what PCD stores.
#include "MException.h"
#include "PointCloudFuzzSupport.h"

#include <fstream>

namespace {

const char HeaderUnknown[] = "The PCD file header is unknown or the version is not supported";

bool samePcdContent(const ZOLAR3D::MPointCloud &a, const ZOLAR3D::MPointCloud &b)
{
    if (a.numPoints() != b.numPoints() || a.height() != b.height() || a.width() != b.width() || a.hasColors() != b.hasColors())
        return false;
    for (int i = 0; i < a.numPoints(); ++i) {
        // Invalid points come back as the default point, valid ones bit for bit.
        const ZOLAR3D::MVector3d expected = a[i].isValid() ? a[i] : ZOLAR3D::MVector3d();
        for (int c = 0; c < 3; ++c)
            if (!fuzz::sameBits(b[i].data()[c], expected.data()[c]))
                return false;
        if (a.hasColors() && a.color(i) != b.color(i))
            return false;
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::wstring input = fuzz::inputFile(data, size);
    ZOLAR3D::MPointCloud cloud;
    const bool loaded = cloud.loadPcd(input.c_str());
    fuzz::checkPointCloud(cloud, loaded, size);

    ZOLAR3D::MException::Enable = true;
    try {
        ZOLAR3D::MPointCloud again;
        fuzz::require(again.loadPcd(input.c_str()) == loaded, "the same answer with exceptions on");
    } catch (const ZOLAR3D::MException &e) {
        fuzz::require(std::strcmp(e.message(), HeaderUnknown) == 0, "only the header failure is thrown");
    }
    ZOLAR3D::MException::Enable = false;
    if (!loaded)
        return 0;

    static const std::wstring copy = fuzz::scratchFile("again.pcd");
    ZOLAR3D::MPointCloud reloaded;
    fuzz::require(cloud.savePcd(copy.c_str(), 2) && reloaded.loadPcd(copy.c_str()), "the cloud saves and loads again");
    fuzz::require(samePcdContent(cloud, reloaded), "a round trip keeps what the file stores");
    return 0;
}

void fuzz::writeSeeds(const std::string &folder)
{
    int n = 0;
    for (const ZOLAR3D::MPointCloud &cloud : seedClouds()) {
        cloud.savePcd(seedName(folder, n++, ".pcd").c_str(), 2);
        cloud.savePcd(seedName(folder, n++, ".pcd").c_str(), 1);
    }
    // The writer compresses; the other two body modes come from the Point
    // Cloud Library's own habits: comments, padding and fields after rgb.
    std::ofstream(seedName(folder, n++, ".pcd"), std::ios::binary)
        << "# .PCD v0.7\nVERSION 0.7\nFIELDS x y z rgb _\nSIZE 4 4 4 4 1\nTYPE F F F U U\nCOUNT 1 1 1 1 4\n"
           "WIDTH 2\nHEIGHT 1\nVIEWPOINT 0 0 0 1 0 0 0\nPOINTS 2\nDATA ascii\n1 2 3 4278190335 0 0 0 0\n"
           "nan nan nan 0 0 0 0 0\n";
    std::ofstream binary(seedName(folder, n++, ".pcd"), std::ios::binary);
    binary << "VERSION .7\r\nFIELDS x y z rgb normal_x\r\nSIZE 8 8 8 4 4\r\nTYPE F F F F F\r\nCOUNT 1 1 1 1 1\r\n"
              "WIDTH 1\r\nHEIGHT 2\r\nVIEWPOINT 0 0 0 1 0 0 0\r\nPOINTS 2\r\nDATA binary\r\n";
    const double xyz[] = {1.5, -2.5, 1e300};
    const float rest[] = {1.0f, 0.5f};
    for (int i = 0; i < 2; ++i) {
        binary.write(reinterpret_cast<const char *>(xyz), sizeof xyz);
        binary.write(reinterpret_cast<const char *>(rest), sizeof rest);
    }
}
