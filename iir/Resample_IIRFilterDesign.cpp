// The stages are one kernel with two numbers, the zeros it inserts and the step it keeps; what
// is left to do here is the tables and, for interpolators, the staging of the input.
//
// A table may be rewritten, with the values it already has, while another thread reads it, so
// that both sides are relaxed atomic accesses: plain moves on the processor, and no data race.
#include "iir/Resample_IIRFilterDesign.h"

#include "iir/Resample_Context_internal.h"
#include "kernels/Resample_Kernels_internal.h"

#include <algorithm>
#include <cstring>

constexpr int kTableSize = 1 + 3 * rsmpl::kSections;

float s_FiltCoeffs_2_1[kTableSize];
float s_FiltCoeffs_3_2[kTableSize];
float s_FiltCoeffs_3_1[kTableSize];
float s_FiltCoeffs_4_1[kTableSize];
float s_FiltCoeffs_6_1[kTableSize];

namespace
{

using rsmpl::active_kernels;
using rsmpl::Cascade;
using rsmpl::kSections;
using rsmpl::StageKernel;

using Table = float[kTableSize];

constexpr int kStagedInputs = 960;

// Elliptic lowpass designs, 0.5 dB and 60 dB, edge at 0.875 of the Nyquist frequency that is
// 1/2, 1/3, 1/4 and 1/6 of the filter's own.
constexpr Table kDesign2 = {
    0.0162536353F,                               //
    2.76478887F,   0.613161802F,  1.6773026F,    //
    1.28175259F,   0.344965637F,  0.544606984F,  //
    0.496916443F,  0.138482273F,  0.0199244693F, //
    0.233318582F,  0.0350889564F, -0.143958345F,
};
constexpr Table kDesign3 = {
    0.00524580106F,                               //
    2.64367771F,    0.444006026F,  1.21793962F,   //
    0.861321449F,   0.264215529F,  -0.452014118F, //
    0.300504446F,   0.110772371F,  -0.923235416F, //
    0.148770571F,   0.0285160542F, -1.04741025F,
};
constexpr Table kDesign4 = {
    0.00296916976F,                              //
    2.31360292F,    0.34878099F,   0.736623228F, //
    0.544581056F,   0.209803522F,  -1.00222635F, //
    0.17427671F,    0.0887094736F, -1.35033464F, //
    0.0910006762F,  0.0228797197F, -1.43477893F,
};
constexpr Table kDesign6 = {
    0.00172231556F,                              //
    1.63779688F,    0.244769037F,  -0.08348272F, //
    0.236133575F,   0.147256494F,  -1.50528741F, //
    0.0653232336F,  0.0622310042F, -1.69567609F, //
    0.0394040346F,  0.0160131454F, -1.73873293F,
};

float load_relaxed(const float& from)
{
    float value;
    __atomic_load(&from, &value, __ATOMIC_RELAXED);
    return value;
}

void store_relaxed(float& to, float value)
{
    __atomic_store(&to, &value, __ATOMIC_RELAXED);
}

float* initialise(float* ctx, Table& table, const Table& design)
{
    rsmpl::clear_context(ctx);
    for (int i = 0; i < kTableSize; ++i)
        store_relaxed(table[i], design[i]);
    return ctx;
}

// The coefficients of a stage that inserts zeros up to `insertion` times the rate.
Cascade load_cascade(const Table& table, int insertion)
{
    Cascade cascade;
    cascade.gain = static_cast<float>(insertion) * load_relaxed(table[0]);
    for (int k = 0; k < kSections; ++k) {
        const double a = load_relaxed(table[1 + 3 * k]);
        const double b = load_relaxed(table[2 + 3 * k]);
        const double c = load_relaxed(table[3 + 3 * k]);
        cascade.section[k] = {a, b, a - c};
    }
    return cascade;
}

void decimate(StageKernel* kernel, const Table& table, int insertion, const float* in, float* out,
              float* ctx, int len)
{
    kernel(load_cascade(table, insertion), in, out, ctx + 1, len);
}

// Outputs overtake inputs, so the filter reads from a copy.  Pieces are a whole number of
// groups for every stage.
void interpolate(StageKernel* kernel, const Table& table, int insertion, int kept, const float* in,
                 float* out, float* ctx, int len)
{
    const Cascade cascade = load_cascade(table, insertion);
    float staged[kStagedInputs];
    while (len > 0) {
        const int piece = std::min(len, kStagedInputs);
        std::memcpy(staged, in, static_cast<std::size_t>(piece) * sizeof *in);
        kernel(cascade, staged, out, ctx + 1, piece);
        in += piece;
        out += piece * insertion / kept;
        len -= piece;
    }
}

} // namespace

