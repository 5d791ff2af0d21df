#ifndef RSMPL_RESAMPLE_TRUNCATE_INTERNAL_H
#define RSMPL_RESAMPLE_TRUNCATE_INTERNAL_H

#include <cstdint>

namespace rsmpl
{

// x truncated toward zero; beyond int32's range its nearest limit; 0 for NaN.  Written as
// selections, without branches, so that loops over it vectorise; always inlined, because kernels
// use it too.
[[gnu::always_inline]] inline std::int32_t truncate_saturating(float x)
{
    constexpr float kTooLarge = 2147483648.0F;         // 2^31
    constexpr float kLargestBelow = 2147483520.0F;     // the float next to it
    const float low = x > -kTooLarge ? x : -kTooLarge; // NaN too becomes -2^31
    const float within = low < kLargestBelow ? low : kLargestBelow;
    const auto whole = static_cast<std::int32_t>(within);
    const std::int32_t saturated = x >= kTooLarge ? INT32_MAX : whole;
    return x == x ? saturated : 0;
}

} // namespace rsmpl

#endif
