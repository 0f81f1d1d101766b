#include "MCircle.h"

#include "MLine.h"
#include "MPlane.h"
#include "metrology/shapes/detail/MAxialShape.h"

namespace ZOLAR3D {

MVector3d MCircle::intersection(const MLine &line, double &t) const
{
    if (!isValid())
        return MVector3d::Infinity;
    const MVector3d hit = MPlane(m_position, m_normal, false).intersection(line, &t);
    if (!hit.isValid() || hit.squaredDistance(m_position) > m_radius * m_radius)
        return MVector3d::Infinity;
    return hit;
}

MMatrix4 MCircle::pose() const { return isValid() ? MAxialShape::pose(m_position, m_normal) : MMatrix4::Zero; }

void MCircle::applyTransformation(const MMatrix4 &m) { MAxialShape::transform(isValid(), m, m_position, m_normal); }

} // namespace ZOLAR3D
