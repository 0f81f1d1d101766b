#include "MCylinderFit.h"

#include "MPrincipalComponentAnalysis.h"
#include "metrology/fit/detail/MAxialResidual.h"
#include "metrology/fit/detail/MFitPasses.h"
#include "metrology/fit/detail/MRoundFitStarts.h"

#include <algorithm>
#include <limits>

namespace ZOLAR3D {

void MCylinderFit::fit()
{
    resetIterations();
    const int n = m_points.size();
    if (n < 5)
        return refuse("CylinderFit: not enough valid points given (minimum required: 5)");
    if (!isUsableFixedRadius(m_fixedRadius))
        return m_result.invalidate();
    const int count = m_fixedRadius == 0.0 ? 7 : 6;
    const MPrincipalComponentAnalysis pca(m_points.points(), n);
    if (isLineLike(pca, n))
        return m_result.invalidate();
    const MFitFrame::Scope local(m_frame, MFitFrame(m_points.points(), n));
    // Eight places, of which the last one or two have no gradient: the final
    // minimisation runs over all eight, and the damping keeps them unchanged.
    double best[8] = {};
    const bool started = minimizeFromBestStart(
        *this, count, best, [&](int k, double *start) { return startAlong(pca.eigenVector(k), start); },
        [this](const double *parameters) { return score(parameters); });
    if (!started || !allFinite(best, count))
        return m_result.invalidate();

    const MCylinder fitted = cylinderOf(best);
    const MLine axis(fitted.position(), fitted.direction());
    double tmin, tmax;
    lineParameterRange(axis, m_points.points(), n, tmin, tmax);
    // Oriented last, so that a flip moves neither the position nor the length.
    MVector3d direction = axis.direction();
    orient(direction);
    m_result = MCylinder(axis.position() + axis.direction() * ((tmin + tmax) * 0.5), direction, fitted.radius(),
                         tmax - tmin);
}

bool MCylinderFit::startAlong(const MVector3d &axis, double *parameters) const
{
    const int n = m_points.size();
    const MVector3d direction = axis.normalized();
    const MMatrix3 intoZ = MMatrix3::VectorIntoZRotation(direction, true);
    const std::vector<MVector3d> turned = rotatedPoints(intoZ, m_points.points(), n);
    const MCircle flat = algebraicCircle(turned.data(), n);
    if (!flat.isValid())
        return false;
    const MVector3d position = m_frame.toLocal(intoZ.transposed() * flat.position());
    const double start[7] = {position.x(),  position.y(),  position.z(),
                             direction.x(), direction.y(), direction.z(),
                             m_frame.lengthToLocal(flat.radius())};
    std::copy(start, start + 7, parameters);
    return true;
}

MCylinder MCylinderFit::cylinderOf(const double *parameters) const
{
    const double radius = m_fixedRadius != 0.0 ? m_fixedRadius : m_frame.lengthToWorld(parameters[6]);
    return MCylinder(m_frame.toWorld(MVector3d(parameters[0], parameters[1], parameters[2])),
                     MVector3d(parameters[3], parameters[4], parameters[5]), radius, MInvalid);
}

double MCylinderFit::score(const double *parameters) const
{
    return sumOfSquaredDistances(cylinderOf(parameters), m_points.points(), m_points.size());
}

void MCylinderFit::distance(const MVector3d &point, const double *parameters, double *result) const
{
    *result = MAxialTerms(point, parameters).radial - radiusOf(parameters);
}

void MCylinderFit::distanceAndGradient(const MVector3d &point, const double *parameters, double *result,
                                       double *gradient) const
{
    const MAxialTerms t(point, parameters);
    *result = t.radial - radiusOf(parameters);
    double u[3];
    t.radialByPoint(u);
    for (int i = 0; i < 3; ++i) {
        gradient[i] = u[i];
        gradient[3 + i] = u[i] * t.along;
    }
    if (m_fixedRadius == 0.0)
        gradient[6] = -1.0;
}

void MCylinderFit::normalizeParameters(double *parameters)
{
    normalizeAxisDirection(parameters);
    const double *a = parameters + 3;
    const double along = parameters[0] * a[0] + parameters[1] * a[1] + parameters[2] * a[2];
    for (int i = 0; i < 3; ++i)
        parameters[i] -= a[i] * along;
}

} // namespace ZOLAR3D
