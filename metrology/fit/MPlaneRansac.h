#pragma once

#include "MPlane.h"
#include "MPlaneFit.h"
#include "MRansac.h"
#include "Zol3DExport.h"

namespace ZOLAR3D {

extern template class ZOL3D_API MRansac<MPlane, MPlaneFit>;

// Planes from samples of 3 points.
class ZOL3D_API MPlaneRansac : public MRansac<MPlane, MPlaneFit> {
public:
    MPlaneRansac() : MRansac(3) {}

    // Each position lies within 20 bands of the other plane and the normals
    // are at most 10 degrees apart, either way round.
    bool isSimilar(const MPlane &a, const MPlane &b) const override;
};

} // namespace ZOLAR3D
