#include "MPlane.h"

#include "metrology/shapes/detail/MShapeFrame.h"

#include <algorithm>
#include <cmath>

namespace ZOLAR3D {

const MPlane MPlane::X(MVector3d(0.0, 0.0, 0.0), MVector3d(1.0, 0.0, 0.0), true);
const MPlane MPlane::Y(MVector3d(0.0, 0.0, 0.0), MVector3d(0.0, 1.0, 0.0), true);
const MPlane MPlane::Z(MVector3d(0.0, 0.0, 0.0), MVector3d(0.0, 0.0, 1.0), true);

void MPlane::getEquation(double &a, double &b, double &c, double &d) const
{
    a = m_normal.x();
    b = m_normal.y();
    c = m_normal.z();
    d = hessianDistance();
}

// Only the normal is taken from the equation: the plane keeps the offset from
// the origin that its old position gives along the new normal, and callers
// rely on the fourth coefficient being ignored.
void MPlane::setFromEquation(double a, double b, double c, double /*d*/)
{
    m_normal = MVector3d(a, b, c).normalized();
    m_position = intersection(MLine(MVector3d(0.0, 0.0, 0.0), m_normal, MInvalid, true));
}

// Goes through setFromEquation, so only the normal p - q is taken over.
void MPlane::biSectionPlaneFromTwoPoints(const MVector3d &p, const MVector3d &q)
{
    if (p == q)
        return;
    const MVector3d difference = p - q;
    setFromEquation(difference.x(), difference.y(), difference.z(), -0.5 * (p + q).dot(difference));
}

// The axes keep the length of the perpendicular, which is not a unit vector.
void MPlane::setUVAny(double scale)
{
    const MVector3d w = MVector3d::PerpendicularTo(m_normal);
    m_u = w * scale;
    m_v = m_normal.cross(w) * scale;
}

MLine MPlane::projection(const MLine &line) const
{
    if (!isValid() || !line.isValid())
        return MLine();
    const MVector3d p = projection(line.position());
    const MVector3d q = projection(line.position() + line.direction());
    const double squared = p.squaredDistance(q);
    // A line along the normal projects to a point, which has no direction.
    if (squared < 1e-15)
        return MLine(p, MVector3d(0.0, 0.0, 0.0), MInvalid, false);
    return MLine(p, (q - p) / std::sqrt(squared), MInvalid, false);
}

MVector3d MPlane::intersection(const MLine &line, double *t) const
{
    if (!isValid() || !line.isValid())
        return MVector3d::Infinity;
    const double denominator = line.direction().dot(m_normal);
    if (denominator == 0.0) {
        if (distance(line.position()) != 0.0)
            return MVector3d::Infinity;
        if (t)
            *t = MInvalid;
        return line.position();
    }
    const double along = (m_position - line.position()).dot(m_normal) / denominator;
    if (t)
        *t = along;
    return line.position() + line.direction() * along;
}

MVector3d MPlane::intersection(const MLineSegment &segment, double *t) const
{
    if (t)
        *t = MInvalid;
    if (!isValid() || !segment.isValid())
        return MVector3d::Infinity;
    const MVector3d u = segment.end() - segment.start();
    const double height = -(segment.start() - m_position).dot(m_normal);
    const double denominator = u.dot(m_normal);
    if (std::fabs(denominator) < 1e-15)
        return height == 0.0 ? segment.start() : MVector3d::Infinity;
    const double fraction = height / denominator;
    if (fraction < 0.0 || fraction > 1.0)
        return MVector3d::Infinity;
    if (t)
        *t = fraction;
    return segment.start() + u * fraction;
}

namespace {

// The larger length of a plane's two axes, the marker when one is unset.
double largerAxisLength(const MPlane &plane)
{
    const double u = plane.u().norm();
    const double v = plane.v().norm();
    return (u == MInvalid || v == MInvalid) ? MInvalid : std::max(u, v);
}

// A point common to two planes given relative to an origin o (their offsets
// h = -(p - o).n), solved in the coordinate plane across which the line
// direction d is steepest. On ties the later axis wins.
MVector3d commonPoint(const MVector3d &n1, double h1, const MVector3d &n2, double h2, const MVector3d &d)
{
    const double ax = std::fabs(d.x());
    const double ay = std::fabs(d.y());
    const double az = std::fabs(d.z());
    if (ax > ay && ax > az)
        return {0.0, (h2 * n1.z() - h1 * n2.z()) / d.x(), (h1 * n2.y() - h2 * n1.y()) / d.x()};
    if (ay > az && !(ax > ay))
        return {(h1 * n2.z() - h2 * n1.z()) / d.y(), 0.0, (h2 * n1.x() - h1 * n2.x()) / d.y()};
    return {(h2 * n1.y() - h1 * n2.y()) / d.z(), (h1 * n2.x() - h2 * n1.x()) / d.z(), 0.0};
}

} // namespace

MLine MPlane::intersection(const MPlane &other, int *kind) const
{
    auto answer = [kind](int value, const MLine &line) {
        if (kind)
            *kind = value;
        return line;
    };
    if (!isValid() || !other.isValid())
        return answer(0, MLine());

    const MVector3d &n1 = m_normal;
    const MVector3d &n2 = other.m_normal;
    const MVector3d d = n1.cross(n2);
    if (std::fabs(d.x()) + std::fabs(d.y()) + std::fabs(d.z()) < 1e-15) {
        if ((other.m_position - m_position).dot(n1) != 0.0)
            return answer(0, MLine());
        return answer(2, MLine(m_position, perpendicularAxis(n1), MInvalid, false));
    }

    // Solved about the midpoint of the two positions rather than the origin,
    // so that planes far from the origin keep their digits; the result is the
    // midpoint's foot on the line either way.
    const MVector3d middle = (m_position + other.m_position) * 0.5;
    const double h1 = -(m_position - middle).dot(n1);
    const double h2 = -(other.m_position - middle).dot(n2);
    const MLine through(middle + commonPoint(n1, h1, n2, h2, d), d, MInvalid, false);

    // Set afterwards: the constructor would turn an unset length into |d|.
    MLine line(through.projection(middle), d);
    const double m1 = largerAxisLength(*this);
    const double m2 = largerAxisLength(other);
    line.setLengthAttribute((m1 == MInvalid || m2 == MInvalid) ? MInvalid : 2.0 * std::max(m1, m2));
    return answer(1, line);
}

// Opposite normals are not parallel by this test: it compares orientations.
bool MPlane::isParallel(const MPlane &other, double tolerance) const
{
    if (!isValid() || !other.isValid())
        return false;
    return tolerance > 1.0 - m_normal.dot(other.m_normal);
}

bool MPlane::isParallel(const MLine &line, double tolerance) const
{
    if (!isValid() || !line.isValid())
        return false;
    return isPerpendicular(line.direction(), tolerance);
}

// The dot product is taken with its sign, so any vector pointing against the
// normal passes: the test is kept one-sided as its callers expect.
bool MPlane::isPerpendicular(const MVector3d &vector, double tolerance) const
{
    if (!isValid() || !vector.isValid())
        return false;
    return tolerance > vector.dot(m_normal);
}

MMatrix4 MPlane::pose() const
{
    if (!isValid())
        return MMatrix4::Zero;
    const MVector3d u = m_u.isValid() ? m_u : perpendicularAxis(m_normal);
    const MVector3d v = m_v.isValid() ? m_v : m_normal.cross(u);
    return shapePose(u, v, m_normal, m_position);
}

// Nothing is renormalised, so a scaling shows in the lengths of the normal and axes.
void MPlane::applyTransformation(const MMatrix4 &m)
{
    if (!isValid())
        return;
    m_position = m * m_position;
    m.rotateAndScale(m_normal);
    m.rotateAndScale(m_u);
    m.rotateAndScale(m_v);
}

} // namespace ZOLAR3D
