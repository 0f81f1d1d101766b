#pragma once

#include "MInvalid.h"
#include "MMatrix4.h"
#include "MVector3d.h"
#include "Zol3DExport.h"

#include <algorithm>
#include <cmath>
#include <iosfwd>

namespace ZOLAR3D {

// An oriented box: full edge lengths and the pose of its local frame, whose
// origin is the box centre. The inverse of the pose is kept beside it so that
// each point query costs one matrix product.
class ZOL3D_API MBox {
public:
    MBox() = default;
    // The axis-aligned box spanned by two corners, in either order.
    MBox(const MVector3d &minimum, const MVector3d &maximum) { from(minimum, maximum); }
    MBox(const MVector3d &size, const MMatrix4 &pose) : m_size(size) { setPose(pose); }

    // Resets the pose to identity, then, when both corners are valid, spans
    // the axis-aligned box between them. With an invalid corner the size
    // stays as it was.
    void from(const MVector3d &minimum, const MVector3d &maximum);

    const MVector3d &size() const { return m_size; }
    void setSize(const MVector3d &size) { m_size = size; }
    const MMatrix4 &pose() const { return m_pose; }
    const MMatrix4 &inversePose() const { return m_inversePose; }
    // The pose is taken as rigid: its inverse is formed as such.
    void setPose(const MMatrix4 &pose);

    bool operator==(const MBox &o) const
    {
        return m_size == o.m_size && m_pose == o.m_pose && m_inversePose == o.m_inversePose;
    }
    bool operator!=(const MBox &o) const { return !(*this == o); }

    bool isValid() const { return m_size.isValid(); }
    void invalidate() { m_size.invalidate(); }

    // Corners and centre in world coordinates; Infinity when invalid.
    MVector3d minCorner() const;
    MVector3d maxCorner() const;
    MVector3d position() const;
    // The edge directions of the box in world coordinates.
    MVector3d xDirection() const;
    MVector3d yDirection() const;
    MVector3d zDirection() const;
    // The size scaled to unit length; Zero for a box of size 0.
    MVector3d relativeSize() const;
    double volume() const;

    // Exact distance outside; inside, minus the distance to the nearest face.
    // The marker on invalid input.
    double distance(const MVector3d &p) const
    {
        if (!isValid() || !p.isValid())
            return MInvalid;
        const MVector3d l = toLocal(p);
        const double ex = std::fabs(l.x()) - 0.5 * m_size.x();
        const double ey = std::fabs(l.y()) - 0.5 * m_size.y();
        const double ez = std::fabs(l.z()) - 0.5 * m_size.z();
        if (ex < 0.0 && ey < 0.0 && ez < 0.0)
            return std::max(ex, std::max(ey, ez));
        const double ox = std::max(ex, 0.0), oy = std::max(ey, 0.0), oz = std::max(ez, 0.0);
        return std::sqrt(ox * ox + oy * oy + oz * oz);
    }
    // The corner nearest to the point, not the nearest surface point: every
    // local coordinate goes to the half size of its sign, which is what
    // callers of this operation have always received. Infinity on invalid input.
    MVector3d projection(const MVector3d &p) const
    {
        if (!isValid() || !p.isValid())
            return MVector3d::Infinity;
        const MVector3d l = toLocal(p);
        const MVector3d half = m_size * 0.5;
        const MVector3d corner(l.x() > 0.0 ? half.x() : -half.x(), l.y() > 0.0 ? half.y() : -half.y(),
                               l.z() > 0.0 ? half.z() : -half.z());
        return m_pose * corner;
    }

    // Widens the box, keeping its orientation, so that it takes in the point.
    // An invalid box becomes a box of size 0 at the point, with its orientation.
    void integrate(const MVector3d &p);
    // Takes in the eight corners of the other box.
    void integrate(const MBox &box);

    void applyTransformation(const MMatrix4 &m) { setPose(m * m_pose); }

    bool load(const char *path);
    bool load(const wchar_t *path);
    bool save(const char *path) const;
    bool save(const wchar_t *path) const;

private:
    // The inverse pose is rigid by construction, so the product needs no
    // homogeneous division.
    MVector3d toLocal(const MVector3d &p) const
    {
        const double *m = m_inversePose.data();
        return {m[0] * p.x() + m[1] * p.y() + m[2] * p.z() + m[3],
                m[4] * p.x() + m[5] * p.y() + m[6] * p.z() + m[7],
                m[8] * p.x() + m[9] * p.y() + m[10] * p.z() + m[11]};
    }
    MVector3d corner(double sx, double sy, double sz) const;

    MVector3d m_size;
    MMatrix4 m_pose;
    MMatrix4 m_inversePose;
};

ZOL3D_API std::wostream &operator<<(std::wostream &out, const MBox &box);
ZOL3D_API std::wistream &operator>>(std::wistream &in, MBox &box);

} // namespace ZOLAR3D
