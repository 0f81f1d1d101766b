#include "MPointFit.h"

namespace ZOLAR3D {

void MPointFit::fit()
{
    const int n = m_points.size();
    if (n < 1)
        return refuse("PointFit: not enough valid points given (minimum required: 1)");
    // Summed relative to the first point and shifted back, so that clouds far
    // from the origin keep their digits.
    const MVector3d *p = m_points.points();
    const MVector3d origin = p[0];
    MVector3d sum(0.0, 0.0, 0.0);
    for (int i = 1; i < n; ++i)
        sum += p[i] - origin;
    m_result = origin + sum / n;
}

} // namespace ZOLAR3D
