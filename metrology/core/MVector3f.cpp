#include "MVector3f.h"

#include "MMatrix4.h"

namespace ZOLAR3D {

// Constant-initialised (constexpr constructors), so other static objects of
// the library may use them during their own initialisation.
const MVector3f MVector3f::Invalid;
const MVector3f MVector3f::Infinity;
const MVector3f MVector3f::Zero(0.0f, 0.0f, 0.0f);
const MVector3f MVector3f::XUnit(1.0f, 0.0f, 0.0f);
const MVector3f MVector3f::YUnit(0.0f, 1.0f, 0.0f);
const MVector3f MVector3f::ZUnit(0.0f, 0.0f, 1.0f);

void MVector3f::applyTransformation(const MMatrix4 &matrix) { matrix.transform(*this); }

} // namespace ZOLAR3D
