// The orthogonal-distance and minimum-circumscribed fit entry points of MPointCloud.
#include "MCircleFit.h"
#include "MConeFit.h"
#include "MCylinderFit.h"
#include "MPlane.h"
#include "MPointCloud.h"
#include "MSphereFit.h"
#include "metrology/fit/detail/MEnclosingBall.h"

#include <vector>

namespace ZOLAR3D {

namespace {

template <class Fit>
auto fitWithRadius(const MPointCloud &cloud, double fixedRadius)
{
    Fit fit;
    fit.setPoints(cloud);
    fit.setFixedRadius(fixedRadius);
    fit.compute(0.0);
    return fit.result();
}

} // namespace

MCircle MPointCloud::fitCircle(double fixedRadius) const { return fitWithRadius<MCircleFit>(*this, fixedRadius); }

MCircle MPointCloud::fitCircleFast(double fixedRadius) const
{
    MCircleFit fit;
    fit.setPoints(*this);
    fit.setFixedRadius(fixedRadius);
    fit.fitInPrincipalPlane();
    return fit.result();
}

MCircle MPointCloud::fitCircleMC() const
{
    const MCircle circle = fitCircle(0.0);
    if (!circle.isValid())
        return MCircle();
    const MPlane plane(circle.position(), circle.normal());
    std::vector<MVector3d> projected;
    projected.reserve(numPoints());
    for (int i = 0; i < numPoints(); ++i)
        if (m_points[i].isValid())
            projected.push_back(plane.projection(m_points[i]));
    const MSphere ball = smallestEnclosingBall(projected.data(), static_cast<int>(projected.size()));
    return MCircle(ball.position(), plane.normal(), ball.radius());
}

MSphere MPointCloud::fitSphere(double fixedRadius) const { return fitWithRadius<MSphereFit>(*this, fixedRadius); }

MSphere MPointCloud::fitSphereMC() const { return smallestEnclosingBall(points(), numPoints()); }

MCylinder MPointCloud::fitCylinder(double fixedRadius) const
{
    return fitWithRadius<MCylinderFit>(*this, fixedRadius);
}

MCone MPointCloud::fitCone() const
{
    MConeFit fit;
    fit.setPoints(*this);
    fit.compute(0.0);
    return fit.result();
}

} // namespace ZOLAR3D
