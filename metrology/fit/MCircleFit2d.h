#pragma once

#include "MCircle.h"
#include "MNistFit.h"
#include "Zol3DExport.h"

namespace ZOLAR3D {

// The circle of the private points' x and y: a circle in a plane z =
// constant with normal (0, 0, 1). Parameters x0, y0 and, with a free
// radius, r. The residual is the signed distance from the circle, negative
// inside.
class ZOL3D_API MCircleFit2d : public MNistFit<MCircle> {
public:
    // 0 leaves the radius free.
    void setFixedRadius(double radius) { m_fixedRadius = radius; }
    double fixedRadius() const { return m_fixedRadius; }

    // The algebraic start, then the geometric fit. z stays the mean z of
    // the points. With a fixed radius the circle keeps the algebraic radius,
    // because only the centre is fitted then.
    void fit() override;
    // The algebraic (Kasa) circle; the fixed radius plays no part.
    void fitFast() override;

    void distance(const MVector3d &point, const double *parameters, double *result) const final;
    void distanceAndGradient(const MVector3d &point, const double *parameters, double *result,
                             double *gradient) const final;

private:
    // The radius of a parameter vector in the working frame.
    double radiusOf(const double *parameters) const
    {
        return m_fixedRadius != 0.0 ? m_frame.lengthToLocal(m_fixedRadius) : parameters[2];
    }

    double m_fixedRadius = 0.0;
};

} // namespace ZOLAR3D
