#include "MEllipse.h"

#include "metrology/shapes/detail/MAxialShape.h"

namespace ZOLAR3D {

void MEllipse::applyTransformation(const MMatrix4 &m) { MAxialShape::transform(isValid(), m, m_position, m_normal); }

} // namespace ZOLAR3D
