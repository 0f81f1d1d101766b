#pragma once

#include "MRansac.h"
#include "MSphere.h"
#include "MSphereFit.h"
#include "Zol3DExport.h"

namespace ZOLAR3D {

extern template class ZOL3D_API MRansac<MSphere, MSphereFit>;

// Spheres from samples of 4 points, with a radius within the bounds of
// setMinRadius and setMaxRadius.
class ZOL3D_API MSphereRansac : public MRansac<MSphere, MSphereFit> {
public:
    MSphereRansac() : MRansac(4) {}

    // A valid centre and a radius within the bounds.
    bool isValidModel(const MSphere &model) const override;
    // Radii within 20 % of their mean m and centres within m / 2.
    bool isSimilar(const MSphere &a, const MSphere &b) const override;
};

} // namespace ZOLAR3D
