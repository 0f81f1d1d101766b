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
};

} // namespace ZOLAR3D
