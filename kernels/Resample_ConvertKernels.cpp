#include "kernels/Resample_Kernels_internal.h"
#include "kernels/Resample_Truncate_internal.h"
#include "kernels/Resample_Vector_internal.h"

#include <utility>

namespace rsmpl::RSMPL_LEVEL
{

namespace
{

void short_to_float(float* dst, const short* src, int n, float scale)
{
    for (int i = 0; i < n; ++i)
        dst[i] = static_cast<float>(src[i]) * scale;
}

// Halves go away from zero: y + 0.5 in float is the same float as the sum in double that is
// narrowed, for every y.
template <bool Rounding>
[[gnu::always_inline]] inline Ints whole(Floats y)
{
    if constexpr (Rounding)
        y += y >= 0 ? Floats{} + 0.5F : Floats{} - 0.5F;
    return to_ints(y);
}

template <bool Rounding>
[[gnu::always_inline]] inline short to_short(float y)
{
    if constexpr (Rounding)
        y += y >= 0 ? 0.5F : -0.5F;
    return static_cast<short>(static_cast<int>(saturated(y, -32768.0F, 32767.0F)));
}

template <bool Rounding>
void float_to_short(short* dst, const float* src, int n, float scale)
{
    int i = 0;
    for (; n - i >= kShorts; i += kShorts)
        store(dst + i, to_shorts(whole<Rounding>(load<Floats>(src + i) * scale),
                                 whole<Rounding>(load<Floats>(src + i + kFloats) * scale)));
    for (; i < n; ++i)
        dst[i] = to_short<Rounding>(src[i] * scale);
}

void float_to_short_wrapping(short* dst, const float* src, int n)
{
    for (int i = 0; i < n; ++i)
        dst[i] = static_cast<short>(truncate_saturating(src[i]));
}

void short_to_wide(long* dst, const short* src, int n)
{
    for (int i = 0; i < n; ++i) {
        const int wide = src[i] * 65536; // fits, and vectorises better than a long
        dst[i] = wide;
    }
}

// The shift by 16 floors, also after the offset of a negative sample.  Sums wrap at 64 bits.
template <bool Rounding>
[[gnu::always_inline]] inline short to_short(long x)
{
    auto sum = static_cast<unsigned long>(x);
    if constexpr (Rounding)
        sum += x >= 0 ? 0x8000UL : -0x8000UL;
    return static_cast<short>(saturated(static_cast<long>(sum) >> 16, -32768L, 32767L));
}

template <bool Rounding>
[[gnu::always_inline]] inline Ints offset(Words x)
{
    if constexpr (Rounding)
        x += reinterpret_cast<Longs>(x) >= 0 ? Words{} + 0x8000 : Words{} - 0x8000;
    return reinterpret_cast<Ints>(x);
}

// By 32 bits: where the upper ones are but the sign of the lower, the shift is in range.
template <bool Rounding, int... I>
[[gnu::always_inline]] inline Ints whole(Words a, Words b,
                                         std::integer_sequence<int, I...> /*lanes*/)
{
    const Ints sums_a = offset<Rounding>(a), sums_b = offset<Rounding>(b);
    const Ints lower = __builtin_shufflevector(sums_a, sums_b, (2 * I)...);
    const Ints upper = __builtin_shufflevector(sums_a, sums_b, (2 * I + 1)...);
    const Ints nearest_limit = (upper >> 31) ^ 32767;
    return upper == (lower >> 31) ? lower >> 16 : nearest_limit;
}

template <bool Rounding>
[[gnu::always_inline]] inline Ints load_whole(const long* src)
{
    return whole<Rounding>(load<Words>(src), load<Words>(src + kLongs),
                           std::make_integer_sequence<int, kFloats>());
}

template <bool Rounding>
void wide_to_short(short* dst, const long* src, int n)
{
    int i = 0;
    for (; n - i >= kShorts; i += kShorts)
        store(dst + i,
              to_shorts(load_whole<Rounding>(src + i), load_whole<Rounding>(src + i + kFloats)));
    for (; i < n; ++i)
        dst[i] = to_short<Rounding>(src[i]);
}

} // namespace

extern const ConvertKernels convert;
const ConvertKernels convert = {
    short_to_float,       float_to_short<false>, float_to_short<true>, float_to_short_wrapping,
    wide_to_short<false>, wide_to_short<true>,   short_to_wide,
};

} // namespace rsmpl::RSMPL_LEVEL
