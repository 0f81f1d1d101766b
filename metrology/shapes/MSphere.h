#pragma once

#include "MInvalid.h"
#include "MMatrix4.h"
#include "MVector3d.h"
#include "Zol3DExport.h"

#include <cmath>
#include <iosfwd>

namespace ZOLAR3D {

class MLine;

class ZOL3D_API MSphere {
public:
    MSphere() = default;
    MSphere(const MVector3d &position, double radius) : m_position(position), m_radius(radius) {}

    // Centred at the origin with radius 1.
    static const MSphere UnitSphere;

    const MVector3d &position() const { return m_position; }
    double radius() const { return m_radius; }
    void setPosition(const MVector3d &position) { m_position = position; }
    void setRadius(double radius) { m_radius = radius; }

    bool operator==(const MSphere &o) const { return m_position == o.m_position && m_radius == o.m_radius; }
    bool operator!=(const MSphere &o) const { return !(*this == o); }

    // Joined without branches so that a loop over points tests the sphere once.
    bool isValid() const { return (int(m_position.isValid()) & int(m_radius > 0.0) & int(m_radius < MInvalid)) != 0; }
    void invalidate() { m_position.invalidate(); }

    double diameter() const { return isValid() ? 2.0 * m_radius : MInvalid; }
    double volume() const;

    // Signed: negative inside. The marker on invalid input.
    double distance(const MVector3d &p) const { return isValid() && p.isValid() ? distanceOfValid(p) : MInvalid; }
    // The distance for a valid shape and a valid point, without the checks:
    // for loops that have checked both once.
    double distanceOfValid(const MVector3d &p) const
    {
        const MVector3d w = p - m_position;
        return std::sqrt(w.dot(w)) - m_radius;
    }
    // The nearest surface point. The centre has none: Infinity, as for invalid input.
    MVector3d projection(const MVector3d &p) const
    {
        if (!isValid() || !p.isValid())
            return MVector3d::Infinity;
        const MVector3d radial = (p - m_position).normalized();
        if (!radial.isValid())
            return MVector3d::Infinity;
        return m_position + radial * m_radius;
    }

    // The number of points where the line meets the sphere: 0, 1 when it
    // touches, 2 when it passes through. This function answers the count
    // only: both outputs receive the line's position, never the points
    // themselves, because that is the contract existing callers are built
    // on; they form position + u * direction on their own. Outputs are
    // written only as far as the count reaches.
    int intersection(const MLine &line, MVector3d &first, MVector3d &second) const;

    // Translation to the centre; Zero when invalid.
    MMatrix4 pose() const;
    // Moves the centre; the radius stays.
    void applyTransformation(const MMatrix4 &m);

    bool load(const char *path);
    bool load(const wchar_t *path);
    bool save(const char *path) const;
    bool save(const wchar_t *path) const;

private:
    MVector3d m_position;
    double m_radius = MInvalid;
};

ZOL3D_API std::wostream &operator<<(std::wostream &out, const MSphere &sphere);
ZOL3D_API std::wistream &operator>>(std::wistream &in, MSphere &sphere);

} // namespace ZOLAR3D
