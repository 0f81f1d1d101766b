#pragma once

#include "MVector3d.h"

#include <vector>

namespace ZOLAR3D::detail {

// The indices of the valid points, ordered along a Morton curve through
// their bounding box. Neighbourhood queries made in this order touch the
// same parts of a tree one after another and so find them in the cache,
// whatever the order of the array; loops whose results go to each point's
// own slot run in it unchanged.
std::vector<int> spatialOrder(const MVector3d *points, int count);

} // namespace ZOLAR3D::detail
