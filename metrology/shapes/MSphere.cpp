#include "MSphere.h"

#include "MLine.h"

namespace ZOLAR3D {

const MSphere MSphere::UnitSphere(MVector3d(0.0, 0.0, 0.0), 1.0);

double MSphere::volume() const
{
    constexpr double pi = 3.141592653589793;
    return isValid() ? 4.0 / 3.0 * pi * m_radius * m_radius * m_radius : MInvalid;
}

int MSphere::intersection(const MLine &line, MVector3d &first, MVector3d &second) const
{
    if (!isValid() || !line.isValid())
        return 0;
    // B^2 - 4AC with A = d.d, B = 2 d.w, C = w.w - r^2 and w = o - c, written
    // through |d x w|^2 = (d.d)(w.w) - (d.w)^2 so that no large terms cancel
    // when the line passes far from the origin or from the centre.
    const MVector3d &d = line.direction();
    const MVector3d off = d.cross(line.position() - m_position);
    const double discriminant = 4.0 * (d.dot(d) * m_radius * m_radius - off.dot(off));
    if (discriminant < 0.0)
        return 0;
    first = line.position();
    if (discriminant == 0.0)
        return 1;
    second = line.position();
    return 2;
}

MMatrix4 MSphere::pose() const { return isValid() ? MMatrix4::Translation(m_position) : MMatrix4::Zero; }

void MSphere::applyTransformation(const MMatrix4 &m)
{
    if (isValid())
        m_position = m * m_position;
}

} // namespace ZOLAR3D
