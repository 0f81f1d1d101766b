#include "MRay.h"

#include "MLine.h"
#include "MLineSegment.h"
#include "metrology/shapes/detail/MAxialShape.h"

namespace ZOLAR3D {

MRay MRay::From(const MLine &line)
{
    MRay ray;
    ray.from(line);
    return ray;
}

MRay MRay::From(const MLineSegment &segment)
{
    MRay ray;
    ray.from(segment);
    return ray;
}

void MRay::from(const MLine &line)
{
    if (!line.isValid()) {
        m_start.invalidate();
        return;
    }
    m_start = line.position();
    m_direction = line.direction().normalized();
    m_length = line.lengthAttribute();
}

void MRay::from(const MLineSegment &segment)
{
    if (!segment.isValid()) {
        m_start.invalidate();
        return;
    }
    m_start = segment.start();
    m_direction = segment.direction();
    m_length = segment.length();
}

// Not renormalised, as for MLine.
void MRay::applyTransformation(const MMatrix4 &m)
{
    if (!isValid())
        return;
    m_start = m * m_start;
    m.rotateAndScale(m_direction);
}

MMatrix4 MRay::pose() const { return isValid() ? MAxialShape::pose(m_start, m_direction) : MMatrix4::Zero; }

} // namespace ZOLAR3D
