#include "MSphereRansac.h"

#include "MInvalid.h"

#include <cmath>

namespace ZOLAR3D {

bool MSphereRansac::isValidModel(const MSphere &model) const
{
    const double r = model.radius();
    return model.position().isValid() && r > 0.0 && r < MInvalid && r >= minRadius() && r <= maxRadius();
}

bool MSphereRansac::isSimilar(const MSphere &a, const MSphere &b) const
{
    const double mean = (a.radius() + b.radius()) / 2.0;
    const double reach = 0.5 * mean;
    return std::fabs(a.radius() - b.radius()) <= 0.2 * mean && a.position().squaredDistance(b.position()) <= reach * reach;
}

} // namespace ZOLAR3D
