// The block memory instances of the core, compiled and exported once here.
#include "MBlockList.h"
#include "MBlockMap.h"

namespace ZOLAR3D {

template class MBlockAllocator<MBlockList<int>::Node>;
template class MBlockList<int>;
template class MBlockMap<int, int>;
template class MBlockAllocator<MBlockMap<int, int>::Node>;

} // namespace ZOLAR3D
