#include "kernels/Resample_Kernels_internal.h"
#include "kernels/Resample_Vector_internal.h"

namespace rsmpl::RSMPL_LEVEL
{

namespace
{

// Sums are pinned, tap after tap, so that vectors go across outputs.  `Vectors` of them at once
// hide each other's latency and share every tap.
template <std::size_t Vectors>
[[gnu::always_inline]] inline void run_tile(float* sums, const float* taps,
                                            const std::size_t* starts, std::size_t count,
                                            const float* window)
{
    Floats sum[Vectors];
    for (std::size_t v = 0; v < Vectors; ++v)
        sum[v] = load<Floats>(sums + v * kFloats);
    for (std::size_t j = 0; j < count; ++j) {
        const Floats tap = broadcast(taps[j]);
        for (std::size_t v = 0; v < Vectors; ++v)
            sum[v] = multiply_add(tap, load<Floats>(window + starts[j] + v * kFloats), sum[v]);
    }
    for (std::size_t v = 0; v < Vectors; ++v)
        store(sums + v * kFloats, sum[v]);
}

// As many whole tiles of `Vectors` as there are, then of half as many.
template <std::size_t Vectors>
void run_tiles(float* sums, std::size_t n, const float* taps, const std::size_t* starts,
               std::size_t count, const float* window)
{
    constexpr std::size_t kOutputs = Vectors * kFloats;
    for (; n >= kOutputs; n -= kOutputs) {
        run_tile<Vectors>(sums, taps, starts, count, window);
        sums += kOutputs;
        window += kOutputs;
    }
    if constexpr (Vectors > 1)
        run_tiles<Vectors / 2>(sums, n, taps, starts, count, window);
}

void convolve(float* sums, std::size_t n, const float* taps, const std::size_t* starts,
              std::size_t count, const float* window)
{
    run_tiles<8>(sums, (n + kFloats - 1) / kFloats * kFloats, taps, starts, count, window);
}

} // namespace

extern const FirKernels fir;
const FirKernels fir = {convolve};

} // namespace rsmpl::RSMPL_LEVEL
