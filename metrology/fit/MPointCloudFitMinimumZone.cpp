// The minimum-zone plane of MPointCloud, found on the convex hull.
#include "MInvalid.h"
#include "MLineSegment.h"
#include "MPlane.h"
#include "MPointCloud.h"
#include "MPrincipalComponentAnalysis.h"
#include "MTriangle.h"
#include "metrology/fit/detail/MFitPasses.h"
#include "metrology/mesh/detail/MConvexHull.h"

#include <vector>

namespace ZOLAR3D {

namespace {

struct Zone {
    double width = MInvalid;
    MPlane plane;
    bool fromEdgePair = false;
};

void setIfGiven(double *out, double value)
{
    if (out)
        *out = value;
}

// Depth of the hull behind one of its faces: the largest distance of a hull
// vertex behind the face plane. Measured from the face's corner rather than
// through the Hessian distance, the same quantity without losing the digits
// of coordinates far from the origin. Stops once the depth reaches `limit`,
// where the face can no longer win.
double depthBehind(const MPlane &face, const std::vector<MVector3d> &vertices, double limit)
{
    double depth = -MInvalid;
    for (const MVector3d &x : vertices) {
        const double behind = -face.normal().dot(x - face.position());
        depth = behind > depth ? behind : depth;
        if (depth >= limit)
            break;
    }
    return depth;
}

void narrowToFaces(const MConvexHull &hull, Zone &zone)
{
    const std::vector<int> &t = hull.triangles;
    for (size_t i = 0; i + 2 < t.size(); i += 3) {
        const MVector3d &a = hull.vertices[t[i]];
        const MVector3d normal = MTriangle(a, hull.vertices[t[i + 1]], hull.vertices[t[i + 2]]).normal();
        if (!normal.isValid())
            continue;
        const MPlane face(a, normal, true);
        const double depth = depthBehind(face, hull.vertices, zone.width);
        if (depth < zone.width) {
            zone.width = depth;
            zone.plane = face;
        }
    }
}

// Each edge is scored by its farthest other edge; the plane of that pair
// lies midway between their closest points, across both directions. Parallel
// edges span no normal, so theirs is the line between the closest points.
void narrowToEdgePairs(const MConvexHull &hull, Zone &zone)
{
    const std::vector<int> ends = hull.edges();
    std::vector<MLineSegment> edges;
    edges.reserve(ends.size() / 2);
    for (size_t k = 0; k + 1 < ends.size(); k += 2)
        edges.emplace_back(hull.vertices[ends[k]], hull.vertices[ends[k + 1]]);
    const size_t n = edges.size();
    for (size_t i = 0; i < n; ++i) {
        double farthest = -MInvalid;
        MVector3d normal, position;
        for (size_t j = 0; j < n && farthest < zone.width; ++j) {
            if (j == i)
                continue;
            double s = 0.0, t = 0.0;
            const double distance = edges[i].distance(edges[j], &s, &t);
            if (distance > farthest) {
                farthest = distance;
                const MVector3d p = edges[i].at(s), q = edges[j].at(t);
                normal = edges[i].direction().cross(edges[j].direction()).normalized();
                if (!normal.isValid())
                    normal = (q - p).normalized();
                position = (p + q) * 0.5;
            }
        }
        if (farthest < zone.width && normal.isValid()) {
            zone.width = farthest;
            zone.plane = MPlane(position, normal, true);
            zone.fromEdgePair = true;
        }
    }
}

// In-plane axes from the spread of the hull vertices. They are the
// principal axes folded into the plane and left at their folded length, so
// that the extent is measured, and stored, in those units.
void fitAxesToHull(MPlane &plane, const std::vector<MVector3d> &vertices)
{
    const int n = static_cast<int>(vertices.size());
    const MPrincipalComponentAnalysis pca(vertices.data(), n);
    const MVector3d normal = plane.normal();
    plane.setU(normal.cross(pca.eigenVector(0)).cross(normal));
    plane.setV(normal.cross(pca.eigenVector(1)).cross(normal));
    plane.setPosition(plane.projection(pca.center()));
    fitPlaneExtent(plane, vertices.data(), n);
}

// Flat input has no hull: the least-squares plane, moved to the middle of
// the points' distances.
MPlane flatZone(const MPointCloud &cloud, double *flatness, double *minDeviation, double *maxDeviation)
{
    MPlane plane = cloud.fitPlane();
    if (!plane.isValid()) {
        setIfGiven(flatness, MInvalid);
        return plane;
    }
    double low = MInvalid, high = -MInvalid;
    for (int i = 0; i < cloud.numPoints(); ++i)
        if (cloud.points()[i].isValid())
            extendRange(plane.distance(cloud.points()[i]), low, high);
    // The deviations are those about the least-squares plane, before it
    // moves to the middle, as callers of this path have always read them.
    setIfGiven(flatness, high - low);
    setIfGiven(minDeviation, low);
    setIfGiven(maxDeviation, high);
    plane.setPosition(plane.position() + plane.normal() * ((low + high) * 0.5));
    return plane;
}

} // namespace

MPlane MPointCloud::fitPlaneMZ(double *flatness, double *minDeviation, double *maxDeviation) const
{
    const MConvexHull hull = convexHullOf(points(), numPoints());
    if (hull.numTriangles() == 0)
        return flatZone(*this, flatness, minDeviation, maxDeviation);
    Zone zone;
    narrowToFaces(hull, zone);
    narrowToEdgePairs(hull, zone);
    const double half = zone.width * 0.5;
    MPlane plane = zone.plane;
    // A face plane bounds the zone; an edge-pair plane already lies midway.
    if (!zone.fromEdgePair)
        plane.setPosition(plane.position() - plane.normal() * half);
    setIfGiven(flatness, zone.width);
    setIfGiven(minDeviation, -half);
    setIfGiven(maxDeviation, half);
    fitAxesToHull(plane, hull.vertices);
    return plane;
}

} // namespace ZOLAR3D
