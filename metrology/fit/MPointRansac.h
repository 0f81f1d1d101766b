#pragma once

#include "MPointFit.h"
#include "MRansac.h"
#include "MVector3d.h"
#include "Zol3DExport.h"

namespace ZOLAR3D {

extern template class ZOL3D_API MRansac<MVector3d, MPointFit>;

// Clusters of points, from samples of 1 point: a hypothesis gathers the
// points within the band around it and their centroid is the refit. On a
// cloud of normals it finds the dominant directions.
class ZOL3D_API MPointRansac : public MRansac<MVector3d, MPointFit> {
public:
    MPointRansac() : MRansac(1) {}

    // Closer than two bands.
    bool isSimilar(const MVector3d &a, const MVector3d &b) const override;
};

} // namespace ZOLAR3D
