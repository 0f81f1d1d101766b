// MRI save and load of a 4096 x 4096 range image against the bare LZF
// compression and decompression of its value payload, the floor that the
// format's single LZF block sets. Files go to /dev/shm where it exists, so
// that the disk does not enter the ratio.
#include "MInvalid.h"
#include "MRangeImage.h"

#include <benchmark/benchmark.h>
#include <lzf.h>

#include <cmath>
#include <memory>
#include <string>
#include <unistd.h>

using namespace ZOLAR3D;

namespace {

constexpr int Side = 4096;
constexpr std::size_t PayloadBytes = std::size_t(Side) * Side * sizeof(double);

// A scanned part: a smooth surface quantised to micrometres, with a hole and
// a blank margin where the scanner saw nothing.
const MRangeImage &scan()
{
    static const MRangeImage image = [] {
        MRangeImage built(Side, Side);
        for (int row = 0; row < Side; ++row) {
            for (int col = 0; col < Side; ++col) {
                const double dr = row - 2000.0, dc = col - 2100.0;
                if (col < 300 || dr * dr + dc * dc < 400.0 * 400.0)
                    continue;
                const double z = 20.0 + 5.0 * std::sin(row / 300.0) * std::cos(col / 200.0) + 0.002 * ((row * 7 + col * 13) % 17);
                built(row, col) = std::round(z * 1000.0) / 1000.0;
            }
        }
        built.setPixelSize(0.05, 0.05);
        return built;
    }();
    return image;
}

std::string scratchPath()
{
    const char *folder = ::access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
    return std::string(folder) + "/zol3d_bench_" + std::to_string(::getpid()) + ".mri";
}

void SaveMri(benchmark::State &state)
{
    const std::string path = scratchPath();
    for (auto _ : state)
        benchmark::DoNotOptimize(scan().saveMri(path.c_str()));
    ::unlink(path.c_str());
    state.SetBytesProcessed(state.iterations() * PayloadBytes);
}

void LzfCompressPayload(benchmark::State &state)
{
    const std::unique_ptr<unsigned char[]> work(new unsigned char[PayloadBytes * 3 / 2]);
    unsigned compressed = 0;
    for (auto _ : state) {
        compressed = lzf_compress(scan().values(), PayloadBytes, work.get(), PayloadBytes * 3 / 2);
        benchmark::DoNotOptimize(compressed);
    }
    state.counters["ratio"] = double(PayloadBytes) / compressed;
    state.SetBytesProcessed(state.iterations() * PayloadBytes);
}

void LoadMri(benchmark::State &state)
{
    const std::string path = scratchPath();
    scan().saveMri(path.c_str());
    MRangeImage loaded;
    for (auto _ : state)
        benchmark::DoNotOptimize(loaded.loadMri(path.c_str()));
    ::unlink(path.c_str());
    if (!(loaded == scan()))
        state.SkipWithError("loaded image differs");
    state.SetBytesProcessed(state.iterations() * PayloadBytes);
}

void LzfDecompressPayload(benchmark::State &state)
{
    const std::unique_ptr<unsigned char[]> stream(new unsigned char[PayloadBytes * 3 / 2]);
    const unsigned size = lzf_compress(scan().values(), PayloadBytes, stream.get(), PayloadBytes * 3 / 2);
    const std::unique_ptr<double[]> out(new double[std::size_t(Side) * Side]);
    for (auto _ : state)
        benchmark::DoNotOptimize(lzf_decompress(stream.get(), size, out.get(), PayloadBytes));
    state.SetBytesProcessed(state.iterations() * PayloadBytes);
}

} // namespace

BENCHMARK(SaveMri)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(LzfCompressPayload)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(LoadMri)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(LzfDecompressPayload)->Unit(benchmark::kMillisecond)->MinTime(2.0);
