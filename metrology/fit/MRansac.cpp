// The searches of all RANSAC members, compiled and exported once here.
#include "MCircleRansac.h"
#include "MLineRansac.h"
#include "MPlaneRansac.h"
#include "MPointRansac.h"
#include "MSphereRansac.h"
#include "metrology/fit/detail/MRansacImpl.h"

namespace ZOLAR3D {

template class MRansac<MPlane, MPlaneFit>;
template class MRansac<MLine, MLineFit>;
template class MRansac<MCircle, MCircleFit>;
template class MRansac<MSphere, MSphereFit>;
template class MRansac<MVector3d, MPointFit>;

} // namespace ZOLAR3D
