#pragma once

#include "MCylinder.h"
#include "MNistFit.h"
#include "Zol3DExport.h"

namespace ZOLAR3D {

// The cylinder by orthogonal distance: each point contributes s - r, its
// distance from the axis less the radius. Parameters x0, y0, z0 (a point on
// the axis), A, B, C (the direction) and, with a free radius, r. At least 5
// valid points. The result's position is the middle of the points' span
// along the axis and its length that span.
class ZOL3D_API MCylinderFit : public MNistFit<MCylinder> {
public:
    // 0 leaves the radius free.
    void setFixedRadius(double radius) { m_fixedRadius = radius; }
    double fixedRadius() const { return m_fixedRadius; }

    // Each principal axis of the points starts a short minimisation; the
    // best of the three is minimised to the end.
    void fit() override;

    void distance(const MVector3d &point, const double *parameters, double *result) const final;
    void distanceAndGradient(const MVector3d &point, const double *parameters, double *result,
                             double *gradient) const final;
    // Normalises (A, B, C) and moves (x0, y0, z0) to the foot of the origin
    // on the axis, so that the axis point cannot drift along the axis.
    void normalizeParameters(double *parameters) final;

private:
    // The radius of a parameter vector in the working frame.
    double radiusOf(const double *parameters) const
    {
        return m_fixedRadius != 0.0 ? m_frame.lengthToLocal(m_fixedRadius) : parameters[6];
    }
    // The start along `axis`: the algebraic circle of the points seen along
    // it, in the working frame. False where the points seen so are collinear.
    bool startAlong(const MVector3d &axis, double *parameters) const;
    // The cylinder of a parameter vector in the working frame, in the world.
    MCylinder cylinderOf(const double *parameters) const;
    // The sum of squared distances of the points from the cylinder of `parameters`.
    double score(const double *parameters) const;

    double m_fixedRadius = 0.0;
};

} // namespace ZOLAR3D
