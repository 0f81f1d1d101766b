#include "metrology/mesh/detail/MConvexHull.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <unordered_map>
#include <utility>

namespace ZOLAR3D {

std::vector<int> MConvexHull::edges() const
{
    std::vector<int> result;
    result.reserve(triangles.size());
    for (size_t t = 0; t + 2 < triangles.size(); t += 3)
        for (int k = 0; k < 3; ++k) {
            const int a = triangles[t + k], b = triangles[t + (k + 1) % 3];
            if (a < b) {
                result.push_back(a);
                result.push_back(b);
            }
        }
    return result;
}

namespace {

// A hull triangle. Side k runs from corner k to corner k + 1; neighbour[k]
// is the triangle across it. The points that lie in front of the plane by
// more than the tolerance wait in `outside` until they are added or found
// to be inside.
struct Face {
    int corner[3];
    int neighbour[3];
    MVector3d normal;
    std::vector<int> outside;
    bool alive = true;
    int visibleStamp = -1;
};

struct HorizonEdge {
    int from, to, beyond;
};

// Quickhull over points moved to the centre of their bounding box, so that
// plane tests keep their digits far from the origin.
class HullBuilder {
public:
    HullBuilder(std::vector<MVector3d> points, double tolerance) : m_points(std::move(points)), m_tolerance(tolerance) {}

    bool buildSimplex();
    void expand();
    // Whether every side is convex: no neighbour's far corner stands more
    // than a few tolerances in front of a face.
    bool isLocallyConvex() const;
    // Hull triangles with their corners renumbered into the vertices kept.
    void collect(std::vector<int> &cornersUsed, std::vector<int> &triangles) const;

private:
    double height(const Face &face, int point) const
    {
        return face.normal.dot(m_points[point] - m_points[face.corner[0]]);
    }
    MVector3d outwardNormal(int a, int b, int c) const
    {
        return (m_points[b] - m_points[a]).cross(m_points[c] - m_points[a]).normalized();
    }
    void assign(int point, int firstFace);
    // Replaces the faces that see eye, those more than `visibleAbove` in
    // front of it, by a cone from eye over their rim; false, with nothing
    // changed, when those faces do not form one disc.
    bool addPoint(int faceIndex, int eye, double visibleAbove);
    bool orderedHorizon(std::vector<HorizonEdge> &edges) const;

