#pragma once

#include "MBestFit.h"
#include "MLine.h"
#include "Zol3DExport.h"

namespace ZOLAR3D {

// Least-squares line through at least 2 valid points: the principal axis of
// largest spread, with its dominant component positive. The position is the
// middle of the points' span along the line and the length attribute that
// span.
class ZOL3D_API MLineFit : public MBestFit<MLine> {
public:
    void fit() override;
    // The complete fit of the valid points of a raw array, which is neither
    // copied nor kept: every pass skips the invalid points, so the result is
    // that of setPoints() and fit() on the same points.
    void fitPoints(const MVector3d *points, int n);
};

} // namespace ZOLAR3D
