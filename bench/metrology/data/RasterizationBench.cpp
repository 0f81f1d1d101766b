// MRangeImage::from(cloud, box, ...) of a million scan points into a
// 1001 x 1001 grid, about one point per pixel, against hand-written loops on
// the same data: the same bilinear shares with the same validity tests, and
// the cheapest rasterisation there is, each point into its nearest pixel.
// Items are points, so the rate gives the time per point.
#include "MBox.h"
#include "MInvalid.h"
#include "MPointCloud.h"
#include "MRangeImage.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

using namespace ZOLAR3D;

namespace {

constexpr int Side = 1000;
constexpr double Step = 0.1;

struct Scene {
    MPointCloud cloud;
    MBox box;
};

// A profiler's scan of a wavy surface in a tilted box: rows of points in
// scan order, each jittered by up to half a pixel.
const Scene &scene()
{
    static const Scene built = [] {
        Scene s;
        const MVector3d size(Side * Step, Side * Step, 10.0);
        s.box = MBox(size, MMatrix4::Translation(20.0, -5.0, 300.0) * MMatrix4::FromEuler(0.2, -0.3, 0.9));
        const MMatrix4 toWorld = s.box.pose() * MMatrix4::Translation(size * -0.5);
        std::mt19937 rng(3);
        std::uniform_real_distribution<double> jitter(-0.5 * Step, 0.5 * Step);
        s.cloud.reservePointCapacity(Side * Side);
        for (int row = 0; row < Side; ++row) {
            for (int col = 0; col < Side; ++col) {
                const double x = (col + 0.5) * Step + jitter(rng), y = (row + 0.5) * Step + jitter(rng);
                s.cloud.add(toWorld * MVector3d(x, y, 5.0 + 2.0 * std::sin(x / 7.0) * std::cos(y / 5.0)));
            }
        }
        return s;
    }();
    return built;
}

// Image coordinates (row along the box's y, column along its x, height) of
// a point, relative to the box's minimum corner.
struct Frame {
    explicit Frame(const MBox &box)
        : origin(box.minCorner()), rowAxis(box.yDirection() / Step), colAxis(box.xDirection() / Step), zAxis(box.zDirection())
    {
    }
    MVector3d origin, rowAxis, colAxis, zAxis;
};

void FromCloudInBox(benchmark::State &state)
{
    const Scene &s = scene();
    MRangeImage image;
    for (auto _ : state) {
        image.from(s.cloud, s.box, Step, Step);
        benchmark::DoNotOptimize(image.values());
    }
    state.SetItemsProcessed(state.iterations() * s.cloud.size());
}

void InlineBilinearLoop(benchmark::State &state)
{
    const Scene &s = scene();
    const Frame f(s.box);
    const int height = Side + 1, width = Side + 1;
    struct Sum {
        double weight, z;
    };
    for (auto _ : state) {
        std::vector<Sum> sums(std::size_t(height) * width, Sum{0.0, 0.0});
        std::vector<double> values(sums.size(), MInvalid);
        for (const MVector3d *p = s.cloud.points(), *end = p + s.cloud.size(); p != end; ++p) {
            if (!p->isValid())
                continue;
            const MVector3d d = *p - f.origin;
            const double row = d.dot(f.rowAxis), col = d.dot(f.colAxis), z = d.dot(f.zAxis);
            if (!(row > -1.0 && row < height && col > -1.0 && col < width && std::isfinite(z)))
                continue;
            const double top = std::floor(row), left = std::floor(col);
            const int r0 = int(top), c0 = int(left);
            const double fr = row - top, fc = col - left;
            const double rowShare[2] = {1.0 - fr, fr}, colShare[2] = {1.0 - fc, fc};
            for (int dr = 0; dr < 2; ++dr) {
                const int r = r0 + dr;
                if (r < 0 || r >= height)
                    continue;
                for (int dc = 0; dc < 2; ++dc) {
                    const int c = c0 + dc;
                    const double w = rowShare[dr] * colShare[dc];
                    if (c < 0 || c >= width || w < 1e-9)
                        continue;
                    Sum &sum = sums[std::size_t(r) * width + c];
                    sum.weight += w;
                    sum.z += w * z;
                }
            }
        }
        for (std::size_t i = 0; i < sums.size(); ++i)
            if (sums[i].weight > 0.0)
                values[i] = sums[i].z / sums[i].weight;
        benchmark::DoNotOptimize(values.data());
    }
    state.SetItemsProcessed(state.iterations() * s.cloud.size());
}

void InlineNearestPixelLoop(benchmark::State &state)
{
    const Scene &s = scene();
    const Frame f(s.box);
    const int height = Side + 1, width = Side + 1;
    for (auto _ : state) {
        std::vector<double> sums(std::size_t(height) * width, 0.0);
        std::vector<int> counts(sums.size(), 0);
        for (const MVector3d *p = s.cloud.points(), *end = p + s.cloud.size(); p != end; ++p) {
            const MVector3d d = *p - f.origin;
            const int row = int(std::lround(d.dot(f.rowAxis))), col = int(std::lround(d.dot(f.colAxis)));
            if (row < 0 || row >= height || col < 0 || col >= width)
                continue;
            sums[std::size_t(row) * width + col] += d.dot(f.zAxis);
            ++counts[std::size_t(row) * width + col];
        }
        for (std::size_t i = 0; i < sums.size(); ++i)
            sums[i] = counts[i] > 0 ? sums[i] / counts[i] : MInvalid;
        benchmark::DoNotOptimize(sums.data());
    }
    state.SetItemsProcessed(state.iterations() * s.cloud.size());
}

} // namespace

BENCHMARK(FromCloudInBox)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(InlineBilinearLoop)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(InlineNearestPixelLoop)->Unit(benchmark::kMillisecond)->MinTime(2.0);
