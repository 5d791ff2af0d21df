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

using rsmpl::kTableSize;

float s_FiltCoeffs_2_1[kTableSize];
float s_FiltCoeffs_3_2[kTableSize];
float s_FiltCoeffs_3_1[kTableSize];
float s_FiltCoeffs_4_1[kTableSize];
float s_FiltCoeffs_6_1[kTableSize];

namespace
{

using rsmpl::active_kernels;
using rsmpl::CoefficientTable;
using rsmpl::kDesign2;
using rsmpl::kDesign3;
using rsmpl::kDesign4;
using rsmpl::kDesign6;
using rsmpl::StageKernel;

constexpr int kStagedInputs = 960;

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

float* initialise(float* ctx, CoefficientTable& table, const CoefficientTable& design)
{
    rsmpl::clear_context(ctx);
    for (int i = 0; i < kTableSize; ++i)
        store_relaxed(table[i], design[i]);
    return ctx;
}

struct Coefficients {
    explicit Coefficients(const CoefficientTable& table)
    {
        for (int i = 0; i < kTableSize; ++i)
            values[i] = load_relaxed(table[i]);
    }

    CoefficientTable values;
};

void decimate(StageKernel* kernel, const CoefficientTable& table, const float* in, float* out,
              float* ctx, int len)
{
    if (len > 0)
        kernel(Coefficients(table).values, in, out, ctx + 1, len);
}

// Outputs overtake inputs, so the filter reads from a copy.  Pieces are a whole number of
// groups for every stage.
void interpolate(StageKernel* kernel, const CoefficientTable& table, int insertion, int kept,
                 const float* in, float* out, float* ctx, int len)
{
    const Coefficients coefficients(table);
    float staged[kStagedInputs];
    while (len > 0) {
        const int piece = std::min(len, kStagedInputs);
        std::memcpy(staged, in, static_cast<std::size_t>(piece) * sizeof *in);
        kernel(coefficients.values, staged, out, ctx + 1, piece);
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
    decimate(active_kernels().iir.downsample1_2, s_FiltCoeffs_2_1, in, out, ctx, len);
}

void Downsample2_3(const float* in, float* out, float* ctx, int len)
{
    decimate(active_kernels().iir.downsample2_3, s_FiltCoeffs_3_2, in, out, ctx, len);
}

void Downsample1_3(const float* in, float* out, float* ctx, int len)
{
    decimate(active_kernels().iir.downsample1_3, s_FiltCoeffs_3_1, in, out, ctx, len);
}

void Downsample1_4(const float* in, float* out, float* ctx, int len)
{
    decimate(active_kernels().iir.downsample1_4, s_FiltCoeffs_4_1, in, out, ctx, len);
}

void Downsample1_6(const float* in, float* out, float* ctx, int len)
{
    decimate(active_kernels().iir.downsample1_6, s_FiltCoeffs_6_1, in, out, ctx, len);
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
