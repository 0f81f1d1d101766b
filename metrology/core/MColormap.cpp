#include "MColormap.h"

#include <cmath>

namespace ZOLAR3D {

namespace {

double lowOrMinusHigh(double high, double low) { return low == MInvalid ? -high : low; }

// The point at fraction t from low to high, exact at both ends and free of
// the overflow that high - low would risk.
double between(double low, double high, double t) { return (1.0 - t) * low + t * high; }

// Light cyan, the second stop of the rainbow.
constexpr MColor RainbowCyan(128, 255, 255, 255);

} // namespace

void MColormap::set(const double *values, const MColor *colors, int n)
{
    // Both arrays always have the same length, so one missing source empties both.
    const int count = values && colors ? n : 0;
    m_values.setData(values, count);
    m_colors.setData(colors, count);
}

double MColormap::minValue() const
{
    double minimum = MInvalid;
    for (int i = 0; i < m_values.size(); ++i)
        if (m_values[i] < minimum)
            minimum = m_values[i];
    return minimum;
}

double MColormap::maxValue() const
{
    double maximum = -MInvalid;
    for (int i = 0; i < m_values.size(); ++i)
        if (m_values[i] > maximum)
            maximum = m_values[i];
    return maximum;
}

MColor MColormap::color(double value) const
{
    if (m_values.size() < 2 || !contains(value))
        return MColor::Black;
    for (int i = 0; i + 1 < m_values.size(); ++i) {
        const double a = m_values[i];
        const double b = m_values[i + 1];
        if (!((a <= value && value <= b) || (b <= value && value <= a)))
            continue;
        const double d = std::abs(b - a);
        // Two equal stops hold only the value itself: it takes the first stop's colour.
        if (d == 0.0)
            return MColor::FromVector3f(m_colors[i].toVector3f());
        const double weightA = (d - std::abs(value - a)) / d;
        const double weightB = (d - std::abs(b - value)) / d;
        return MColor::FromVector3f(m_colors[i].toVector3f() * weightA + m_colors[i + 1].toVector3f() * weightB);
    }
    return MColor::Black;
}

MColormap MColormap::Rainbow(double high, double low)
{
    low = lowOrMinusHigh(high, low);
    const double values[5] = {low, between(low, high, 0.25), between(low, high, 0.5), between(low, high, 0.75),
                              high};
    const MColor colors[5] = {MColor::Blue, RainbowCyan, MColor::Green, MColor::Yellow, MColor::Red};
    MColormap map;
    map.set(values, colors, 5);
    return map;
}

MColormap MColormap::RainbowToInfinity(double high, double low)
{
    const MColormap rainbow = Rainbow(high, low);
    const double *stops = rainbow.values().data();
    const double values[7] = {-MInvalid, stops[0], stops[1], stops[2], stops[3], stops[4], MInvalid};
    const MColor colors[7] = {MColor::Blue,   MColor::Blue, RainbowCyan, MColor::Green,
                              MColor::Yellow, MColor::Red,  MColor::Red};
    MColormap map;
    map.set(values, colors, 7);
    return map;
}

MColormap MColormap::Rgb(double high, double low)
{
    return ThreeColors(high, low, MColor::Red, MColor::Green, MColor::Blue);
}

MColormap MColormap::ThreeColors(double high, double low, const MColor &colorHigh, const MColor &colorMiddle,
                                 const MColor &colorLow)
{
    low = lowOrMinusHigh(high, low);
    const double values[3] = {low, between(low, high, 0.5), high};
    const MColor colors[3] = {colorLow, colorMiddle, colorHigh};
    MColormap map;
    map.set(values, colors, 3);
    return map;
}

} // namespace ZOLAR3D
