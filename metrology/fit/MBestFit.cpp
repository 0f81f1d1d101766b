// The frames of all fits, compiled and exported once here.
#include "metrology/fit/detail/MBestFitImpl.h"

namespace ZOLAR3D {

template class MBestFit<MPlane>;
template class MBestFit<MLine>;
template class MBestFit<MLineSegment>;
template class MBestFit<MVector3d>;
template class MBestFit<MCircle>;
template class MBestFit<MSphere>;
template class MBestFit<MCylinder>;
template class MBestFit<MCone>;

} // namespace ZOLAR3D
