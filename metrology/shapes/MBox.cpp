#include "MBox.h"

namespace ZOLAR3D {

void MBox::from(const MVector3d &minimum, const MVector3d &maximum)
{
    m_pose = MMatrix4::Identity;
    m_inversePose = MMatrix4::Identity;
    if (!minimum.isValid() || !maximum.isValid())
        return;
    m_size = (maximum - minimum).abs();
    setPose(MMatrix4::Translation((minimum + maximum) * 0.5));
}

void MBox::setPose(const MMatrix4 &pose)
{
    m_pose = pose;
    m_inversePose = pose.rigidInverse();
}

// The corner at the given signs of the half size, in world coordinates.
MVector3d MBox::corner(double sx, double sy, double sz) const
{
    return m_pose * MVector3d(sx * 0.5 * m_size.x(), sy * 0.5 * m_size.y(), sz * 0.5 * m_size.z());
}

MVector3d MBox::minCorner() const { return isValid() ? corner(-1.0, -1.0, -1.0) : MVector3d::Infinity; }

MVector3d MBox::maxCorner() const { return isValid() ? corner(1.0, 1.0, 1.0) : MVector3d::Infinity; }

MVector3d MBox::position() const { return isValid() ? m_pose.translation() : MVector3d::Infinity; }

MVector3d MBox::xDirection() const
{
    MVector3d axis = MVector3d::XUnit;
    m_pose.rotateAndScale(axis);
    return axis;
}

MVector3d MBox::yDirection() const
{
    MVector3d axis = MVector3d::YUnit;
    m_pose.rotateAndScale(axis);
    return axis;
}

MVector3d MBox::zDirection() const
{
    MVector3d axis = MVector3d::ZUnit;
    m_pose.rotateAndScale(axis);
    return axis;
}

MVector3d MBox::relativeSize() const
{
    if (!isValid())
        return MVector3d::Infinity;
    const double norm = m_size.norm();
    return norm == 0.0 ? MVector3d::Zero : m_size / norm;
}

double MBox::volume() const { return isValid() ? m_size.x() * m_size.y() * m_size.z() : MInvalid; }

// How far a local coordinate lies beyond the half size, signed by the side.
static double growth(double local, double half)
{
    if (local > half)
        return local - half;
    if (local < -half)
        return local + half;
    return 0.0;
}

void MBox::integrate(const MVector3d &p)
{
    if (!p.isValid())
        return;
    if (!isValid()) {
        MMatrix4 atPoint = m_pose;
        atPoint.setTranslation(p);
        m_size = MVector3d::Zero;
        setPose(atPoint);
        return;
    }
    const MVector3d l = toLocal(p);
    const MVector3d g(growth(l.x(), 0.5 * m_size.x()), growth(l.y(), 0.5 * m_size.y()),
                      growth(l.z(), 0.5 * m_size.z()));
    if (g == MVector3d::Zero)
        return;
    setPose(m_pose * MMatrix4::Translation(g * 0.5));
    m_size += g.abs();
}

void MBox::integrate(const MBox &box)
{
    if (!box.isValid())
        return;
    for (double sx : {-1.0, 1.0})
        for (double sy : {-1.0, 1.0})
            for (double sz : {-1.0, 1.0})
                integrate(box.corner(sx, sy, sz));
}

} // namespace ZOLAR3D
