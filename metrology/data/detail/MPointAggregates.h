#pragma once

#include "MInvalid.h"
#include "MVector3d.h"

#include <algorithm>

namespace ZOLAR3D::detail {

// Axis-aligned corners grown point by point. Until a point arrives the
// minimum holds the marker and the maximum its negative, which makes any box
// built from them invalid.
struct MCornerBounds {
    MVector3d minimum{MInvalid, MInvalid, MInvalid};
    MVector3d maximum{-MInvalid, -MInvalid, -MInvalid};

    void add(const MVector3d &p)
    {
        minimum.setValues(std::min(minimum.x(), p.x()), std::min(minimum.y(), p.y()), std::min(minimum.z(), p.z()));
        maximum.setValues(std::max(maximum.x(), p.x()), std::max(maximum.y(), p.y()), std::max(maximum.z(), p.z()));
    }
};

// The mean of points summed relative to the first one, so that a scan far
// from the origin keeps the digits that a plain sum would round away.
class MMeanPoint {
public:
    void add(const MVector3d &p)
    {
        if (m_count++ == 0)
            m_origin = p;
        else
            m_offsets += p - m_origin;
    }
    // Infinity when no point arrived.
    MVector3d mean() const { return m_count > 0 ? m_origin + m_offsets / double(m_count) : MVector3d::Infinity; }

private:
    MVector3d m_origin;
    MVector3d m_offsets{0.0, 0.0, 0.0};
    long long m_count = 0;
};

} // namespace ZOLAR3D::detail
