#pragma once

#include "MColor.h"
#include "MColorArray.h"
#include "MDoubleArray.h"
#include "MInvalid.h"
#include "Zol3DExport.h"

namespace ZOLAR3D {

// Maps a value to a colour by linear interpolation between stops. The stops
// need not be sorted: the first consecutive pair that brackets a value decides
// its colour, and a value outside all stops is black.
class ZOL3D_API MColormap {
public:
    // Replaces the stops; a null array gives an empty map.
    void set(const double *values, const MColor *colors, int n);

    // An empty map has minimum the invalid marker and maximum its negative.
    double minValue() const;
    double maxValue() const;
    bool contains(double value) const { return minValue() <= value && value <= maxValue(); }
    MColor color(double value) const;

    int size() const { return m_values.size(); }
    const MDoubleArray &values() const { return m_values; }
    const MColorArray &colors() const { return m_colors; }

    // In the builders a low equal to the invalid marker means -high.
    static MColormap Rainbow(double high, double low = MInvalid);
    static MColormap RainbowToInfinity(double high, double low = MInvalid);
    static MColormap Rgb(double high, double low = MInvalid);
    static MColormap ThreeColors(double high, double low, const MColor &colorHigh, const MColor &colorMiddle,
                                 const MColor &colorLow);

private:
    MDoubleArray m_values;
    MColorArray m_colors;
};

} // namespace ZOLAR3D
