#include "MCone.h"

#include "MLine.h"
#include "metrology/shapes/detail/MAxialShape.h"
#include "metrology/shapes/detail/MQuadratic.h"

namespace ZOLAR3D {

MLine MCone::axis() const { return MLine(m_position, m_direction, m_length); }

MVector3d MCone::apex() const
{
    const double toApex = m_radius / std::tan(0.5 * m_angle);
    if (!isValid() || !std::isfinite(toApex))
        return MVector3d::Infinity;
    return m_position + m_direction * toApex;
}

MVector3d MCone::baseCenter() const
{
    if (!isValid() || m_length == MInvalid)
        return MVector3d::Infinity;
    return m_position - m_direction * (0.5 * m_length);
}

MVector3d MCone::capCenter() const
{
    if (!isValid() || m_length == MInvalid)
        return MVector3d::Infinity;
    return m_position + m_direction * (0.5 * m_length);
}

// Both end radii are measured from the apex, so that a cap placed exactly at
// the apex has the radius 0 and not a rounding residue. An opening angle of 0
// has no apex: the radius is the same everywhere.
double MCone::baseRadius() const
{
    if (!isValid() || m_length == MInvalid)
        return MInvalid;
    const double slope = std::tan(0.5 * m_angle);
    const double toApex = m_radius / slope;
    return std::isfinite(toApex) ? (toApex + 0.5 * m_length) * slope : m_radius;
}

double MCone::capRadius() const
{
    if (!isValid())
        return MInvalid;
    if (m_length == MInvalid)
        return 0.0;
    const double slope = std::tan(0.5 * m_angle);
    const double toApex = m_radius / slope;
    return std::isfinite(toApex) ? (toApex - 0.5 * m_length) * slope : m_radius;
}

MVector3d MCone::onAxisDirection(const MVector3d &direction) { return MAxialShape::unitPerpendicular(direction); }

bool MCone::intersection(const MLine &line, MVector3d &point) const
{
    if (!isValid() || !line.isValid())
        return false;
    // Along the line o + t l, the axial coordinate is a0 + a1 t and the mantle
    // radius there rho0 + rho1 t; the part of the line across the axis is
    // w + t v. A hit has |w + t v|^2 = (rho0 + rho1 t)^2 with rho >= 0, the
    // nappe that ends at the apex.
    const MVector3d offset = line.position() - m_position;
    const double a0 = offset.dot(m_direction);
    const double a1 = line.direction().dot(m_direction);
    const MVector3d w = offset - m_direction * a0;
    const MVector3d v = line.direction() - m_direction * a1;
    const double slope = m_sinHalf / m_cosHalf;
    const double rho0 = m_radius - slope * a0;
    const double rho1 = -slope * a1;
    const double a = v.dot(v) - rho1 * rho1;
    const double halfB = w.dot(v) - rho0 * rho1;
    const double c = w.dot(w) - rho0 * rho0;
    // halfB^2 - a c, written as |rho0 v - rho1 w|^2 - |w x v|^2 so that the
    // large products of the plain form do not cancel.
    const MVector3d spread = v * rho0 - w * rho1;
    const MVector3d across = w.cross(v);
    const double discriminant = spread.dot(spread) - across.dot(across);
    const MQuadratic hits(a, halfB, c, discriminant, v.dot(v) + rho1 * rho1);

    const double half = 0.5 * m_length;
    const auto onPart = [&](double t) {
        return rho0 + rho1 * t >= 0.0 && (m_length == MInvalid || std::fabs(a0 + a1 * t) <= half);
    };
    double nearest = 0.0;
    if (!hits.nearestAccepted(onPart, nearest))
        return false;
    point = line.position() + line.direction() * nearest;
    return true;
}

MMatrix4 MCone::pose() const { return isValid() ? MAxialShape::pose(m_position, m_direction) : MMatrix4::Zero; }

void MCone::applyTransformation(const MMatrix4 &m) { MAxialShape::transform(isValid(), m, m_position, m_direction); }

} // namespace ZOLAR3D
