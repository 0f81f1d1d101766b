// loadMriNoCompress on any bytes: true, a consistent image, and no more
// pixels than the file could hold as raw doubles.
#include "FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    ZOLAR3D::MRangeImage image;
    fuzz::require(image.loadMriNoCompress(fuzz::inputFile(data, size).c_str()), "a file that opens loads");
    fuzz::checkRangeImage(image);
    fuzz::require(std::uint64_t(image.size()) * sizeof(double) <= size, "pixels within the file");
    return 0;
}

void fuzz::writeSeeds(const std::string &folder)
{
    int n = 0;
    for (const ZOLAR3D::MRangeImage &image : seedImages()) {
        const std::string path = folder + "/seed" + std::to_string(n++) + ".mri";
        image.saveMriNoCompress(std::wstring(path.begin(), path.end()).c_str());
    }
}
