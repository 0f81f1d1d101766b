// The arrays of the mesh records, compiled and exported once here.
#include "MTriangleDistanceAnalysisArray.h"
#include "metrology/core/detail/MTypedArrayImpl.h"

namespace ZOLAR3D {

template class MTypedArray<MTriangleDistanceAnalysisArray, MTriangleDistanceAnalysis>;

} // namespace ZOLAR3D
