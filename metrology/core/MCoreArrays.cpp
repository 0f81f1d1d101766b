// The arrays of the core value types, compiled and exported once here.
#include "MBoolArray.h"
#include "MCharArray.h"
#include "MColorArray.h"
#include "MDoubleArray.h"
#include "MFloatArray.h"
#include "MIntArray.h"
#include "MMatrix3Array.h"
#include "MMatrix4Array.h"
#include "MPointerArray.h"
#include "MVector3dArray.h"
#include "MVector3fArray.h"
#include "MVector4dArray.h"
#include "metrology/core/detail/MTypedArrayImpl.h"

#include <type_traits>

namespace ZOLAR3D {

// Points, colours and poses are added in bulk and handed over as raw bytes:
// their arrays must keep the byte copy path.
static_assert(std::is_trivially_copyable_v<MVector3d> && std::is_trivially_copyable_v<MVector3f> &&
              std::is_trivially_copyable_v<MVector4d> && std::is_trivially_copyable_v<MColor> &&
              std::is_trivially_copyable_v<MMatrix3> && std::is_trivially_copyable_v<MMatrix4>);

template class MTypedArray<MBoolArray, bool>;
template class MTypedArray<MCharArray, char>;
template class MTypedArray<MIntArray, int>;
template class MTypedArray<MFloatArray, float>;
template class MTypedArray<MDoubleArray, double>;
template class MTypedArray<MPointerArray, void *>;
template class MTypedArray<MVector3dArray, MVector3d>;
template class MTypedArray<MVector3fArray, MVector3f>;
template class MTypedArray<MVector4dArray, MVector4d>;
template class MTypedArray<MColorArray, MColor>;
template class MTypedArray<MMatrix3Array, MMatrix3>;
template class MTypedArray<MMatrix4Array, MMatrix4>;

} // namespace ZOLAR3D
