#include "MVector2d.h"

#include "MMatrix2.h"
#include "MMatrix3.h"

namespace ZOLAR3D {

// Constant-initialised (constexpr constructors), so other static objects of
// the library may use them during their own initialisation.
const MVector2d MVector2d::Invalid;
const MVector2d MVector2d::Infinity;
const MVector2d MVector2d::Zero(0.0, 0.0);
const MVector2d MVector2d::XUnit(1.0, 0.0);
const MVector2d MVector2d::YUnit(0.0, 1.0);

void MVector2d::applyTransformation(const MMatrix2 &matrix) { matrix.transform(*this); }
void MVector2d::applyTransformation(const MMatrix3 &matrix) { matrix.transform(*this); }

} // namespace ZOLAR3D
