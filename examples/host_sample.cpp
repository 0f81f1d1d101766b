// Sample host program: what an inspection program does with the library,
// first on data built in memory so that it runs anywhere, then on a real scan
// when one is given on the command line or found beside the source tree, and
// last the typical inspection request on a built-in range image.
#include <Zol3DUtil/Zol3DUtil.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>

using namespace ZOLAR3D;

// A scan of a tilted, gently wavy surface as a profiler delivers it: one
// point per pixel of a rows x cols grid, 0.1 mm apart.
static MPointCloud scanWavySurface(int rows, int cols)
{
    MPointCloud cloud;
    cloud.reservePointCapacity(rows * cols);
    for (int row = 0; row < rows; ++row) {
        for (int col = 0; col < cols; ++col) {
            const double x = 0.1 * col;
            const double y = 0.1 * row;
            cloud.add(x, y, 0.2 * x + 0.5 * std::sin(x) * std::cos(y));
        }
    }
    cloud.setOrganized2d(rows, cols);
    return cloud;
}

static void describe(const char *step, const MPointCloud &cloud)
{
    std::printf("%-24s %6d points, %6d valid, ", step, cloud.numPoints(), cloud.numValidPoints());
    if (cloud.isOrganized2d())
        std::printf("grid of %d x %d\n", cloud.height(), cloud.width());
    else
        std::printf("unorganised\n");
}

static void printPoint(const char *name, const MVector3d &p)
{
    if (p.isValid())
        std::printf("  %-22s (%8.3f, %8.3f, %8.3f)\n", name, p.x(), p.y(), p.z());
    else
        std::printf("  %-22s invalid\n", name);
}

static void describeContents(const MPointCloud &cloud)
{
    MVector3d low, high;
    for (int i = 0; i < cloud.numPoints(); ++i) {
        low = MVector3d::minimum(low, cloud.point(i));
        high = MVector3d::maximum(high, cloud.point(i));
    }
    std::printf("  %-22s %s\n", "colours", cloud.hasColors() ? "yes" : "no");
    printPoint("bounding box minimum", low);
    printPoint("bounding box maximum", high);
}

static void describe(const char *step, const MRangeImage &image)
{
    std::printf("%-24s %6d pixels, %6d valid, %d x %d, pixel size %.3g x %.3g%s\n", step, image.size(),
                image.numValidPoints(), image.height(), image.width(), image.pixelSizeRows(),
                image.pixelSizeColumns(), image.hasColors() ? ", coloured" : "");
}

static void reportRoundTrip(const char *file, bool same)
{
    std::printf("  %-22s %s\n", file, same ? "round trip kept the counts" : "ROUND TRIP CHANGED THE COUNTS");
}

// A real scan through the files and the rasterisation, each file read back.
static int processScan(const std::string &path)
{
    MPointCloud scan;
    if (!scan.load(path.c_str())) {
        std::printf("cannot read the scan %s\n", path.c_str());
        return 1;
    }
    std::printf("\nscan %s\n", path.c_str());
    describe("loaded", scan);
    describeContents(scan);

    const std::filesystem::path folder = std::filesystem::temp_directory_path() / "zol3d_sample";
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    const std::string pcd = (folder / "scan.pcd").string();
    const std::string mri = (folder / "scan.mri").string();
    const std::string png = (folder / "scan.png").string();
    std::printf("writing to %s\n", folder.string().c_str());

    // World-aligned, looking down z, with pixels of the scan's own spacing.
    const MRangeImage image(scan);
    describe("rasterised", image);

    // PCD with 8-byte coordinates; PNG heights in steps of a tenth of the pixel size.
    if (!scan.savePcd(pcd.c_str(), 2) || !image.saveMri(mri.c_str()) || !image.savePng(png.c_str(), -0.1)) {
        std::printf("cannot write to %s\n", folder.string().c_str());
        return 1;
    }
    MPointCloud scanBack;
    MRangeImage mriBack, pngBack;
    scanBack.loadPcd(pcd.c_str());
    mriBack.loadMri(mri.c_str());
    pngBack.loadPng(png.c_str());
    reportRoundTrip("scan.pcd", scanBack.numPoints() == scan.numPoints() &&
                                    scanBack.numValidPoints() == scan.numValidPoints() &&
                                    scanBack.isOrganized2d() == scan.isOrganized2d() &&
                                    scanBack.hasColors() == scan.hasColors());
    reportRoundTrip("scan.mri", mriBack.size() == image.size() && mriBack.numValidPoints() == image.numValidPoints() &&
                                    mriBack.hasColors() == image.hasColors());
    reportRoundTrip("scan.png", pngBack.size() == image.size() && pngBack.numValidPoints() == image.numValidPoints());
    return 0;
}

// A profiler's view of a machined plate lying on a table: the plate's top,
// slightly tilted and with a shallow dent, fills the middle of the image and
// the table shows around it; a shadow behind the plate has no values. Heights
// carry a little deterministic ripple in place of sensor noise.
static MRangeImage profileOfPlateOnTable(int rows, int cols)
{
    MRangeImage image(rows, cols);
    image.setPixelSize(0.1, 0.1);
    const int border = rows / 6;
    for (int row = 0; row < rows; ++row) {
        for (int col = 0; col < cols; ++col) {
            const double x = 0.1 * col;
            const double y = 0.1 * row;
            const bool onPlate = row >= border && row < rows - border && col >= border && col < cols - border;
            const bool inShadow = !onPlate && col >= cols - border && col < cols - border / 2;
            if (inShadow)
                continue;
            const double ripple = 0.002 * std::sin(7.0 * x + 3.0 * y);
            double z = 0.001 * x + ripple;
            if (onPlate) {
                const double dx = x - 0.1 * cols * 0.6, dy = y - 0.1 * rows * 0.5;
                z += 12.0 + 0.002 * y - 0.03 * std::exp(-(dx * dx + dy * dy) / 4.0);
            }
            image.setValue(row, col, z);
        }
    }
    return image;
}

