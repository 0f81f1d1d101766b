// loadPng on any bytes: true or false, a consistent image when true, and
// 16-bit samples that survive a second save and load unchanged.
#include "FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    ZOLAR3D::MRangeImage image;
    if (!image.loadPng(fuzz::inputFile(data, size).c_str(), 1.0, 1.0, 1.0))
        return 0;
    fuzz::checkRangeImage(image);

    // With unit Z scale and resolution every sample maps to itself.
    static const std::wstring again = fuzz::scratchFile("again.png");
    ZOLAR3D::MRangeImage reloaded;
    fuzz::require(image.savePng(again.c_str(), 1.0) && reloaded.loadPng(again.c_str(), 1.0, 1.0, 1.0),
                  "the image saves and loads again");
    fuzz::require(fuzz::sameStoredGeometryAndValues(image, reloaded), "a second round trip keeps the samples");
    return 0;
}

void fuzz::writeSeeds(const std::string &folder)
{
    int n = 0;
    for (const ZOLAR3D::MRangeImage &image : seedImages())
        image.savePng((folder + "/seed" + std::to_string(n++) + ".png").c_str(), 0.1);
}
