#include "MPlaneFit.h"

#include "MPrincipalComponentAnalysis.h"
#include "metrology/fit/detail/MFitPasses.h"

namespace ZOLAR3D {

namespace {
const char *const NotEnoughPoints = "PlaneFit: not enough valid points given (minimum required: 3)";
}

void MPlaneFit::fit() { fitPoints(m_points.points(), m_points.size()); }

void MPlaneFit::fitPoints(const MVector3d *points, int n)
{
    MVector3d first[3];
    if (gatherValidPoints(points, n, first, 3) < 3)
        return refuse(NotEnoughPoints);
    const MPrincipalComponentAnalysis pca(points, n);
    MPlane plane(pca.center(), pca.eigenVector(2));
    plane.setU(pca.eigenVector(0));
    plane.setV(pca.eigenVector(1));
    MVector3d normal = plane.normal();
    orient(normal);
    plane.setNormal(normal, false);
    fitPlaneExtent(plane, points, n);
    m_result = plane;
}

void MPlaneFit::fitFast()
{
    const int n = m_points.size();
    if (n < 3)
        return refuse(NotEnoughPoints);
    if (n == 3)
        return fitThreePoints();
    const MPrincipalComponentAnalysis pca(m_points.points(), n);
    MVector3d normal = pca.eigenVector(2);
    orient(normal);
    MPlane plane(pca.center(), normal);
    plane.setU(pca.eigenVector(0));
    plane.setV(pca.eigenVector(1));
    m_result = plane;
}

void MPlaneFit::fitThreePoints()
{
    const MVector3d *p = m_points.points();
    const MVector3d e1 = (p[1] - p[0]).normalized();
    const MVector3d e2 = (p[2] - p[0]).normalized();
    // Coinciding points are an everyday RANSAC sample, not a failure.
    if (!e1.isValid() || !e2.isValid()) {
        m_result.invalidate();
        return;
    }
    MVector3d normal = e1.cross(e2);
    orient(normal);
    // A fresh plane, so that no in-plane axes of an earlier fit linger.
    m_result = MPlane((p[0] + p[1] + p[2]) / 3.0, normal);
}

} // namespace ZOLAR3D
