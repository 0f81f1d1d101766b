#include "MVector4d.h"

#include "MException.h"
#include "MMatrix4.h"

namespace ZOLAR3D {

const MVector4d MVector4d::Zero(0.0, 0.0, 0.0, 0.0);
const MVector4d MVector4d::One(1.0, 1.0, 1.0, 1.0);

void MVector4d::throwBadIndex()
{
    // Thrown whatever the failure policy: there is no element to hand back.
    throw MException("MVector4d::operator(): index parameter out of range!");
}

void MVector4d::applyTransformation(const MMatrix4 &matrix) { matrix.transform(*this); }

} // namespace ZOLAR3D
