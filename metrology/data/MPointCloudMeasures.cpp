// The members of MPointCloud that measure the cloud or hold it against a
// shape: colouring by values, bounding volumes, the principal frame, region
// extraction, distances, projections and intersections.
#include "MPointCloud.h"

#include "MBox.h"
#include "MCircle.h"
#include "MColormap.h"
#include "MCone.h"
#include "MCylinder.h"
#include "MInvalid.h"
#include "MLine.h"
#include "MLineSegment.h"
#include "MPlane.h"
#include "MPrincipalComponentAnalysis.h"
#include "MRangeImage.h"
#include "MSphere.h"
#include "metrology/data/detail/MPointAggregates.h"
#include "metrology/data/detail/MShapeQueries.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace ZOLAR3D {

namespace {

// One pass over the points with the distance of each valid one, cut at
// maxDistance; `value` turns a kept distance into the stored number.
template <class Shape, class Value>
void storeDistances(const MPointCloud &cloud, const Shape &shape, double maxDistance, double *out, Value value)
{
    if (!out)
        return;
    const MVector3d *p = cloud.points();
    const int n = cloud.numPoints();
    detail::withLocalShape(shape, [&](const auto &s) {
        for (int i = 0; i < n; ++i) {
            const double d = detail::distanceOf(s, p[i]);
            out[i] = std::fabs(d) <= maxDistance ? value(d) : MInvalid;
        }
    });
}

template <class Shape>
void storeSignedDistances(const MPointCloud &cloud, const Shape &shape, double maxDistance, double *out)
{
    storeDistances(cloud, shape, maxDistance, out, [](double d) { return d; });
}

template <class Shape>
void projectValidPoints(MPointCloud &cloud, const Shape &shape)
{
    MVector3d *p = cloud.points();
    const int n = cloud.numPoints();
    detail::withLocalShape(shape, [&](const auto &s) {
        for (int i = 0; i < n; ++i)
            if (p[i].isValid())
                p[i] = s.projection(p[i]);
    });
}

} // namespace

// ---- Colours

void MPointCloud::colorize(const double *values, const MColormap &colormap, const MColor &outOfRangeColor)
{
    if (!values)
        return;
    const int n = numPoints();
    m_colors.resize(n, MColor::Gray);
    const double low = colormap.minValue(), high = colormap.maxValue();
    // Transparent is the caller's way of saying: leave what is outside alone.
    const bool replaceOutside = outOfRangeColor != MColor::Transparent;
    MColor *color = colors();
    for (int i = 0; i < n; ++i) {
        if (low <= values[i] && values[i] <= high)
            color[i] = colormap.color(values[i]);
        else if (replaceOutside)
            color[i] = outOfRangeColor;
    }
}

// ---- Bounding volumes and frame

MBox MPointCloud::boundingBox() const
{
    detail::MCornerBounds bounds;
    const MVector3d *p = points();
    for (int i = 0; i < numPoints(); ++i)
        if (p[i].isValid())
            bounds.add(p[i]);
    return MBox(bounds.minimum, bounds.maximum);
}

MSphere MPointCloud::boundingSphere() const { return fitSphereMC(); }

MVector3d MPointCloud::centroid() const
{
    detail::MMeanPoint mean;
    const MVector3d *p = points();
    for (int i = 0; i < numPoints(); ++i)
        if (p[i].isValid())
            mean.add(p[i]);
    return mean.mean();
}

MMatrix4 MPointCloud::pose() const { return principalComponentAnalysis().pose(); }

MBox MPointCloud::poseBoundingBox() const
{
    const MMatrix4 frame = pose();
    if (frame == MMatrix4::Zero)
        return MBox();
    const MMatrix4 toFrame = frame.rigidInverse();
    detail::MCornerBounds bounds;
    const MVector3d *p = points();
    for (int i = 0; i < numPoints(); ++i)
        if (p[i].isValid())
            bounds.add(toFrame * p[i]);
    const MBox local(bounds.minimum, bounds.maximum);
    if (!local.isValid())
        return MBox();
    return MBox(local.size(), frame * local.pose());
}

// ---- Regions

