#pragma once

#include <cmath>
#include <limits>

namespace ZOLAR3D {

// Real roots of a t^2 + 2 halfB t + c = 0. The discriminant
// halfB^2 - a c is passed in because the callers can usually form it from
// geometry without the cancellation of the plain expression. The roots are
// taken in the form that never subtracts nearly equal numbers.
//
// `aScale` is the size of the terms that a was formed from. An a that is
// only rounding noise against it is taken as 0: otherwise it would add a
// far-away root that exists in floating point only.
struct MQuadratic {
    int count = 0;
    double roots[2] = {0.0, 0.0};

    MQuadratic(double a, double halfB, double c, double discriminant, double aScale)
    {
        if (negligible(a, aScale)) {
            if (halfB != 0.0)
                add(-c / (2.0 * halfB));
            return;
        }
        if (!(discriminant >= 0.0))
            return;
        const double q = -(halfB + std::copysign(std::sqrt(discriminant), halfB));
        if (q == 0.0) {
            add(0.0);
            return;
        }
        add(q / a);
        add(c / q);
    }

    // Whether a value formed from terms of size `scale` is rounding noise.
    static bool negligible(double value, double scale)
    {
        return std::fabs(value) <= 8.0 * std::numeric_limits<double>::epsilon() * scale;
    }

    // The root nearest to 0 among those `accept` lets through; false when none does.
    template <class Accept>
    bool nearestAccepted(Accept accept, double &nearest) const
    {
        bool found = false;
        for (int i = 0; i < count; ++i) {
            if (accept(roots[i]) && (!found || std::fabs(roots[i]) < std::fabs(nearest))) {
                nearest = roots[i];
                found = true;
            }
        }
        return found;
    }

private:
    void add(double t) { roots[count++] = t; }
};

} // namespace ZOLAR3D
