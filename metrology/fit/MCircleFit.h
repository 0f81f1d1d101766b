#pragma once

#include "MCircle.h"
#include "MNistFit.h"
#include "Zol3DExport.h"

namespace ZOLAR3D {

// The circle in space by orthogonal distance: the sum over the points of
// their squared distances from the curve, (s - r)² + f², is minimised, with
// s a point's distance from the axis and f its height above the circle's
// plane. Parameters x0, y0, z0 (the centre), A, B, C (the normal) and, with
// a free radius, r. At least 3 valid points.
class ZOL3D_API MCircleFit : public MNistFit<MCircle> {
public:
    // 0 leaves the radius free.
    void setFixedRadius(double radius) { m_fixedRadius = radius; }
    double fixedRadius() const { return m_fixedRadius; }

    // Starts from fitFast() and minimises; the normal comes out with its
    // dominant component positive.
    void fit() override;
    // The plane of the principal components and the algebraic circle of the
    // points seen along its normal.
    void fitFast() override;
    // As fitFast(), but the circle in the plane is the geometric one: the
    // plane comes from the principal components alone. Needs 3 valid points.
    void fitInPrincipalPlane();

    // The distance sqrt((s - r)² + f²) and its gradient. A point on the curve
    // has a distance of exactly 0 and then a gradient of 0/0: the derivative
    // of a distance has no value there.
    void distance(const MVector3d &point, const double *parameters, double *result) const final;
    void distanceAndGradient(const MVector3d &point, const double *parameters, double *result,
                             double *gradient) const final;
    // Normalises (A, B, C).
    void normalizeParameters(double *parameters) final;

private:
    struct InPlaneAndAcross;

    // The radius of a parameter vector in the working frame.
    double radiusOf(const double *parameters) const
    {
        return m_fixedRadius != 0.0 ? m_frame.lengthToLocal(m_fixedRadius) : parameters[6];
    }
    // The circle of the points turned so that the principal plane's normal
    // is Z, fitted geometrically or algebraically, and turned back.
    void fitInPlane(bool geometric);

    double m_fixedRadius = 0.0;
};

} // namespace ZOLAR3D
