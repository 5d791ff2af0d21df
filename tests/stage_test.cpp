#include "kernels/Resample_Kernels_internal.h"
#include "tests/stages.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <tuple>

namespace
{

using rsmpl::Kernels;
using Floats = std::vector<float>;

bool all_tables_zero()
{
    return std::all_of(std::begin(kStages), std::end(kStages), [](const Stage& stage) {
        return std::all_of(stage.table, stage.table + 13, [](float c) { return c == 0; });
    });
}
const bool tables_started_zero = all_tables_zero();

std::vector<const Kernels*> levels()
{
    std::vector<const Kernels*> found;
    for (int i = 0; rsmpl::available_kernels(i) != nullptr; ++i)
        found.push_back(rsmpl::available_kernels(i));
    return found;
}

class StageTest : public testing::TestWithParam<std::tuple<const Kernels*, Stage>>
{
protected:
    StageTest() : stage_(std::get<Stage>(GetParam()))
    {
        rsmpl::force_kernels(*std::get<const Kernels*>(GetParam()));
        start_anew();
    }

    void start_anew() { stage_.init(ctx_); }

    Floats run(const Floats& in)
    {
        const int len = static_cast<int>(in.size());
        Guarded out(stage_.outputs(len));
        stage_.run(in.data(), out.data(), ctx_, len);
        EXPECT_TRUE(out.guards_intact()) << "length " << len;
        return out.block();
    }

    const Stage stage_;
    float ctx_[9];
};

template <typename T>
void expect_near(const Floats& got, const std::vector<T>& expected, double tolerance)
{
    ASSERT_EQ(got.size(), expected.size());
    for (std::size_t i = 0; i < got.size(); ++i)
        ASSERT_NEAR(got[i], expected[i], tolerance) << i << " of " << got.size();
}

// Half a unit in the last place of an output below 2^15 is 0.001.
constexpr double kRounding = 0.0012;

TEST_P(StageTest, MatchesTheModelAtEveryLengthAndInPlace)
{
    std::vector<int> lengths = {160, 161, 320, 480, 641, 960};
    for (int len = 0; len <= 50; ++len)
        lengths.push_back(len);
    for (const int len : lengths) {
        const Floats in = noise(len);
        start_anew();
        ctx_[0] = 7;
        const Floats out = run(in);
        expect_near(out, model_of(stage_, in), kRounding);
        EXPECT_EQ(ctx_[0], 7) << "the reserved word";

        Floats shared(std::max(in.size(), out.size()));
        std::copy(in.begin(), in.end(), shared.begin());
        start_anew();
        stage_.run(shared.data(), shared.data(), ctx_, len);
        shared.resize(out.size());
        EXPECT_EQ(shared, out) << "in place, length " << len;
    }
}

TEST_P(StageTest, JoinsBlocksWithoutASeam)
{
    const int group = stage_.kept;
    const Floats in = noise(1000 * group);
    std::mt19937 generator(2);
    std::uniform_int_distribution<int> groups(1, 150);
    Floats joined;
    for (int start = 0; start < static_cast<int>(in.size());) {
        const int len = std::min(groups(generator) * group, static_cast<int>(in.size()) - start);
        const Floats part = run(Floats(in.begin() + start, in.begin() + start + len));
        joined.insert(joined.end(), part.begin(), part.end());
        start += len;
    }
    // The memory's rounding to float at each seam, as the filter carries it on.
    expect_near(joined, model_of(stage_, in), 0.02);
}

TEST_P(StageTest, PassesDcAndStopsTheLowerNyquistFrequency)
{
    const double pi = std::acos(-1.0);
    const double nyquist =
        stage_.insertion > stage_.kept ? pi : pi * stage_.insertion / stage_.kept;
    const double images = 0.0011 * stage_.insertion;
    Floats tone(1200);
    for (std::size_t i = 0; i < tone.size(); ++i)
        tone[i] = static_cast<float>(std::cos(nyquist * static_cast<double>(i)));
    const Floats passed = run(Floats(1200, 1.0F));
    start_anew();
    const Floats stopped = run(tone);
    for (std::size_t i = passed.size() - 60; i < passed.size(); ++i) {
        EXPECT_NEAR(passed[i], 0.944, images);
        EXPECT_NEAR(stopped[i], 0, images);
    }
}

TEST_P(StageTest, CarriesNanAndInfForwardOnly)
{
    constexpr int kLen = 120;
    constexpr int kAt = 61;
    const Floats in = noise(kLen);
    const Floats clean = run(in);
    for (const float bad :
         {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
        Floats spoilt = in;
        spoilt[kAt] = bad;
        start_anew();
        const Floats out = run(spoilt);
        const int first = (kAt * stage_.insertion + stage_.kept - 1) / stage_.kept;
        for (int j = 0; j < stage_.outputs(kLen); ++j)
            if (j < first)
                EXPECT_EQ(out[static_cast<std::size_t>(j)], clean[static_cast<std::size_t>(j)]);
            else
                EXPECT_FALSE(std::isfinite(out[static_cast<std::size_t>(j)])) << j;
        start_anew();
        EXPECT_EQ(run(in), clean);
    }
}

TEST_P(StageTest, InitialiserClearsTheContextAndFillsTheTable)
{
    EXPECT_TRUE(tables_started_zero);
    Guarded ctx(9);
    EXPECT_EQ(stage_.init(ctx.data()), ctx.data());
    EXPECT_EQ(ctx.block(), Floats(9, 0.0F));
    EXPECT_TRUE(ctx.guards_intact());
    for (int i = 0; i < 13; ++i)
        EXPECT_EQ(stage_.table[i], kDesigns[stage_.design][i]) << i;
}

INSTANTIATE_TEST_SUITE_P(AllLevels, StageTest,
                         testing::Combine(testing::ValuesIn(levels()), testing::ValuesIn(kStages)),
                         [](const testing::TestParamInfo<StageTest::ParamType>& param) {
                             std::string name = std::get<Stage>(param.param).name;
                             name[1] = '_';
                             return std::get<const Kernels*>(param.param)->level + ("_" + name);
                         });

} // namespace
