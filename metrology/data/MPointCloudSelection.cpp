// The selection family of MPointCloud, which labels points by coordinate,
// distance, normal or neighbourhood, and the edits that take a labelling.
#include "MPointCloud.h"

#include "MBox.h"
#include "MCircle.h"
#include "MCone.h"
#include "MCylinder.h"
#include "MInvalid.h"
#include "MKdTree.h"
#include "MLine.h"
#include "MLineSegment.h"
#include "MPlane.h"
#include "MRangeImage.h"
#include "MSphere.h"
#include "metrology/data/detail/MPointAggregates.h"
#include "metrology/data/detail/MPointEdits.h"
#include "metrology/data/detail/MShapeQueries.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace ZOLAR3D {

namespace {

// Adds one region to regions and puts into it every valid point for which
// selected(i) holds.
template <class Selected>
MRegions selectOneRegion(MRegions regions, const MVector3d *p, int n, Selected selected)
{
    const int region = regions.addRegion();
    for (int i = 0; i < n; ++i)
        if (p[i].isValid() && selected(i))
            regions.addToRegion(i, region);
    return regions;
}

inline bool isInRange(double value, double min, double max) { return min <= value && value <= max; }

using detail::isDistanceInRange;

} // namespace

// ---- Coordinates

MRegions MPointCloud::selectX(double min, double max) const
{
    const MVector3d *p = points();
    return selectOneRegion(emptyRegions(), p, numPoints(), [&](int i) { return isInRange(p[i].x(), min, max); });
}

MRegions MPointCloud::selectY(double min, double max) const
{
    const MVector3d *p = points();
    return selectOneRegion(emptyRegions(), p, numPoints(), [&](int i) { return isInRange(p[i].y(), min, max); });
}

MRegions MPointCloud::selectZ(double min, double max) const
{
    const MVector3d *p = points();
    return selectOneRegion(emptyRegions(), p, numPoints(), [&](int i) { return isInRange(p[i].z(), min, max); });
}

// ---- Distances to shapes

namespace {

template <class Shape>
MRegions selectByDistance(MRegions regions, const MPointCloud &cloud, const Shape &shape, double min, double max)
{
    const MVector3d *p = cloud.points();
    return selectOneRegion(std::move(regions), p, cloud.numPoints(),
                           [&](int i) { return isDistanceInRange(detail::distanceOf(shape, p[i]), min, max); });
}

// Region k for shape k. A point in range of several shapes would be moved
// from region to region in shape order and stay in the last one, so the
// shapes are tried from the last and the first match decides.
template <class Shape>
MRegions selectByDistances(MRegions regions, const MPointCloud &cloud, const Shape *shapes, int n, double min, double max)
{
    if (!shapes || n < 1)
        return regions;
    for (int k = 0; k < n; ++k)
        regions.addRegion();
    const MVector3d *p = cloud.points();
    for (int i = 0; i < cloud.numPoints(); ++i) {
        if (!p[i].isValid())
            continue;
        for (int k = n - 1; k >= 0; --k) {
            if (isDistanceInRange(detail::distanceOf(shapes[k], p[i]), min, max)) {
                regions.addToRegion(i, k);
                break;
            }
        }
    }
    return regions;
}

} // namespace

MRegions MPointCloud::selectDistanceRange(const MBox &box, double min, double max) const { return selectByDistance(emptyRegions(), *this, box, min, max); }
MRegions MPointCloud::selectDistanceRange(const MCircle &circle, double min, double max) const { return selectByDistance(emptyRegions(), *this, circle, min, max); }
MRegions MPointCloud::selectDistanceRange(const MCone &cone, double min, double max) const { return selectByDistance(emptyRegions(), *this, cone, min, max); }
MRegions MPointCloud::selectDistanceRange(const MCylinder &cylinder, double min, double max) const { return selectByDistance(emptyRegions(), *this, cylinder, min, max); }
MRegions MPointCloud::selectDistanceRange(const MLine &line, double min, double max) const { return selectByDistance(emptyRegions(), *this, line, min, max); }
MRegions MPointCloud::selectDistanceRange(const MLineSegment &segment, double min, double max) const { return selectByDistance(emptyRegions(), *this, segment, min, max); }
MRegions MPointCloud::selectDistanceRange(const MPlane &plane, double min, double max) const { return selectByDistance(emptyRegions(), *this, plane, min, max); }
MRegions MPointCloud::selectDistanceRange(const MRangeImage &image, double min, double max) const { return selectByDistance(emptyRegions(), *this, image, min, max); }
MRegions MPointCloud::selectDistanceRange(const MSphere &sphere, double min, double max) const { return selectByDistance(emptyRegions(), *this, sphere, min, max); }
MRegions MPointCloud::selectDistanceRange(const MVector3d &point, double min, double max) const { return selectByDistance(emptyRegions(), *this, point, min, max); }

MRegions MPointCloud::selectDistanceRange(const MBox *boxes, int n, double min, double max) const { return selectByDistances(emptyRegions(), *this, boxes, n, min, max); }
MRegions MPointCloud::selectDistanceRange(const MCircle *circles, int n, double min, double max) const { return selectByDistances(emptyRegions(), *this, circles, n, min, max); }
MRegions MPointCloud::selectDistanceRange(const MCone *cones, int n, double min, double max) const { return selectByDistances(emptyRegions(), *this, cones, n, min, max); }
MRegions MPointCloud::selectDistanceRange(const MCylinder *cylinders, int n, double min, double max) const { return selectByDistances(emptyRegions(), *this, cylinders, n, min, max); }
MRegions MPointCloud::selectDistanceRange(const MLine *lines, int n, double min, double max) const { return selectByDistances(emptyRegions(), *this, lines, n, min, max); }
MRegions MPointCloud::selectDistanceRange(const MLineSegment *segments, int n, double min, double max) const { return selectByDistances(emptyRegions(), *this, segments, n, min, max); }
MRegions MPointCloud::selectDistanceRange(const MPlane *planes, int n, double min, double max) const { return selectByDistances(emptyRegions(), *this, planes, n, min, max); }
MRegions MPointCloud::selectDistanceRange(const MSphere *spheres, int n, double min, double max) const { return selectByDistances(emptyRegions(), *this, spheres, n, min, max); }
MRegions MPointCloud::selectDistanceRange(const MVector3d *points, int n, double min, double max) const { return selectByDistances(emptyRegions(), *this, points, n, min, max); }

