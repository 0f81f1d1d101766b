// loadObj on any bytes: a consistent cloud, and a save and load that keep
// every point to the sixteen digits of the file.
#include "PointCloudFuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    ZOLAR3D::MPointCloud cloud;
    const bool loaded = cloud.loadObj(fuzz::inputFile(data, size).c_str());
    fuzz::checkPointCloud(cloud, loaded, size);
    fuzz::require(cloud.numColors() == 0 && cloud.height() == 0, "points only, unorganised");
    if (!loaded)
        return 0;

    static const std::wstring copy = fuzz::scratchFile("again.obj");
    ZOLAR3D::MPointCloud reloaded;
    fuzz::require(cloud.saveObj(copy.c_str()), "the cloud saves");
    fuzz::require(reloaded.loadObj(copy.c_str()) == (cloud.numValidPoints() > 0), "it loads when it had valid points");
    fuzz::require(fuzz::sameValidPoints(cloud, reloaded, [](const ZOLAR3D::MVector3d &p) {
                      return ZOLAR3D::MVector3d(fuzz::throughText(p.x(), 16), fuzz::throughText(p.y(), 16), fuzz::throughText(p.z(), 16));
                  }),
                  "a round trip keeps sixteen digits");
    return 0;
}

void fuzz::writeSeeds(const std::string &folder)
{
    int n = 0;
    for (const ZOLAR3D::MPointCloud &cloud : seedClouds())
        cloud.saveObj(seedName(folder, n++, ".obj").c_str());
}