    std::vector<MVector3d> m_points;
    std::vector<Face> m_faces;
    double m_tolerance;
    int m_stamp = 0;
};

int farthestFrom(const std::vector<MVector3d> &points, const MVector3d &origin, const MVector3d &axis, bool alongAxis)
{
    int best = -1;
    double bestValue = -1.0;
    for (int i = 0; i < static_cast<int>(points.size()); ++i) {
        const MVector3d d = points[i] - origin;
        const double value = alongAxis ? std::abs(d.dot(axis)) : d.cross(axis).norm();
        if (value > bestValue) {
            bestValue = value;
            best = i;
        }
    }
    return best;
}

bool HullBuilder::buildSimplex()
{
    const int n = static_cast<int>(m_points.size());
    if (n < 4)
        return false;
    int low[3] = {0, 0, 0}, high[3] = {0, 0, 0};
    for (int i = 0; i < n; ++i)
        for (int k = 0; k < 3; ++k) {
            if (m_points[i][k] < m_points[low[k]][k])
                low[k] = i;
            if (m_points[i][k] > m_points[high[k]][k])
                high[k] = i;
        }
    int a = low[0], b = high[0];
    for (int k = 1; k < 3; ++k)
        if (m_points[high[k]].distance(m_points[low[k]]) > m_points[b].distance(m_points[a])) {
            a = low[k];
            b = high[k];
        }
    if (m_points[b].distance(m_points[a]) <= m_tolerance)
        return false;
    const MVector3d axis = (m_points[b] - m_points[a]).normalized();
    int c = farthestFrom(m_points, m_points[a], axis, false);
    if ((m_points[c] - m_points[a]).cross(axis).norm() <= m_tolerance)
        return false;
    const MVector3d baseNormal = outwardNormal(a, b, c);
    const int d = farthestFrom(m_points, m_points[a], baseNormal, true);
    const double apexHeight = baseNormal.dot(m_points[d] - m_points[a]);
    if (std::abs(apexHeight) <= m_tolerance)
        return false;
    // The apex must lie behind the base, so that all four faces look out.
    if (apexHeight > 0.0)
        std::swap(b, c);
    const int corners[4][3] = {{a, b, c}, {a, d, b}, {b, d, c}, {c, d, a}};
    for (const auto &corner : corners) {
        Face face;
        std::copy(corner, corner + 3, face.corner);
        face.normal = outwardNormal(corner[0], corner[1], corner[2]);
        m_faces.push_back(std::move(face));
    }
    // Each side of the tetrahedron meets the one face that runs along it backwards.
    for (Face &face : m_faces)
        for (int k = 0; k < 3; ++k)
            for (int g = 0; g < 4; ++g)
                for (int j = 0; j < 3; ++j)
                    if (m_faces[g].corner[j] == face.corner[(k + 1) % 3] &&
                        m_faces[g].corner[(j + 1) % 3] == face.corner[k])
                        face.neighbour[k] = g;
    for (int i = 0; i < n; ++i)
        if (i != a && i != b && i != c && i != d)
            assign(i, 0);
    return true;
}

// Hands the point to the first face from firstFace on that sees it; a point
// that no face sees lies inside, within the tolerance, and is dropped.
void HullBuilder::assign(int point, int firstFace)
{
    for (int f = firstFace; f < static_cast<int>(m_faces.size()); ++f)
        if (m_faces[f].alive && height(m_faces[f], point) > m_tolerance) {
            m_faces[f].outside.push_back(point);
            return;
        }
}

void HullBuilder::expand()
{
    for (size_t f = 0; f < m_faces.size(); ++f)
        while (m_faces[f].alive && !m_faces[f].outside.empty()) {
            std::vector<int> &outside = m_faces[f].outside;
            size_t far = 0;
            double farHeight = -1.0;
            for (size_t i = 0; i < outside.size(); ++i) {
                const double h = height(m_faces[f], outside[i]);
                if (h > farHeight) {
                    farHeight = h;
                    far = i;
                }
            }
            const int eye = outside[far];
            outside[far] = outside.back();
            outside.pop_back();
            // Where the eye lies nearly in the plane of a patch of faces,
            // rounding can make the faces that see it enclose one that does
            // not. Taking in the faces it lies on as well resolves that; a
            // point that still finds no disc lies within a hair of the hull
            // and is left out rather than tearing the surface.
            if (!addPoint(static_cast<int>(f), eye, m_tolerance))
                addPoint(static_cast<int>(f), eye, -m_tolerance);
        }
}

bool HullBuilder::orderedHorizon(std::vector<HorizonEdge> &edges) const
{
    if (edges.empty())
        return false;
    std::unordered_map<int, int> byStart;
    for (int i = 0; i < static_cast<int>(edges.size()); ++i)
        if (!byStart.emplace(edges[i].from, i).second)
            return false;
    std::vector<HorizonEdge> cycle;
    cycle.reserve(edges.size());
    int current = 0;
    do {
        cycle.push_back(edges[current]);
        const auto next = byStart.find(edges[current].to);
        if (next == byStart.end())
            return false;
        current = next->second;
    } while (current != 0 && cycle.size() <= edges.size());
    if (cycle.size() != edges.size())
        return false;
    edges.swap(cycle);
    return true;
}

bool HullBuilder::addPoint(int faceIndex, int eye, double visibleAbove)
{
    const int stamp = ++m_stamp;
    std::vector<int> visible{faceIndex};
    m_faces[faceIndex].visibleStamp = stamp;
    std::vector<HorizonEdge> horizon;
    for (size_t i = 0; i < visible.size(); ++i) {
        const Face &face = m_faces[visible[i]];
        for (int k = 0; k < 3; ++k) {
            const int g = face.neighbour[k];
            if (m_faces[g].visibleStamp != stamp && height(m_faces[g], eye) > visibleAbove) {
                m_faces[g].visibleStamp = stamp;
                visible.push_back(g);
            }
        }
    }
    for (int f : visible)
        for (int k = 0; k < 3; ++k) {
            const Face &face = m_faces[f];
            if (m_faces[face.neighbour[k]].visibleStamp != stamp)
                horizon.push_back({face.corner[k], face.corner[(k + 1) % 3], face.neighbour[k]});
        }
    if (!orderedHorizon(horizon))
        return false;
    std::vector<MVector3d> normals;
    normals.reserve(horizon.size());
    for (const HorizonEdge &edge : horizon) {
        normals.push_back(outwardNormal(edge.from, edge.to, eye));
        if (!normals.back().isValid())
            return false;
    }

    const int first = static_cast<int>(m_faces.size());
    const int count = static_cast<int>(horizon.size());
    for (int i = 0; i < count; ++i) {
        Face face;
        face.corner[0] = horizon[i].from;
        face.corner[1] = horizon[i].to;
        face.corner[2] = eye;
        face.normal = normals[i];
        face.neighbour[0] = horizon[i].beyond;
        face.neighbour[1] = first + (i + 1) % count;
        face.neighbour[2] = first + (i + count - 1) % count;
        Face &beyond = m_faces[horizon[i].beyond];
        for (int k = 0; k < 3; ++k)
            if (beyond.corner[k] == horizon[i].to)
                beyond.neighbour[k] = first + i;
        m_faces.push_back(std::move(face));
    }
    for (int f : visible) {
        m_faces[f].alive = false;
        std::vector<int> orphans;
        orphans.swap(m_faces[f].outside);
        for (int point : orphans)
            assign(point, first);
    }
    return true;
}

bool HullBuilder::isLocallyConvex() const
{
    for (const Face &face : m_faces) {
        if (!face.alive)
            continue;
        for (int k = 0; k < 3; ++k) {
            const Face &other = m_faces[face.neighbour[k]];
            for (int corner : other.corner)
                if (height(face, corner) > 4.0 * m_tolerance)
                    return false;
        }
    }
    return true;
}

void HullBuilder::collect(std::vector<int> &cornersUsed, std::vector<int> &triangles) const
{
    std::vector<int> renumbered(m_points.size(), -1);
    for (const Face &face : m_faces) {
        if (!face.alive)
            continue;
        for (int corner : face.corner) {
            if (renumbered[corner] < 0) {
                renumbered[corner] = static_cast<int>(cornersUsed.size());
                cornersUsed.push_back(corner);
            }
            triangles.push_back(renumbered[corner]);
        }
    }
}

} // namespace

MConvexHull convexHullOf(const MVector3d *points, int n)
{
    MConvexHull hull;
    std::vector<int> source;
    MVector3d low(DBL_MAX, DBL_MAX, DBL_MAX), high(-DBL_MAX, -DBL_MAX, -DBL_MAX);
    for (int i = 0; i < n; ++i)
        if (points[i].isValid()) {
            source.push_back(i);
            for (int k = 0; k < 3; ++k) {
                low[k] = std::min(low[k], points[i][k]);
                high[k] = std::max(high[k], points[i][k]);
            }
        }
    if (source.size() < 4)
        return hull;
    const MVector3d centre = (low + high) * 0.5;
    std::vector<MVector3d> centred;
    centred.reserve(source.size());
    for (int i : source)
        centred.push_back(points[i] - centre);
    double extent = 0.0, magnitude = 0.0;
    for (int k = 0; k < 3; ++k) {
        extent = std::max(extent, high[k] - low[k]);
        magnitude = std::max({magnitude, std::abs(low[k]), std::abs(high[k])});
    }
    // Plane tests of centred points err by a few units in the last place of
    // the extent, plus what the shift lost of the original coordinates.
    double tolerance = 1e-12 * extent + 16.0 * DBL_EPSILON * magnitude;
    // Points that stand off a patch of faces by about the tolerance can make
    // sliver faces that fold the surface. Such a build is redone with a
    // coarser tolerance, under which those points count as lying on the
    // patch, up to a millionth of the extent.
    HullBuilder builder(centred, tolerance);
    while (true) {
        if (!builder.buildSimplex())
            return hull;
        builder.expand();
        if (builder.isLocallyConvex() || tolerance > 1e-6 * extent)
            break;
        tolerance *= 100.0;
        builder = HullBuilder(centred, tolerance);
    }
    std::vector<int> cornersUsed;
    builder.collect(cornersUsed, hull.triangles);
    hull.vertices.reserve(cornersUsed.size());
    for (int corner : cornersUsed)
        hull.vertices.push_back(points[source[corner]]);
    return hull;
}

} // namespace ZOLAR3D
