#include "kernels/Resample_Kernels_internal.h"

#include <cmath>
#include <cstdint>
#include <cstring>

namespace rsmpl::RSMPL_LEVEL
{

namespace
{

// a * b + c, rounded once.  Where the processor can't, the product is exact in double, and an
// inexact sum is rounded to odd there: toward zero, then its last bit set, so that the second
// rounding, to float, never sees a tie that is none.
[[gnu::always_inline]] inline float multiply_add(float a, float b, float c)
{
#if defined(__FMA__) || defined(__aarch64__)
    return fmaf(a, b, c);
#else
    const double product = static_cast<double>(a) * b;
    double sum = product + c;
    // product + c = sum + error exactly; NaN where the sum is not finite.
    const double c_in_sum = sum - product;
    const double error = (product - (sum - c_in_sum)) + (c - c_in_sum);
    if (error < 0 || error > 0) {
        std::uint64_t bits = 0;
        std::memcpy(&bits, &sum, sizeof sum);
        bits -= (error < 0) != (sum < 0) ? 1 : 0;
        bits |= 1U;
        std::memcpy(&sum, &bits, sizeof sum);
    }
    return static_cast<float>(sum);
#endif
}

float convolve(const float* taps, const float* newest, std::size_t count, float sum)
{
    for (std::ptrdiff_t j = 0; j < static_cast<std::ptrdiff_t>(count); ++j)
        sum = multiply_add(taps[j], newest[-j], sum);
    return sum;
}

} // namespace

extern const FirKernels fir;
const FirKernels fir = {convolve};

} // namespace rsmpl::RSMPL_LEVEL
