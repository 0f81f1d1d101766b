#include "MColor.h"

#include <atomic>
#include <chrono>

namespace ZOLAR3D {

const MColor MColor::Black(0, 0, 0);
const MColor MColor::White(255, 255, 255);
const MColor MColor::Gray(0xA0, 0xA0, 0xA0);
const MColor MColor::LightGray(0xC0, 0xC0, 0xC0);
const MColor MColor::DarkGray(0x80, 0x80, 0x80);
const MColor MColor::Red(255, 0, 0);
const MColor MColor::Green(0, 255, 0);
const MColor MColor::Blue(0, 0, 255);
const MColor MColor::Cyan(0, 255, 255);
const MColor MColor::Magenta(255, 0, 255);
const MColor MColor::Yellow(255, 255, 0);
const MColor MColor::Orange(255, 0xA5, 0);
const MColor MColor::Gold(255, 0xD7, 0);
const MColor MColor::Peach(255, 0xDA, 0xB9);
const MColor MColor::Pink(255, 0xC0, 0xCB);
const MColor MColor::Brown(0xA5, 0x2A, 0x2A);
const MColor MColor::Maroon(0x80, 0, 0);
const MColor MColor::DarkRed(0x80, 0, 0);
const MColor MColor::DarkGreen(0, 0x80, 0);
const MColor MColor::DarkBlue(0, 0, 0x80);
const MColor MColor::DarkCyan(0, 0x80, 0x80);
const MColor MColor::DarkMagenta(0x80, 0, 0x80);
const MColor MColor::DarkYellow(0x80, 0x80, 0);
const MColor MColor::Transparent;

namespace {

// Random bits for Random(): a SplitMix64 sequence over one atomic counter,
// seeded once from the clock. Concurrent callers get distinct draws and no
// data race; the sequence is not meant to be reproducible.
std::uint64_t nextRandomBits()
{
    static std::atomic<std::uint64_t> state(
        static_cast<std::uint64_t>(std::chrono::high_resolution_clock::now().time_since_epoch().count()));
    std::uint64_t z = state.fetch_add(0x9E3779B97F4A7C15ull, std::memory_order_relaxed) + 0x9E3779B97F4A7C15ull;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
}

} // namespace

MColor MColor::Random(int alpha, int minimumBrightest)
{
    const int threshold = minimumBrightest < 255 ? minimumBrightest : 255;
    MColor color;
    for (int draw = 0; draw < 1000; ++draw) {
        const std::uint64_t bits = nextRandomBits();
        const int r = int(bits & 0xFF), g = int((bits >> 8) & 0xFF), b = int((bits >> 16) & 0xFF);
        color = MColor(r, g, b, alpha);
        if (std::max({r, g, b}) >= threshold)
            break;
    }
    return color;
}

} // namespace ZOLAR3D