MRegions MPointCloud::selectDistanceRange(const MPointCloud &other, double /*min*/, double max) const
{
    // Only the outer bound is searched for: min is ignored on purpose, which
    // is how this form has always answered.
    MKdTree tree;
    tree.from(other);
    const MVector3d *p = points();
    const bool searchable = max >= 0.0;
    return selectOneRegion(emptyRegions(), p, numPoints(),
                           [&](int i) { return searchable && tree.findAnyNeighbor(p[i], max, nullptr, nullptr); });
}

// ---- Normals and neighbourhoods

MRegions MPointCloud::selectNormal(const MVector3d &direction, double minAngle, double maxAngle, bool bothSides) const
{
    if (!direction.isValid())
        return selectOneRegion(emptyRegions(), points(), numPoints(), [](int) { return false; });
    MPointCloud withNormals;
    const MVector3f *normal = normals();
    if (!hasNormals()) {
        // A copy carries the computed normals, so that this cloud stays as it is.
        withNormals = *this;
        withNormals.computeNormals(0.0);
        normal = withNormals.normals();
    }
    const double low = std::cos(maxAngle), high = std::cos(minAngle);
    return selectOneRegion(emptyRegions(), points(), numPoints(), [&](int i) {
        if (!normal[i].isValid())
            return false;
        const double c = direction.x() * normal[i].x() + direction.y() * normal[i].y() + direction.z() * normal[i].z();
        return isInRange(c, low, high) || (bothSides && isInRange(-c, low, high));
    });
}

MRegions MPointCloud::selectNormalX(double minAngle, double maxAngle, bool bothSides) const
{
    return selectNormal(MVector3d(1.0, 0.0, 0.0), minAngle, maxAngle, bothSides);
}

MRegions MPointCloud::selectNormalY(double minAngle, double maxAngle, bool bothSides) const
{
    return selectNormal(MVector3d(0.0, 1.0, 0.0), minAngle, maxAngle, bothSides);
}

MRegions MPointCloud::selectNormalZ(double minAngle, double maxAngle, bool bothSides) const
{
    return selectNormal(MVector3d(0.0, 0.0, 1.0), minAngle, maxAngle, bothSides);
}

MRegions MPointCloud::selectNumNeighbors(double radius, int min, int max) const
{
    std::vector<int> counts(static_cast<std::size_t>(numPoints()));
    computeNumNeighbors(counts.data(), radius);
    return selectOneRegion(emptyRegions(), points(), numPoints(), [&](int i) { return min <= counts[i] && counts[i] <= max; });
}

// ---- One region of a labelling

namespace {

// The index of the best score, the first one on a tie; -1 when none
// competes. A score of the marker does not compete.
int bestScore(const std::vector<double> &scores, bool largest)
{
    int best = -1;
    for (int r = 0; r < int(scores.size()); ++r) {
        if (scores[r] == MInvalid)
            continue;
        if (best < 0 || (largest ? scores[r] > scores[best] : scores[r] < scores[best]))
            best = r;
    }
    return best;
}

} // namespace

MRegions MPointCloud::selectSingleRegionByNumberOfPoints(const MRegions &regions, bool largest) const
{
    std::vector<double> sizes(std::size_t(regions.numRegions()));
    for (int r = 0; r < regions.numRegions(); ++r)
        sizes[r] = regions.regionSize(r);
    const int best = bestScore(sizes, largest);
    return best < 0 ? MRegions() : regions.region(best);
}

MRegions MPointCloud::selectSingleRegionByBoundingBoxSize(const MRegions &regions, bool largest) const
{
    // All boxes in one pass over the points, rather than one pass per region.
    std::vector<detail::MCornerBounds> bounds(std::size_t(regions.numRegions()));
    const MVector3d *p = points();
    const int n = std::min(numPoints(), regions.size());
    for (int i = 0; i < n; ++i)
        if (regions.contains(i) && p[i].isValid())
            bounds[regions[i]].add(p[i]);
    std::vector<double> diagonals(bounds.size(), MInvalid);
    for (std::size_t r = 0; r < bounds.size(); ++r) {
        const MBox box(bounds[r].minimum, bounds[r].maximum);
        if (box.isValid())
            diagonals[r] = box.size().norm();
    }
    const int best = bestScore(diagonals, largest);
    return best < 0 ? MRegions() : regions.region(best);
}

// ---- Edits by region


void MPointCloud::reduceToRegions(const MRegions &regions)
{
    invalidateWhere(points(), numPoints(), [&](int i) { return !regions.contains(i); });
}

void MPointCloud::removeRegions(const MRegions &regions)
{
    invalidateWhere(points(), numPoints(), [&](int i) { return regions.contains(i); });
}

int MPointCloud::cleanSmallSegments(int minPoints, double distance)
{
    const MRegions groups = connectivitySegmentation(minPoints, distance);
    // A refused distance gives a labelling without regions, which must not
    // be read as a cloud of small groups.
    if (std::isnan(distance))
        return 0;
    return invalidateWhere(points(), numPoints(), [&](int i) { return !groups.contains(i); });
}

} // namespace ZOLAR3D
