#pragma once

#include "MInvalid.h"
#include "MMatrix4.h"
#include "MVector3d.h"
#include "Zol3DExport.h"

#include <cmath>
#include <iosfwd>

namespace ZOLAR3D {

class MLine;
class MLineSegment;

// A half line from its start along a unit direction. The length attribute
// plays the same part as in MLine.
class ZOL3D_API MRay {
public:
    MRay() = default;
    // A marker length takes the length of the direction as passed in.
    MRay(const MVector3d &start, const MVector3d &direction, double length = MInvalid, bool alreadyNormalized = false)
        : m_start(start), m_direction(direction), m_length(length == MInvalid ? direction.norm() : length)
    {
        if (!alreadyNormalized)
            m_direction.normalize();
    }

    static MRay From(const MLine &line);
    static MRay From(const MLineSegment &segment);
    void from(const MLine &line);
    void from(const MLineSegment &segment);

    const MVector3d &start() const { return m_start; }
    void setStart(const MVector3d &start) { m_start = start; }
    const MVector3d &direction() const { return m_direction; }
    void setDirection(const MVector3d &direction, bool alreadyNormalized = false)
    {
        m_direction = direction;
        if (!alreadyNormalized)
            m_direction.normalize();
    }
    double lengthAttribute() const { return m_length; }
    void setLengthAttribute(double length) { m_length = length; }

    bool isValid() const
    {
        // The unit length test also rejects a direction holding the marker,
        // NaN or an infinity, so the direction needs no test of its own.
        return m_start.isValid() && std::fabs(m_direction.dot(m_direction) - 1.0) < 1e-14;
    }
    void invalidate() { m_start.invalidate(); }

    bool operator==(const MRay &o) const
    {
        return m_start == o.m_start && m_direction == o.m_direction && m_length == o.m_length;
    }
    bool operator!=(const MRay &o) const { return !(*this == o); }

    MVector3d at(double t) const { return isValid() ? m_start + m_direction * t : MVector3d::Infinity; }
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
        return isValid() && p.isValid() ? std::sqrt(squaredDistanceOfValid(p)) : MInvalid;
    }
    // The closest point of the ray; t receives its distance from the start.
    MVector3d projection(const MVector3d &p, double *t = nullptr) const
    {
        if (!isValid() || !p.isValid())
            return MVector3d::Infinity;
        const double dot = (p - m_start).dot(m_direction);
        const double along = dot < 0.0 ? 0.0 : dot;
        if (t)
            *t = along;
        return m_start + m_direction * along;
    }

    void applyTransformation(const MMatrix4 &m);
    // Frame with its origin at the start and its Z axis along the direction.
    MMatrix4 pose() const;

    bool load(const char *path);
    bool load(const wchar_t *path);
    bool save(const char *path) const;
    bool save(const wchar_t *path) const;

private:
    // Points behind the start are nearest to the start itself.
    double squaredDistanceOfValid(const MVector3d &p) const
    {
        const MVector3d w = p - m_start;
        if (w.dot(m_direction) < 0.0)
            return w.dot(w);
        const MVector3d c = m_direction.cross(w);
        return c.dot(c);
    }

    MVector3d m_start;
    MVector3d m_direction;
    double m_length = MInvalid;
};

ZOL3D_API std::wostream &operator<<(std::wostream &out, const MRay &ray);
ZOL3D_API std::wistream &operator>>(std::wistream &in, MRay &ray);

} // namespace ZOLAR3D
