// loadMri on any bytes: true, a consistent image, no more pixels than the
// stream can decode to, and a second save and load that keeps what it stored.
#include "FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    ZOLAR3D::MRangeImage image;
    fuzz::require(image.loadMri(fuzz::inputFile(data, size).c_str()), "a file that opens loads");
    fuzz::checkRangeImage(image);
    fuzz::require(std::uint64_t(image.size()) * sizeof(double) <= 88 * std::uint64_t(size), "pixels within LZF's reach");

    static const std::wstring again = fuzz::scratchFile("again.mri");
    ZOLAR3D::MRangeImage reloaded;
    fuzz::require(image.saveMri(again.c_str()) && reloaded.loadMri(again.c_str()), "the image saves and loads again");
    fuzz::require(fuzz::sameStoredGeometryAndValues(image, reloaded), "a second round trip keeps the image");
    return 0;
}

void fuzz::writeSeeds(const std::string &folder)
{
    int n = 0;
    for (const ZOLAR3D::MRangeImage &image : seedImages())
        image.saveMri((folder + "/seed" + std::to_string(n++) + ".mri").c_str());
}
