#include "api/resample_api.h"
#include "design/Resample_FIRFilterDesign.h"
#include "fir/Resample_FIRFiltering.h"
#include "fir/Resample_GeneralResampler.h"
#include "iir/Resample_Rsmpl_IIR_api.h"
#include "kernels/Resample_Truncate_internal.h"
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

struct Shape {
    int channels, in_rate, out_rate, samples_per_ch;
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

// Likely shapes, then any: rates of zero, negative ones and low ones, odd lengths.
std::vector<Shape> shapes()
{
    std::vector<Shape> all = {
        {1, 48000, 16000, 960}, {1, INT_MAX, INT_MAX, 960}, {1, INT_MIN, INT_MIN, 7}};
    const int rates[] = {0, 1, -1, 100, 300, 8000, 16000, -16000};
    std::mt19937 draw(1);
    for (int i = 0; i < 300; ++i) {
        const int out_rate = rates[draw() % 8], ratio = static_cast<int>(draw() % 9) - 2;
        all.push_back({static_cast<int>(draw() % 17), ratio * out_rate, out_rate,
                       static_cast<int>(draw() % 1010)});
    }
    return all;
}

// Each channel beside its own context of the 1:3 stage, the cut to 16 bits by arithmetic.
TEST(PublicCalls, RunTheStageOnEachChannelAndKeepWhatIsNotRewritten)
{
    testing::internal::CaptureStdout();
    for (const auto& [channels, in_rate, out_rate, samples_per_ch] : shapes()) {
        const int ratio = out_rate == 0 ? 0 : in_rate / out_rate;
        const int outputs = ratio > 0 ? samples_per_ch / ratio : 0, inputs = outputs * ratio;
        const Shorts stream = loud(3 * channels * inputs);
        resample_handle* handle = resample_init(channels, in_rate, out_rate, samples_per_ch);
        float contexts[16][9] = {}, held[16][1010] = {};
        const short* in = stream.data();
        for (int block = 0; block < 3; ++block) {
            Shorts out(static_cast<std::size_t>(channels * outputs) + 1, 77);
            EXPECT_EQ(resample_process(handle, in, out.data(), channels * inputs), 0);
            auto got = out.begin();
            for (int c = 0; c < channels; ++c, in += inputs) {
                const Floats input(in, in + inputs);
                RSMPL_Down(contexts[c], input.data(), held[c], inputs, 2);
                for (int j = 0; j < outputs; ++j) {
                    const double whole = std::trunc(static_cast<double>(held[c][j]));
                    const double cut = whole - 65536 * std::floor((whole + 32768) / 65536);
                    ASSERT_EQ(*got++, cut) << in_rate << " to " << out_rate << ", channel " << c;
                }
            }
            EXPECT_EQ(*got, 77) << "written beyond the end";
        }
        resample_exit(handle);
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

[[gnu::noinline]] void expect_refused_rate(int in_rate, int out_rate)
{
    EXPECT_EQ(printed([=] { EXPECT_EQ(resample_init(1, in_rate, out_rate, 960), nullptr); }),
              "ILLEAGLE FREQUENCY\n")
        << in_rate;
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
    Shorts out(640, 77), expected(640), shared = in;
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
    // The filters have not moved; and the output may overlap the second channel's input.
    resample_process(clean, in.data(), expected.data(), 1920);
    EXPECT_EQ(resample_process(handle, shared.data(), shared.data() + 700, 1920), 0);
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), shared.begin() + 700));
    resample_exit(handle);
    resample_exit(clean);
}

TEST(PublicCalls, HandleHoldsItsFieldsInOrderAndAGeneralResampler)
{
    using Words = std::vector<std::uint64_t>;
    for (const int out_rate : {16000, 1001, 100, -16000}) {
        resample_handle* handle = resample_init(3, 3 * out_rate, out_rate, 1000);
        const auto rate = static_cast<std::uint64_t>(out_rate); // sign-extended
        const auto* words = reinterpret_cast<const std::uint64_t*>(handle);
        EXPECT_EQ(Words(words + 1, words + 8), (Words{1000, 3 * rate, rate, 3, 333, 1, 3}));
        const CGeneralResampler& general = **reinterpret_cast<CGeneralResampler**>(handle);
        EXPECT_TRUE(general.m_channels == 3 && general.m_inputLen == 999);
        // 100 Hz to 200 Hz below the output's Nyquist frequency, at most 0.45 / ratio.
        const float per_hertz = 1.0F / static_cast<float>(3 * rate);
        const float high = (static_cast<float>(rate) / 2 - 200) * per_hertz;
        float taps[64];
        GeneralFIRBandpass(taps, 64, WIN_HAMMING, 100 * per_hertz, std::min(high, 0.45F / 3));
        for (int c = 0; c < 3; ++c) {
            const FIRMRState* state = general.m_states[c];
            EXPECT_TRUE(state->length == 64 && std::equal(taps, taps + 64, state->taps));
        }
        resample_exit(handle);
    }
}

TEST(Truncate, GoesTowardZeroAndSaturates)
{
    // 2147483520 is the last float in range, -2147483904 the first out of it.
    const float from[] = {-0.999F,       -1.5F, 40000.7F,       2147483520.0F,
                          2147483648.0F, NAN,   -2147483904.0F, -INFINITY};
    const int to[] = {0, -1, 40000, 2147483520, INT_MAX, 0, INT_MIN, INT_MIN};
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(rsmpl::truncate_saturating(from[i]), to[i]) << from[i];
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
