#include "api/resample_api.h"
#include "convert/Resample_Truncate_internal.h"
#include "design/Resample_FIRFilterDesign.h"
#include "fir/Resample_FIRFiltering.h"
#include "fir/Resample_GeneralResampler.h"
#include "iir/Resample_Rsmpl_IIR_api.h"
#include "tests/common.h"

#include <cmath>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <thread>

// A refused rate keeps its record for good; only refusals made here may.
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:expect_refused_rate\n";
}

namespace
{

using Shorts = std::vector<short>;

struct Shape {
    const char* name;
    int channels, in_rate, out_rate, samples_per_ch;
    int out_per_ch, inputs; // expected, per channel and block
};

// A square wave at full scale: overshoots and wraps.
Shorts loud(int len)
{
    Shorts samples;
    for (int i = 0; i < len; ++i)
        samples.push_back(i / 37 % 2 == 0 ? 32767 : -32767);
    return samples;
}

std::string printed(const std::function<void()>& call)
{
    testing::internal::CaptureStdout();
    call();
    return testing::internal::GetCapturedStdout();
}

constexpr Shape kShapes[] = {
    {"mono", 1, 48000, 16000, 960, 320, 960},
    {"sixteen channels", 16, 48000, 16000, 96, 32, 96},
    {"odd length, filtered", 2, 48000, 16000, 1010, 336, 1008},
    {"odd length, not filtered", 1, 48000, 16000, 1000, 333, 999},
    {"ratio 2", 2, 32000, 16000, 960, 480, 960},
    {"ratio 1", 1, 16000, 16000, 960, 960, 960},
    {"ratio 4", 2, 64000, 16000, 960, 240, 960},
    {"ratio 6", 2, 96000, 16000, 960, 160, 960},
    {"no channels", 0, 48000, 16000, 960, 320, 960},
    {"no samples", 1, 48000, 16000, 0, 0, 0},
    {"zero rates", 1, 0, 0, 960, 0, 0},
    {"negative ratio", 1, -48000, 16000, 960, 0, 0},
};

// Each channel beside its own context of the 1:3 stage, the cut to 16 bits by arithmetic.
TEST(PublicCalls, RunTheStageOnEachChannelAndKeepWhatIsNotRewritten)
{
    for (const Shape& shape : kShapes) {
        const int len = shape.channels * shape.inputs;
        const Shorts stream = loud(5 * len);
        resample_handle* handle =
            resample_init(shape.channels, shape.in_rate, shape.out_rate, shape.samples_per_ch);
        float contexts[16][9] = {}, held[16][960] = {};
        int wrapped = 0;
        for (int block = 0; block < 5; ++block) {
            const short* in = stream.data() + block * len;
            Shorts out(static_cast<std::size_t>(shape.channels * shape.out_per_ch) + 1, 77);
            const auto convert = [&] { return resample_process(handle, in, out.data(), len); };
            EXPECT_EQ(printed([&] { EXPECT_EQ(convert(), 0); }), "");
            auto got = out.begin();
            for (int c = 0; c < shape.channels; ++c, in += shape.inputs) {
                const std::vector<float> input(in, in + shape.inputs);
                RSMPL_Down(contexts[c], input.data(), held[c], shape.inputs, 2);
                for (int j = 0; j < shape.out_per_ch; ++j) {
                    const double whole = std::trunc(static_cast<double>(held[c][j]));
                    const double cut = whole - 65536 * std::floor((whole + 32768) / 65536);
                    wrapped += cut != whole;
                    ASSERT_EQ(*got++, cut) << shape.name << ", block " << block << ", " << c;
                }
            }
            EXPECT_EQ(*got, 77) << "written beyond the end";
        }
        EXPECT_TRUE(wrapped > 0 || len < 960 || shape.inputs % 6 != 0) << "too quiet a test";
        resample_exit(handle);
    }
}

[[gnu::noinline]] void expect_refused_rate(int in_rate, int out_rate)
{
    EXPECT_EQ(printed([=] { EXPECT_EQ(resample_init(1, in_rate, out_rate, 960), nullptr); }),
              "ILLEAGLE FREQUENCY\n")
        << in_rate << " to " << out_rate;
}

TEST(PublicCalls, RefuseRatesThatAreNoMultipleAndOtherArgumentsInSilence)
{
    for (const auto& [in_rate, out_rate] :
         {std::pair(44100, 16000), {8000, 16000}, {48000, 0}, {INT_MIN, -1}})
        expect_refused_rate(in_rate, out_rate);
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
    Shorts out(640, 77), expected(640);
    const auto refused = [&](resample_handle* which, const short* from, short* to, int len) {
        return printed([&] { EXPECT_EQ(resample_process(which, from, to, len), -1); });
    };
    EXPECT_EQ(refused(nullptr, nullptr, nullptr, 7), "resample not init!\n");
    for (const int len : {960, 1919, 0, -1920, INT_MAX})
        EXPECT_EQ(refused(handle, nullptr, out.data(), len),
                  "input data length = ch_num * samples_per_ch\n");
    EXPECT_EQ(refused(handle, nullptr, out.data(), 1920), "");
    EXPECT_EQ(refused(handle, in.data(), nullptr, 1920), "");
    EXPECT_EQ(out, Shorts(640, 77));
    resample_process(clean, in.data(), expected.data(), 1920);
    resample_process(handle, in.data(), out.data(), 1920);
    EXPECT_EQ(out, expected) << "the filters had moved";
    Shorts shared = in; // the output overlaps the second channel's input
    resample_process(clean, in.data(), expected.data(), 1920);
    resample_process(handle, shared.data(), shared.data() + 700, 1920);
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), shared.begin() + 700));
    resample_exit(handle);
    resample_exit(clean);
}

