#include "MVector3d.h"

#include "MMatrix4.h"

namespace ZOLAR3D {

// Constant-initialised (constexpr constructors), so other static objects of
// the library may use them during their own initialisation.
const MVector3d MVector3d::Invalid;
const MVector3d MVector3d::Infinity;
const MVector3d MVector3d::Zero(0.0, 0.0, 0.0);
const MVector3d MVector3d::XUnit(1.0, 0.0, 0.0);
const MVector3d MVector3d::YUnit(0.0, 1.0, 0.0);
const MVector3d MVector3d::ZUnit(0.0, 0.0, 1.0);

void MVector3d::applyTransformation(const MMatrix4 &matrix) { matrix.transform(*this); }

} // namespace ZOLAR3D
