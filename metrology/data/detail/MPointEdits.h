#pragma once

#include "MVector3d.h"

namespace ZOLAR3D {

// Invalidates the valid points i of p[0..n) for which invalidated(i) holds
// and returns how many there were: the one loop of every cleaning and every
// edit by region, which count only points that were valid before.
template <class Invalidated>
int invalidateWhere(MVector3d *p, int n, Invalidated invalidated)
{
    int count = 0;
    for (int i = 0; i < n; ++i) {
        if (p[i].isValid() && invalidated(i)) {
            p[i].invalidate();
            ++count;
        }
    }
    return count;
}

} // namespace ZOLAR3D
