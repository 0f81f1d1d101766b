#pragma once

#include "MVector3d.h"

#if defined(_MSC_VER) && (defined(_M_X64) || defined(_M_IX86))
#include <xmmintrin.h>
#endif

namespace ZOLAR3D {

// How many points ahead a stream asks for: about 1.5 KiB, a few dozen
// cache lines in flight.
inline constexpr int MPointStreamLookAhead = 64;

inline void prefetchForReading(const void *address)
{
#if defined(__GNUC__) || defined(__clang__)
    __builtin_prefetch(address, 0, 3);
#elif defined(_MSC_VER) && (defined(_M_X64) || defined(_M_IX86))
    _mm_prefetch(static_cast<const char *>(address), _MM_HINT_T0);
#else
    (void)address;
#endif
}

// Calls visit(i) for every index i from begin to end of a large array of
// points, in order. A loop that does a few dozen operations per point leaves
// too few loads in flight for the hardware prefetchers of some machines, and
// then runs at memory latency instead of bandwidth; asking for the points
// ahead keeps such a pass close to the speed of a plain sum.
template <class Visit>
inline void streamPointIndices(const MVector3d *points, int begin, int end, Visit &&visit)
{
    int i = begin;
    for (; i < end - MPointStreamLookAhead; ++i) {
        prefetchForReading(points + i + MPointStreamLookAhead);
        visit(i);
    }
    for (; i < end; ++i)
        visit(i);
}

// Calls visit(point) for every point of a large array, in order, as above.
template <class Visit>
inline void streamPoints(const MVector3d *points, int n, Visit &&visit)
{
    streamPointIndices(points, 0, n, [&](int i) { visit(points[i]); });
}

} // namespace ZOLAR3D
