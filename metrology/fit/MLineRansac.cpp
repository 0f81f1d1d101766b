#include "MLineRansac.h"

#include <algorithm>
#include <cmath>

namespace ZOLAR3D {

bool MLineRansac::isValidModel(const MLine &model) const
{
    if (!model.isValid())
        return false;
    if (!m_referenceLine.isValid())
        return true;
    if (isSimilar(model, m_referenceLine))
        return false;
    const double angle = model.direction().angle(m_referenceLine.direction(), false);
    return m_minAngle <= angle && angle <= m_maxAngle;
}

bool MLineRansac::isSimilar(const MLine &a, const MLine &b) const
{
    const double reach = m_similarDistance > 0.0 ? m_similarDistance : -m_similarDistance * threshold();
    if (std::max(std::fabs(a.distance(b)), std::fabs(b.distance(a))) > reach)
        return false;
    return !(a.direction().angle(b.direction(), false) > m_similarAngle);
}

} // namespace ZOLAR3D
