#include "kernels/Resample_Kernels_internal.h"
#include "kernels/Resample_Vector_internal.h"

namespace rsmpl::RSMPL_LEVEL
{

namespace
{

static_assert(kFirOutputs % kFloats == 0 && kFirStreams % kFloats == 0);

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

constexpr std::size_t kParts = kFirOutputs / kFloats; // vectors for eight values

// Samples of different places, one to a lane, come from as many rows, which are turned into
// columns.
void convolve_phases(float* sums, const float* taps, std::size_t rows, const float* window,
                     const std::size_t* newest)
{
    for (std::size_t part = 0; part < kParts; ++part) {
        const float* lane[kFloats];
        for (std::size_t k = 0; k < kFloats; ++k)
            lane[k] = window + newest[part * kFloats + k];
        const float* tap = taps + part * kFloats;
        Floats sum = load<Floats>(sums + part * kFloats);
        std::size_t i = 0;
        for (; rows - i >= kFloats; i += kFloats) {
            Floats samples[kFloats]; // oldest first
            for (std::size_t k = 0; k < kFloats; ++k)
                samples[k] = load<Floats>(lane[k] - i - (kFloats - 1));
            transpose(samples);
            for (std::size_t k = kFloats; k-- > 0; tap += kFirOutputs)
                sum = multiply_add(load<Floats>(tap), samples[k], sum);
        }
        for (; i < rows; ++i, tap += kFirOutputs) {
            float samples[kFloats];
            for (std::size_t k = 0; k < kFloats; ++k)
                samples[k] = *(lane[k] - i);
            sum = multiply_add(load<Floats>(tap), load<Floats>(samples), sum);
        }
        store(sums + part * kFloats, sum);
    }
}

void convolve_streams(float* sums, const float* taps, std::size_t rows, const float* window,
                      const std::size_t* newest)
{
    for (std::size_t part = 0; part < kParts; ++part) {
        const float* sample[kFirOutputs];
        Floats sum[kFirOutputs];
        for (std::size_t k = 0; k < kFirOutputs; ++k) {
            sample[k] = window + kFirStreams * newest[k] + part * kFloats;
            sum[k] = load<Floats>(sums + kFirStreams * k + part * kFloats);
        }
        for (std::size_t i = 0; i < rows; ++i)
            for (std::size_t k = 0; k < kFirOutputs; ++k)
                sum[k] = multiply_add(broadcast(taps[kFirOutputs * i + k]),
                                      load<Floats>(sample[k] - kFirStreams * i), sum[k]);
        for (std::size_t k = 0; k < kFirOutputs; ++k)
            store(sums + kFirStreams * k + part * kFloats, sum[k]);
    }
}

void interleave(float* window, const float* in, std::size_t apart, std::size_t count)
{
    for (std::size_t part = 0; part < kParts; ++part) {
        const float* const first = in + part * kFloats * apart;
        float* const to = window + part * kFloats;
        std::size_t i = 0;
        for (; count - i >= kFloats; i += kFloats) {
            Floats samples[kFloats];
            for (std::size_t s = 0; s < kFloats; ++s)
                samples[s] = load<Floats>(first + s * apart + i);
            transpose(samples);
            for (std::size_t k = 0; k < kFloats; ++k)
                store(to + kFirStreams * (i + k), samples[k]);
        }
        for (; i < count; ++i)
            for (std::size_t s = 0; s < kFloats; ++s)
                to[kFirStreams * i + s] = first[s * apart + i];
    }
}

} // namespace

extern const FirKernels fir;
const FirKernels fir = {convolve, convolve_phases, convolve_streams, interleave};

} // namespace rsmpl::RSMPL_LEVEL
