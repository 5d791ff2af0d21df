#include "iir/Resample_Rsmpl_IIR_api.h"
#include "tests/common.h"

#include <gtest/gtest.h>

namespace
{

using Convert = unsigned(void* ctx, const float* in, float* out, int len, unsigned code);

TEST(Dispatch, RunsEachCodesStageForTheLengthsOfItsRule)
{
    const Floats in = noise(9600);
    for (unsigned row = 0; row < 10; ++row) {
        const Stage& stage = kStages[row];
        Convert* const convert = row < 5 ? RSMPL_Down : RSMPL_Up;
        for (int len = -13; len <= 9600; len += len < 700 ? 1 : 890) {
            const bool allowed =
                len >= stage.minimum && len <= stage.longest && len % stage.multiple == 0;
            Floats ctx(9), direct_ctx(9);
            RSMPL_InitContext(ctx.data());
            Guarded out(allowed ? stage.outputs(len) : 0), direct = out;
            ASSERT_EQ(convert(ctx.data(), in.data(), out.data(), len, row % 5), allowed ? 0U : 3U)
                << "row " << row << ", length " << len;
            if (allowed)
                stage.run(in.data(), direct.data(), direct_ctx.data(), len);
            ASSERT_TRUE(out.all == direct.all && ctx == direct_ctx) << row << ", " << len;
        }
    }
}

TEST(Dispatch, ChecksContextThenCodeThenLengthAndTouchesNothing)
{
    Guarded ctx(9), out(960);
    const Floats in = noise(960);
    for (Convert* convert : {RSMPL_Down, RSMPL_Up}) {
        EXPECT_EQ(convert(nullptr, in.data(), out.data(), 1, 5), 1U);
        for (const int len : {-1, 1, INT_MAX})
            EXPECT_EQ(convert(ctx.data(), in.data(), out.data(), len, 5), 2U);
        EXPECT_EQ(convert(ctx.data(), in.data(), out.data(), 18, UINT_MAX), 2U);
        EXPECT_EQ(convert(ctx.data(), in.data(), out.data(), INT_MIN, 4), 3U);
    }
    // Products with the factor that overflow 32 bits, to negative and small ones too.
    for (const int len : {INT_MAX, 1 << 30, (1 << 30) + 4, 1 << 29, 715827883, 1431655768})
        for (unsigned code = 0; code < 5; ++code)
            EXPECT_EQ(RSMPL_Up(ctx.data(), in.data(), out.data(), len, code), 3U);
    EXPECT_EQ(ctx.untouched() + out.untouched(), 9 + 960);
}

TEST(Dispatch, InitAndResetZeroTheContext)
{
    EXPECT_EQ(RSMPL_GetContextSize(), 36U);
    for (unsigned (*clear)(void*) : {RSMPL_InitContext, RSMPL_Reset}) {
        Guarded ctx(9);
        EXPECT_TRUE(clear(nullptr) == 1 && clear(ctx.data()) == 0);
        EXPECT_EQ(ctx.block(), Floats(9, 0.0F));
        for (const Stage& stage : kStages)
            EXPECT_NE(stage.table[12], 0);
    }
}

} // namespace
