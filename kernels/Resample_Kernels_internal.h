/* Resample_Kernels_internal.h - the inner loops, compiled once per instruction level.
 *
 * Each family of kernels is one source, compiled once for each level of the processor family
 * into the namespace named by RSMPL_LEVEL; the level is chosen once, when the library is
 * loaded.  Nothing in such a source may have external linkage but its tables and what is always
 * inlined: a function shared with the rest of the library could be linked in the version of a
 * level that the processor does not have.
 *
 * All levels give the same bits, all NaNs being alike, with one exception: the IIR stages of
 * the x86-64 baseline, which has no fused multiply-add, may differ in the last bit of a double.
 *
 * All kernels are [rt]: they neither allocate, lock, print nor touch files. */
#ifndef RSMPL_RESAMPLE_KERNELS_INTERNAL_H
#define RSMPL_RESAMPLE_KERNELS_INTERNAL_H

#include "kernels/Resample_Designs_internal.h"

#include <cstddef>
#include <cstdint>

namespace rsmpl
{

// Runs one stage over `len` inputs, at least one: inserts its zeros, filters, keeps its steps.
// `memory` holds (p, q) per section, p the newer, read at the start and written at the end.
// Reads in[0 .. len), writes floor(len * L / M) outputs; out may be in where L <= M.
using StageKernel = void(const CoefficientTable& table, const float* in, float* out, float* memory,
                         int len);

struct IirKernels {
    StageKernel* stage[kStageCount];
};

struct FirKernels {
    // sums[k] += taps[j] * window[starts[j] + k] for k < n, over `count` taps in their order, each
    // multiply-add rounded once.  May read and write up to the next multiple of kFirOutputs.
    void (*convolve)(float* sums, std::size_t n, const float* taps, const std::size_t* starts,
                     std::size_t count, const float* window);

    // Groups of eight sums, in lanes side by side, each over samples of its own:
    //     sums[8 g + s] += tap * window[8 (newest[g] - i) + s],   g < groups, s < 8, i < rows,
    // i in its order; newest[] ascends.  In streams a group's lanes share tap taps[g][i]; lanes
    // have taps[g][8 i + s] each.  Where a tap is NaN there is none: nothing is added.  That may be
    // in the last row, and of lanes also in the one before it and in the first.
    using Groups = void(float* sums, std::size_t groups, const float* const* taps,
                        const std::size_t* newest, std::size_t rows, const float* window);
    Groups* convolve_streams;
    Groups* convolve_lanes;

    // Turns squares of 8 by 8: to[k][i * to_step + s] = from[s][i * from_step + k], i < squares.
    void (*turn)(float* const* to, std::size_t to_step, const float* const* from,
                 std::size_t from_step, std::size_t squares);

    // Whether one of 8 * groups sums is -0.
    bool (*has_negative_zero)(const float* sums, std::size_t groups);
};

inline constexpr std::size_t kFirOutputs = 8;
inline constexpr std::size_t kFirLanes = 8;

// All over n samples; source and destination do not overlap.
struct ConvertKernels {
    void (*short_to_float)(float* dst, const short* src, int n, float scale);
    void (*float_to_short_truncating)(short* dst, const float* src, int n, float scale);
    void (*float_to_short_rounding)(short* dst, const float* src, int n, float scale);
    // Cut to 16 bits, not clipped: 32768 becomes -32768.
    void (*float_to_short_wrapping)(short* dst, const float* src, int n);
    void (*wide_to_short_truncating)(short* dst, const long* src, int n);
    void (*wide_to_short_rounding)(short* dst, const long* src, int n);
    void (*short_to_wide)(long* dst, const short* src, int n);
};

// Passes of a radix-2 Stockham transform of n points over complex values, re and im
// interleaved.  s is the stage's span: 1 in the first stage, doubled from stage to stage.
// twiddle[k] = e^(-2 pi i k / n).  src and dst do not overlap.
using FftPass = void(const float* src, float* dst, const float* twiddle, std::size_t n,
                     std::size_t s);

struct FftKernels {
    FftPass* one_stage;
    FftPass* two_stages; // spans s and 2 s, the same bits as two passes of one stage
};

struct Kernels {
    const char* level;
    const IirKernels& iir;
    const FirKernels& fir;
    const ConvertKernels& convert;
    const FftKernels& fft;
};

// The level in use.
const Kernels& active_kernels();

// For tests and benchmarks: how many levels this processor can run, weakest first, and a
// switch to one of them, not to be made while another thread converts.  `by_steps` has the IIR
// stages run the filter step for every sample instead of their maps.
int available_levels();
void force_level(int level, bool by_steps = false);

} // namespace rsmpl

#endif
