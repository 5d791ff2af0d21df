#include "kernels/Resample_Kernels_internal.h"
#include "tests/common.h"

#include <gtest/gtest.h>

namespace
{

double checksum(const float* table)
{
    double sum = 0;
    for (int i = 0; i < 13; ++i)
        sum += (i + 1) * static_cast<double>(table[i]);
    return sum;
}

const double before_any_call = checksum(s_FiltCoeffs_3_1) + checksum(s_FiltCoeffs_6_1) +
                               (rsmpl::active_kernels().level[0] == 0); // there is one already

TEST(Stages, InitialisersClearTheContextAndFillTheTable)
{
    EXPECT_EQ(before_any_call, 0);
    for (const Stage& stage : kStages) {
        Guarded ctx(9);
        EXPECT_EQ(stage.init(ctx.data()), ctx.data());
        EXPECT_EQ(ctx.block(), Floats(9, 0.0F));
        EXPECT_EQ(ctx.untouched(), 0);
        EXPECT_NEAR(checksum(stage.table), stage.checksum, 1e-11); // a changed last bit is 1e-10
    }
}

extern "C" unsigned cpu_model[4] asm("__cpu_model"); // the compiler's, where __x86_64__

TEST(Levels, AreAllThereAndTheBestIsInUse)
{
    int levels = 1;
    bool by_blocks = true;
#ifdef __x86_64__
    by_blocks = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
    levels += by_blocks;
    for (const unsigned feature : {1U << 10U, 1U << 14U}) { // AVX2 and FMA: both are needed
        const unsigned features = std::exchange(cpu_model[3], cpu_model[3] & ~feature);
        EXPECT_EQ(rsmpl::available_levels(), 1);
        cpu_model[3] = features;
    }
#endif
    ASSERT_EQ(rsmpl::available_levels(), levels);
    EXPECT_STREQ(rsmpl::active_kernels().level, levels == 1 ? "baseline" : "avx2");
    rsmpl::StageKernel* const at_load = rsmpl::active_kernels().iir.stage[0];
    rsmpl::force_level(levels - 1);
    rsmpl::StageKernel* const fastest = rsmpl::active_kernels().iir.stage[0];
    EXPECT_EQ(at_load, fastest);
    rsmpl::force_level(levels - 1, true);
    EXPECT_EQ(rsmpl::active_kernels().iir.stage[0] != fastest, by_blocks);
    rsmpl::force_level(0);
    EXPECT_STREQ(rsmpl::active_kernels().level, "baseline");
}

} // namespace
