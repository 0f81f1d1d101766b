// loadAsciiRgb on any bytes: a consistent cloud with an opaque colour per
// point, and a save and load that mirror z and keep sixteen digits.
#include "PointCloudFuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    ZOLAR3D::MPointCloud cloud;
    const bool loaded = cloud.loadAsciiRgb(fuzz::inputFile(data, size).c_str());
    fuzz::checkPointCloud(cloud, loaded, size);
    fuzz::require(cloud.numColors() == cloud.numPoints() && cloud.height() == 0, "a colour per point, unorganised");
    for (int i = 0; i < cloud.numColors(); ++i)
        fuzz::require(cloud.color(i).alpha() == 255, "colours are opaque");
    if (!loaded)
        return 0;

    static const std::wstring copy = fuzz::scratchFile("again.xyzrgb");
    ZOLAR3D::MPointCloud reloaded;
    fuzz::require(cloud.saveAsciiRgb(copy.c_str()), "the cloud saves");
    fuzz::require(reloaded.loadAsciiRgb(copy.c_str()) == (cloud.numValidPoints() > 0), "it loads when it had valid points");
    fuzz::require(fuzz::sameValidPoints(cloud, reloaded, [](const ZOLAR3D::MVector3d &p) {
                      return ZOLAR3D::MVector3d(fuzz::throughText(p.x(), 16), fuzz::throughText(p.y(), 16), -fuzz::throughText(p.z(), 16));
                  }),
                  "a round trip mirrors z and keeps sixteen digits");
    return 0;
}

void fuzz::writeSeeds(const std::string &folder)
{
    int n = 0;
    for (const ZOLAR3D::MPointCloud &cloud : seedClouds())
        cloud.saveAsciiRgb(seedName(folder, n++, ".xyzrgb").c_str());
}
