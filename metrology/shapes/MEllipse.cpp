#include "MEllipse.h"

#include "metrology/shapes/detail/MAxialShape.h"

namespace ZOLAR3D {

MEllipse::MEllipse(const MVector3d &position, const MVector3d &normal, double radiusA, double radiusB,
                   bool alreadyNormalized)
    : m_position(position), m_radiusA(radiusA), m_radiusB(radiusB)
{
    setNormal(normal, alreadyNormalized);
}

void MEllipse::setNormal(const MVector3d &normal, bool alreadyNormalized)
{
    MAxialShape::setAxis(m_normal, normal, alreadyNormalized);
}

void MEllipse::applyTransformation(const MMatrix4 &m) { MAxialShape::transform(isValid(), m, m_position, m_normal); }

} // namespace ZOLAR3D
