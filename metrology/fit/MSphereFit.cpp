#include "MSphereFit.h"

#include "metrology/fit/detail/MRoundFitStarts.h"

#include <cmath>

namespace ZOLAR3D {

void MSphereFit::fit()
{
    m_numIterations = 0;
    const int n = m_points.size();
    const MVector3d *p = m_points.points();
    switch (n) {
    case 0:
        return m_result.invalidate();
    case 1:
        m_result = MSphere(p[0], 0.0);
        return;
    case 2:
        m_result = MSphere((p[0] + p[1]) * 0.5, p[0].distance(p[1]) * 0.5);
        return;
    case 3:
    case 4:
        m_result = circumsphere(p, n);
        return;
    default:
        break;
    }
    if (!isUsableFixedRadius(m_fixedRadius))
        return m_result.invalidate();
    fitFast();
    if (!m_result.isValid())
        return;
    const MFitFrame frame(p, n);
    const MVector3d c = frame.toLocal(m_result.position());
    double parameters[4] = {c.x(), c.y(), c.z(), frame.lengthToLocal(m_result.radius())};
    const int count = m_fixedRadius == 0.0 ? 4 : 3;
    {
        const MFitFrame::Scope local(m_frame, frame);
        MLevenbergMarquardtOptions options;
        MLevenbergMarquardt::minimize(options, *this, parameters, count, n, &m_numIterations);
    }
    if (!allFinite(parameters, count))
        return m_result.invalidate();
    const double radius = m_fixedRadius != 0.0 ? m_fixedRadius : frame.lengthToWorld(parameters[3]);
    m_result = MSphere(frame.toWorld(MVector3d(parameters[0], parameters[1], parameters[2])), radius);
}

void MSphereFit::fitFast() { m_result = algebraicSphere(m_points.points(), m_points.size()); }

bool MSphereFit::residual(int index, const double *parameters, double &result) const
{
    const MVector3d d = m_frame.toLocal(m_points.points()[index]) - MVector3d(parameters[0], parameters[1], parameters[2]);
    result = std::sqrt(d.dot(d)) - radiusOf(parameters);
    return true;
}

// A point at the centre itself has no direction to pull the centre in; it
// pulls on the radius alone.
bool MSphereFit::residualAndGradient(int index, const double *parameters, double &result, double *gradient) const
{
    const MVector3d d = m_frame.toLocal(m_points.points()[index]) - MVector3d(parameters[0], parameters[1], parameters[2]);
    const double length = std::sqrt(d.dot(d));
    result = length - radiusOf(parameters);
    const double scale = length != 0.0 ? -1.0 / length : 0.0;
    gradient[0] = d.x() * scale;
    gradient[1] = d.y() * scale;
    gradient[2] = d.z() * scale;
    if (m_fixedRadius == 0.0)
        gradient[3] = -1.0;
    return true;
}

} // namespace ZOLAR3D
