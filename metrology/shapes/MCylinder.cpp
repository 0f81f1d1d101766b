#include "MCylinder.h"

#include "MLine.h"
#include "metrology/shapes/detail/MAxialShape.h"
#include "metrology/shapes/detail/MQuadratic.h"

namespace ZOLAR3D {

MLine MCylinder::axis() const { return MLine(m_position, m_direction, m_length, false); }

MVector3d MCylinder::onAxisDirection(const MVector3d &direction) { return MAxialShape::unitPerpendicular(direction); }

bool MCylinder::intersection(const MLine &line, MVector3d &point) const
{
    if (!isValid() || !line.isValid())
        return false;
    // In the plane across the axis the line is w + t l and the mantle the
    // circle of the radius: |w + t l|^2 = r^2.
    const MVector3d offset = line.position() - m_position;
    const MVector3d w = offset - m_direction * offset.dot(m_direction);
    const MVector3d l = line.direction() - m_direction * line.direction().dot(m_direction);
    const double lineSquared = line.direction().dot(line.direction());
    // Parallel to the axis the line meets the mantle nowhere or along a whole
    // mantle line; neither gives a point.
    if (MQuadratic::negligible(l.dot(l), lineSquared))
        return false;
    const MVector3d across = w.cross(l);
    const double r2 = m_radius * m_radius;
    // (w.l)^2 - (l.l)(w.w - r^2), free of cancellation through |w x l|^2.
    const MQuadratic hits(l.dot(l), w.dot(l), w.dot(w) - r2, l.dot(l) * r2 - across.dot(across), lineSquared);

    const double half = 0.5 * m_length;
    const double offsetAlong = offset.dot(m_direction);
    const double lineAlong = line.direction().dot(m_direction);
    const auto withinEnds = [&](double t) {
        return m_length == MInvalid || std::fabs(offsetAlong + t * lineAlong) <= half;
    };
    double nearest = 0.0;
    const bool found = hits.nearestAccepted(withinEnds, nearest);
    if (found)
        point = line.position() + line.direction() * nearest;
    return found;
}

MMatrix4 MCylinder::pose() const { return isValid() ? MAxialShape::pose(m_position, m_direction) : MMatrix4::Zero; }

void MCylinder::applyTransformation(const MMatrix4 &m) { MAxialShape::transform(isValid(), m, m_position, m_direction); }

} // namespace ZOLAR3D
