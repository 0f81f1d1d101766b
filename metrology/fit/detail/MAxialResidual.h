#pragma once

#include "MVector3d.h"

#include <algorithm>
#include <cmath>

namespace ZOLAR3D {

// The terms that the circle, cylinder and cone residuals share: a point p
// against the axis through (x0, y0, z0) with unit direction (A, B, C), the
// first six parameters of those fits.
struct MAxialTerms {
    MAxialTerms(const MVector3d &p, const double *parameters)
        : a{parameters[3], parameters[4], parameters[5]},
          q{p.x() - parameters[0], p.y() - parameters[1], p.z() - parameters[2]}
    {
        along = q[0] * a[0] + q[1] * a[1] + q[2] * a[2];
        const double cx = q[1] * a[2] - q[2] * a[1];
        const double cy = q[2] * a[0] - q[0] * a[2];
        const double cz = q[0] * a[1] - q[1] * a[0];
        radial = std::sqrt(cx * cx + cy * cy + cz * cz);
    }

    // The derivatives of the radial distance by the axis point coordinates,
    // (Ai f - qi) / s. On the axis they have no value; the fits then take
    // sqrt(1 - Ai²), the length of the axis direction's part across
    // coordinate i, so that no division by zero occurs. The clamp keeps a
    // direction that rounding left a hair longer than 1 from giving NaN.
    void radialByPoint(double *u) const
    {
        if (radial != 0.0) {
            const double inverse = 1.0 / radial;
            for (int i = 0; i < 3; ++i)
                u[i] = (a[i] * along - q[i]) * inverse;
        } else {
            for (int i = 0; i < 3; ++i)
                u[i] = std::sqrt(std::max(0.0, 1.0 - a[i] * a[i]));
        }
    }
    // The derivative of the axial coordinate by direction component i, for
    // a direction that stays a unit vector.
    double alongByDirection(int i) const { return q[i] - a[i] * along; }

    double a[3];
    double q[3];
    // f = q . a, the coordinate along the axis.
    double along;
    // s = |q x a|, the distance from the axis.
    double radial;
};

// Divides the direction (A, B, C) of a parameter vector by its length.
inline void normalizeAxisDirection(double *parameters)
{
    const double length =
        std::sqrt(parameters[3] * parameters[3] + parameters[4] * parameters[4] + parameters[5] * parameters[5]);
    parameters[3] /= length;
    parameters[4] /= length;
    parameters[5] /= length;
}

} // namespace ZOLAR3D