float* InitDownsample1_2(float* ctx)
{
    return initialise(ctx, s_FiltCoeffs_2_1, kDesign2);
}
float* InitDownsample2_3(float* ctx)
{
    return initialise(ctx, s_FiltCoeffs_3_2, kDesign3);
}
float* InitDownsample1_3(float* ctx)
{
    return initialise(ctx, s_FiltCoeffs_3_1, kDesign3);
}
float* InitDownsample1_4(float* ctx)
{
    return initialise(ctx, s_FiltCoeffs_4_1, kDesign4);
}
float* InitDownsample1_6(float* ctx)
{
    return initialise(ctx, s_FiltCoeffs_6_1, kDesign6);
}
float* InitUpsample2_1(float* ctx)
{
    return initialise(ctx, s_FiltCoeffs_2_1, kDesign2);
}
float* InitUpsample3_2(float* ctx)
{
    return initialise(ctx, s_FiltCoeffs_3_2, kDesign3);
}
float* InitUpsample3_1(float* ctx)
{
    return initialise(ctx, s_FiltCoeffs_3_1, kDesign3);
}
float* InitUpsample4_1(float* ctx)
{
    return initialise(ctx, s_FiltCoeffs_4_1, kDesign4);
}
float* InitUpsample6_1(float* ctx)
{
    return initialise(ctx, s_FiltCoeffs_6_1, kDesign6);
}

void Downsample1_2(const float* in, float* out, float* ctx, int len)
{
    decimate(active_kernels().iir.downsample1_2, s_FiltCoeffs_2_1, 1, in, out, ctx, len);
}

void Downsample2_3(const float* in, float* out, float* ctx, int len)
{
    decimate(active_kernels().iir.downsample2_3, s_FiltCoeffs_3_2, 2, in, out, ctx, len);
}

void Downsample1_3(const float* in, float* out, float* ctx, int len)
{
    decimate(active_kernels().iir.downsample1_3, s_FiltCoeffs_3_1, 1, in, out, ctx, len);
}

void Downsample1_4(const float* in, float* out, float* ctx, int len)
{
    decimate(active_kernels().iir.downsample1_4, s_FiltCoeffs_4_1, 1, in, out, ctx, len);
}

void Downsample1_6(const float* in, float* out, float* ctx, int len)
{
    decimate(active_kernels().iir.downsample1_6, s_FiltCoeffs_6_1, 1, in, out, ctx, len);
}

void Upsample2_1(const float* in, float* out, float* ctx, int len)
{
    interpolate(active_kernels().iir.upsample2_1, s_FiltCoeffs_2_1, 2, 1, in, out, ctx, len);
}

void Upsample3_2(const float* in, float* out, float* ctx, int len)
{
    interpolate(active_kernels().iir.upsample3_2, s_FiltCoeffs_3_2, 3, 2, in, out, ctx, len);
}

void Upsample3_1(const float* in, float* out, float* ctx, int len)
{
    interpolate(active_kernels().iir.upsample3_1, s_FiltCoeffs_3_1, 3, 1, in, out, ctx, len);
}

void Upsample4_1(const float* in, float* out, float* ctx, int len)
{
    interpolate(active_kernels().iir.upsample4_1, s_FiltCoeffs_4_1, 4, 1, in, out, ctx, len);
}

void Upsample6_1(const float* in, float* out, float* ctx, int len)
{
    interpolate(active_kernels().iir.upsample6_1, s_FiltCoeffs_6_1, 6, 1, in, out, ctx, len);
}
