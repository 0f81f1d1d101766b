#pragma once

#include "MInvalid.h"
#include "MMatrix4.h"
#include "MVector3d.h"
#include "Zol3DExport.h"

#include <cmath>
#include <iosfwd>
#include <utility>

namespace ZOLAR3D {

class MLine;
class MRay;

// A finite segment between two points. A zero-length segment is valid.
class ZOL3D_API MLineSegment {
public:
    MLineSegment() = default;
    MLineSegment(const MVector3d &start, const MVector3d &end) : m_start(start), m_end(end) {}

    static MLineSegment From(const MLine &line);
    static MLineSegment From(const MRay &ray);
    static MLineSegment FromLine(const MLine &line) { return From(line); }
    void from(const MLine &line);
    void from(const MRay &ray);

    const MVector3d &start() const { return m_start; }
    void setStart(const MVector3d &start) { m_start = start; }
    const MVector3d &end() const { return m_end; }
    void setEnd(const MVector3d &end) { m_end = end; }

    bool isValid() const { return m_start.isValid() && m_end.isValid(); }
    void invalidate() { m_start.invalidate(); }

    bool operator==(const MLineSegment &o) const { return m_start == o.m_start && m_end == o.m_end; }
    bool operator!=(const MLineSegment &o) const { return !(*this == o); }

    // Unit direction from start to end; Infinity for an invalid or zero-length segment.
    MVector3d direction() const { return isValid() ? (m_end - m_start).normalized() : MVector3d::Infinity; }
    double length() const { return isValid() ? m_start.distance(m_end) : MInvalid; }
    MVector3d center() const { return isValid() ? (m_start + m_end) * 0.5 : MVector3d::Infinity; }
    // t = 0 is the start and t = 1 the end.
    MVector3d at(double t) const { return isValid() ? m_start + (m_end - m_start) * t : MVector3d::Infinity; }
    void flip() { std::swap(m_start, m_end); }

    double squaredDistance(const MVector3d &p) const
    {
        return isValid() && p.isValid() ? squaredDistanceOfValid(p) : MInvalid;
    }
    double distance(const MVector3d &p) const
    {
        return isValid() && p.isValid() ? std::sqrt(squaredDistanceOfValid(p)) : MInvalid;
    }
    // The closest point of the segment. t receives its distance from the
    // start, from 0 to length(), not a fraction of the segment.
    MVector3d projection(const MVector3d &p, double *t = nullptr) const
    {
        if (!isValid() || !p.isValid())
            return MVector3d::Infinity;
        const MVector3d v = m_end - m_start;
        const double vv = v.dot(v);
        const double fraction = clampedFraction(p - m_start, v, vv);
        if (t)
            *t = fraction * std::sqrt(vv);
        return m_start + v * fraction;
    }

    // Distance between the closest points of two segments; s and t receive
    // their fractions along this segment and the other one, the marker when
    // a segment is invalid.
    double distance(const MLineSegment &other, double *s = nullptr, double *t = nullptr) const;
    // Midpoint of the two closest points, found for any two valid segments
    // however far apart they are.
    MVector3d intersection(const MLineSegment &other) const;

    void applyTransformation(const MMatrix4 &m);
    // Frame with its origin at the start and its Z axis along direction().
    MMatrix4 pose() const;

    bool load(const char *path);
    bool load(const wchar_t *path);
    bool save(const char *path) const;
    bool save(const wchar_t *path) const;

private:
    double squaredDistanceOfValid(const MVector3d &p) const
    {
        const MVector3d v = m_end - m_start;
        const MVector3d w = p - m_start;
        const MVector3d offset = w - v * clampedFraction(w, v, v.dot(v));
        return offset.dot(offset);
    }
    // Fraction of the foot of start + w along v, clamped to the segment; the
    // squared length spares a square root. A zero-length segment gives 0/0,
    // which falls to 0, so that its one point is the nearest.
    static double clampedFraction(const MVector3d &w, const MVector3d &v, double vv)
    {
        const double fraction = w.dot(v) / vv;
        return fraction > 0.0 ? (fraction < 1.0 ? fraction : 1.0) : 0.0;
    }

    MVector3d m_start;
    MVector3d m_end;
};

ZOL3D_API std::wostream &operator<<(std::wostream &out, const MLineSegment &segment);
ZOL3D_API std::wistream &operator>>(std::wistream &in, MLineSegment &segment);

} // namespace ZOLAR3D
