#pragma once

#include <cfloat>

namespace ZOLAR3D {

// The library-wide invalid marker: a coordinate or Z value equal to it is a
// hole. It is the largest finite float, the same number in both widths, so
// that widening or narrowing a point carries the marker over exactly.
inline constexpr double MInvalid = static_cast<double>(FLT_MAX);
inline constexpr float MInvalidF = FLT_MAX;

// True for a number that is neither the marker nor NaN.
constexpr bool MIsValidValue(double value) { return value == value && value != MInvalid; }

} // namespace ZOLAR3D
