#pragma once

#include "Zol3DExport.h"

namespace ZOLAR3D {

// Angle constants and degree conversions; angles are radians everywhere else.
class ZOL3D_API MAngle {
public:
    static constexpr double Pi = 3.141592653589793;
    static constexpr double TwoPi = 6.283185307179586;
    static constexpr double PiHalf = 1.5707963267948966;

    static constexpr double DegToRad(double degrees) { return degrees * 0.017453292519943295; }
    static constexpr double RadToDeg(double radians) { return radians * (180.0 / Pi); }
};

} // namespace ZOLAR3D
