/* Resample_Kernels_internal.h - the inner loops, compiled once per instruction level.
 *
 * Kernel sources are compiled once for each level of the processor family; the level is
 * chosen once, when the library is loaded.  All levels with fused multiply-add give the
 * same bits; the x86-64 baseline has none and may differ in the last bit of a double. */
#ifndef RSMPL_RESAMPLE_KERNELS_INTERNAL_H
#define RSMPL_RESAMPLE_KERNELS_INTERNAL_H

namespace rsmpl
{

// Coefficients of one second-order section,
//     (1 + C/z + 1/z^2) / (1 - (A - C)/z - (B - 1)/z^2).
// A and C come from single precision, so that A - C is exact here.
struct Section {
    double a;
    double b;
    double a_minus_c;
};

inline constexpr int kSections = 4;

struct Cascade {
    double gain;
    Section section[kSections];
};

// Runs one stage over `len` inputs: inserts its zeros, steps the filter, keeps its steps.
// `memory` holds (p, q) per section, p the newer, read at the start and written at the end.
// Reads in[0 .. len), writes floor(len * L / M) outputs, L - 1 being the zeros inserted after
// each input and M the step between kept values; out may be in where L <= M.
using StageKernel = void(const Cascade& cascade, const float* in, float* out, float* memory,
                         int len);

struct Kernels {
    const char* level;
    StageKernel* downsample1_2;
    StageKernel* downsample2_3;
    StageKernel* downsample1_3;
    StageKernel* downsample1_4;
    StageKernel* downsample1_6;
    StageKernel* upsample2_1;
    StageKernel* upsample3_2;
    StageKernel* upsample3_1;
    StageKernel* upsample4_1;
    StageKernel* upsample6_1;
};

// The level in use.
const Kernels& active_kernels();

// For tests and benchmarks: how many levels this processor can run, weakest first, and a
// switch to one of them, not to be made while another thread converts.
int available_levels();
void force_level(int level);

} // namespace rsmpl

#endif