TEST(PublicCalls, HandleHoldsItsFieldsInOrderAndAGeneralResampler)
{
    using Words = std::vector<std::uint64_t>;
    resample_handle* negative = resample_init(2, -48000, -16000, 1000);
    const auto* words = reinterpret_cast<const std::uint64_t*>(negative);
    EXPECT_EQ(Words(words + 1, words + 8), (Words{1000, 0ULL - 48000, 0ULL - 16000, 2, 333, 1, 3}));
    resample_exit(negative);

    // The band is 100 Hz to 200 Hz below the output's Nyquist frequency, at most 0.45 / ratio.
    for (const int out_rate : {16000, 8000, 1000, 1001, 100}) {
        resample_handle* handle = resample_init(3, 3 * out_rate, out_rate, 1000);
        const CGeneralResampler& general = **reinterpret_cast<CGeneralResampler**>(handle);
        const float per_hertz = 1.0F / static_cast<float>(3 * out_rate);
        const float high = (static_cast<float>(out_rate) / 2 - 200) * per_hertz;
        std::vector<float> taps(64);
        GeneralFIRBandpass(taps.data(), 64, WIN_HAMMING, 100 * per_hertz,
                           std::min(high, 0.45F / 3));
        EXPECT_EQ(general.m_channels, 3);
        EXPECT_EQ(general.m_inputLen, 999);
        EXPECT_EQ(general.m_outputLen, 333);
        for (int c = 0; c < 3; ++c) {
            const FIRMRState& state = *general.m_states[c];
            EXPECT_EQ(std::vector<float>(state.taps, state.taps + state.length), taps) << out_rate;
        }
        resample_exit(handle);
    }
}

// Sanitizers watch.
TEST(PublicCalls, AnyRatesAndLengthsOpenConvertAndClose)
{
    std::mt19937 generator(1);
    const auto draw = [&](int from, int to) {
        return std::uniform_int_distribution<int>(from, to)(generator);
    };
    const int rates[] = {0, 1, -1, 100, 300, -16000, 8000, 16000, 30000, INT_MAX, INT_MIN};
    for (int attempt = 0; attempt < 1000; ++attempt) {
        const int out_rate = rates[draw(0, 10)], channels = draw(0, 16), len = draw(0, 2000);
        const int ratio = std::abs(out_rate / 2) < 20000 ? draw(-2, 6) : 1;
        resample_handle* handle = resample_init(channels, out_rate * ratio, out_rate, len);
        ASSERT_NE(handle, nullptr);
        const int outputs = out_rate == 0 || ratio <= 0 ? 0 : len / ratio;
        const Shorts in = loud(channels * outputs * ratio);
        Shorts out(static_cast<std::size_t>(channels * outputs));
        EXPECT_EQ(resample_process(handle, in.data(), out.data(), static_cast<int>(in.size())), 0);
        resample_exit(handle);
    }
}

TEST(Truncate, GoesTowardZeroAndSaturates)
{
    // 2147483520 is the last float in range, -2147483904 the first out of it.
    const std::pair<float, int> cases[] = {{-0.999F, 0},
                                           {-1.5F, -1},
                                           {40000.7F, 40000},
                                           {2147483520.0F, 2147483520},
                                           {NAN, 0},
                                           {2147483648.0F, INT_MAX},
                                           {-2147483904.0F, INT_MIN},
                                           {-INFINITY, INT_MIN}};
    for (const auto& [from, to] : cases)
        EXPECT_EQ(rsmpl::truncate_saturating(from), to) << from;
}

// Opening a handle rewrites the tables that others filter with; a thread sanitizer watches.
TEST(PublicCalls, OpenAndCloseWhileAnotherThreadConverts)
{
    const Shorts in = loud(960);
    resample_handle* handle = resample_init(1, 48000, 16000, 960);
    Shorts first(320), again(320);
    for (int block = 0; block < 50; ++block) // until the square wave is all that is left
        resample_process(handle, in.data(), first.data(), 960);
    std::thread opener([] {
        for (int i = 0; i < 200; ++i)
            resample_exit(resample_init(2, 48000, 16000, 960));
    });
    for (int block = 0; block < 50; ++block) {
        resample_process(handle, in.data(), again.data(), 960);
        EXPECT_EQ(again, first);
    }
    opener.join();
    resample_exit(handle);
}

} // namespace
