#pragma once

#include "MBestFit.h"
#include "MPlane.h"
#include "Zol3DExport.h"

namespace ZOLAR3D {

// Least-squares plane through the principal components of at least 3 valid
// points: the normal is the axis of least spread, with its dominant component
// positive. After fit(), the position is the centre of the points' bounding
// rectangle in the plane and u, v are its half-extent vectors.
class ZOL3D_API MPlaneFit : public MBestFit<MPlane> {
public:
    void fit() override;
    // The complete fit of the valid points of a raw array, which is neither
    // copied nor kept: every pass skips the invalid points, so the result is
    // that of setPoints() and fit() on the same points.
    void fitPoints(const MVector3d *points, int n);
    // No extent: u and v stay unit axes. Three points give their exact
    // plane, or an invalid one without failure when two of them coincide.
    void fitFast() override;

private:
    void fitThreePoints();
};

} // namespace ZOLAR3D
