// Growth of the point array by single adds against std::vector::push_back,
// with and without reserving the final size first.
#include "MVector3dArray.h"

#include <benchmark/benchmark.h>

#include <vector>

using namespace ZOLAR3D;

namespace {

constexpr int NumPoints = 10'000'000;

void ArrayAdd(benchmark::State &state)
{
    const bool reserve = state.range(0) != 0;
    for (auto _ : state) {
        MVector3dArray points;
        if (reserve)
            points.reserveCapacity(NumPoints);
        for (int i = 0; i < NumPoints; ++i)
            points.add(MVector3d(i, 0.5 * i, 2.0 * i));
        benchmark::DoNotOptimize(points.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * NumPoints);
}

void VectorPushBack(benchmark::State &state)
{
    const bool reserve = state.range(0) != 0;
    for (auto _ : state) {
        std::vector<MVector3d> points;
        if (reserve)
            points.reserve(NumPoints);
        for (int i = 0; i < NumPoints; ++i)
            points.push_back(MVector3d(i, 0.5 * i, 2.0 * i));
        benchmark::DoNotOptimize(points.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * NumPoints);
}

} // namespace

BENCHMARK(ArrayAdd)->ArgName("reserved")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(VectorPushBack)->ArgName("reserved")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
