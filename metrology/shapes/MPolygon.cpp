#include "MPolygon.h"

#include "MCircle.h"

#include "metrology/shapes/detail/MShapeFrame.h"

namespace ZOLAR3D {

bool MPolygon::operator==(const MPolygon &o) const
{
    if (size() != o.size())
        return false;
    for (int i = 0; i < size(); ++i)
        if (m_vertices[i] != o.m_vertices[i])
            return false;
    return true;
}

bool MPolygon::isValid() const
{
    for (int i = 0; i < size(); ++i)
        if (!m_vertices[i].isValid())
            return false;
    return true;
}

void MPolygon::invalidate()
{
    if (size() > 0)
        m_vertices[0].invalidate();
}

MVector3d MPolygon::centroid() const
{
    if (size() == 0 || !isValid())
        return MVector3d::Infinity;
    MVector3d sum(0.0, 0.0, 0.0);
    for (int i = 0; i < size(); ++i)
        sum += m_vertices[i];
    return sum / size();
}

double MPolygon::area() const
{
    if (size() == 0 || !isValid())
        return 0.0;
    const MVector3d n = normal();
    if (!n.isValid())
        return 0.0;
    MVector3d sum(0.0, 0.0, 0.0);
    for (int i = 0; i + 1 < size(); ++i)
        sum += m_vertices[i].cross(m_vertices[i + 1]);
    return sum.dot(n);
}

double MPolygon::length() const
{
    if (size() < 3)
        return MInvalid;
    const MVector3d &p0 = m_vertices[0], &p1 = m_vertices[1], &p2 = m_vertices[2];
    if (!p0.isValid() || !p1.isValid() || !p2.isValid())
        return MInvalid;
    return p0.distance(p1) + p0.distance(p2) + p1.distance(p2);
}

MVector3d MPolygon::normal() const
{
    if (size() < 3)
        return MVector3d::Infinity;
    const MVector3d &p0 = m_vertices[0], &p1 = m_vertices[1], &p2 = m_vertices[2];
    if (!p0.isValid() || !p1.isValid() || !p2.isValid())
        return MVector3d::Infinity;
    return (p0 - p1).cross(p1 - p2).normalized();
}

MMatrix4 MPolygon::pose() const
{
    const MVector3d n = normal();
    if (!n.isValid() || !isValid())
        return MMatrix4::Zero;
    return shapePose(m_vertices[0] - m_vertices[1], m_vertices[1] - m_vertices[2], n, centroid());
}

void MPolygon::applyTransformation(const MMatrix4 &m)
{
    for (int i = 0; i < size(); ++i)
        m.transform(m_vertices[i]);
}

// The five queries below hold their place in the interface for general
// polygons and give fixed answers that callers already test for: the marker,
// false, a default circle, and invalid points with the parameter untouched.

double MPolygon::distance(const MVector3d & /*p*/) const { return MInvalid; }

bool MPolygon::isConvex() const { return false; }

MCircle MPolygon::circumscribedCircle() const { return MCircle(); }

MVector3d MPolygon::intersection(const MLine & /*line*/, double & /*t*/) const { return MVector3d(); }

MVector3d MPolygon::projection(const MVector3d & /*p*/, double * /*t*/) const { return MVector3d(); }

} // namespace ZOLAR3D
