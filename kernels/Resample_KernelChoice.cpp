#include "kernels/Resample_Kernels_internal.h"

namespace rsmpl
{

namespace baseline
{
extern const IirKernels iir, iir_by_steps;
extern const FirKernels fir;
extern const ConvertKernels convert;
extern const FftKernels fft;
} // namespace baseline

namespace avx2
{
extern const IirKernels iir, iir_by_steps;
extern const FirKernels fir;
extern const ConvertKernels convert;
extern const FftKernels fft;
} // namespace avx2

namespace
{

// Per level: with the stages' maps, and with their steps.
constexpr Kernels kLevels[][2] = {
    {{"baseline", baseline::iir, baseline::fir, baseline::convert, baseline::fft},
     {"baseline", baseline::iir_by_steps, baseline::fir, baseline::convert, baseline::fft}},
#ifdef RSMPL_HAVE_AVX2
    {{"avx2", avx2::iir, avx2::fir, avx2::convert, avx2::fft},
     {"avx2", avx2::iir_by_steps, avx2::fir, avx2::convert, avx2::fft}},
#endif
};

// Valid from the start: a host's own constructors may convert before ours has run.
const Kernels* active = kLevels[0];

[[gnu::constructor]] void choose_level()
{
    force_level(available_levels() - 1);
}

} // namespace

const Kernels& active_kernels()
{
    return *active;
}

int available_levels()
{
#ifdef RSMPL_HAVE_AVX2
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") ? 2 : 1;
#else
    return 1;
#endif
}

void force_level(int level, bool by_steps)
{
    active = &kLevels[level][by_steps ? 1 : 0];
}

} // namespace rsmpl
