#include "bench/naive_blocks.h"

#include <cmath>

namespace
{

void short_to_float(float* dst, const short* src, int n)
{
    for (int i = 0; i < n; ++i)
        dst[i] = src[i];
}

void float_to_short(short* dst, const float* src, int n)
{
    for (int i = 0; i < n; ++i) {
        float y = src[i] + (src[i] >= 0 ? 0.5F : -0.5F);
        y = y < 32767.0F ? y : 32767.0F;
        y = y > -32768.0F ? y : -32768.0F;
        dst[i] = static_cast<short>(static_cast<int>(y));
    }
}

void wide_to_short(short* dst, const long* src, int n)
{
    for (int i = 0; i < n; ++i) {
        long y = (src[i] + (src[i] >= 0 ? 32768 : -32768)) >> 16;
        y = y < 32767 ? y : 32767;
        dst[i] = static_cast<short>(y > -32768 ? y : -32768);
    }
}

void short_to_wide(long* dst, const short* src, int n)
{
    for (int i = 0; i < n; ++i)
        dst[i] = src[i] * 65536L;
}

void filter(const float* taps, float* delay, std::size_t length, std::size_t& index,
            const float* in, float* out, std::size_t n)
{
    for (std::size_t k = 0; k < n; ++k) {
        delay[index] = in[k];
        float sum = 0;
        for (std::size_t j = 0; j <= index; ++j)
            sum = std::fma(taps[j], delay[index - j], sum);
        for (std::size_t j = index + 1; j < length; ++j)
            sum = std::fma(taps[j], delay[index + length - j], sum);
        out[k] = sum;
        index = index + 1 < length ? index + 1 : 0;
    }
}

void design(float* taps, int length, double edge)
{
    const double pi = std::acos(-1.0);
    for (int n = 0; n < length; ++n) {
        const double t = pi * (n - length / 2);
        const double ideal = t == 0 ? 2 * edge : std::sin(2 * edge * t) / t;
        taps[n] = static_cast<float>(ideal * (0.54 - 0.46 * std::cos(2 * pi * n / (length - 1))));
    }
}

} // namespace

const NaiveBlocks NAIVE_FORM = {short_to_float, float_to_short, wide_to_short,
                                short_to_wide,  filter,         design};
