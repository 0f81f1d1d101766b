#include "MTriangle.h"

#include "metrology/shapes/detail/MShapeFrame.h"

namespace ZOLAR3D {

MVector3d MTriangle::centroid() const
{
    if (!hasValidVertices())
        return MVector3d::Infinity;
    return (m_vertex[0] + m_vertex[1] + m_vertex[2]) / 3.0;
}

double MTriangle::length() const
{
    if (!hasValidVertices())
        return MInvalid;
    const MVector3d &a = m_vertex[0], &b = m_vertex[1], &c = m_vertex[2];
    return a.distance(b) + a.distance(c) + b.distance(c);
}

// Formed from the edges leaving a rather than from the coordinates
// themselves, so that triangles far from the origin keep their digits.
double MTriangle::area() const
{
    if (!hasValidVertices())
        return MInvalid;
    const MVector3d ab = m_vertex[1] - m_vertex[0];
    const MVector3d ac = m_vertex[2] - m_vertex[0];
    return (ab.x() * ac.y() - ab.y() * ac.x()) / 2.0;
}

MVector3d MTriangle::normal() const
{
    if (!hasValidVertices())
        return MVector3d::Infinity;
    return (m_vertex[0] - m_vertex[1]).cross(m_vertex[1] - m_vertex[2]).normalized();
}

bool MTriangle::pointInTriangle(const MVector3d &p) const
{
    if (!hasValidVertices() || !p.isValid())
        return false;
    const MVector3d ab = m_vertex[1] - m_vertex[0];
    const MVector3d ac = m_vertex[2] - m_vertex[0];
    const MVector3d ap = p - m_vertex[0];
    const double twiceArea = ab.x() * ac.y() - ab.y() * ac.x();
    const double towardsB = (ap.x() * ac.y() - ap.y() * ac.x()) / twiceArea;
    const double towardsC = (ab.x() * ap.y() - ab.y() * ap.x()) / twiceArea;
    constexpr double margin = -1e-7;
    return towardsB >= margin && towardsC >= margin && 1.0 - towardsB - towardsC >= margin;
}

// Moller-Trumbore, with the line counted in both directions.
MVector3d MTriangle::intersection(const MLine &line, double &t) const
{
    if (!hasValidVertices() || !line.isValid())
        return MVector3d();
    const MVector3d &d = line.direction();
    const MVector3d e1 = m_vertex[1] - m_vertex[0];
    const MVector3d e2 = m_vertex[2] - m_vertex[0];
    const MVector3d h = d.cross(e2);
    const double determinant = e1.dot(h);
    if (determinant > -1e-8 && determinant < 1e-8)
        return MVector3d();
    const MVector3d s = line.position() - m_vertex[0];
    const double towardsB = s.dot(h) / determinant;
    if (towardsB < 0.0 || towardsB > 1.0)
        return MVector3d();
    const MVector3d q = s.cross(e1);
    const double towardsC = d.dot(q) / determinant;
    if (towardsC < 0.0 || towardsC > 1.0 || towardsB + towardsC > 1.0)
        return MVector3d();
    t = e2.dot(q) / determinant;
    return line.position() + d * t;
}

MMatrix4 MTriangle::pose() const
{
    if (!isValid())
        return MMatrix4::Zero;
    return shapePose(m_vertex[0] - m_vertex[1], m_vertex[1] - m_vertex[2], normal(), centroid());
}

// Invalid vertices stay as they are.
void MTriangle::applyTransformation(const MMatrix4 &m)
{
    for (MVector3d &vertex : m_vertex)
        m.transform(vertex);
}

} // namespace ZOLAR3D
