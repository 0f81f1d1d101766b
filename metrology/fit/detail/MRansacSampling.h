#pragma once

#include <cstdint>
#include <cstdlib>

namespace ZOLAR3D::detail {

// Beyond 32767 points a second draw multiplies the first index, so that a
// generator with RAND_MAX 32767 still reaches the whole of a large cloud.
// The product wraps in 32 bits as two's complement arithmetic does, computed
// unsigned so that the wrap is defined, and a negative remainder is moved up
// by n, so that the index always lies in [0, n).
inline int ransacSpreadIndex(int draw, int index, int n)
{
    const auto product = static_cast<std::int32_t>(static_cast<std::uint32_t>(draw) * static_cast<std::uint32_t>(index));
    const int spread = product % n;
    return spread < 0 ? spread + n : spread;
}

// A random index into n > 0 points, from one draw of rand(), or two beyond
// 32767 points.
inline int ransacSampleIndex(int n)
{
    const int index = std::rand() % n;
    return n > 32767 ? ransacSpreadIndex(std::rand(), index, n) : index;
}

} // namespace ZOLAR3D::detail
