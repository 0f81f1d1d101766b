#include "MLineSegment.h"

#include "MLine.h"
#include "MRay.h"
#include "metrology/shapes/detail/MAxialShape.h"

namespace ZOLAR3D {

MLineSegment MLineSegment::From(const MLine &line)
{
    MLineSegment segment;
    segment.from(line);
    return segment;
}

MLineSegment MLineSegment::From(const MRay &ray)
{
    MLineSegment segment;
    segment.from(ray);
    return segment;
}

// The line's position is the centre of the segment; a line without a length
// has no segment.
void MLineSegment::from(const MLine &line)
{
    if (!line.isValid() || line.lengthAttribute() == MInvalid) {
        m_start.invalidate();
        m_end.invalidate();
        return;
    }
    const MVector3d half = line.direction() * (line.lengthAttribute() / 2.0);
    m_start = line.position() - half;
    m_end = line.position() + half;
}

// A ray without a length keeps its start and gets no end.
void MLineSegment::from(const MRay &ray)
{
    if (!ray.isValid()) {
        m_start.invalidate();
        m_end.invalidate();
        return;
    }
    m_start = ray.start();
    m_end = m_start + ray.direction() * ray.lengthAttribute();
    if (ray.lengthAttribute() == MInvalid)
        m_end.invalidate();
}

namespace {

// A fraction kept as numerator and denominator, so that clamping it to an end
// of its segment never divides.
struct Fraction {
    double numerator;
    double denominator;

    double value() const { return std::fabs(numerator) < 1e-12 ? 0.0 : numerator / denominator; }
};

} // namespace

double MLineSegment::distance(const MLineSegment &other, double *s, double *t) const
{
    if (s)
        *s = MInvalid;
    if (t)
        *t = MInvalid;
    if (!isValid() || !other.isValid())
        return MInvalid;

    const MVector3d u = m_end - m_start;
    const MVector3d v = other.m_end - other.m_start;
    const MVector3d w = m_start - other.m_start;
    const double a = u.dot(u);
    const double b = u.dot(v);
    const double c = v.dot(v);
    const double d = u.dot(w);
    const double e = v.dot(w);
    const double determinant = a * c - b * b;

    Fraction onThis{0.0, determinant};
    Fraction onOther{0.0, determinant};
    if (determinant < 1e-12) {
        // Nearly parallel: start from this segment's start and let the
        // clamps below find the pair.
        onThis = {0.0, 1.0};
        onOther = {e, c};
    } else {
        onThis.numerator = b * e - c * d;
        onOther.numerator = a * e - b * d;
        if (onThis.numerator < 0.0) {
            onThis.numerator = 0.0;
            onOther = {e, c};
        } else if (onThis.numerator > onThis.denominator) {
            onThis.numerator = onThis.denominator;
            onOther = {e + b, c};
        }
    }

    // The other segment's fraction left [0, 1]: clamp it and find this
    // segment's point closest to that end again.
    auto refitThis = [&](double numerator) {
        if (numerator < 0.0)
            onThis.numerator = 0.0;
        else if (numerator > a)
            onThis.numerator = onThis.denominator;
        else
            onThis = {numerator, a};
    };
    if (onOther.numerator < 0.0) {
        onOther.numerator = 0.0;
        refitThis(-d);
    } else if (onOther.numerator > onOther.denominator) {
        onOther.numerator = onOther.denominator;
        refitThis(b - d);
    }

    const double fractionThis = onThis.value();
    const double fractionOther = onOther.value();
    if (s)
        *s = fractionThis;
    if (t)
        *t = fractionOther;
    return ((w + u * fractionThis) - v * fractionOther).norm();
}

MVector3d MLineSegment::intersection(const MLineSegment &other) const
{
    double s = 0.0;
    double t = 0.0;
    if (distance(other, &s, &t) == MInvalid)
        return MVector3d::Infinity;
    const MVector3d onThis = m_start + (m_end - m_start) * s;
    const MVector3d onOther = other.m_start + (other.m_end - other.m_start) * t;
    return (onOther + onThis) * 0.5;
}

void MLineSegment::applyTransformation(const MMatrix4 &m)
{
    if (!isValid())
        return;
    m.transform(m_start);
    m.transform(m_end);
}

// A zero-length segment has no direction and so no pose.
MMatrix4 MLineSegment::pose() const
{
    const MVector3d axis = direction();
    return axis.isValid() ? MAxialShape::pose(m_start, axis) : MMatrix4::Zero;
}

} // namespace ZOLAR3D
