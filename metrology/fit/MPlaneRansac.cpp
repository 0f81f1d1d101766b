#include "MPlaneRansac.h"

#include "MAngle.h"

#include <algorithm>
#include <cmath>

namespace ZOLAR3D {

bool MPlaneRansac::isSimilar(const MPlane &a, const MPlane &b) const
{
    const double reach = threshold() * 20.0;
    if (std::max(std::fabs(a.distance(b.position())), std::fabs(b.distance(a.position()))) > reach)
        return false;
    return std::fabs(a.normal().dot(b.normal())) >= std::cos(MAngle::DegToRad(10.0));
}

} // namespace ZOLAR3D
