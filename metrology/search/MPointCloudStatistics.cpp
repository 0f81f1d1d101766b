// The members of MPointCloud that rest on its principal components.
#include "MPointCloud.h"

#include "MPrincipalComponentAnalysis.h"

#include <cmath>

namespace ZOLAR3D {

MPrincipalComponentAnalysis MPointCloud::principalComponentAnalysis() const
{
    return MPrincipalComponentAnalysis(*this);
}

MVector3d MPointCloud::dimensionality() const
{
    if (numValidPoints() <= 1)
        return MVector3d::Zero;
    const MPrincipalComponentAnalysis pca(*this);
    const double e0 = std::fabs(pca.eigenValue(0)), e1 = std::fabs(pca.eigenValue(1)), e2 = std::fabs(pca.eigenValue(2));
    const double sum = e0 + e1 + e2;
    if (sum == 0.0)
        return MVector3d::Zero;
    return {e0 / sum, e1 / sum, e2 / sum};
}

} // namespace ZOLAR3D
