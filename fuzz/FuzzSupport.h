#pragma once

#include "MRangeImage.h"

#include <cstring>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>
#include <vector>

namespace fuzz {

// Defined by each fuzz source: the seed files of its reader.
void writeSeeds(const std::string &folder);

// Fails the run loudly: libFuzzer records the input as a crash.
inline void require(bool condition, const char *what)
{
    if (!condition) {
        std::fprintf(stderr, "fuzz check failed: %s\n", what);
        std::abort();
    }
}

// The readers take paths, so every input goes through one scratch file per
// process, in memory where the system offers a memory file system.
inline std::wstring scratchFile(const char *name)
{
    const char *folder = ::access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
    const std::string narrow = std::string(folder) + "/zol3d_fuzz_" + std::to_string(::getpid()) + "_" + name;
    return std::wstring(narrow.begin(), narrow.end());
}

inline std::wstring inputFile(const std::uint8_t *data, std::size_t size)
{
    static const std::wstring path = scratchFile("input");
    const std::string narrow(path.begin(), path.end());
    std::FILE *file = std::fopen(narrow.c_str(), "wb");
    require(file != nullptr, "scratch file opens");
    require(size == 0 || std::fwrite(data, 1, size, file) == size, "scratch file takes the input");
    std::fclose(file);
    return path;
}

// What any loaded range image must satisfy, and a walk over everything a
// caller can reach through its grid.
inline void checkRangeImage(const ZOLAR3D::MRangeImage &image)
{
    require(image.width() >= 0 && image.height() >= 0, "grid is not negative");
    require(std::int64_t(image.width()) * image.height() == image.size(), "grid matches the values");
    require(!image.hasColors() || image.size() > 0, "colours only with pixels");
    volatile double sink = image.numValidPoints() + image.numValidQuads();
    for (int i = 0; i < image.size(); i += 1 + image.size() / 64) {
        sink = sink + image.worldPoint(i).x() + image.localNormal(i).x() + (image.hasColors() ? image.color(i).argb() : 0u);
        sink = sink + image.distance(image.imageToWorldMatrix() * ZOLAR3D::MVector3d(i % 7 + 0.5, i % 5 + 0.5, 0.0));
    }
}

// Grid, pixel sizes, pose and values of two images agree bit for bit.
inline bool sameStoredGeometryAndValues(const ZOLAR3D::MRangeImage &a, const ZOLAR3D::MRangeImage &b)
{
    const double sizesA[] = {a.pixelSizeRows(), a.pixelSizeColumns()};
    const double sizesB[] = {b.pixelSizeRows(), b.pixelSizeColumns()};
    return a.width() == b.width() && a.height() == b.height() && std::memcmp(sizesA, sizesB, sizeof sizesA) == 0 &&
           std::memcmp(a.pose().data(), b.pose().data(), 16 * sizeof(double)) == 0 &&
           (a.size() == 0 || std::memcmp(a.values(), b.values(), std::size_t(a.size()) * sizeof(double)) == 0);
}

// A few small images that exercise invalid runs, colours and odd shapes.
inline std::vector<ZOLAR3D::MRangeImage> seedImages()
{
    std::vector<ZOLAR3D::MRangeImage> images;
    images.emplace_back();
    for (const auto &shape : {std::pair{1, 1}, std::pair{3, 4}, std::pair{8, 8}, std::pair{2, 17}}) {
        ZOLAR3D::MRangeImage image(shape.first, shape.second);
        for (int i = 0; i < image.size(); ++i)
            if (i % 5 != 3)
                image[i] = 0.25 * i - 1.0;
        image.setPixelSize(0.5, 0.75);
        images.push_back(image);
        image.createColors(ZOLAR3D::MColor::Orange);
        image.setColor(0, ZOLAR3D::MColor::Blue);
        images.push_back(image);
    }
    return images;
}

} // namespace fuzz
