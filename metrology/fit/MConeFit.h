#pragma once

#include "MCone.h"
#include "MNistFit.h"
#include "Zol3DExport.h"

namespace ZOLAR3D {

// The cone by orthogonal distance. Parameters x0, y0, z0 (a point on the
// axis), A, B, C (the direction, towards the apex), s and phi (the half
// opening angle). A point at height f along the axis and distance s_p from
// it has the residual sin(phi) f + cos(phi) s_p - s: s is the distance of the
// axis point's ring from the mantle's line through the apex, measured
// across the mantle, so the radius at the axis point is s / cos(phi). At
// least 6 valid points. The result's position is the middle of the points'
// span along the axis, its radius the radius there and its length the span.
class ZOL3D_API MConeFit : public MNistFit<MCone> {
public:
    // Each principal axis of the points starts a short minimisation; the
    // best of the three is minimised to the end. The direction is not
    // oriented: it keeps pointing to the apex.
    void fit() override;

    void distance(const MVector3d &point, const double *parameters, double *result) const final;
    void distanceAndGradient(const MVector3d &point, const double *parameters, double *result,
                             double *gradient) const final;
    // Normalises the direction and brings phi into 0 to pi / 2 and s to a
    // value not below 0.
    void normalizeParameters(double *parameters) final;

private:
    // The start along the principal axis through `centre`: the straight line
    // of the points' profile, distance from the axis over height along it.
    // The parameters are those of the working frame.
    bool startAlong(const MVector3d &centre, const MVector3d &axis, double *parameters) const;
    // The cone of a parameter vector in the working frame, in the world.
    MCone coneOf(const double *parameters) const;
    double score(const double *parameters) const;
};

} // namespace ZOLAR3D
