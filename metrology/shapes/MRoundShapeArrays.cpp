// The arrays of the round shapes, compiled and exported once here.
#include "MCircleArray.h"
#include "MConeArray.h"
#include "MCylinderArray.h"
#include "MSphereArray.h"
#include "metrology/core/detail/MTypedArrayImpl.h"

namespace ZOLAR3D {

template class MTypedArray<MCircleArray, MCircle>;
template class MTypedArray<MSphereArray, MSphere>;
template class MTypedArray<MCylinderArray, MCylinder>;
template class MTypedArray<MConeArray, MCone>;

} // namespace ZOLAR3D
