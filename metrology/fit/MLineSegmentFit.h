#pragma once

#include "MBestFit.h"
#include "MLineSegment.h"
#include "Zol3DExport.h"

namespace ZOLAR3D {

// Least-squares segment through at least 2 valid points: the fitted line,
// cut at the feet of the outermost points. Two points are the segment as
// given, start first.
class ZOL3D_API MLineSegmentFit : public MBestFit<MLineSegment> {
public:
    void fit() override;
    // The complete fit of the valid points of a raw array, which is neither
    // copied nor kept: every pass skips the invalid points, so the result is
    // that of setPoints() and fit() on the same points.
    void fitPoints(const MVector3d *points, int n);
};

} // namespace ZOLAR3D
