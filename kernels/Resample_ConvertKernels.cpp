#include "kernels/Resample_Kernels_internal.h"
#include "kernels/Resample_Vector_internal.h"

namespace rsmpl::RSMPL_LEVEL
{

namespace
{

// In mode 1 halves go away from zero: y + 0.5 in float is the same float as the sum in double
// that is narrowed, for every y.  Negative zero may have either offset: it becomes 0.
template <bool Rounding>
[[gnu::always_inline]] inline Floats offset(Floats y)
{
    if constexpr (Rounding)
        return y + (y >= 0 ? Floats{} + 0.5F : Floats{} - 0.5F);
    else
        return y;
}

template <bool Rounding>
[[gnu::always_inline]] inline short to_short(float y)
{
    if constexpr (Rounding)
        y += y >= 0 ? 0.5F : -0.5F;
    const float below = y < 32767.0F ? y : 32767.0F; // NaN too becomes 32767
    const float within = below > -32768.0F ? below : -32768.0F;
    return static_cast<short>(static_cast<int>(within));
}

// The shift floors, also after the offset of a negative sample.  Sums wrap at 64 bits.
template <bool Rounding>
[[gnu::always_inline]] inline short to_short(long x)
{
    auto sum = static_cast<unsigned long>(x);
    if constexpr (Rounding)
        sum += x >= 0 ? 0x8000UL : -0x8000UL;
    const long whole = static_cast<long>(sum) >> 16;
    const long below = whole < 32767 ? whole : 32767;
    return static_cast<short>(below > -32768 ? below : -32768);
}

void short_to_float(float* dst, const short* src, int n, float scale)
{
    for (int i = 0; i < n; ++i)
        dst[i] = static_cast<float>(src[i]) * scale;
}

template <bool Rounding>
void float_to_short(short* dst, const float* src, int n, float scale)
{
    int i = 0;
    for (; n - i >= kShorts; i += kShorts)
        store(dst + i, to_shorts(offset<Rounding>(load<Floats>(src + i) * scale),
                                 offset<Rounding>(load<Floats>(src + i + kFloats) * scale)));
    for (; i < n; ++i)
        dst[i] = to_short<Rounding>(src[i] * scale);
}

template <bool Rounding>
void wide_to_short(short* dst, const long* src, int n)
{
    for (int i = 0; i < n; ++i)
        dst[i] = to_short<Rounding>(src[i]);
}

void short_to_wide(long* dst, const short* src, int n)
{
    for (int i = 0; i < n; ++i) {
        const int wide = src[i] * 65536; // fits, and vectorises better than a long
        dst[i] = wide;
    }
}

} // namespace

extern const ConvertKernels convert;
const ConvertKernels convert = {
    short_to_float,       float_to_short<false>, float_to_short<true>,
    wide_to_short<false>, wide_to_short<true>,   short_to_wide,
};

} // namespace rsmpl::RSMPL_LEVEL
