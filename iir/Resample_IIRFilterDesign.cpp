// What a stage is, the kernels know; what is left to do here is the tables and, for interpolators,
// the staging of the input.
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
using rsmpl::StageIndex;

constexpr int kStagedInputs = 960;

// Where hosts see the coefficients of each stage.
constexpr CoefficientTable* kTables[rsmpl::kStageCount] = {
    &s_FiltCoeffs_3_2, &s_FiltCoeffs_2_1, &s_FiltCoeffs_3_1, &s_FiltCoeffs_4_1, &s_FiltCoeffs_6_1,
    &s_FiltCoeffs_3_2, &s_FiltCoeffs_2_1, &s_FiltCoeffs_3_1, &s_FiltCoeffs_4_1, &s_FiltCoeffs_6_1,
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

float* initialise(StageIndex stage, float* ctx)
{
    rsmpl::clear_context(ctx);
    for (int i = 0; i < kTableSize; ++i)
        store_relaxed((*kTables[stage])[i], rsmpl::kStages[stage].coefficients[i]);
    return ctx;
}

struct Coefficients {
    explicit Coefficients(StageIndex stage)
    {
        for (int i = 0; i < kTableSize; ++i)
            values[i] = load_relaxed((*kTables[stage])[i]);
    }

    CoefficientTable values;
};

void decimate(StageIndex stage, const float* in, float* out, float* ctx, int len)
{
    if (len > 0)
        active_kernels().iir.stage[stage](Coefficients(stage).values, in, out, ctx + 1, len);
}

// Outputs overtake inputs, so the filter reads from a copy.  Pieces are a whole number of
// groups for every stage.
void interpolate(StageIndex stage, const float* in, float* out, float* ctx, int len)
{
    const Coefficients coefficients(stage);
    float staged[kStagedInputs];
    while (len > 0) {
        const int piece = std::min(len, kStagedInputs);
        std::memcpy(staged, in, static_cast<std::size_t>(piece) * sizeof *in);
        active_kernels().iir.stage[stage](coefficients.values, staged, out, ctx + 1, piece);
        in += piece;
        out += piece * rsmpl::kStages[stage].insertion / rsmpl::kStages[stage].kept;
        len -= piece;
    }
}

} // namespace

float* InitDownsample1_2(float* ctx)
{
    return initialise(rsmpl::kDownsample1_2, ctx);
}

float* InitDownsample2_3(float* ctx)
{
    return initialise(rsmpl::kDownsample2_3, ctx);
}

float* InitDownsample1_3(float* ctx)
{
    return initialise(rsmpl::kDownsample1_3, ctx);
}

float* InitDownsample1_4(float* ctx)
{
    return initialise(rsmpl::kDownsample1_4, ctx);
}

float* InitDownsample1_6(float* ctx)
{
    return initialise(rsmpl::kDownsample1_6, ctx);
}

float* InitUpsample2_1(float* ctx)
{
    return initialise(rsmpl::kUpsample2_1, ctx);
}

float* InitUpsample3_2(float* ctx)
{
    return initialise(rsmpl::kUpsample3_2, ctx);
}

float* InitUpsample3_1(float* ctx)
{
    return initialise(rsmpl::kUpsample3_1, ctx);
}

float* InitUpsample4_1(float* ctx)
{
    return initialise(rsmpl::kUpsample4_1, ctx);
}

float* InitUpsample6_1(float* ctx)
{
    return initialise(rsmpl::kUpsample6_1, ctx);
}

void Downsample1_2(const float* in, float* out, float* ctx, int len)
{
    decimate(rsmpl::kDownsample1_2, in, out, ctx, len);
}

void Downsample2_3(const float* in, float* out, float* ctx, int len)
{
    decimate(rsmpl::kDownsample2_3, in, out, ctx, len);
}

void Downsample1_3(const float* in, float* out, float* ctx, int len)
{
    decimate(rsmpl::kDownsample1_3, in, out, ctx, len);
}

void Downsample1_4(const float* in, float* out, float* ctx, int len)
{
    decimate(rsmpl::kDownsample1_4, in, out, ctx, len);
}

void Downsample1_6(const float* in, float* out, float* ctx, int len)
{
    decimate(rsmpl::kDownsample1_6, in, out, ctx, len);
}

void Upsample2_1(const float* in, float* out, float* ctx, int len)
{
    interpolate(rsmpl::kUpsample2_1, in, out, ctx, len);
}

void Upsample3_2(const float* in, float* out, float* ctx, int len)
{
    interpolate(rsmpl::kUpsample3_2, in, out, ctx, len);
}

void Upsample3_1(const float* in, float* out, float* ctx, int len)
{
    interpolate(rsmpl::kUpsample3_1, in, out, ctx, len);
}

void Upsample4_1(const float* in, float* out, float* ctx, int len)
{
    interpolate(rsmpl::kUpsample4_1, in, out, ctx, len);
}

void Upsample6_1(const float* in, float* out, float* ctx, int len)
{
    interpolate(rsmpl::kUpsample6_1, in, out, ctx, len);
}
