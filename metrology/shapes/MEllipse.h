#pragma once

#include "MCircle.h"
#include "MInvalid.h"
#include "MMatrix4.h"
#include "MVector3d.h"
#include "Zol3DExport.h"

#include <iosfwd>

namespace ZOLAR3D {

class MLine;

// An ellipse in space with its two radii. For every geometric query it is
// the circle of radiusA: radiusB is carried for the accessors, the text files
// and rendering only. That is how this version of the library defines the
// class, so distances, projections and intersections never look at radiusB.
class ZOL3D_API MEllipse {
public:
    MEllipse() = default;
    MEllipse(const MVector3d &position, const MVector3d &normal, double radiusA, double radiusB,
             bool alreadyNormalized = false)
        : m_position(position), m_radiusA(radiusA), m_radiusB(radiusB)
    {
        setNormal(normal, alreadyNormalized);
    }

    const MVector3d &position() const { return m_position; }
    const MVector3d &normal() const { return m_normal; }
    double radiusA() const { return m_radiusA; }
    double radiusB() const { return m_radiusB; }
    void setPosition(const MVector3d &position) { m_position = position; }
    // Normalised unless the caller vouches for it or it is invalid.
    void setNormal(const MVector3d &normal, bool alreadyNormalized = false)
    {
        m_normal = normal;
        if (!alreadyNormalized && normal.isValid())
            m_normal.normalize();
    }
    void setRadiusA(double radius) { m_radiusA = radius; }
    void setRadiusB(double radius) { m_radiusB = radius; }

    bool operator==(const MEllipse &o) const
    {
        return m_position == o.m_position && m_normal == o.m_normal && m_radiusA == o.m_radiusA &&
               m_radiusB == o.m_radiusB;
    }
    bool operator!=(const MEllipse &o) const { return !(*this == o); }

    bool isValid() const { return circle().isValid(); }
    void invalidate() { m_position.invalidate(); }

    double diameter() const { return circle().diameter(); }
    void flip() { m_normal.invert(); }

    double squaredDistance(const MVector3d &p) const { return circle().squaredDistance(p); }
    double distance(const MVector3d &p) const { return circle().distance(p); }
    MVector3d projection(const MVector3d &p) const { return circle().projection(p); }
    MVector3d intersection(const MLine &line, double &t) const { return circle().intersection(line, t); }

    MMatrix4 pose() const { return circle().pose(); }
    void applyTransformation(const MMatrix4 &m);

    bool load(const char *path);
    bool load(const wchar_t *path);
    bool save(const char *path) const;
    bool save(const wchar_t *path) const;

private:
    // The circle the queries see.
    MCircle circle() const { return MCircle(m_position, m_normal, m_radiusA, true); }

    MVector3d m_position;
    MVector3d m_normal;
    double m_radiusA = MInvalid;
    double m_radiusB = MInvalid;
};

ZOL3D_API std::wostream &operator<<(std::wostream &out, const MEllipse &ellipse);
ZOL3D_API std::wistream &operator>>(std::wistream &in, MEllipse &ellipse);

} // namespace ZOLAR3D
