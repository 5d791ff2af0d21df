#ifndef RSMPL_RESAMPLE_TRUNCATE_INTERNAL_H
#define RSMPL_RESAMPLE_TRUNCATE_INTERNAL_H

#include <cstdint>

namespace rsmpl
{

// Selections, without branches, so that loops over them vectorise; always inlined, because kernels
// use them too.

// x, but at most `most` and at least `least`; NaN becomes `most`.
template <typename T>
[[gnu::always_inline]] inline T saturated(T x, T least, T most)
{
    const T below = x < most ? x : most;
    return below > least ? below : least;
}

// x truncated toward zero; beyond int32's range its nearest limit; 0 for NaN.
[[gnu::always_inline]] inline std::int32_t truncate_saturating(float x)
{
    constexpr float kTooLarge = 2147483648.0F;     // 2^31
    constexpr float kLargestBelow = 2147483520.0F; // the float next to it
    const auto whole = static_cast<std::int32_t>(saturated(x, -kTooLarge, kLargestBelow));
    const std::int32_t limited = x >= kTooLarge ? INT32_MAX : whole;
    return x == x ? limited : 0;
}

} // namespace rsmpl

#endif
