#pragma once

#include <climits>
#include <cstdint>
#include <new>

namespace ZOLAR3D::detail {

// Element count of a grid; a grid the arrays cannot index is an allocation
// failure like any other request that cannot be served.
inline int gridCount(int height, int width)
{
    const std::int64_t count = std::int64_t(height) * width;
    if (count > INT_MAX)
        throw std::bad_alloc();
    return int(count);
}

} // namespace ZOLAR3D::detail
