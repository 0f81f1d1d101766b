#pragma once

#include "MInvalid.h"
#include "MMatrix4.h"
#include "MVector3d.h"
#include "Zol3DExport.h"

#include <cmath>
#include <iosfwd>

namespace ZOLAR3D {

class MLine;

// A circular cone around the axis through its position, the middle of the
// axis, where the radius is `radius`. The direction points to the apex, so
// the radius grows towards the base; `angle` is the full opening angle.
// Distance and projection are to the infinite mantle of the one nappe that
// ends at the apex; the intersection keeps to the part between the two ends.
//
// Sine and cosine of the half angle are kept beside the angle so that the
// per-point queries need no trigonometry.
class ZOL3D_API MCone {
public:
    MCone() { setAngle(MInvalid); }
    MCone(const MVector3d &position, const MVector3d &direction, double radius, double angle, double length,
          bool alreadyNormalized = false)
        : m_position(position), m_radius(radius), m_length(length)
    {
        setDirection(direction, alreadyNormalized);
        setAngle(angle);
    }

    const MVector3d &position() const { return m_position; }
    const MVector3d &direction() const { return m_direction; }
    double radius() const { return m_radius; }
    double angle() const { return m_angle; }
    double length() const { return m_length; }
    void setPosition(const MVector3d &position) { m_position = position; }
    // Normalised unless the caller vouches for it or it is invalid.
    void setDirection(const MVector3d &direction, bool alreadyNormalized = false)
    {
        m_direction = direction;
        if (!alreadyNormalized && direction.isValid())
            m_direction.normalize();
    }
    void setRadius(double radius) { m_radius = radius; }
    void setAngle(double angle)
    {
        m_angle = angle;
        m_sinHalf = std::sin(0.5 * angle);
        m_cosHalf = std::cos(0.5 * angle);
    }
    void setLength(double length) { m_length = length; }

    bool operator==(const MCone &o) const
    {
        return m_position == o.m_position && m_direction == o.m_direction && m_radius == o.m_radius &&
               m_angle == o.m_angle && m_length == o.m_length;
    }
    bool operator!=(const MCone &o) const { return !(*this == o); }

    // Joined without branches so that a loop over points tests the cone once.
    bool isValid() const
    {
        return (int(m_position.isValid()) & int(m_direction.isValid()) & int(m_radius > 0.0) & int(m_radius < MInvalid)) != 0;
    }
    void invalidate() { m_position.invalidate(); }

    // Negates the direction, so the cone opens the other way.
    void flip() { m_direction.invert(); }
    MLine axis() const;
    // Infinity when invalid or when the opening angle puts the apex at infinity.
    MVector3d apex() const;
    // The ends of the axis: the base away from the apex, the cap towards it.
    // Infinity when invalid or when the length is the marker.
    MVector3d baseCenter() const;
    MVector3d capCenter() const;
    // The marker when invalid or, for the base, when the length is the marker.
    double baseRadius() const;
    // 0 when the length is the marker: the cone then runs up to its apex.
    double capRadius() const;

    // Signed distance to the mantle, positive outside. Beyond the apex, where
    // the perpendicular from the point to the mantle line would leave the
    // nappe, the apex is the nearest point. The marker on invalid input.
    double distance(const MVector3d &p) const
    {
        if (!isValid() || !p.isValid())
            return MInvalid;
        const MVector3d w = p - m_position;
        const double along = w.dot(m_direction);
        const MVector3d c = w.cross(m_direction);
        const double radial = std::sqrt(c.dot(c));
        if (footRadius(along, radial) < 0.0)
            return distanceToApex(along, radial);
        return m_sinHalf * along + m_cosHalf * (radial - m_radius);
    }
    // The nearest point of the mantle, found in the plane through the axis and
    // the point; the apex for points beyond it. A point on the axis takes the
    // fixed perpendicular of the direction as its radial direction. Infinity
    // on invalid input.
    MVector3d projection(const MVector3d &p) const
    {
        if (!isValid() || !p.isValid())
            return MVector3d::Infinity;
        const MVector3d w = p - m_position;
        const double along = w.dot(m_direction);
        const MVector3d radialPart = w - m_direction * along;
        const double squaredRadial = radialPart.dot(radialPart);
        const bool onAxis = squaredRadial < 1e-12;
        const double radial = onAxis ? 0.0 : std::sqrt(squaredRadial);
        const double foot = footRadius(along, radial);
        if (foot < 0.0)
            return apex();
        const MVector3d outwards = onAxis ? onAxisDirection(m_direction) : radialPart / radial;
        return m_position + m_direction * (-generatrixOffset(along, radial) * m_cosHalf) + outwards * foot;
    }

    // Whether the line meets the mantle between the two ends (up to the apex
    // and without limit towards the base when the length is the marker). The
    // hit nearest to the line's position goes to `point`, which is untouched
    // on a miss.
    bool intersection(const MLine &line, MVector3d &point) const;

    // Local frame: origin at the position, Z along the direction; Zero when invalid.
    MMatrix4 pose() const;
    void applyTransformation(const MMatrix4 &m);

    bool load(const char *path);
    bool load(const wchar_t *path);
    bool save(const char *path) const;
    bool save(const wchar_t *path) const;

private:
    // In the half plane of axial and radial coordinates the mantle is the line
    // through (0, radius) with direction (-cos, sin), pointing to the base.
    // The offset along it of the foot of the perpendicular from (along, radial):
    double generatrixOffset(double along, double radial) const
    {
        return (radial - m_radius) * m_sinHalf - along * m_cosHalf;
    }
    // The radial coordinate of that foot; negative past the apex.
    double footRadius(double along, double radial) const
    {
        return m_radius + generatrixOffset(along, radial) * m_sinHalf;
    }
    double distanceToApex(double along, double radial) const
    {
        const double pastApex = along - m_radius * m_cosHalf / m_sinHalf;
        return std::sqrt(pastApex * pastApex + radial * radial);
    }
    static MVector3d onAxisDirection(const MVector3d &direction);

    MVector3d m_position;
    MVector3d m_direction;
    double m_radius = MInvalid;
    double m_angle = MInvalid;
    double m_length = MInvalid;
    double m_sinHalf;
    double m_cosHalf;
};

ZOL3D_API std::wostream &operator<<(std::wostream &out, const MCone &cone);
ZOL3D_API std::wistream &operator>>(std::wistream &in, MCone &cone);

} // namespace ZOLAR3D
