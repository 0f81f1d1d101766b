#pragma once

#include "MInvalid.h"
#include "MMatrix4.h"
#include "MVector3d.h"
#include "Zol3DExport.h"

#include <cmath>
#include <iosfwd>

namespace ZOLAR3D {

class MLineSegment;
class MRay;

// An infinite line: a position on it and a unit direction. The length
// attribute only remembers how long the line was meant to be, so that it can
// be turned back into a segment; distances and projections ignore it, and the
// marker means that no length is set.
class ZOL3D_API MLine {
public:
    MLine() = default;
    // A marker length takes the length of the direction as passed in.
    MLine(const MVector3d &position, const MVector3d &direction, double length = MInvalid,
          bool alreadyNormalized = false)
        : m_position(position), m_direction(direction), m_length(length == MInvalid ? direction.norm() : length)
    {
        if (!alreadyNormalized)
            m_direction.normalize();
    }

    static const MLine XAxis;
    static const MLine YAxis;
    static const MLine ZAxis;

    static MLine From(const MLineSegment &segment);
    static MLine From(const MRay &ray);
    static MLine From(const MVector3d &a, const MVector3d &b);
    void from(const MLineSegment &segment);
    void from(const MRay &ray);

    const MVector3d &position() const { return m_position; }
    void setPosition(const MVector3d &position) { m_position = position; }
    const MVector3d &direction() const { return m_direction; }
    void setDirection(const MVector3d &direction, bool alreadyNormalized = false)
    {
        m_direction = direction;
        if (!alreadyNormalized)
            m_direction.normalize();
    }
    double lengthAttribute() const { return m_length; }
    void setLengthAttribute(double length) { m_length = length; }

    // A direction set as already normalised but not of unit length makes the
    // line invalid, so every query can rely on |direction| = 1.
    bool isValid() const
    {
        // The unit length test also rejects a direction holding the marker,
        // NaN or an infinity, so the direction needs no test of its own.
        return m_position.isValid() && std::fabs(m_direction.dot(m_direction) - 1.0) < 1e-14;
    }
    void invalidate() { m_position.invalidate(); }

    bool operator==(const MLine &o) const
    {
        return m_position == o.m_position && m_direction == o.m_direction && m_length == o.m_length;
    }
    bool operator!=(const MLine &o) const { return !(*this == o); }

    MVector3d at(double t) const { return isValid() ? m_position + m_direction * t : MVector3d::Infinity; }
    // The negated marker would read as a valid number, so an invalid
    // direction stays as it is.
    void flip()
    {
        if (m_direction.isValid())
            m_direction = -m_direction;
    }

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
    // The foot of p on the line; t receives its signed distance from the position.
    MVector3d projection(const MVector3d &p, double *t = nullptr) const
    {
        if (!isValid() || !p.isValid())
            return MVector3d::Infinity;
        const double along = (p - m_position).dot(m_direction);
        if (t)
            *t = along;
        return m_position + m_direction * along;
    }

    double distance(const MLine &other) const;
    // The point of this line closest to the other line.
    MVector3d projection(const MLine &other) const;
    // Midpoint of the two closest points; the caller compares distance() to
    // learn whether the lines actually meet.
    MVector3d intersection(const MLine &other) const;

    void applyTransformation(const MMatrix4 &m);
    // Frame with its origin at the position and its Z axis along the direction.
    MMatrix4 pose() const;

    bool load(const char *path);
    bool load(const wchar_t *path);
    bool save(const char *path) const;
    bool save(const wchar_t *path) const;

private:
    double squaredDistanceOfValid(const MVector3d &p) const
    {
        const MVector3d c = m_direction.cross(p - m_position);
        return c.dot(c);
    }

    MVector3d m_position;
    MVector3d m_direction;
    double m_length = MInvalid;
};

ZOL3D_API std::wostream &operator<<(std::wostream &out, const MLine &line);
ZOL3D_API std::wistream &operator>>(std::wistream &in, MLine &line);

} // namespace ZOLAR3D
