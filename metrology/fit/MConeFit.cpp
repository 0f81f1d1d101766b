#include "MConeFit.h"

#include "MLineFit.h"
#include "MPrincipalComponentAnalysis.h"
#include "metrology/fit/detail/MAxialResidual.h"
#include "metrology/fit/detail/MFitPasses.h"
#include "metrology/fit/detail/MRoundFitStarts.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace ZOLAR3D {

namespace {

constexpr double Pi = 3.141592653589793;
constexpr double TwoPi = 6.283185307179586;

} // namespace

void MConeFit::fit()
{
    resetIterations();
    const int n = m_points.size();
    if (n < 6)
        return refuse("ConeFit: not enough valid points given (minimum required: 6)");
    const MPrincipalComponentAnalysis pca(m_points.points(), n);
    if (isLineLike(pca, n))
        return m_result.invalidate();
    const MFitFrame::Scope local(m_frame, MFitFrame(m_points.points(), n));
    double best[8] = {};
    const bool started = minimizeFromBestStart(
        *this, 8, best, [&](int k, double *start) { return startAlong(pca.center(), pca.eigenVector(k), start); },
        [this](const double *parameters) { return score(parameters); });
    if (!started || !allFinite(best, 8))
        return m_result.invalidate();

    MCone cone = coneOf(best);
    double tmin, tmax;
    lineParameterRange(MLine(cone.position(), cone.direction()), m_points.points(), n, tmin, tmax);
    const double middle = (tmin + tmax) * 0.5;
    cone.setPosition(cone.position() + cone.direction() * middle);
    cone.setRadius(cone.radius() - std::tan(cone.angle() * 0.5) * middle);
    cone.setLength(tmax - tmin);
    m_result = cone;
}

bool MConeFit::startAlong(const MVector3d &centre, const MVector3d &axis, double *parameters) const
{
    const int n = m_points.size();
    const MVector3d direction = axis.normalized();
    MPointCloud profile(n);
    const MVector3d *p = m_points.points();
    for (int i = 0; i < n; ++i) {
        const MVector3d q = p[i] - centre;
        profile[i] = MVector3d(q.dot(direction), q.cross(direction).norm(), 0.0);
    }
    MLineFit lineFit;
    lineFit.setPoints(profile);
    lineFit.compute(0.0);
    const MLine &line = lineFit.result();
    if (!line.isValid())
        return false;
    // The line's sign comes from its dominant component. Taken with the
    // height component first, the angle stays below pi / 2 also for cones
    // flatter than 90 degrees, whose profile rises faster than it advances;
    // the direction then points to the narrowing end in both cases.
    double dt = line.direction().x(), drho = line.direction().y();
    const double length = std::hypot(dt, drho);
    dt /= length;
    drho /= length;
    if (dt < 0.0) {
        dt = -dt;
        drho = -drho;
    }
    const double phi = std::acos(std::min(dt, 1.0));
    // The distance of the profile line from the origin is s itself: the
    // radius at the axis point times cos(phi).
    const MVector3d middle = line.position();
    const double s = std::fabs(middle.x() * drho - middle.y() * dt);
    const MVector3d towardsApex = drho > 0.0 ? -direction : direction;
    const MVector3d at = m_frame.toLocal(centre);
    const double start[8] = {at.x(), at.y(), at.z(), towardsApex.x(), towardsApex.y(), towardsApex.z(),
                             m_frame.lengthToLocal(s), phi};
    std::copy(start, start + 8, parameters);
    return true;
}

MCone MConeFit::coneOf(const double *parameters) const
{
    const double phi = parameters[7];
    return MCone(m_frame.toWorld(MVector3d(parameters[0], parameters[1], parameters[2])),
                 MVector3d(parameters[3], parameters[4], parameters[5]),
                 m_frame.lengthToWorld(parameters[6]) / std::cos(phi), 2.0 * phi, MInvalid);
}

double MConeFit::score(const double *parameters) const
{
    return sumOfSquaredDistances(coneOf(parameters), m_points.points(), m_points.size());
}

void MConeFit::distance(const MVector3d &point, const double *parameters, double *result) const
{
    const MAxialTerms t(point, parameters);
    const double phi = parameters[7];
    *result = std::sin(phi) * t.along + std::cos(phi) * t.radial - parameters[6];
}

void MConeFit::distanceAndGradient(const MVector3d &point, const double *parameters, double *result,
                                   double *gradient) const
{
    const MAxialTerms t(point, parameters);
    const double sine = std::sin(parameters[7]), cosine = std::cos(parameters[7]);
    *result = sine * t.along + cosine * t.radial - parameters[6];
    double u[3];
    t.radialByPoint(u);
    for (int i = 0; i < 3; ++i) {
        gradient[i] = cosine * u[i] - sine * t.a[i];
        gradient[3 + i] = sine * t.alongByDirection(i) + cosine * u[i] * t.along;
    }
    gradient[6] = -1.0;
    gradient[7] = cosine * t.along - sine * t.radial;
}

void MConeFit::normalizeParameters(double *parameters)
{
    const auto flipDirection = [parameters] {
        for (int i = 3; i < 6; ++i)
            parameters[i] = -parameters[i];
    };
    normalizeAxisDirection(parameters);
    double &phi = parameters[7];
    double &s = parameters[6];
    phi = std::fmod(phi, TwoPi);
    if (phi < 0.0)
        phi += TwoPi;
    if (phi > Pi) {
        phi -= Pi;
        flipDirection();
    }
    if (phi > Pi / 2)
        phi = Pi - phi;
    if (s < 0.0) {
        s = -s;
        flipDirection();
    }
}

} // namespace ZOLAR3D
