#include "MCircleFit2d.h"

#include "metrology/fit/detail/MRoundFitStarts.h"

#include <cmath>

namespace ZOLAR3D {

void MCircleFit2d::fit()
{
    resetIterations();
    if (m_points.size() < 3)
        return refuse("CircleFit: not enough valid points given (minimum required: 3)");
    fitFast();
    if (!m_result.isValid() || !isUsableFixedRadius(m_fixedRadius))
        return m_result.invalidate();
    const bool freeRadius = m_fixedRadius == 0.0;
    const MFitFrame frame(m_points.points(), m_points.size());
    const MVector3d centre = frame.toLocal(m_result.position());
    double parameters[3] = {centre.x(), centre.y(), frame.lengthToLocal(m_result.radius())};
    const int count = freeRadius ? 3 : 2;
    {
        const MFitFrame::Scope local(m_frame, frame);
        minimize(*this, parameters, count, 200, false);
    }
    if (!allFinite(parameters, count))
        return m_result.invalidate();
    const MVector3d fitted = frame.toWorld(MVector3d(parameters[0], parameters[1], centre.z()));
    m_result.setPosition(MVector3d(fitted.x(), fitted.y(), m_result.position().z()));
    // Only a free radius was fitted; a fixed one leaves the algebraic
    // radius in the result, which callers of the fixed-radius fit rely on.
    if (freeRadius)
        m_result.setRadius(frame.lengthToWorld(parameters[2]));
}

void MCircleFit2d::fitFast() { m_result = algebraicCircle(m_points.points(), m_points.size()); }

void MCircleFit2d::distance(const MVector3d &point, const double *parameters, double *result) const
{
    const double dx = point.x() - parameters[0], dy = point.y() - parameters[1];
    *result = std::sqrt(dx * dx + dy * dy) - radiusOf(parameters);
}

// At the centre itself the distance has no derivative by the centre; that
// point then pulls on the radius alone.
void MCircleFit2d::distanceAndGradient(const MVector3d &point, const double *parameters, double *result,
                                       double *gradient) const
{
    const double dx = point.x() - parameters[0], dy = point.y() - parameters[1];
    const double root = std::sqrt(dx * dx + dy * dy);
    *result = root - radiusOf(parameters);
    gradient[0] = root != 0.0 ? -dx / root : 0.0;
    gradient[1] = root != 0.0 ? -dy / root : 0.0;
    if (m_fixedRadius == 0.0)
        gradient[2] = -1.0;
}

} // namespace ZOLAR3D
