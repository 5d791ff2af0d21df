#include "iir/Resample_Rsmpl_IIR_api.h"
#include "tests/stages.h"

#include <climits>
#include <gtest/gtest.h>

namespace
{

using Floats = std::vector<float>;
using Convert = unsigned(void* ctx, const float* in, float* out, int len, unsigned code);

struct Rule {
    int minimum;
    int multiple;
    int longest;
};

constexpr int kNoLimit = INT_MAX;
constexpr Rule kDownRules[] = {
    {18, 6, kNoLimit}, {8, 4, kNoLimit}, {18, 6, kNoLimit}, {16, 4, kNoLimit}, {36, 6, kNoLimit}};
constexpr Rule kUpRules[] = {{6, 1, 640}, {4, 1, 480}, {6, 1, 320}, {4, 1, 240}, {6, 1, 160}};

// Walks lengths around and beyond the rule of every code.
void expect_rules(Convert* convert, const Rule* rules, const Stage* stages)
{
    const Floats in = noise(700);
    for (unsigned code = 0; code < 5; ++code) {
        for (int len = -13; len <= 700; ++len) {
            const Rule& rule = rules[code];
            const bool allowed =
                len >= rule.minimum && len <= rule.longest && len % rule.multiple == 0;
            Guarded ctx(9);
            RSMPL_InitContext(ctx.data());
            Guarded out(allowed ? stages[code].outputs(len) : 0);
            ASSERT_EQ(convert(ctx.data(), in.data(), out.data(), len, code), allowed ? 0U : 3U)
                << "code " << code << ", length " << len;
            ASSERT_TRUE(out.guards_intact() && ctx.guards_intact()) << code << ", " << len;
            if (!allowed) {
                ASSERT_EQ(ctx.block(), Floats(9, 0.0F));
                continue;
            }
            Guarded direct_ctx(9);
            stages[code].init(direct_ctx.data());
            Guarded direct(stages[code].outputs(len));
            stages[code].run(in.data(), direct.data(), direct_ctx.data(), len);
            ASSERT_EQ(out.block(), direct.block()) << "code " << code;
        }
    }
}

TEST(Dispatch, DownAppliesEachStagesLengthRule)
{
    expect_rules(RSMPL_Down, kDownRules, kStages);
}

TEST(Dispatch, UpAppliesEachStagesLengthRule)
{
    expect_rules(RSMPL_Up, kUpRules, kStages + 5);
}

TEST(Dispatch, ChecksContextThenCodeThenLengthAndTouchesNothing)
{
    Guarded ctx(9);
    Guarded out(960);
    const Floats in = noise(960);
    for (Convert* convert : {RSMPL_Down, RSMPL_Up}) {
        EXPECT_EQ(convert(nullptr, in.data(), out.data(), 1, 5), 1U);
        EXPECT_EQ(convert(ctx.data(), in.data(), out.data(), 1, 5), 2U);
        EXPECT_EQ(convert(ctx.data(), in.data(), out.data(), 18, static_cast<unsigned>(-1)), 2U);
        EXPECT_EQ(convert(ctx.data(), in.data(), out.data(), INT_MIN, 4), 3U);
    }
    // Products with the factor that overflow 32 bits.
    for (const int len : {INT_MAX, 1 << 30, 1 << 29, 715827883})
        for (unsigned code = 0; code < 5; ++code)
            EXPECT_EQ(RSMPL_Up(ctx.data(), in.data(), out.data(), len, code), 3U);
    EXPECT_EQ(ctx.block(), Floats(9, Guarded::kMark));
    EXPECT_EQ(out.block(), Floats(960, Guarded::kMark));
}

TEST(Dispatch, InitAndResetZeroTheContext)
{
    EXPECT_EQ(RSMPL_GetContextSize(), 36U);
    EXPECT_EQ(RSMPL_InitContext(nullptr), 1U);
    EXPECT_EQ(RSMPL_Reset(nullptr), 1U);
    for (unsigned (*clear)(void*) : {RSMPL_InitContext, RSMPL_Reset}) {
        Guarded ctx(9);
        EXPECT_EQ(clear(ctx.data()), 0U);
        EXPECT_EQ(ctx.block(), Floats(9, 0.0F));
        EXPECT_TRUE(ctx.guards_intact());
        for (const Stage& stage : kStages)
            EXPECT_EQ(stage.table[12], kDesigns[stage.design][12]) << stage.name;
    }
}

} // namespace
