// The orthogonal-distance cylinder and sphere of a million-point scan. Each
// fit is set against one plain pass that sums the squared distances of the
// points from the known shape: the floor of a single solver pass. The
// counters give the solver steps the fit tried and the fit's time in such
// passes.
#include "MCylinder.h"
#include "MCylinderFit.h"
#include "MPointCloud.h"
#include "MSphere.h"
#include "MSphereFit.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <random>

using namespace ZOLAR3D;

namespace {

constexpr int NumPoints = 1'000'000;
constexpr double Pi = 3.141592653589793;

// The known shapes, far from the origin and tilted.
const MCylinder TrueCylinder(MVector3d(1200.0, -800.0, 450.0), MVector3d(0.3, -0.2, 1.0), 25.0, 100.0);
const MSphere TrueSphere(MVector3d(-700.0, 1500.0, 300.0), 40.0);

// Noise of 0.01 in each coordinate, as of a good scanner.
class Scan {
public:
    explicit Scan(unsigned seed) : m_random(seed), m_noise(0.0, 0.01), m_unit(0.0, 1.0) {}
    double unit() { return m_unit(m_random); }
    MVector3d noise() { return {m_noise(m_random), m_noise(m_random), m_noise(m_random)}; }

private:
    std::mt19937 m_random;
    std::normal_distribution<double> m_noise;
    std::uniform_real_distribution<double> m_unit;
};

// The whole mantle over the cylinder's length.
const MPointCloud &cylinderScan()
{
    static const MPointCloud cloud = [] {
        Scan scan(11);
        const MVector3d w = TrueCylinder.direction();
        const MVector3d u = MVector3d::PerpendicularTo(w).normalized(), v = w.cross(u);
        MPointCloud c;
        c.reservePointCapacity(NumPoints);
        for (int i = 0; i < NumPoints; ++i) {
            const double t = 2 * Pi * scan.unit(), h = TrueCylinder.length() * (scan.unit() - 0.5);
            const double r = TrueCylinder.radius();
            c.add(TrueCylinder.position() + w * h + u * (r * std::cos(t)) + v * (r * std::sin(t)) + scan.noise());
        }
        return c;
    }();
    return cloud;
}

// A cap of 120 degrees, as a probe sees a ball from one side.
const MPointCloud &sphereScan()
{
    static const MPointCloud cloud = [] {
        Scan scan(12);
        MPointCloud c;
        c.reservePointCapacity(NumPoints);
        const double lowest = std::cos(Pi / 3);
        for (int i = 0; i < NumPoints; ++i) {
            const double z = lowest + (1.0 - lowest) * scan.unit(), t = 2 * Pi * scan.unit();
            const double ring = std::sqrt(1.0 - z * z);
            const MVector3d direction(ring * std::cos(t), ring * std::sin(t), z);
            c.add(TrueSphere.position() + direction * TrueSphere.radius() + scan.noise());
        }
        return c;
    }();
    return cloud;
}

template <class Shape>
double sumOfSquaredDistances(const Shape &shape, const MPointCloud &cloud)
{
    const MVector3d *p = cloud.points();
    double sum = 0.0;
    for (int i = 0; i < cloud.numPoints(); ++i) {
        const double d = shape.distance(p[i]);
        sum += d * d;
    }
    return sum;
}

template <class Fit>
int solverSteps(const MPointCloud &cloud)
{
    Fit fit;
    fit.setPoints(cloud);
    fit.compute(0.0);
    return fit.numIterations();
}

void BM_FitCylinder(benchmark::State &state)
{
    const MPointCloud &cloud = cylinderScan();
    for (auto _ : state) {
        const MCylinder cylinder = cloud.fitCylinder(0.0);
        benchmark::DoNotOptimize(cylinder);
    }
    state.SetItemsProcessed(state.iterations() * NumPoints);
    state.counters["solverSteps"] = solverSteps<MCylinderFit>(cloud);
}
BENCHMARK(BM_FitCylinder)->Unit(benchmark::kMillisecond);

void BM_CylinderDistancePassPlainLoop(benchmark::State &state)
{
    const MPointCloud &cloud = cylinderScan();
    for (auto _ : state)
        benchmark::DoNotOptimize(sumOfSquaredDistances(TrueCylinder, cloud));
    state.SetItemsProcessed(state.iterations() * NumPoints);
}
BENCHMARK(BM_CylinderDistancePassPlainLoop)->Unit(benchmark::kMillisecond);

void BM_FitSphere(benchmark::State &state)
{
    const MPointCloud &cloud = sphereScan();
    for (auto _ : state) {
        const MSphere sphere = cloud.fitSphere(0.0);
        benchmark::DoNotOptimize(sphere);
    }
    state.SetItemsProcessed(state.iterations() * NumPoints);
    state.counters["solverSteps"] = solverSteps<MSphereFit>(cloud);
}
BENCHMARK(BM_FitSphere)->Unit(benchmark::kMillisecond);

void BM_SphereDistancePassPlainLoop(benchmark::State &state)
{
    const MPointCloud &cloud = sphereScan();
    for (auto _ : state)
        benchmark::DoNotOptimize(sumOfSquaredDistances(TrueSphere, cloud));
    state.SetItemsProcessed(state.iterations() * NumPoints);
}
BENCHMARK(BM_SphereDistancePassPlainLoop)->Unit(benchmark::kMillisecond);

} // namespace