MPointCloud MPointCloud::regionPoints(const MRegions &regions, int id) const
{
    if (id >= regions.numRegions())
        return MPointCloud();
    const int n = std::min(numPoints(), regions.size());
    std::vector<int> members;
    members.reserve(std::size_t(regions.regionSize(id)));
    for (int i = 0; i < n; ++i)
        if (id < 0 ? regions.contains(i) : regions[i] == id)
            members.push_back(i);
    return gathered(members.data(), int(members.size()));
}

// ---- Distances

void MPointCloud::computeDistancesTo(const MBox &box, double maxDistance, double *out) const { storeSignedDistances(*this, box, maxDistance, out); }
void MPointCloud::computeDistancesTo(const MCircle &circle, double maxDistance, double *out) const { storeSignedDistances(*this, circle, maxDistance, out); }
void MPointCloud::computeDistancesTo(const MCone &cone, double maxDistance, double *out) const { storeSignedDistances(*this, cone, maxDistance, out); }
void MPointCloud::computeDistancesTo(const MCylinder &cylinder, double maxDistance, double *out) const { storeSignedDistances(*this, cylinder, maxDistance, out); }
void MPointCloud::computeDistancesTo(const MLine &line, double maxDistance, double *out) const { storeSignedDistances(*this, line, maxDistance, out); }
void MPointCloud::computeDistancesTo(const MLineSegment &segment, double maxDistance, double *out) const { storeSignedDistances(*this, segment, maxDistance, out); }
void MPointCloud::computeDistancesTo(const MPlane &plane, double maxDistance, double *out) const { storeSignedDistances(*this, plane, maxDistance, out); }
void MPointCloud::computeDistancesTo(const MRangeImage &image, double maxDistance, double *out) const { storeSignedDistances(*this, image, maxDistance, out); }
void MPointCloud::computeDistancesTo(const MSphere &sphere, double maxDistance, double *out) const { storeSignedDistances(*this, sphere, maxDistance, out); }
void MPointCloud::computeDistancesTo(const MVector3d &point, double maxDistance, double *out) const { storeSignedDistances(*this, point, maxDistance, out); }

void MPointCloud::computeAbsDistancesTo(const MPlane &plane, double maxDistance, double *out) const
{
    storeDistances(*this, plane, maxDistance, out, [](double d) { return std::fabs(d); });
}

// ---- Projections

void MPointCloud::projectOnto(const MBox &box) { projectValidPoints(*this, box); }
void MPointCloud::projectOnto(const MCircle &circle) { projectValidPoints(*this, circle); }
void MPointCloud::projectOnto(const MCone &cone) { projectValidPoints(*this, cone); }
void MPointCloud::projectOnto(const MCylinder &cylinder) { projectValidPoints(*this, cylinder); }
void MPointCloud::projectOnto(const MLine &line) { projectValidPoints(*this, line); }
void MPointCloud::projectOnto(const MLineSegment &segment) { projectValidPoints(*this, segment); }
void MPointCloud::projectOnto(const MPlane &plane) { projectValidPoints(*this, plane); }
void MPointCloud::projectOnto(const MRangeImage &image) { projectValidPoints(*this, image); }
void MPointCloud::projectOnto(const MSphere &sphere) { projectValidPoints(*this, sphere); }

// ---- Intersections

namespace {

template <class Shape>
std::vector<int> pointsInside(const MPointCloud &cloud, const Shape &shape)
{
    std::vector<int> inside;
    const MVector3d *p = cloud.points();
    for (int i = 0; i < cloud.numPoints(); ++i)
        if (detail::isInside(shape, p[i]))
            inside.push_back(i);
    return inside;
}

} // namespace

MPointCloud MPointCloud::intersection(const MBox &box) const
{
    const std::vector<int> inside = pointsInside(*this, box);
    return gathered(inside.data(), int(inside.size()));
}

MPointCloud MPointCloud::intersection(const MCone &cone) const
{
    const std::vector<int> inside = pointsInside(*this, cone);
    return gathered(inside.data(), int(inside.size()));
}

MPointCloud MPointCloud::intersection(const MCylinder &cylinder) const
{
    const std::vector<int> inside = pointsInside(*this, cylinder);
    return gathered(inside.data(), int(inside.size()));
}

MPointCloud MPointCloud::intersection(const MSphere &sphere) const
{
    const std::vector<int> inside = pointsInside(*this, sphere);
    return gathered(inside.data(), int(inside.size()));
}

} // namespace ZOLAR3D
