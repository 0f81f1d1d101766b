#include "MCircleRansac.h"

#include "MAngle.h"
#include "MInvalid.h"
#include "MPlane.h"

#include <cmath>

namespace ZOLAR3D {

namespace {

// Whether the centre of b lies off the plane of a, or far from a's centre
// within that plane. The squared offset in the plane is held against half
// the mean radius, unsquared, and only the side of a's plane that its normal
// faces counts: both are long-standing behaviours of the comparison that
// decide which circles merge, and they are kept as they stand.
bool isCentreApart(const MCircle &a, const MCircle &b, double meanRadius)
{
    const MPlane plane(a.position(), a.normal());
    const MVector3d foot = plane.projection(b.position());
    return a.position().squaredDistance(foot) > 0.5 * meanRadius || plane.distance(b.position()) > 0.1 * meanRadius;
}

} // namespace

bool MCircleRansac::isValidModel(const MCircle &model) const
{
    const double r = model.radius();
    return model.position().isValid() && model.normal().isValid() && r > 0.0 && r < MInvalid && r >= minRadius() &&
           r <= maxRadius();
}

bool MCircleRansac::isSimilar(const MCircle &a, const MCircle &b) const
{
    const double mean = (a.radius() + b.radius()) / 2.0;
    if (std::fabs(a.radius() - b.radius()) > 0.2 * mean)
        return false;
    if (isCentreApart(a, b, mean) || isCentreApart(b, a, mean))
        return false;
    return std::fabs(a.normal().dot(b.normal())) >= std::cos(MAngle::DegToRad(10.0));
}

} // namespace ZOLAR3D
