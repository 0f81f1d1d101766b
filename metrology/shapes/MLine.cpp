#include "MLine.h"

#include "MLineSegment.h"
#include "MRay.h"
#include "metrology/shapes/detail/MAxialShape.h"

namespace ZOLAR3D {

const MLine MLine::XAxis(MVector3d(0.0, 0.0, 0.0), MVector3d(1.0, 0.0, 0.0), MInvalid, true);
const MLine MLine::YAxis(MVector3d(0.0, 0.0, 0.0), MVector3d(0.0, 1.0, 0.0), MInvalid, true);
const MLine MLine::ZAxis(MVector3d(0.0, 0.0, 0.0), MVector3d(0.0, 0.0, 1.0), MInvalid, true);

MLine MLine::From(const MLineSegment &segment)
{
    MLine line;
    line.from(segment);
    return line;
}

MLine MLine::From(const MRay &ray)
{
    MLine line;
    line.from(ray);
    return line;
}

MLine MLine::From(const MVector3d &a, const MVector3d &b) { return From(MLineSegment(a, b)); }

// The line runs through the segment's centre, so that turning it back into a
// segment gives the same two points.
void MLine::from(const MLineSegment &segment)
{
    if (!segment.isValid()) {
        m_position.invalidate();
        return;
    }
    m_position = segment.center();
    m_direction = segment.direction();
    m_length = segment.length();
}

void MLine::from(const MRay &ray)
{
    if (!ray.isValid()) {
        m_position.invalidate();
        return;
    }
    m_position = ray.start();
    m_direction = ray.direction().normalized();
    m_length = ray.lengthAttribute();
}

double MLine::distance(const MLine &other) const
{
    if (!isValid() || !other.isValid())
        return MInvalid;
    const MVector3d n = m_direction.cross(other.m_direction);
    const double nn = n.dot(n);
    if (nn == 0.0)
        return distance(other.m_position);
    return std::fabs((other.m_position - m_position).dot(n)) / std::sqrt(nn);
}

MVector3d MLine::projection(const MLine &other) const
{
    if (!isValid() || !other.isValid())
        return MVector3d::Infinity;
    const MVector3d n = m_direction.cross(other.m_direction);
    const MVector3d m = other.m_direction.cross(n);
    const double denominator = m.dot(m_direction);
    if (denominator == 0.0)
        return projection(other.m_position);
    return m_position + m_direction * ((other.m_position - m_position).dot(m) / denominator);
}

MVector3d MLine::intersection(const MLine &other) const
{
    const MVector3d onThis = projection(other);
    const MVector3d onOther = other.projection(*this);
    if (!onThis.isValid() || !onOther.isValid())
        return MVector3d::Infinity;
    return (onThis + onOther) * 0.5;
}

// The direction is not renormalised: a scaling matrix leaves a line that
// reports itself invalid rather than one that silently changed its meaning.
void MLine::applyTransformation(const MMatrix4 &m)
{
    if (!isValid())
        return;
    m_position = m * m_position;
    m.rotateAndScale(m_direction);
}

MMatrix4 MLine::pose() const { return isValid() ? MAxialShape::pose(m_position, m_direction) : MMatrix4::Zero; }

} // namespace ZOLAR3D
