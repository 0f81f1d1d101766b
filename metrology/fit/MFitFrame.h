#pragma once

#include "MVector3d.h"

#include <cmath>

namespace ZOLAR3D {

// The coordinates in which the iterative fits minimise: the origin at the
// centroid of the points and a unit that gives the points an RMS spread of
// 32 to 64 units. The solver's damping and its convergence bound are
// absolute numbers, made for parts of a few centimetres measured in
// millimetres; in the user's own units its steps would depend on whether
// the data are in metres or micrometres and how far they lie from the
// origin, and in metres a fit would stop a thousand times too early. In
// this frame the same shape gives the same steps in any units. The unit is
// a power of two, so lengths convert without rounding. The default frame
// is the world itself.
class MFitFrame {
public:
    MFitFrame() = default;
    // The frame of n valid points.
    MFitFrame(const MVector3d *points, int n)
    {
        if (n < 1)
            return;
        MVector3d sum(0.0, 0.0, 0.0);
        for (int i = 0; i < n; ++i)
            sum += points[i] - points[0];
        const MVector3d centroid = points[0] + sum / n;
        double squares = 0.0;
        for (int i = 0; i < n; ++i)
            squares += (points[i] - centroid).dot(points[i] - centroid);
        const double spread = std::sqrt(squares / n);
        if (!(spread > 0.0 && spread < MInvalid) || !centroid.isValid())
            return;
        m_origin = centroid;
        m_unit = std::ldexp(1.0, std::ilogb(spread) - 5);
        m_inverse = 1.0 / m_unit;
    }

    MVector3d toLocal(const MVector3d &p) const { return (p - m_origin) * m_inverse; }
    MVector3d toWorld(const MVector3d &p) const { return p * m_unit + m_origin; }
    double lengthToLocal(double length) const { return length * m_inverse; }
    double lengthToWorld(double length) const { return length * m_unit; }

    // Makes `frame` the working frame for the life of the scope and the
    // world again after it.
    class Scope {
    public:
        Scope(MFitFrame &frame, const MFitFrame &working) : m_frame(frame) { m_frame = working; }
        ~Scope() { m_frame = MFitFrame(); }
        Scope(const Scope &) = delete;
        Scope &operator=(const Scope &) = delete;

    private:
        MFitFrame &m_frame;
    };

private:
    MVector3d m_origin{0.0, 0.0, 0.0};
    double m_unit = 1.0;
    double m_inverse = 1.0;
};

} // namespace ZOLAR3D
