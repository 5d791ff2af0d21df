#include "convert/Resample_DatTypeConvert.h"

#include "kernels/Resample_Kernels_internal.h"

#include <cmath>
#include <cstddef>

namespace
{

using rsmpl::active_kernels;

constexpr int kRounding = 1;

// Multiplying by 1 changes no float: one loop serves the forms with and without a factor.
constexpr float kUnscaled = 1.0F;

float factor(int sf)
{
    return static_cast<float>(std::pow(2.0, -static_cast<double>(sf)));
}

void float_to_short(short* dst, const float* src, int n, int mode, float scale)
{
    const rsmpl::ConvertKernels& kernels = active_kernels().convert;
    if (mode == kRounding)
        kernels.float_to_short_rounding(dst, src, n, scale);
    else
        kernels.float_to_short_truncating(dst, src, n, scale);
}

} // namespace

void Convert_ShortToFloat(float* dst, const short* src, int n)
{
    active_kernels().convert.short_to_float(dst, src, n, kUnscaled);
}

void Convert_ShortToFloat_Sf(float* dst, const short* src, int n, int sf)
{
    active_kernels().convert.short_to_float(dst, src, n, factor(sf));
}

void Convert_FloatToShort(short* dst, const float* src, int n, int mode)
{
    float_to_short(dst, src, n, mode, kUnscaled);
}

void Convert_FloatToShort_Sf(short* dst, const float* src, int n, int mode, int sf)
{
    float_to_short(dst, src, n, mode, factor(sf));
}

void Convert_Int32ToInt16(short* dst, const long* src, int n, int mode)
{
    const rsmpl::ConvertKernels& kernels = active_kernels().convert;
    if (mode == kRounding)
        kernels.wide_to_short_rounding(dst, src, n);
    else
        kernels.wide_to_short_truncating(dst, src, n);
}

void Convert_Int16ToInt32(long* dst, const short* src, int n)
{
    active_kernels().convert.short_to_wide(dst, src, n);
}

void Convert_Int16ToInt32_Step(long* dst, const short* src, int n, int step)
{
    for (std::ptrdiff_t i = 0; i < n; ++i)
        dst[i] = src[i * step] * 65536L;
}
