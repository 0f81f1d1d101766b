#pragma once

#include "MInvalid.h"
#include "MMatrix4.h"
#include "MVector3d.h"
#include "Zol3DExport.h"

#include <algorithm>
#include <cmath>
#include <iosfwd>

namespace ZOLAR3D {

class MLine;

// A circular cylinder around the axis through its position, the middle of
// the axis. The distance is to the infinite mantle, without end caps; the
// projection and the intersection keep to the mantle between the two ends.
class ZOL3D_API MCylinder {
public:
    MCylinder() = default;
    MCylinder(const MVector3d &position, const MVector3d &direction, double radius, double length,
              bool alreadyNormalized = false)
        : m_position(position), m_radius(radius), m_length(length)
    {
        setDirection(direction, alreadyNormalized);
    }

    const MVector3d &position() const { return m_position; }
    const MVector3d &direction() const { return m_direction; }
    double radius() const { return m_radius; }
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
    void setLength(double length) { m_length = length; }

    bool operator==(const MCylinder &o) const
    {
        return m_position == o.m_position && m_direction == o.m_direction && m_radius == o.m_radius &&
               m_length == o.m_length;
    }
    bool operator!=(const MCylinder &o) const { return !(*this == o); }

    // Joined without branches so that a loop over points tests the cylinder once.
    bool isValid() const
    {
        return (int(m_position.isValid()) & int(m_direction.isValid()) & int(m_radius > 0.0) & int(m_radius < MInvalid)) != 0;
    }
    void invalidate() { m_position.invalidate(); }

    double diameter() const { return isValid() ? 2.0 * m_radius : MInvalid; }
    void flip() { m_direction.invert(); }
    // The axis as a line through the position, carrying the length.
    MLine axis() const;

    // Signed distance to the infinite mantle: negative inside, the length
    // plays no part. The marker on invalid input.
    double distance(const MVector3d &p) const
    {
        if (!isValid() || !p.isValid())
            return MInvalid;
        const MVector3d c = m_direction.cross(p - m_position);
        return std::sqrt(c.dot(c)) - m_radius;
    }
    // The nearest point of the mantle between the two ends; beyond an end
    // that is the rim of the end. A point on the axis takes the fixed
    // perpendicular of the direction as its radial direction. Infinity on
    // invalid input.
    MVector3d projection(const MVector3d &p) const
    {
        if (!isValid() || !p.isValid())
            return MVector3d::Infinity;
        const MVector3d w = p - m_position;
        const double along = w.dot(m_direction);
        const MVector3d radial = w - m_direction * along;
        const double squaredRadial = radial.dot(radial);
        const MVector3d outwards =
            squaredRadial < 1e-12 ? onAxisDirection(m_direction) : radial / std::sqrt(squaredRadial);
        const double half = 0.5 * m_length;
        const double clamped = std::min(std::max(along, -half), half);
        return m_position + m_direction * clamped + outwards * m_radius;
    }

    // Whether the line meets the mantle between the two ends (anywhere along
    // the axis when the length is the marker). The hit nearest to the line's
    // position goes to `point`, which is untouched on a miss. A line parallel
    // to the axis never counts.
    bool intersection(const MLine &line, MVector3d &point) const;

    // Local frame: origin at the position, Z along the direction; Zero when invalid.
    MMatrix4 pose() const;
    void applyTransformation(const MMatrix4 &m);

    bool load(const char *path);
    bool load(const wchar_t *path);
    bool save(const char *path) const;
    bool save(const wchar_t *path) const;

private:
    static MVector3d onAxisDirection(const MVector3d &direction);

    MVector3d m_position;
    MVector3d m_direction;
    double m_radius = MInvalid;
    double m_length = MInvalid;
};

ZOL3D_API std::wostream &operator<<(std::wostream &out, const MCylinder &cylinder);
ZOL3D_API std::wistream &operator>>(std::wistream &in, MCylinder &cylinder);

} // namespace ZOLAR3D
