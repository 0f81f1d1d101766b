#pragma once

#include "MBestFit.h"
#include "MVector3d.h"
#include "Zol3DExport.h"

namespace ZOLAR3D {

// The centroid of at least 1 valid point, as a fit.
class ZOL3D_API MPointFit : public MBestFit<MVector3d> {
public:
    void fit() override;
};

} // namespace ZOLAR3D
