// Range images own their pixels, so the array copies and moves them one by one.
#include "MRangeImageArray.h"
#include "metrology/core/detail/MTypedArrayImpl.h"

namespace ZOLAR3D {

template class MTypedArray<MRangeImageArray, MRangeImage>;

} // namespace ZOLAR3D
