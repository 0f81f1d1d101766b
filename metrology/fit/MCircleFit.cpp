#include "MCircleFit.h"

#include "MCircleFit2d.h"
#include "MPrincipalComponentAnalysis.h"
#include "metrology/fit/detail/MAxialResidual.h"
#include "metrology/fit/detail/MRoundFitStarts.h"

#include <cmath>

namespace ZOLAR3D {

namespace {
const char *const NotEnoughPoints = "CircleFit: not enough valid points given (minimum required: 3)";
}

// The solver sees each point twice: its offset from the circle within the
// circle's plane, s - r, and across it, f. Their squares sum to the squared
// distance, so the minimum is the same. But the gradient of the distance
// turns with the direction of each point's offset, which noise sets, and
// Gauss-Newton steps on it leave out half the curvature: on noisy partial
// arcs they zig-zag and stop far from the minimum. Both parts are smooth,
// and steps on them converge in a few iterations.
struct MCircleFit::InPlaneAndAcross {
    const MCircleFit &fit;

    bool residual(int index, const double *parameters, double &result) const
    {
        const MAxialTerms t(fit.m_frame.toLocal(fit.m_points.points()[index / 2]), parameters);
        result = index % 2 == 0 ? t.radial - fit.radiusOf(parameters) : t.along;
        return true;
    }
    bool residualAndGradient(int index, const double *parameters, double &result, double *gradient) const
    {
        const MAxialTerms t(fit.m_frame.toLocal(fit.m_points.points()[index / 2]), parameters);
        if (index % 2 == 0) {
            result = t.radial - fit.radiusOf(parameters);
            double u[3];
            t.radialByPoint(u);
            for (int i = 0; i < 3; ++i) {
                gradient[i] = u[i];
                gradient[3 + i] = u[i] * t.along;
            }
            if (fit.m_fixedRadius == 0.0)
                gradient[6] = -1.0;
        } else {
            result = t.along;
            for (int i = 0; i < 3; ++i) {
                gradient[i] = -t.a[i];
                gradient[3 + i] = t.alongByDirection(i);
            }
        }
        return true;
    }
    void normalizeParameters(double *parameters) const { normalizeAxisDirection(parameters); }
};

void MCircleFit::fit()
{
    resetIterations();
    if (m_points.size() < 3)
        return refuse(NotEnoughPoints);
    if (!isUsableFixedRadius(m_fixedRadius))
        return m_result.invalidate();
    fitFast();
    if (!m_result.isValid())
        return;
    const MFitFrame frame(m_points.points(), m_points.size());
    const MVector3d c = frame.toLocal(m_result.position()), n = m_result.normal();
    double parameters[7] = {c.x(), c.y(), c.z(), n.x(), n.y(), n.z(), frame.lengthToLocal(m_result.radius())};
    const int count = m_fixedRadius == 0.0 ? 7 : 6;
    {
        const MFitFrame::Scope local(m_frame, frame);
        InPlaneAndAcross components{*this};
        minimizeProblem(components, parameters, count, 2 * m_points.size(), 200, true);
    }
    if (!allFinite(parameters, count))
        return m_result.invalidate();
    MVector3d normal = MVector3d(parameters[3], parameters[4], parameters[5]).normalized();
    orient(normal);
    const double radius = m_fixedRadius != 0.0 ? m_fixedRadius : frame.lengthToWorld(parameters[6]);
    m_result = MCircle(frame.toWorld(MVector3d(parameters[0], parameters[1], parameters[2])), normal, radius);
}

void MCircleFit::fitFast() { fitInPlane(false); }

void MCircleFit::fitInPrincipalPlane()
{
    if (m_points.size() < 3)
        return refuse(NotEnoughPoints);
    fitInPlane(true);
}

void MCircleFit::fitInPlane(bool geometric)
{
    const int n = m_points.size();
    if (n < 3)
        return m_result.invalidate();
    const MPrincipalComponentAnalysis pca(m_points.points(), n);
    MVector3d normal = pca.eigenVector(2).normalized();
    // Coordinates that are valid but infinite leave no axes.
    if (!normal.isValid())
        return m_result.invalidate();
    orient(normal);
    const MMatrix3 intoZ = MMatrix3::VectorIntoZRotation(normal, true);
    const std::vector<MVector3d> turned = rotatedPoints(intoZ, m_points.points(), n);
    MCircle flat;
    if (geometric) {
        MCircleFit2d fit2d;
        MPointCloud cloud;
        cloud.setPoints(turned.data(), n);
        fit2d.setPoints(cloud);
        fit2d.setFixedRadius(m_fixedRadius);
        fit2d.compute(0.0);
        flat = fit2d.result();
    } else {
        flat = algebraicCircle(turned.data(), n);
    }
    if (!flat.isValid())
        return m_result.invalidate();
    m_result = MCircle(intoZ.transposed() * flat.position(), normal, flat.radius(), true);
}

void MCircleFit::distance(const MVector3d &point, const double *parameters, double *result) const
{
    const MAxialTerms t(point, parameters);
    const double g = t.radial - radiusOf(parameters);
    *result = std::sqrt(g * g + t.along * t.along);
}

void MCircleFit::distanceAndGradient(const MVector3d &point, const double *parameters, double *result,
                                     double *gradient) const
{
    const MAxialTerms t(point, parameters);
    const double g = t.radial - radiusOf(parameters);
    const double d = std::sqrt(g * g + t.along * t.along);
    *result = d;
    double u[3];
    t.radialByPoint(u);
    for (int i = 0; i < 3; ++i) {
        gradient[i] = (u[i] * g - t.a[i] * t.along) / d;
        gradient[3 + i] = (t.alongByDirection(i) * t.along + u[i] * t.along * g) / d;
    }
    if (m_fixedRadius == 0.0)
        gradient[6] = -g / d;
}

void MCircleFit::normalizeParameters(double *parameters) { normalizeAxisDirection(parameters); }

} // namespace ZOLAR3D
