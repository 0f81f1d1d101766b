// Sample host program: what an inspection program does with the library,
// on data built in memory so that it runs anywhere.
#include <Zol3DUtil/Zol3DUtil.h>

#include <cmath>
#include <cstdio>

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

int main()
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
    for (int i = 0; i < cloud.numPoints(); ++i)
        residuals[i] = cloud.points()[i].isValid() ? plane.distance(cloud.points()[i]) : MInvalid;
    const MStatistics statistics(residuals.data(), residuals.size());
    std::printf("  residuals of %d points: min %.4f, max %.4f, mean %.2e, standard deviation %.4f, rms %.4f\n",
                statistics.count, statistics.minimum, statistics.maximum, statistics.mean,
                statistics.standardDeviation, statistics.rms);
    return 0;
}
