#include "design/Resample_FIRFilterDesign.h"
#include "fir/Resample_FIRFiltering.h"
#include "fir/Resample_GeneralResampler.h"
#include "tests/common.h"

#include <cstddef>
#include <gtest/gtest.h>

namespace
{

using Floats = std::vector<float>;
using Shorts = std::vector<short>;

constexpr unsigned long kFrames = 20, kBlocks = 5, kTaps = 48;
constexpr std::size_t kChannels = 5;
int flags[kChannels] = {1, 0, 2, 1, -1};
constexpr short kSign[kChannels] = {1, 0, 0, -1, 0}; // of the stream in each channel
constexpr float kScale = 1.0F / 8192;                // a power of two: results scale exactly
constexpr float kOpen = 1e9F;                        // Hz

struct Case {
    unsigned long up, down, rate;
    float low, high;           // Hz
    float low_edge, high_edge; // expected
};

constexpr Case kCases[] = {
    {1, 3, 48000, 100, 7800, 100.0F * (1.0F / 48000.0F), 0.45F / 3}, // capped
    {1, 3, 48000, 300, 3400, 300.0F * (1.0F / 48000.0F), 3400.0F * (1.0F / 48000.0F)},
    {2, 1, 16000, 0, kOpen, 0, 0.45F / 2},
    {3, 2, 32000, 0, kOpen, 0, 0.45F / 3},
    {2, 3, 48000, 100, NAN, 100.0F * (1.0F / 48000.0F), 0.45F / 3},
    {1, 1, 8000, 400, kOpen, 0.05F, 0.45F},
};

// Half away from zero, clipped.
short to_short(float sample)
{
    const double scaled = std::round(static_cast<double>(sample) * 32768);
    return static_cast<short>(std::clamp(scaled, -32768.0, 32767.0));
}

// The stream of one channel at once, through the engine.
Floats filtered(const Case& c, const Floats& taps, const short* stream, std::size_t len)
{
    Floats in(stream, stream + len), out(len / c.down * c.up);
    FIRMRState* state = nullptr;
    FIRMRInitAlloc(&state, taps.data(), taps.size(), c.up, c.down);
    FIRMRFiltering(state, in.data(), out.data(), len / c.down);
    FIRMRFree(state);
    return out;
}

TEST(GeneralResampler, TakesEnabledChannelsThroughTheEngineInEitherFormat)
{
    for (const Case& c : kCases) {
        const std::size_t in_len = kFrames * c.down, out_len = kFrames * c.up;
        Floats taps(kTaps);
        GeneralFIRBandpass(taps.data(), kTaps, WIN_HAMMING, c.low_edge, c.high_edge);
        for (float& tap : taps)
            tap *= static_cast<float>(c.up);
        const Floats values = noise(static_cast<int>(kBlocks * in_len));
        const Shorts stream(values.begin(), values.end());
        const Floats expected = filtered(c, taps, stream.data(), stream.size());

        CGeneralResampler floats, shorts;
        for (CGeneralResampler* each : {&floats, &shorts})
            EXPECT_EQ(
                each->Init(kChannels, flags, c.up, c.down, kFrames, kTaps, c.rate, c.low, c.high),
                1);
        for (std::size_t block = 0; block < kBlocks; ++block) {
            Shorts planar(kChannels * in_len, 9);
            Floats scaled(planar.size());
            float* rows[kChannels] = {}; // null for disabled channels
            for (const std::size_t ch : {0UL, 3UL}) {
                rows[ch] = &scaled[ch * in_len];
                for (std::size_t i = 0; i < in_len; ++i) {
                    const int sample = stream[block * in_len + i] * kSign[ch];
                    planar[ch * in_len + i] = static_cast<short>(sample);
                    rows[ch][i] = kScale * static_cast<float>(sample);
                }
            }
            EXPECT_EQ(floats.ResampleOneBlock(rows), 0);
            EXPECT_EQ(shorts.ResampleOneBlock(planar.data()), 0);
            const short* const pcm = floats.GetInt16Output();
            const short* const loud = shorts.GetInt16Output();
            for (std::size_t ch = 0; ch < kChannels; ++ch) {
                for (std::size_t i = 0; i < out_len; ++i) {
                    const float value = expected[block * out_len + i] * kSign[ch];
                    ASSERT_EQ(floats.GetFloatOutput()[ch][i], kScale * value);
                    ASSERT_EQ(shorts.GetFloatOutput()[ch][i], value);
                    ASSERT_EQ(pcm[ch * out_len + i], to_short(kScale * value));
                    ASSERT_EQ(loud[ch * out_len + i], to_short(value));
                }
            }
        }
        EXPECT_EQ(floats.UnInit() + shorts.UnInit(), 2);
    }
}

TEST(GeneralResampler, RefusesWhatDoesNotFitAndIsSafeWithOddArguments)
{
    constexpr unsigned long kHuge = 1UL << 31U, kHalf = kHuge / 2;
    CGeneralResampler r;
    float samples[6] = {1, 1, 1, 1, 1, 1};
    float* rows[] = {samples};
    Shorts planar(6, 1);
    const auto runs = [&] {
        EXPECT_EQ(r.ResampleOneBlock(rows) + r.ResampleOneBlock(planar.data()), 0);
        return r.GetInt16Output() != nullptr && r.GetFloatOutput() != nullptr;
    };
    EXPECT_FALSE(runs()) << "before Init";
    struct {
        bool fits;
        unsigned long channels, up, down, frames, taps, rate;
    } const cases[] = {
        {true, 1, 1, 1, 1, 8, 8000},      {true, 1, 1, 6, 1, 1, 8000}, // a longer scratch buffer
        {true, 0, 1, 1, 1, 8, 8000},      {true, 1, 0, 0, 0, 8, 0},
        {true, 1, 0, 1, 1, 8, 1},         {true, 1, 1, 0, 1, 8, 8000},
        {true, 1, 1, 1, 1, 0, 1},         {true, 1, 1, ~2UL, 0, 8, 1},
        {false, kHuge, 1, 1, 1, 8, 8000}, {false, 1, 1, 1, kHuge, 8, 8000},
        {false, 1, kHuge, 1, 1, 8, 8000}, {false, 1, 1, kHuge, 1, 8, 8000},
        {false, 1, 1, kHalf, 2, 8, 8000}, {false, 1, kHalf, 1, 2, 8, 8000},
        {false, 1, 1, 1, 1, kHuge, 8000}, {false, 1, 1, 1, 1, kHalf + 1, 8000},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(r.Init(c.channels, flags, c.up, c.down, c.frames, c.taps, c.rate, 0, kOpen), 1);
        EXPECT_EQ(runs(), c.fits) << &c - cases;
    }
    EXPECT_EQ(r.UnInit() + r.UnInit(), 2);
    EXPECT_FALSE(runs()) << "after UnInit";
}

static_assert(offsetof(CGeneralResampler, m_outputLen) == 20);
static_assert(offsetof(CGeneralResampler, m_floatOut) == 24);
static_assert(offsetof(CGeneralResampler, m_scratch) == 40);
static_assert(offsetof(CGeneralResampler, m_flags) == 48);

} // namespace
