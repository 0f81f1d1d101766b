#include "MPointRansac.h"

namespace ZOLAR3D {

bool MPointRansac::isSimilar(const MVector3d &a, const MVector3d &b) const { return a.distance(b) < 2.0 * threshold(); }

} // namespace ZOLAR3D
