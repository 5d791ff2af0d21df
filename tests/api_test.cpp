#include "api/resample_api.h"
#include "iir/Resample_Rsmpl_IIR_api.h"
#include "tests/stages.h"

#include <climits>
#include <cmath>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>

// A refused rate keeps its record for good; only refusals made here may.
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:expect_refused_rate\n";
}

namespace
{

using Shorts = std::vector<short>;
using Words = std::uint64_t;

struct Shape {
    int channels, in_rate, out_rate, samples_per_ch;
    int out_per_ch, inputs; // per channel and block
};

std::ostream& operator<<(std::ostream& stream, const Shape& shape)
{
    return stream << shape.channels << " channels, " << shape.in_rate << " to " << shape.out_rate
                  << " Hz, " << shape.samples_per_ch;
}

resample_handle* open(const Shape& shape)
{
    return resample_init(shape.channels, shape.in_rate, shape.out_rate, shape.samples_per_ch);
}

// Full scale both ways, flipping at random: overshoots and wraps.
Shorts loud(int len)
{
    std::mt19937 generator(3);
    std::bernoulli_distribution flip(0.06);
    short level = 32767;
    Shorts samples(static_cast<std::size_t>(len));
    for (short& sample : samples)
        sample = flip(generator) ? level = static_cast<short>(-level) : level;
    return samples;
}

std::string printed(const std::function<void()>& call)
{
    testing::internal::CaptureStdout();
    call();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

class Blocks : public testing::TestWithParam<Shape>
{
};

// Each channel beside its own context of the 1:3 stage, the cut to 16 bits by arithmetic.
TEST_P(Blocks, EqualTheStageOnEachChannelAndKeepWhatIsNotRewritten)
{
    const Shape shape = GetParam();
    const int len = shape.channels * shape.inputs;
    const Shorts stream = loud(5 * len);
    resample_handle* handle = open(shape);
    ASSERT_NE(handle, nullptr);
    std::vector<std::vector<float>> contexts(16, std::vector<float>(9));
    std::vector<std::vector<float>> held(16, std::vector<float>(2000));
    for (auto& context : contexts)
        RSMPL_InitContext(context.data());
    bool wrapped = false;
    const std::string noise_on_stdout = printed([&] {
        for (int block = 0; block < 5; ++block) {
            const short* in = stream.data() + block * len;
            Shorts out(static_cast<std::size_t>(shape.channels * shape.out_per_ch) + 1, 77);
            ASSERT_EQ(resample_process(handle, in, out.data(), len), 0);
            EXPECT_EQ(out.back(), 77);
            for (std::size_t c = 0; c < static_cast<std::size_t>(shape.channels); ++c) {
                const short* row = in + static_cast<int>(c) * shape.inputs;
                const std::vector<float> input(row, row + shape.inputs);
                RSMPL_Down(contexts[c].data(), input.data(), held[c].data(), shape.inputs, 2);
                for (std::size_t j = 0; j < static_cast<std::size_t>(shape.out_per_ch); ++j) {
                    const double whole = std::trunc(static_cast<double>(held[c][j]));
                    const double cut = whole - 65536 * std::floor((whole + 32768) / 65536);
                    wrapped = wrapped || cut != whole;
                    ASSERT_EQ(out[c * static_cast<std::size_t>(shape.out_per_ch) + j], cut)
                        << "block " << block << ", channel " << c << ", output " << j;
                }
            }
        }
    });
    EXPECT_EQ(noise_on_stdout, "");
    EXPECT_TRUE(wrapped || len < 960 || shape.inputs % 6 != 0) << "too quiet a test";
    resample_exit(handle);
}

INSTANTIATE_TEST_SUITE_P(
    Shapes, Blocks,
    testing::Values(Shape{1, 48000, 16000, 960, 320, 960}, Shape{2, 48000, 16000, 960, 320, 960},
                    Shape{16, 48000, 16000, 96, 32, 96}, Shape{1, 48000, 16000, 1010, 336, 1008},
                    Shape{1, 48000, 16000, 1000, 333, 999}, Shape{1, 48000, 16000, 12, 4, 12},
                    Shape{3, 48000, 16000, 18, 6, 18}, Shape{2, 32000, 16000, 960, 480, 960},
                    Shape{1, 16000, 16000, 960, 960, 960}, Shape{2, 64000, 16000, 960, 240, 960},
                    Shape{1, 192000, 16000, 960, 80, 960}, Shape{0, 48000, 16000, 960, 320, 960},
                    Shape{1, 48000, 16000, 2, 0, 0}, Shape{1, 48000, 16000, 0, 0, 0},
                    Shape{1, 0, 16000, 960, 0, 0}, Shape{1, 0, 0, 960, 0, 0},
                    Shape{2, -48000, -16000, 960, 320, 960}, Shape{1, -48000, 16000, 960, 0, 0}));

[[gnu::noinline]] void expect_refused_rate(int in_rate, int out_rate)
{
    EXPECT_EQ(printed([=] { EXPECT_EQ(resample_init(1, in_rate, out_rate, 960), nullptr); }),
              "ILLEAGLE FREQUENCY\n")
        << in_rate << " to " << out_rate;
}

TEST(PublicCalls, RefuseRatesThatAreNoMultiple)
{
    expect_refused_rate(44100, 16000);
    expect_refused_rate(8000, 16000);
    expect_refused_rate(48000, 0);
    expect_refused_rate(INT_MIN, -1);
}

TEST(PublicCalls, RefuseArgumentsOutOfRangeInSilence)
{
    EXPECT_EQ(printed([] {
                  EXPECT_EQ(resample_init(-1, 48000, 16000, 960), nullptr);
                  EXPECT_EQ(resample_init(17, 44100, 16000, 960), nullptr);
                  EXPECT_EQ(resample_init(1, 48000, 16000, -1), nullptr);
                  resample_exit(nullptr);
              }),
              "");
}

TEST(PublicCalls, RefuseBlocksThatDoNotFitAndTouchNothing)
{
    const Shorts in = loud(1920);
    resample_handle* handle = resample_init(2, 48000, 16000, 960);
    resample_handle* clean = resample_init(2, 48000, 16000, 960);
    Shorts out(640, 77);
    EXPECT_EQ(printed([&] { EXPECT_EQ(resample_process(nullptr, in.data(), out.data(), 7), -1); }),
              "resample not init!\n");
    for (const int len : {960, 1919, 0, -1920, INT_MAX})
        EXPECT_EQ(
            printed([&] { EXPECT_EQ(resample_process(handle, in.data(), out.data(), len), -1); }),
            "input data length = ch_num * samples_per_ch\n");
    EXPECT_EQ(printed([&] {
                  EXPECT_EQ(resample_process(handle, nullptr, out.data(), 1920), -1);
                  EXPECT_EQ(resample_process(handle, in.data(), nullptr, 1920), -1);
              }),
              "");
    EXPECT_EQ(out, Shorts(640, 77));
    Shorts expected(640);
    EXPECT_EQ(resample_process(clean, in.data(), expected.data(), 1920), 0);
    EXPECT_EQ(resample_process(handle, in.data(), out.data(), 1920), 0);
    EXPECT_EQ(out, expected) << "the filters had moved";
    resample_exit(handle);
    resample_exit(clean);
}

TEST(PublicCalls, HandleHoldsItsFieldsInOrder)
{
    resample_handle* handle = resample_init(2, 48000, 16000, 1000);
    const auto* words = reinterpret_cast<const Words*>(handle);
    const Words expected[] = {0, 1000, 48000, 16000, 2, 333, 1, 3};
    for (std::size_t i = 0; i < 8; ++i)
        EXPECT_EQ(words[i], expected[i]) << i;
    resample_exit(handle);
    handle = resample_init(1, -48000, 16000, 960);
    words = reinterpret_cast<const Words*>(handle);
    EXPECT_EQ(words[2], static_cast<Words>(-48000LL));
    EXPECT_EQ(words[7], static_cast<Words>(-3LL));
    resample_exit(handle);
}

TEST(PublicCalls, NarrowingSaturatesAt32BitsBeforeItCuts)
{
    const Shorts in(960, 0);
    const struct {
        float memory;
        short first;
    } table[] = {{1e30F, -1}, {-1e30F, 0}, {NAN, 0}};
    for (const auto& row : table) {
        resample_handle* handle = resample_init(1, 48000, 16000, 960);
        auto* ctx = reinterpret_cast<float*>(reinterpret_cast<Words*>(handle)[8]);
        std::fill_n(ctx + 1, 8, row.memory);
        Shorts out(320, 77);
        EXPECT_EQ(resample_process(handle, in.data(), out.data(), 960), 0);
        EXPECT_EQ(out[0], row.first) << row.memory;
        resample_exit(handle);
    }
}

} // namespace
