// loadAscii on any bytes: a consistent cloud, and a save and load that keep
// every point to the eight digits of the file.
#include "PointCloudFuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    ZOLAR3D::MPointCloud cloud;
    const bool loaded = cloud.loadAscii(fuzz::inputFile(data, size).c_str());
    fuzz::checkPointCloud(cloud, loaded, size);
    fuzz::require(cloud.numColors() == 0 && cloud.height() == 0, "points only, unorganised");
    if (!loaded)
        return 0;

    static const std::wstring copy = fuzz::scratchFile("again.txt");
    ZOLAR3D::MPointCloud reloaded;
    fuzz::require(cloud.saveAscii(copy.c_str()), "the cloud saves");
    fuzz::require(reloaded.loadAscii(copy.c_str()) == (cloud.numValidPoints() > 0), "it loads when it had valid points");
    fuzz::require(fuzz::sameValidPoints(cloud, reloaded, [](const ZOLAR3D::MVector3d &p) {
                      return ZOLAR3D::MVector3d(fuzz::throughText(p.x(), 8), fuzz::throughText(p.y(), 8), fuzz::throughText(p.z(), 8));
                  }),
                  "a round trip keeps eight digits");
    return 0;
}

void fuzz::writeSeeds(const std::string &folder)
{
    int n = 0;
    for (const ZOLAR3D::MPointCloud &cloud : seedClouds())
        cloud.saveAscii(seedName(folder, n++, ".txt").c_str());
}
