#pragma once

#include "MInvalid.h"
#include "MMatrix4.h"
#include "MVector3d.h"
#include "Zol3DExport.h"

#include <cmath>
#include <iosfwd>

namespace ZOLAR3D {

class MLine;

// A circle in space: the curve of points at `radius` from the position in
// the plane through it perpendicular to the normal. Distances are to the
// curve; only the line intersection treats the circle as a disc.
class ZOL3D_API MCircle {
public:
    MCircle() = default;
    // The normal is normalised unless the caller vouches for it or it is invalid.
    MCircle(const MVector3d &position, const MVector3d &normal, double radius, bool alreadyNormalized = false)
        : m_position(position), m_radius(radius)
    {
        setNormal(normal, alreadyNormalized);
    }

    const MVector3d &position() const { return m_position; }
    const MVector3d &normal() const { return m_normal; }
    double radius() const { return m_radius; }
    void setPosition(const MVector3d &position) { m_position = position; }
    // Normalised unless the caller vouches for it or it is invalid.
    void setNormal(const MVector3d &normal, bool alreadyNormalized = false)
    {
        m_normal = normal;
        if (!alreadyNormalized && normal.isValid())
            m_normal.normalize();
    }
    void setRadius(double radius) { m_radius = radius; }

    bool operator==(const MCircle &o) const
    {
        return m_position == o.m_position && m_normal == o.m_normal && m_radius == o.m_radius;
    }
    bool operator!=(const MCircle &o) const { return !(*this == o); }

    // Unit length of the normal is not part of validity. The terms are
    // joined without branches so that a loop over points tests the shape once.
    bool isValid() const
    {
        return (int(m_position.isValid()) & int(m_normal.isValid()) & int(m_radius > 0.0) & int(m_radius < MInvalid)) != 0;
    }
    void invalidate() { m_position.invalidate(); }

    double diameter() const { return isValid() ? 2.0 * m_radius : MInvalid; }
    void flip() { m_normal.invert(); }

    // Squared distance to the curve, not to the disc; the marker on invalid input.
    double squaredDistance(const MVector3d &p) const
    {
        return isValid() && p.isValid() ? squaredDistanceOfValid(p) : MInvalid;
    }
    double distance(const MVector3d &p) const
    {
        return isValid() && p.isValid() ? distanceOfValid(p) : MInvalid;
    }
    // The distance for a valid shape and a valid point, without the checks:
    // for loops that have checked both once.
    double distanceOfValid(const MVector3d &p) const { return std::sqrt(squaredDistanceOfValid(p)); }
    // The nearest point of the curve. A point on the axis is equally far from
    // every point of the curve and has no answer: Infinity, as for invalid input.
    MVector3d projection(const MVector3d &p) const
    {
        if (!isValid() || !p.isValid())
            return MVector3d::Infinity;
        const MVector3d w = p - m_position;
        const MVector3d inPlane = w - m_normal * w.dot(m_normal);
        const MVector3d radial = inPlane.normalized();
        if (!radial.isValid())
            return MVector3d::Infinity;
        return m_position + radial * m_radius;
    }

    // Where the line crosses the disc: the plane point when it lies within the
    // radius, else Infinity. t receives the line parameter of the plane point
    // whenever the plane is met, also when the disc is missed.
    MVector3d intersection(const MLine &line, double &t) const;

    // Local frame: origin at the position, Z along the normal; Zero when invalid.
    MMatrix4 pose() const;
    void applyTransformation(const MMatrix4 &m);

    bool load(const char *path);
    bool load(const wchar_t *path);
    bool save(const char *path) const;
    bool save(const wchar_t *path) const;

private:
    double squaredDistanceOfValid(const MVector3d &p) const
    {
        const MVector3d w = p - m_position;
        const double axial = w.dot(m_normal);
        const MVector3d c = w.cross(m_normal);
        const double radial = std::sqrt(c.dot(c)) - m_radius;
        return radial * radial + axial * axial;
    }

    MVector3d m_position;
    MVector3d m_normal;
    double m_radius = MInvalid;
};

ZOL3D_API std::wostream &operator<<(std::wostream &out, const MCircle &circle);
ZOL3D_API std::wistream &operator>>(std::wistream &in, MCircle &circle);

} // namespace ZOLAR3D
