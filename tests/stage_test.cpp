#include "kernels/Resample_Kernels_internal.h"
#include "tests/stages.h"

#include <cmath>
#include <gtest/gtest.h>
#include <tuple>

namespace
{

using Floats = std::vector<float>;

double checksum(const float* table)
{
    double sum = 0;
    for (int i = 0; i < 13; ++i)
        sum += (i + 1) * static_cast<double>(table[i]);
    return sum;
}

const double before_any_call = checksum(s_FiltCoeffs_3_1) + checksum(s_FiltCoeffs_6_1);

class StageTest : public testing::TestWithParam<std::tuple<int, Stage>>
{
protected:
    StageTest() { rsmpl::force_level(std::get<int>(GetParam())); }

    // One call on the context as it is.
    Floats run(const Floats& in)
    {
        Guarded out(stage_.outputs(static_cast<int>(in.size())));
        stage_.run(in.data(), out.data(), ctx_, static_cast<int>(in.size()));
        EXPECT_EQ(out.untouched(), 0) << "length " << in.size();
        return out.block();
    }

    Floats run_anew(const Floats& in)
    {
        stage_.init(ctx_);
        return run(in);
    }

    const Stage stage_ = std::get<Stage>(GetParam());
    float ctx_[9];
};

void expect_near(const Floats& got, const std::vector<double>& expected, double tolerance)
{
    ASSERT_EQ(got.size(), expected.size());
    for (std::size_t i = 0; i < got.size(); ++i)
        ASSERT_NEAR(got[i], expected[i], tolerance) << i << " of " << got.size();
}

TEST_P(StageTest, MatchesTheModelAtEveryLengthAndInPlace)
{
    std::vector<int> lengths = {160, 161, 320, 480, 641, 960};
    for (int len = 0; len <= 50; ++len)
        lengths.push_back(len);
    for (const int len : lengths) {
        const Floats in = noise(len);
        const Floats out = run_anew(in);
        // Half a unit in the last place of a float below 2^15 is 0.001.
        expect_near(out, model_of(stage_, in), 0.0012);
        EXPECT_EQ(ctx_[0], 0) << "the reserved word";
        Floats shared = in;
        shared.resize(std::max(in.size(), out.size()));
        stage_.run(shared.data(), shared.data(), stage_.init(ctx_), len);
        shared.resize(out.size());
        EXPECT_EQ(shared, out) << "in place, length " << len;
    }
}

TEST_P(StageTest, JoinsBlocksWithoutASeam)
{
    const int total = 1000 * stage_.kept;
    const Floats in = noise(total);
    Floats joined;
    stage_.init(ctx_);
    for (int start = 0, groups = 1; start < total; groups = groups * 7 % 151) {
        const int end = std::min(start + groups * stage_.kept, total);
        const Floats part = run(Floats(in.begin() + start, in.begin() + end));
        joined.insert(joined.end(), part.begin(), part.end());
        start = end;
    }
    // The memory is rounded to float at every seam.
    expect_near(joined, model_of(stage_, in), 0.02);
}

TEST_P(StageTest, PassesDcAndStopsTheLowerNyquistFrequency)
{
    const double nyquist = std::acos(-1.0) * std::min(1.0, 1.0 * stage_.insertion / stage_.kept);
    const double images = 0.0011 * stage_.insertion;
    Floats tone(1200);
    for (std::size_t i = 0; i < tone.size(); ++i)
        tone[i] = static_cast<float>(std::cos(nyquist * static_cast<double>(i)));
    const Floats passed = run_anew(Floats(1200, 1.0F));
    const Floats stopped = run_anew(tone);
    for (std::size_t i = passed.size() - 60; i < passed.size(); ++i) {
        EXPECT_NEAR(passed[i], 0.944, images);
        EXPECT_NEAR(stopped[i], 0, images);
    }
}

TEST_P(StageTest, CarriesNanAndInfForwardOnly)
{
    const Floats clean = run_anew(noise(120));
    for (const float bad : {NAN, INFINITY}) {
        Floats in = noise(120);
        in[61] = bad;
        const Floats out = run_anew(in);
        const int first = (61 * stage_.insertion + stage_.kept - 1) / stage_.kept;
        EXPECT_TRUE(std::equal(out.begin(), out.begin() + first, clean.begin()));
        EXPECT_TRUE(std::none_of(out.begin() + first, out.end(),
                                 [](float value) { return std::isfinite(value); }));
        EXPECT_EQ(run_anew(noise(120)), clean) << "after an initialiser";
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
}

INSTANTIATE_TEST_SUITE_P(Levels, StageTest,
                         testing::Combine(testing::Range(0, rsmpl::available_levels()),
                                          testing::ValuesIn(kStages)),
                         [](const auto& param) {
                             const Stage& stage = std::get<1>(param.param);
                             return "level" + std::to_string(std::get<0>(param.param)) + "_" +
                                    std::to_string(stage.insertion * 10 + stage.kept);
                         });

} // namespace
