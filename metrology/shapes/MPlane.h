#pragma once

#include "MInvalid.h"
#include "MLine.h"
#include "MLineSegment.h"
#include "MMatrix4.h"
#include "MVector3d.h"
#include "Zol3DExport.h"

#include <iosfwd>

namespace ZOLAR3D {

// A plane through a position with a normal, and at the same time a frame:
// the in-plane axes u and v are optional and stay invalid until set. The
// normal is of unit length when it came through a normalising path; nothing
// else checks it.
class ZOL3D_API MPlane {
public:
    MPlane() = default;
    MPlane(const MVector3d &position, const MVector3d &normal, bool alreadyNormalized = false)
        : m_position(position), m_normal(normal)
    {
        if (!alreadyNormalized)
            m_normal.normalize();
    }

    // The planes through the origin normal to the X, Y and Z axes.
    static const MPlane X;
    static const MPlane Y;
    static const MPlane Z;

    const MVector3d &position() const { return m_position; }
    void setPosition(const MVector3d &position) { m_position = position; }
    const MVector3d &normal() const { return m_normal; }
    void setNormal(const MVector3d &normal, bool alreadyNormalized = false)
    {
        m_normal = normal;
        if (!alreadyNormalized)
            m_normal.normalize();
    }
    const MVector3d &u() const { return m_u; }
    void setU(const MVector3d &u) { m_u = u; }
    const MVector3d &v() const { return m_v; }
    void setV(const MVector3d &v) { m_v = v; }

    bool isValid() const { return m_position.isValid() && m_normal.isValid(); }
    void invalidate() { m_position.invalidate(); }

    bool operator==(const MPlane &o) const
    {
        return m_position == o.m_position && m_normal == o.m_normal && m_u == o.m_u && m_v == o.m_v;
    }
    bool operator!=(const MPlane &o) const { return !(*this == o); }

    // Turns the plane over; the in-plane axes stay as they are. The negated
    // marker would read as a valid number, so an invalid normal stays as it is.
    void flip()
    {
        if (m_normal.isValid())
            m_normal = -m_normal;
    }

    // Signed: positive on the side the normal points to.
    double distance(const MVector3d &p) const { return isValid() && p.isValid() ? distanceOfValid(p) : MInvalid; }
    // The distance for a valid shape and a valid point, without the checks:
    // for loops that have checked both once.
    double distanceOfValid(const MVector3d &p) const { return (p - m_position).dot(m_normal); }
    MVector3d projection(const MVector3d &p) const
    {
        if (!isValid() || !p.isValid())
            return MVector3d::Infinity;
        return p - m_normal * (p - m_position).dot(m_normal);
    }

    // The d of a x + b y + c z + d = 0 with (a, b, c) the normal.
    double hessianDistance() const { return isValid() ? -m_position.dot(m_normal) : MInvalid; }
    void getEquation(double &a, double &b, double &c, double &d) const;
    void setFromEquation(double a, double b, double c, double d);
    void biSectionPlaneFromTwoPoints(const MVector3d &p, const MVector3d &q);
    void setUVAny(double scale = 1.0);

    MLine projection(const MLine &line) const;
    // t receives the line parameter of the hit, the marker when the whole
    // line lies in the plane.
    MVector3d intersection(const MLine &line, double *t = nullptr) const;
    // t receives the fraction of the segment at the hit, or the marker.
    MVector3d intersection(const MLineSegment &segment, double *t = nullptr) const;
    // kind: 0 parallel and apart, 1 one line, 2 the same plane.
    MLine intersection(const MPlane &other, int *kind = nullptr) const;

    bool isParallel(const MPlane &other, double tolerance) const;
    bool isParallel(const MLine &line, double tolerance) const;
    bool isPerpendicular(const MVector3d &vector, double tolerance) const;

    MMatrix4 pose() const;
    void applyTransformation(const MMatrix4 &m);

    bool load(const char *path);
    bool load(const wchar_t *path);
    bool save(const char *path) const;
    bool save(const wchar_t *path) const;

private:
    MVector3d m_position;
    MVector3d m_normal;
    MVector3d m_u;
    MVector3d m_v;
};

ZOL3D_API std::wostream &operator<<(std::wostream &out, const MPlane &plane);
ZOL3D_API std::wistream &operator>>(std::wistream &in, MPlane &plane);

} // namespace ZOLAR3D
