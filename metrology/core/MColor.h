#pragma once

#include "MVector3f.h"
#include "Zol3DExport.h"

#include <algorithm>
#include <cstdint>
#include <type_traits>

namespace ZOLAR3D {

// A 32-bit colour 0xAARRGGBB: in little-endian memory blue, green, red, alpha,
// the layout of the colour arrays handed to renderers.
class ZOL3D_API MColor {
public:
    constexpr MColor() : m_argb(0) {}
    explicit constexpr MColor(int value) : m_argb(static_cast<std::uint32_t>(value)) {}
    constexpr MColor(int red, int green, int blue, int alpha = 255) : m_argb(pack(red, green, blue, alpha)) {}

    static const MColor Black;
    static const MColor White;
    static const MColor Gray;
    static const MColor LightGray;
    static const MColor DarkGray;
    static const MColor Red;
    static const MColor Green;
    static const MColor Blue;
    static const MColor Cyan;
    static const MColor Magenta;
    static const MColor Yellow;
    static const MColor Orange;
    static const MColor Gold;
    static const MColor Peach;
    static const MColor Pink;
    static const MColor Brown;
    static const MColor Maroon;
    static const MColor DarkRed;
    static const MColor DarkGreen;
    static const MColor DarkBlue;
    static const MColor DarkCyan;
    static const MColor DarkMagenta;
    static const MColor DarkYellow;
    static const MColor Transparent;

    static MColor FromRgb(int red, int green, int blue, int alpha = 255) { return MColor(red, green, blue, alpha); }
    static MColor FromRgbF(double red, double green, double blue, double alpha = 1.0)
    {
        return MColor(byteOf(red), byteOf(green), byteOf(blue), byteOf(alpha));
    }
    static MColor FromVector3f(const MVector3f &rgb)
    {
        MColor color;
        color.fromVector3f(rgb);
        return color;
    }
    // A random opaque-or-not colour whose brightest channel reaches
    // minimumBrightest (capped at 255); the last of 1000 draws when none does.
    static MColor Random(int alpha = 255, int minimumBrightest = 0);

    int red() const { return channel(16); }
    int green() const { return channel(8); }
    int blue() const { return channel(0); }
    int alpha() const { return channel(24); }
    void setRed(int value) { setChannel(16, value); }
    void setGreen(int value) { setChannel(8, value); }
    void setBlue(int value) { setChannel(0, value); }
    void setAlpha(int value) { setChannel(24, value); }

    double redF() const { return red() / 255.0; }
    double greenF() const { return green() / 255.0; }
    double blueF() const { return blue() / 255.0; }
    double alphaF() const { return alpha() / 255.0; }
    void setRedF(double value) { setRed(byteOf(value)); }
    void setGreenF(double value) { setGreen(byteOf(value)); }
    void setBlueF(double value) { setBlue(byteOf(value)); }
    void setAlphaF(double value) { setAlpha(byteOf(value)); }

    std::uint32_t argb() const { return m_argb; }
    std::uint32_t value() const { return m_argb; }
    void setArgb(std::uint32_t argb) { m_argb = argb; }
    void setValues(std::uint32_t argb) { m_argb = argb; }
    std::uint32_t *data() { return &m_argb; }
    const std::uint32_t *data() const { return &m_argb; }

    bool operator==(const MColor &o) const { return m_argb == o.m_argb; }
    bool operator!=(const MColor &o) const { return m_argb != o.m_argb; }

    // Lightness of the HSL model, (max + min) / 2 of red, green and blue.
    int brightness() const
    {
        const int r = red(), g = green(), b = blue();
        return (std::max({r, g, b}) + std::min({r, g, b})) / 2;
    }
    double brightnessF() const
    {
        const double r = redF(), g = greenF(), b = blueF();
        return (std::max({r, g, b}) + std::min({r, g, b})) / 2.0;
    }

    MVector3f toVector3f() const
    {
        return {float(red() / 255.0), float(green() / 255.0), float(blue() / 255.0)};
    }
    // Opaque colour from (r, g, b) in [0, 1].
    void fromVector3f(const MVector3f &rgb)
    {
        m_argb = pack(byteOf(rgb.x()), byteOf(rgb.y()), byteOf(rgb.z()), 255);
    }

private:
    static constexpr std::uint32_t pack(int red, int green, int blue, int alpha)
    {
        return (std::uint32_t(alpha) & 0xFFu) << 24 | (std::uint32_t(red) & 0xFFu) << 16 |
               (std::uint32_t(green) & 0xFFu) << 8 | (std::uint32_t(blue) & 0xFFu);
    }
    // value x 255 truncated towards zero and reduced to its low byte, as the
    // integer constructor does; NaN and numbers beyond any int give 0.
    static int byteOf(double value)
    {
        const double scaled = value * 255.0;
        if (!(scaled > -2147483648.0 && scaled < 2147483648.0))
            return 0;
        return int(scaled) & 0xFF;
    }
    int channel(int shift) const { return int((m_argb >> shift) & 0xFFu); }
    void setChannel(int shift, int value)
    {
        m_argb = (m_argb & ~(0xFFu << shift)) | (std::uint32_t(value) & 0xFFu) << shift;
    }

    std::uint32_t m_argb;
};

static_assert(std::is_trivially_copyable_v<MColor> && sizeof(MColor) == 4);

} // namespace ZOLAR3D
