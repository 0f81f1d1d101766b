#include "metrology/fit/detail/MEnclosingBall.h"

#include "metrology/fit/detail/MRoundFitStarts.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace ZOLAR3D {

namespace {

// A point counts as outside when it lies beyond the sphere by more than ten
// double epsilons of the squared radius; closer than that is rounding.
constexpr double OutsideTolerance = 2.220446049250313e-15;

// Rounds of the pivoting that may pass without growth of the ball before
// the ball is taken as final.
constexpr int QuietRounds = 2;

// In exact arithmetic every pivot round grows the ball and the rounds end;
// in rounding a ball could creep by single units of the last place, so the
// rounds are bounded all the same.
constexpr int MaxRounds = 10000;

class EnclosingBall {
public:
    EnclosingBall(const MVector3d *points, int n) : m_points(points), m_n(n) {}

    MSphere compute()
    {
        int quiet = 0;
        for (int round = 0; quiet < QuietRounds && round < MaxRounds; ++round) {
            int farthest = -1;
            const double excess = largestExcess(farthest);
            if (farthest < 0)
                return MSphere();
            if (!isOutside(excess)) {
                ++quiet;
                continue;
            }
            const double before = m_squaredRadius;
            pivotOn(farthest);
            quiet = m_squaredRadius > before ? 0 : quiet + 1;
        }
        return MSphere(m_centre, std::sqrt(m_squaredRadius));
    }

private:
    double excessOf(const MVector3d &p) const
    {
        const MVector3d d = p - m_centre;
        return d.dot(d) - m_squaredRadius;
    }
    bool isOutside(double excess) const
    {
        return m_squaredRadius < 0.0 || excess > m_squaredRadius * OutsideTolerance;
    }

    // The valid point farthest outside the current ball, by |p - c|² - r².
    double largestExcess(int &farthest) const
    {
        double largest = -std::numeric_limits<double>::infinity();
        for (int i = 0; i < m_n; ++i) {
            if (!m_points[i].isValid())
                continue;
            const double excess = excessOf(m_points[i]);
            if (excess > largest) {
                largest = excess;
                farthest = i;
            }
        }
        return largest;
    }

    // The ball of the earlier pivots with the new pivot on its boundary; the
    // pivot then heads the list, where it is tried first from now on.
    void pivotOn(int pivot)
    {
        m_front.erase(std::remove(m_front.begin(), m_front.end(), pivot), m_front.end());
        m_supportSize = 0;
        push(m_points[pivot]);
        moveToFront(static_cast<int>(m_front.size()));
        m_front.insert(m_front.begin(), pivot);
    }

    // Welzl's recursion over the first `end` entries of the list, with the
    // support points on the boundary. Each point found outside joins the
    // support for the points before it and then moves to the head of the
    // list, so that the points that define the ball are met early.
    void moveToFront(int end)
    {
        if (m_supportSize == 4)
            return;
        for (int i = 0; i < end; ++i) {
            const int j = m_front[i];
            if (!isOutside(excessOf(m_points[j])) || !push(m_points[j]))
                continue;
            moveToFront(i);
            --m_supportSize;
            std::rotate(m_front.begin(), m_front.begin() + i, m_front.begin() + i + 1);
        }
    }

    // Adds p to the support and makes the ball the smallest one with all
    // support points on its boundary. Refused when p lies in the affine hull
    // of the support, where no such ball exists.
    bool push(const MVector3d &p)
    {
        m_support[m_supportSize] = p;
        if (m_supportSize == 0) {
            m_centre = p;
            m_squaredRadius = 0.0;
            m_supportSize = 1;
            return true;
        }
        const MSphere ball = circumsphere(m_support, m_supportSize + 1);
        if (!ball.isValid())
            return false;
        m_centre = ball.position();
        m_squaredRadius = ball.radius() * ball.radius();
        ++m_supportSize;
        return true;
    }

    const MVector3d *m_points;
    int m_n;
    std::vector<int> m_front;
    MVector3d m_support[4];
    int m_supportSize = 0;
    MVector3d m_centre{0.0, 0.0, 0.0};
    double m_squaredRadius = -1.0;
};

} // namespace

MSphere smallestEnclosingBall(const MVector3d *points, int n) { return EnclosingBall(points, n).compute(); }

} // namespace ZOLAR3D
