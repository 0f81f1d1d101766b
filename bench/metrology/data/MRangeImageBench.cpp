// MRangeImage::distance of 10 million world points against an inline loop
// of the same arithmetic: world to image, quad lookup with its validity test,
// and the interpolation over the quad's two triangles.
#include "MInvalid.h"
#include "MRangeImage.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

using namespace ZOLAR3D;

namespace {

constexpr int NumPoints = 10'000'000;

struct Scene {
    MRangeImage image;
    std::vector<MVector3d> points;
};

const Scene &scene()
{
    static const Scene built = [] {
        Scene s;
        s.image.resize(1000, 1200);
        for (int row = 0; row < 1000; ++row)
            for (int col = 0; col < 1200; ++col)
                s.image(row, col) = (row * col) % 97 == 0 ? MInvalid : 3.0 * std::sin(row / 50.0) * std::cos(col / 70.0);
        s.image.setPixelSize(0.1, 0.12);
        s.image.setPose(MMatrix4::Translation(5.0, -3.0, 40.0) * MMatrix4::AxisAngleRotation(MVector3d(0.2, 1.0, 0.3), 0.4));
        std::mt19937 rng(1);
        std::uniform_real_distribution<double> x(-10.0, 1210.0), y(-10.0, 1010.0), z(-5.0, 5.0);
        s.points.reserve(NumPoints);
        for (int i = 0; i < NumPoints; ++i)
            s.points.push_back(s.image.imageToWorldMatrix() * MVector3d(x(rng), y(rng), z(rng)));
        return s;
    }();
    return built;
}

void Distance(benchmark::State &state)
{
    const Scene &s = scene();
    for (auto _ : state) {
        double sum = 0.0;
        for (const MVector3d &p : s.points) {
            const double d = s.image.distance(p);
            sum += d != MInvalid ? d : 0.0;
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * NumPoints);
}

void InlineLoop(benchmark::State &state)
{
    const Scene &s = scene();
    const double *m = s.image.worldToImageMatrix().data();
    const double *z = s.image.values();
    const int width = s.image.width(), height = s.image.height();
    const double slope = s.image.maxZSlope() >= 0.0 ? s.image.maxZSlope() : MRangeImage::MaxZSlope;
    const double limitColumns = slope * s.image.pixelSizeColumns(), limitRows = slope * s.image.pixelSizeRows();
    for (auto _ : state) {
        double sum = 0.0;
        for (const MVector3d &p : s.points) {
            const double x = m[0] * p.x() + m[1] * p.y() + m[2] * p.z() + m[3];
            const double y = m[4] * p.x() + m[5] * p.y() + m[6] * p.z() + m[7];
            if (!(x > 0.0 && y > 0.0 && x < width && y < height))
                continue;
            const int col = int(x), row = int(y);
            if (row + 1 >= height || col + 1 >= width)
                continue;
            const double *q = z + std::ptrdiff_t(row) * width + col;
            const double z0 = q[0], z1 = q[1], z2 = q[width], z3 = q[width + 1];
            if (z0 == MInvalid || z1 == MInvalid || z2 == MInvalid || z3 == MInvalid)
                continue;
            if (!(std::fabs(z3 - z2) < limitColumns && std::fabs(z1 - z0) < limitColumns &&
                  std::fabs(z2 - z0) < limitRows && std::fabs(z3 - z1) < limitRows))
                continue;
            const double fx = x - col, fy = y - row;
            const double zi = fx > fy ? z0 + (fx - fy) * (z1 - z0) + fy * (z3 - z0) : z0 + fx * (z3 - z0) + (fy - fx) * (z2 - z0);
            sum += m[8] * p.x() + m[9] * p.y() + m[10] * p.z() + m[11] - zi;
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * NumPoints);
}

} // namespace

BENCHMARK(Distance)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(InlineLoop)->Unit(benchmark::kMillisecond)->MinTime(2.0);
