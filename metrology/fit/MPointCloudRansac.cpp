// The RANSAC entry points of MPointCloud.
#include "MCircleRansac.h"
#include "MLineRansac.h"
#include "MPlaneRansac.h"
#include "MPointCloud.h"
#include "MSphereRansac.h"

#include <climits>
#include <type_traits>

namespace ZOLAR3D {

namespace {

// A negative band counts in point spacings; the tree for the spacing is
// built only then.
double bandOf(const MPointCloud &cloud, double threshold)
{
    return threshold < 0.0 ? -threshold * cloud.averagePointDistance(1000) : threshold;
}

template <class Ransac>
auto bestShape(Ransac &ransac, const MPointCloud &cloud)
{
    ransac.setPoints(cloud);
    ransac.setMaxModels(1);
    ransac.run();
    using Shape = std::decay_t<decltype(ransac.models().front().shape)>;
    return ransac.models().empty() ? Shape() : ransac.models().front().shape;
}

// k shapes from k x c hypotheses. A product that is not positive leaves
// 1000 hypotheses, and k that is not positive leaves one shape wanted, by
// the setters' rule; a product beyond the int range is held at its top.
template <class Ransac, class Shape>
int allShapes(Ransac &ransac, const MPointCloud &cloud, Shape *shapes, int maxShapes, int iterationsPerShape)
{
    const long long product = static_cast<long long>(maxShapes) * iterationsPerShape;
    ransac.setNumIterations(static_cast<int>(product > INT_MAX ? INT_MAX : product > 0 ? product : 0));
    ransac.setMaxModels(maxShapes);
    ransac.setPoints(cloud);
    ransac.run();
    const int found = static_cast<int>(ransac.models().size());
    if (shapes)
        for (int i = 0; i < found; ++i)
            shapes[i] = ransac.models()[i].shape;
    return found;
}

template <class Ransac>
void setRadiusBounds(Ransac &ransac, double minRadius, double maxRadius)
{
    ransac.setMinRadius(minRadius);
    ransac.setMaxRadius(maxRadius);
}

} // namespace

MPlane MPointCloud::ransacBestPlane(double threshold) const
{
    MPlaneRansac ransac;
    ransac.setThreshold(bandOf(*this, threshold));
    return bestShape(ransac, *this);
}

MLine MPointCloud::ransacBestLine(double threshold) const
{
    MLineRansac ransac;
    ransac.setThreshold(bandOf(*this, threshold));
    return bestShape(ransac, *this);
}

MLine MPointCloud::ransacBestRelativeLine(const MLine &reference, double minAngle, double maxAngle,
                                          double threshold) const
{
    MLineRansac ransac;
    ransac.setThreshold(bandOf(*this, threshold));
    ransac.setReferenceLine(reference);
    ransac.setMinAngle(minAngle);
    ransac.setMaxAngle(maxAngle);
    return bestShape(ransac, *this);
}

// Circles and spheres keep the default band of 0.5: their entry points have
// always ignored the threshold argument, and callers' results rest on that.
MCircle MPointCloud::ransacBestCircle(double minRadius, double maxRadius, double /*threshold*/) const
{
    MCircleRansac ransac;
    setRadiusBounds(ransac, minRadius, maxRadius);
    return bestShape(ransac, *this);
}

MSphere MPointCloud::ransacBestSphere(double minRadius, double maxRadius, double /*threshold*/) const
{
    MSphereRansac ransac;
    setRadiusBounds(ransac, minRadius, maxRadius);
    return bestShape(ransac, *this);
}

int MPointCloud::ransacAllPlanes(double threshold, MPlane *planes, int maxPlanes, int iterationsPerPlane) const
{
    MPlaneRansac ransac;
    ransac.setThreshold(bandOf(*this, threshold));
    return allShapes(ransac, *this, planes, maxPlanes, iterationsPerPlane);
}

int MPointCloud::ransacAllLines(double threshold, MLine *lines, int maxLines, int iterationsPerLine) const
{
    MLineRansac ransac;
    ransac.setThreshold(bandOf(*this, threshold));
    return allShapes(ransac, *this, lines, maxLines, iterationsPerLine);
}

int MPointCloud::ransacAllCircles(double minRadius, double maxRadius, double /*threshold*/, MCircle *circles,
                                  int maxCircles, int iterationsPerCircle) const
{
    MCircleRansac ransac;
    setRadiusBounds(ransac, minRadius, maxRadius);
    return allShapes(ransac, *this, circles, maxCircles, iterationsPerCircle);
}

int MPointCloud::ransacAllSpheres(double minRadius, double maxRadius, double /*threshold*/, MSphere *spheres,
                                  int maxSpheres, int iterationsPerSphere) const
{
    MSphereRansac ransac;
    setRadiusBounds(ransac, minRadius, maxRadius);
    return allShapes(ransac, *this, spheres, maxSpheres, iterationsPerSphere);
}

} // namespace ZOLAR3D
