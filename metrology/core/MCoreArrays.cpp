// The arrays of the core value types, compiled and exported once here.
#include "MBoolArray.h"
#include "MCharArray.h"
#include "MDoubleArray.h"
#include "MFloatArray.h"
#include "MIntArray.h"
#include "MPointerArray.h"
#include "metrology/core/detail/MTypedArrayImpl.h"

namespace ZOLAR3D {

template class MTypedArray<MBoolArray, bool>;
template class MTypedArray<MCharArray, char>;
template class MTypedArray<MIntArray, int>;
template class MTypedArray<MFloatArray, float>;
template class MTypedArray<MDoubleArray, double>;
template class MTypedArray<MPointerArray, void *>;

} // namespace ZOLAR3D
