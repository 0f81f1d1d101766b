// The arrays of the straight and flat shapes, compiled and exported once here.
#include "MLineArray.h"
#include "MPlaneArray.h"
#include "metrology/core/detail/MTypedArrayImpl.h"

namespace ZOLAR3D {

template class MTypedArray<MLineArray, MLine>;
template class MTypedArray<MPlaneArray, MPlane>;

} // namespace ZOLAR3D
