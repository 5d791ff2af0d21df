#include "kernels/Resample_Kernels_internal.h"
#include "tests/common.h"

#include <cmath>
#include <gtest/gtest.h>
#include <tuple>

namespace
{

double checksum(const float* table)
{
    double sum = 0;
    for (int i = 0; i < 13; ++i)
        sum += (i + 1) * static_cast<double>(table[i]);
    return sum;
}

const double before_any_call = checksum(s_FiltCoeffs_3_1) + checksum(s_FiltCoeffs_6_1);

class StageTest : public testing::TestWithParam<std::tuple<int, bool, int>>
{
protected:
    StageTest() { rsmpl::force_level(level_, std::get<1>(GetParam())); }

    // One call on the context as it is, with blocks of every alignment in turn.
    Floats run(const Floats& in)
    {
        const auto offset = static_cast<std::ptrdiff_t>(in.size() % 8);
        Floats shifted(static_cast<std::size_t>(offset));
        shifted.insert(shifted.end(), in.begin(), in.end());
        const int len = static_cast<int>(in.size());
        Guarded out(static_cast<int>(offset / 3) + stage_.outputs(len));
        stage_.run(shifted.data() + offset, out.data() + offset / 3, ctx_, len);
        EXPECT_EQ(out.untouched(), offset / 3) << "length " << in.size();
        const Floats block = out.block();
        return {block.begin() + offset / 3, block.end()};
    }

    Floats run_anew(const Floats& in)
    {
        stage_.init(ctx_);
        return run(in);
    }

