#include "design/Resample_FIRFilterDesign.h"
#include "fir/Resample_FIRFiltering.h"
#include "fir/Resample_GeneralResampler.h"
#include "tests/common.h"

#include <cstddef>
#include <gtest/gtest.h>

namespace
{

constexpr unsigned long kFrames = 20, kBlocks = 5, kTaps = 48;
int flags[] = {1, 0, 2, 1, -1};
constexpr float kSign[] = {1, 0, 0, -1, 0}; // of the stream in each channel
constexpr float kScale = 1.0F / 8192;       // a power of two: results scale exactly
constexpr float kOpen = 1e9F;               // Hz

struct Case {
    unsigned long up, down, rate;
    float low, high;           // Hz
    float low_edge, high_edge; // expected
};

constexpr Case kCases[] = {
    {1, 3, 48000, 300, 3400, 300.0F * (1.0F / 48000.0F), 3400.0F * (1.0F / 48000.0F)},
    {3, 2, 32000, 0, kOpen, 0, 0.45F / 3},
    {2, 3, 48000, 100, NAN, 100.0F * (1.0F / 48000.0F), 0.45F / 3},
};

// Half away from zero, clipped.
short to_short(float sample)
{
    return static_cast<short>(std::clamp(std::round(sample * 32768.0), -32768.0, 32767.0));
}

TEST(GeneralResampler, TakesEnabledChannelsThroughTheEngineInEitherFormat)
{
    for (const Case& c : kCases) {
        const std::size_t in_len = kFrames * c.down, out_len = kFrames * c.up;
        CGeneralResampler floats, shorts;
        for (CGeneralResampler* r : {&floats, &shorts})
            EXPECT_EQ(r->Init(5, flags, c.up, c.down, kFrames, kTaps, c.rate, c.low, c.high), 1);
        Floats taps(kTaps), stream = noise(static_cast<int>(kBlocks * in_len));
        Floats expected(kBlocks * out_len);
        GeneralFIRBandpass(taps.data(), kTaps, WIN_HAMMING, c.low_edge, c.high_edge);
        for (float& tap : taps)
            tap *= static_cast<float>(c.up);
        for (float& sample : stream)
            sample = std::trunc(sample);
        FIRMRState* engine = nullptr; // takes all blocks at once
        FIRMRInitAlloc(&engine, taps.data(), kTaps, c.up, c.down);
        FIRMRFiltering(engine, stream.data(), expected.data(), kBlocks * kFrames);
        FIRMRFree(engine);
        for (std::size_t block = 0; block < kBlocks; ++block) {
            Shorts planar(5 * in_len, 9);
            Floats in(5 * in_len);
            float* rows[] = {&in[0], nullptr, nullptr, &in[3 * in_len], nullptr};
            for (std::size_t i = 0; i < in_len; ++i) {
                for (const std::size_t ch : {0UL, 3UL}) {
                    rows[ch][i] = kScale * kSign[ch] * stream[block * in_len + i];
                    planar[ch * in_len + i] = static_cast<short>(rows[ch][i] / kScale);
                }
            }
            EXPECT_EQ(floats.ResampleOneBlock(rows) + shorts.ResampleOneBlock(planar.data()), 0);
            const short* const pcm = floats.GetInt16Output();
            const short* const loud = shorts.GetInt16Output();
            for (std::size_t i = 0; i < 5 * out_len; ++i) {
                const std::size_t ch = i / out_len, at = i % out_len;
                const float value = expected[block * out_len + at] * kSign[ch];
                ASSERT_EQ(floats.GetFloatOutput()[ch][at], kScale * value);
                ASSERT_EQ(shorts.GetFloatOutput()[ch][at], value);
                ASSERT_TRUE(pcm[i] == to_short(kScale * value) && loud[i] == to_short(value));
            }
        }
        EXPECT_EQ(floats.UnInit() + shorts.UnInit(), 2);
    }
}

TEST(GeneralResampler, RefusesWhatDoesNotFitAndIsSafeWithOddArguments)
{
    constexpr unsigned long kHuge = 1UL << 32U, kHalf = kHuge / 2;
    CGeneralResampler r;
    float samples[6] = {1, 1, 1, 1, 1, 1};
    float* rows[] = {samples};
    Shorts planar(6, 1);
    const auto runs = [&] {
        EXPECT_EQ(r.ResampleOneBlock(rows) + r.ResampleOneBlock(planar.data()), 0);
        return r.GetInt16Output() != nullptr && r.GetFloatOutput() != nullptr;
    };
    using ulong = unsigned long;
    const auto fits = [&](ulong channels, ulong up, ulong down, ulong frames, ulong taps) {
        EXPECT_EQ(r.Init(channels, flags, up, down, frames, taps, 8000, 0, kOpen), 1);
        return runs();
    };
    EXPECT_FALSE(runs()) << "before Init";
    EXPECT_TRUE(fits(1, 1, 1, 1, 8) && fits(1, 1, 6, 1, 1)); // then a longer scratch buffer
    EXPECT_TRUE(fits(0, 1, 1, 1, 8) && fits(1, 0, 0, 0, 8) && fits(1, 0, 1, 1, 8));
    EXPECT_TRUE(fits(1, 1, 0, 1, 8) && fits(1, 1, 1, 1, 0) && fits(1, 1, ~2UL, 0, 8));
    EXPECT_FALSE(fits(kHuge, 1, 1, 1, 8) || fits(1, 1, 1, kHuge, 8) || fits(1, kHuge, 1, 1, 8));
    EXPECT_FALSE(fits(1, 1, kHuge, 1, 8) || fits(1, 1, kHalf, 2, 8) || fits(1, kHalf, 1, 2, 8));
    EXPECT_FALSE(fits(1, 1, 1, 1, kHuge + 8));
    EXPECT_EQ(r.Init(1, flags, 1, 1, 1, 8, 0, -kOpen, NAN) + r.UnInit() + r.UnInit(), 3);
}

static_assert(offsetof(CGeneralResampler, m_outputLen) == 20 &&
              offsetof(CGeneralResampler, m_scratch) == 40 &&
              offsetof(CGeneralResampler, m_flags) == 48);

} // namespace
