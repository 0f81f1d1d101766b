// PCD save and load of a scan of one million points, against the Point
// Cloud Library where it is installed: the same file loaded by both, and
// the same points saved by both, compressed. Files go to /dev/shm where it
// exists, so that the disk does not enter the ratio. PclReadsOurFiles checks
// once that the files this library writes load in the Point Cloud Library
// with the right points and colours.
#include "MInvalid.h"
#include "MPointCloud.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <unistd.h>

#ifdef ZOL3D_HAVE_PCL
#include <pcl/PCLPointCloud2.h>
#include <pcl/io/pcd_io.h>
#include <pcl/point_types.h>
#endif

using namespace ZOLAR3D;

namespace {

constexpr int Rows = 1000;
constexpr int Columns = 1000;

// An organised scan of a smooth part, quantised to float as a sensor
// delivers it, with holes where the sensor saw nothing.
const MPointCloud &scan()
{
    static const MPointCloud cloud = [] {
        MPointCloud built(Rows * Columns);
        built.resizeColors(built.numPoints(), MColor::Gray);
        for (int row = 0; row < Rows; ++row) {
            for (int col = 0; col < Columns; ++col) {
                const int i = row * Columns + col;
                const double dr = row - 480.0, dc = col - 520.0;
                if (dr * dr + dc * dc < 90.0 * 90.0 || (row * 31 + col * 17) % 97 == 0)
                    continue;
                const double z = 250.0 + 8.0 * std::sin(row / 120.0) * std::cos(col / 90.0);
                built[i] = MVector3d(float(0.05 * col - 25.0), float(0.05 * row - 25.0), float(z));
                const int shade = int(z * 10.0) & 0xFF;
                built.colors()[i] = MColor(shade, 255 - shade, (row ^ col) & 0xFF);
            }
        }
        built.setOrganized2d(Rows, Columns);
        return built;
    }();
    return cloud;
}

const MPointCloud &scanWithoutColors()
{
    static const MPointCloud cloud = [] {
        MPointCloud built = scan();
        built.clearColors();
        return built;
    }();
    return cloud;
}

std::string scratchPath(const char *name)
{
    const char *folder = ::access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
    return std::string(folder) + "/zol3d_bench_" + std::to_string(::getpid()) + "_" + name;
}

void SavePcdFloats(benchmark::State &state)
{
    const std::string path = scratchPath("save.pcd");
    for (auto _ : state)
        benchmark::DoNotOptimize(scanWithoutColors().savePcd(path.c_str(), 1));
    ::unlink(path.c_str());
    state.SetItemsProcessed(state.iterations() * Rows * Columns);
}

void SavePcdDoubles(benchmark::State &state)
{
    const std::string path = scratchPath("save2.pcd");
    for (auto _ : state)
        benchmark::DoNotOptimize(scanWithoutColors().savePcd(path.c_str(), 2));
    ::unlink(path.c_str());
    state.SetItemsProcessed(state.iterations() * Rows * Columns);
}

void LoadPcd(benchmark::State &state, const std::string &path)
{
    MPointCloud cloud;
    for (auto _ : state) {
        benchmark::DoNotOptimize(cloud.loadPcd(path.c_str()));
        benchmark::ClobberMemory();
    }
    if (cloud.numPoints() != Rows * Columns)
        state.SkipWithError("the file did not load");
    state.SetItemsProcessed(state.iterations() * Rows * Columns);
}

void LoadOurPcdFloats(benchmark::State &state)
{
    const std::string path = scratchPath("ours.pcd");
    scanWithoutColors().savePcd(path.c_str(), 1);
    LoadPcd(state, path);
    ::unlink(path.c_str());
}

BENCHMARK(SavePcdFloats)->Unit(benchmark::kMillisecond);
BENCHMARK(SavePcdDoubles)->Unit(benchmark::kMillisecond);
BENCHMARK(LoadOurPcdFloats)->Unit(benchmark::kMillisecond);

#ifdef ZOL3D_HAVE_PCL

pcl::PointCloud<pcl::PointXYZ> toPcl(const MPointCloud &cloud)
{
    pcl::PointCloud<pcl::PointXYZ> out(cloud.width(), cloud.height());
    const float nan = std::nanf("");
    for (int i = 0; i < cloud.numPoints(); ++i) {
        const MVector3d &p = cloud[i];
        out[std::size_t(i)] = p.isValid() ? pcl::PointXYZ(float(p.x()), float(p.y()), float(p.z())) : pcl::PointXYZ(nan, nan, nan);
    }
    out.is_dense = false;
    return out;
}

const pcl::PointCloud<pcl::PointXYZ> &pclScan()
{
    static const pcl::PointCloud<pcl::PointXYZ> cloud = toPcl(scan());
    return cloud;
}

void SavePclBinaryCompressed(benchmark::State &state)
{
    const std::string path = scratchPath("pclsave.pcd");
    for (auto _ : state)
        benchmark::DoNotOptimize(pcl::io::savePCDFileBinaryCompressed(path, pclScan()));
    ::unlink(path.c_str());
    state.SetItemsProcessed(state.iterations() * Rows * Columns);
}

// The file the Point Cloud Library writes, loaded by both readers, and
// removed when the program ends.
struct PclFile {
    PclFile() : path(scratchPath("pcl.pcd")) { pcl::io::savePCDFileBinaryCompressed(path, pclScan()); }
    ~PclFile() { ::unlink(path.c_str()); }
    std::string path;
};

const std::string &pclFile()
{
    static const PclFile file;
    return file.path;
}

void LoadPclFileWithPcd(benchmark::State &state) { LoadPcd(state, pclFile()); }

void LoadPclFileWithPcl(benchmark::State &state)
{
    pcl::PointCloud<pcl::PointXYZ> cloud;
    for (auto _ : state) {
        benchmark::DoNotOptimize(pcl::io::loadPCDFile(pclFile(), cloud));
        benchmark::ClobberMemory();
    }
    if (cloud.size() != std::size_t(Rows) * Columns)
        state.SkipWithError("the file did not load");
    state.SetItemsProcessed(state.iterations() * Rows * Columns);
}

// Field value of point i in a blob the Point Cloud Library loaded.
double blobValue(const pcl::PCLPointCloud2 &blob, const pcl::PCLPointField &field, std::size_t i)
{
    const std::uint8_t *at = blob.data.data() + i * blob.point_step + field.offset;
    if (field.datatype == pcl::PCLPointField::FLOAT64) {
        double value;
        std::memcpy(&value, at, 8);
        return value;
    }
    float value;
    std::memcpy(&value, at, 4);
    return value;
}

// Loads our files of both precisions, with colours, in the Point Cloud
// Library and compares every point and colour.
void PclReadsOurFiles(benchmark::State &state)
{
    const std::string path = scratchPath("check.pcd");
    std::int64_t checked = 0;
    for (auto _ : state) {
        for (int precision : {1, 2}) {
            scan().savePcd(path.c_str(), precision);
            pcl::PCLPointCloud2 blob;
            if (pcl::io::loadPCDFile(path, blob) != 0 || blob.width != Columns || blob.height != Rows || blob.fields.size() != 4) {
                state.SkipWithError("the Point Cloud Library does not read our file");
                return;
            }
            for (std::size_t i = 0; i < std::size_t(Rows) * Columns; ++i) {
                const MVector3d &p = scan()[int(i)];
                for (int c = 0; c < 3; ++c) {
                    const double got = blobValue(blob, blob.fields[std::size_t(c)], i);
                    const double expected = precision == 2 ? p.data()[c] : double(float(p.data()[c]));
                    if (p.isValid() ? got != expected : !std::isnan(got)) {
                        state.SkipWithError("a point differs in the Point Cloud Library");
                        return;
                    }
                }
                std::uint32_t argb;
                std::memcpy(&argb, blob.data.data() + i * blob.point_step + blob.fields[3].offset, 4);
                if (argb != scan().color(int(i)).argb()) {
                    state.SkipWithError("a colour differs in the Point Cloud Library");
                    return;
                }
                ++checked;
            }
        }
    }
    ::unlink(path.c_str());
    state.counters["points_checked"] = double(checked);
}

BENCHMARK(SavePclBinaryCompressed)->Unit(benchmark::kMillisecond);
BENCHMARK(LoadPclFileWithPcd)->Unit(benchmark::kMillisecond);
BENCHMARK(LoadPclFileWithPcl)->Unit(benchmark::kMillisecond);
BENCHMARK(PclReadsOurFiles)->Unit(benchmark::kMillisecond)->Iterations(1);

#endif

} // namespace