    const int level_ = std::get<0>(GetParam());
    const Stage& stage_ = kStages[std::get<2>(GetParam())];
    float ctx_[9];
};

TEST_P(StageTest, MatchesTheModelAtEveryLengthAndInPlace)
{
    int rounded_otherwise = 0;
    for (int len = 0; len <= 960; len += len < 300 ? 1 : 65) { // beyond a tile and all of its rest
        const Floats in = noise(len);
        stage_.init(ctx_)[0] = 7; // the reserved word
        const Floats out = run(in);
        EXPECT_EQ(ctx_[0], 7);
        const std::vector<double> expected = model_of(stage_, in);
        for (std::size_t i = 0; i < out.size(); ++i)
            rounded_otherwise += out[i] != static_cast<float>(expected[i]);
        Floats shared = in;
        shared.resize(std::max(in.size(), out.size()));
        stage_.run(shared.data(), shared.data(), stage_.init(ctx_), len);
        shared.resize(out.size());
        EXPECT_EQ(shared, out) << "in place, length " << len;
    }
    EXPECT_LE(rounded_otherwise, 6) << "of 17,000 to 300,000, where two ways in double differ";
}

TEST_P(StageTest, JoinsBlocksWithoutASeam)
{
    const int total = 6000 * stage_.kept;
    const Floats in = noise(total);
    stage_.init(ctx_);
    const std::vector<double> expected = model_of(stage_, in);
    auto next = expected.begin();
    for (int start = 0, end = 0, groups = 1; start < total; start = end) {
        end = std::min(start + groups * stage_.kept, total);
        groups = groups * 7 % 1511;
        for (const float value : run(Floats(in.begin() + start, in.begin() + end)))
            ASSERT_NEAR(value, *next++, 0.02) << "more than rounds the memory at a seam";
    }
}

TEST_P(StageTest, PassesDcAndStopsTheLowerNyquistFrequency)
{
    const double nyquist = std::acos(-1.0) * std::min(1.0, 1.0 * stage_.insertion / stage_.kept);
    Floats tone;
    for (int i = 0; i < 1200; ++i)
        tone.push_back(static_cast<float>(std::cos(nyquist * i)));
    const double images = 0.0011 * stage_.insertion; // 60 dB below each copy of the spectrum
    EXPECT_NEAR(run_anew(Floats(1200, 1.0F)).back(), 0.944, images);
    EXPECT_NEAR(run_anew(tone).back(), 0, images);
}

TEST_P(StageTest, CarriesNanAndInfForwardOnly)
{
    const Floats clean = run_anew(noise(720));
    for (const float bad : {NAN, INFINITY})
        for (const int at : {0, 61, 300, 660, 719}) { // in tiles, a block of the rest, and its end
            Floats in = noise(720);
            in[static_cast<std::size_t>(at)] = bad;
            const Floats out = run_anew(in);
            const int first = (at * stage_.insertion + stage_.kept - 1) / stage_.kept;
            for (int i = 0; i < first; ++i)
                ASSERT_FLOAT_EQ(out[static_cast<std::size_t>(i)],
                                clean[static_cast<std::size_t>(i)]);
            EXPECT_TRUE(std::none_of(out.begin() + first, out.end(),
                                     [](float value) { return std::isfinite(value); }));
            EXPECT_EQ(run_anew(noise(720)), clean) << "after an initialiser";
        }
}

TEST_P(StageTest, InitialiserClearsTheContextAndFillsTheTable)
{
    EXPECT_EQ(before_any_call, 0);
    Guarded ctx(9);
    EXPECT_EQ(stage_.init(ctx.data()), ctx.data());
    EXPECT_EQ(ctx.block(), Floats(9, 0.0F));
    EXPECT_EQ(ctx.untouched(), 0);
    EXPECT_NEAR(checksum(stage_.table), stage_.checksum, 1e-11); // a changed last bit is 1e-10
    stage_.run(nullptr, nullptr, ctx.data(), -6);
    EXPECT_EQ(ctx.block(), Floats(9, 0.0F));
}

TEST_P(StageTest, KeepsItsMemoryInTheContextNewestFirst)
{
    if (stage_.insertion > 2)
        return;
    const float tiny = 1e-40F;                                        // not flushed to zero
    run_anew(stage_.insertion == 1 ? Floats{tiny, 0} : Floats{tiny}); // two steps
    double w = 0;
    for (int k = 0; k < 4; ++k) {
        const float *section = stage_.table + 1 + 3 * k, *memory = ctx_ + 1 + 2 * k;
        w += section[0];
        EXPECT_NEAR(memory[0] / tiny, w - section[2], 1e-4);
        EXPECT_EQ(memory[1], tiny);
    }
}

TEST_P(StageTest, IsTheStepsToTheLastBit)
{
    int differ = 0;
    for (unsigned block = 0; block < 400; ++block) {
        Floats in = noise(960, block), ctx(ctx_, ctx_ + 9);
        if (block % 4 == 3)
            std::fill(in.begin(), in.end(), 0.0F); // down to denormals
        rsmpl::force_level(level_, true);
        Floats expected(static_cast<std::size_t>(stage_.outputs(960)));
        stage_.run(in.data(), expected.data(), ctx.data(), 960);
        rsmpl::force_level(level_);
        const Floats out = run(in);
        for (std::size_t i = 0; i < out.size(); ++i) {
            differ += out[i] != expected[i];
            ASSERT_FLOAT_EQ(out[i], expected[i]);
            ASSERT_EQ(std::lround(out[i]), std::lround(expected[i]));
        }
    }
    EXPECT_LE(differ, 1);
}

TEST_P(StageTest, TakesAMemoryThatIsNotFiniteAsTheStepsDo)
{
    Floats out[2];
    for (const bool by_steps : {false, true}) {
        rsmpl::force_level(level_, by_steps);
        stage_.init(ctx_)[7] = INFINITY; // of the last section alone
        out[by_steps] = run(noise(960));
    }
    EXPECT_TRUE(std::equal(out[0].begin(), out[0].end(), out[1].begin(), same));
}

TEST_P(StageTest, TakesWhatTheTableHolds)
{
    stage_.init(ctx_);
    float& last = const_cast<float&>(stage_.table[12]);
    last += 0.125F;
    const Floats in = noise(960);
    const float out = run(in).back();
    const double expected = model_of(stage_, in).back();
    run_anew({}); // restores it
    EXPECT_FLOAT_EQ(out, static_cast<float>(expected));
}

TEST(Levels, AreAllThereAndTheBestIsInUse)
{
    int levels = 1;
    bool by_blocks = true;
#ifdef __x86_64__
    by_blocks = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
    levels += by_blocks;
#endif
    ASSERT_EQ(rsmpl::available_levels(), levels);
    EXPECT_STREQ(rsmpl::active_kernels().level, levels == 1 ? "baseline" : "avx2");
    rsmpl::force_level(levels - 1);
    rsmpl::StageKernel* const fastest = rsmpl::active_kernels().iir.downsample1_3;
    rsmpl::force_level(levels - 1, true);
    EXPECT_EQ(rsmpl::active_kernels().iir.downsample1_3 != fastest, by_blocks);
    rsmpl::force_level(0);
    EXPECT_STREQ(rsmpl::active_kernels().level, "baseline");
}

INSTANTIATE_TEST_SUITE_P(LevelsAndStages, StageTest,
                         testing::Combine(testing::Range(0, rsmpl::available_levels()),
                                          testing::Bool(), testing::Range(0, 10)));

} // namespace