// The library's typical request: from range image to point cloud, the best
// plane found among outliers, every point's departure from it in colour, and
// the flatness of the plane's own points.
static int inspectPlate()
{
    const MRangeImage image = profileOfPlateOnTable(180, 240);
    std::printf("\ninspection of a plate\n");
    describe("profiler image", image);
    MPointCloud cloud = image.toPointCloud(false, false);
    describe("as a point cloud", cloud);

    // A band of three mean point spacings tells the plate from the table.
    const MPlane plane = cloud.ransacBestPlane(-3.0);
    std::printf("best plane by RANSAC\n");
    printPoint("position", plane.position());
    printPoint("normal", plane.normal());

    // Departures beyond a millimetre (the table) are out of the map's range
    // and shown grey.
    MDoubleArray distances(cloud.numPoints());
    cloud.computeDistancesTo(plane, 1.0, distances.data());
    const MStatistics statistics(distances.data(), distances.size());
    std::printf("  %d points within 1 mm: min %.4f, max %.4f, standard deviation %.4f\n", statistics.count,
                statistics.minimum, statistics.maximum, statistics.standardDeviation);
    cloud.colorize(distances.data(), MColormap::Rainbow(0.05, -0.05), MColor::Gray);

    const double band = 3.0 * cloud.averagePointDistance(1000);
    const MPointCloud top = cloud.regionPoints(cloud.selectDistanceRange(plane, -band, band), 0);
    MPlane zone;
    const double flatness = top.computeFlatFormMeasurementError(0, &zone);
    const double robustFlatness = top.computeFlatFormMeasurementError(top.numPoints() / 1000, &zone);
    std::printf("  flatness of the %d plate points %.4f mm, %.4f mm without the extreme 0.1%%\n", top.numPoints(),
                flatness, robustFlatness);

    const std::filesystem::path folder = std::filesystem::temp_directory_path() / "zol3d_sample";
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    const std::string pcd = (folder / "plate_deviations.pcd").string();
    if (!cloud.savePcd(pcd.c_str(), 2)) {
        std::printf("cannot write %s\n", pcd.c_str());
        return 1;
    }
    std::printf("  coloured deviations written to %s\n", pcd.c_str());
    return 0;
}

int main(int argc, char **argv)
{
    std::printf("Zol3DUtil sample host program\n");

    MPointCloud cloud = scanWavySurface(200, 300);
    describe("scanned", cloud);

    // The sensor saw nothing in a shadowed patch: those pixels become holes,
    // which keep their place in the grid.
    for (int row = 80; row < 120; ++row)
        for (int col = 140; col < 160; ++col)
            cloud.invalidatePoint(row, col);
    describe("with a shadowed patch", cloud);

    // From sensor to part coordinates: a quarter turn about z, then 5 mm up.
    const MMatrix4 sensorToPart = MMatrix4::Translation(0, 0, 5) * MMatrix4::ZRotation(MAngle::PiHalf);
    cloud.applyTransformation(sensorToPart);
    describe("in part coordinates", cloud);
    printPoint("first pixel", cloud.point(0, 0));
    printPoint("pixel (100, 150)", cloud.point(100, 150));
    printPoint("last pixel", cloud.point(199, 299));

    // A quick preview: every fourth row and column.
    const MPointCloud preview = cloud.subsampled(4);
    describe("preview (step 4)", preview);

    // The rectangle around the patch, then only the points that were seen.
    MPointCloud window = cloud.roi(60, 120, 80, 60);
    describe("window at (60, 120)", window);
    printPoint("window corner", window.point(0, 0));
    window.removeInvalidPoints();
    describe("window, holes removed", window);

    // The best-fit plane of the whole scan and how far the surface departs
    // from it: one signed distance per point, holes marked so that the
    // statistics leave them out.
    const MPlane plane = cloud.fitPlane();
    std::printf("best-fit plane\n");
    printPoint("position", plane.position());
    printPoint("normal", plane.normal());
    std::printf("  %-22s %8.3f x %8.3f\n", "extent", 2.0 * plane.u().norm(), 2.0 * plane.v().norm());
    MDoubleArray residuals(cloud.numPoints());
    cloud.computeDistancesTo(plane, MInvalid, residuals.data());
    const MStatistics statistics(residuals.data(), residuals.size());
    std::printf("  residuals of %d points: min %.4f, max %.4f, mean %.2e, standard deviation %.4f, rms %.4f\n",
                statistics.count, statistics.minimum, statistics.maximum, statistics.mean,
                statistics.standardDeviation, statistics.rms);

    const std::string scanPath = argc > 1 ? argv[1] : ZOL3D_SAMPLE_SCAN;
    if (std::filesystem::is_regular_file(scanPath)) {
        if (processScan(scanPath) != 0)
            return 1;
    } else {
        std::printf("\nno scan at %s: pass the path of a PCD file to run the file part\n", scanPath.c_str());
        if (argc > 1)
            return 1;
    }
    return inspectPlate();
}
