// The frames of the linear fits, compiled and exported once here.
#include "metrology/fit/detail/MBestFitImpl.h"

namespace ZOLAR3D {

template class MBestFit<MPlane>;
template class MBestFit<MLine>;
template class MBestFit<MLineSegment>;
template class MBestFit<MVector3d>;

} // namespace ZOLAR3D
