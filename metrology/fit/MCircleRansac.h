#pragma once

#include "MCircle.h"
#include "MCircleFit.h"
#include "MRansac.h"
#include "Zol3DExport.h"

namespace ZOLAR3D {

extern template class ZOL3D_API MRansac<MCircle, MCircleFit>;

// Circles in space from samples of 3 points, with a radius within the
// bounds of setMinRadius and setMaxRadius.
class ZOL3D_API MCircleRansac : public MRansac<MCircle, MCircleFit> {
public:
    MCircleRansac() : MRansac(3) {}

    // A valid centre and normal and a radius within the bounds.
    bool isValidModel(const MCircle &model) const override;
    // Radii within 20 % of their mean m, each centre near the other's plane
    // and close to the other centre within that plane, and normals at most
    // 10 degrees apart, either way round.
    bool isSimilar(const MCircle &a, const MCircle &b) const override;
};

} // namespace ZOLAR3D
