#include "design/Resample_FIRFilterDesign.h"
#include "design/Resample_WinFunc.h"
#include "tests/common.h"

#include <gtest/gtest.h>
#include <numeric>

namespace
{

TEST(Design, PlainFunctionsAndMethodsPassTheirBands)
{
    constexpr int L = 65;
    CGeneralFIRDesigner designer(L, WIN_HANNING);
    const auto expect = [&](int at_dc, float low, float high, auto plain, auto method, auto... a) {
        Floats generic(L), by_plain(L), by_method(L);
        EXPECT_EQ(GeneralFIRDesign(generic.data(), L, WIN_HANNING, low, high, 32.5F), 1);
        EXPECT_EQ(plain(by_plain.data(), L, WIN_HANNING, a...), 1);
        EXPECT_EQ((designer.*method)(a..., by_method.data()), 1);
        EXPECT_TRUE(by_plain == generic && by_method == generic) << low << " " << high;
        EXPECT_NEAR(std::accumulate(generic.begin(), generic.end(), 0.0F), at_dc, 0.001);
    };
    using Designer = CGeneralFIRDesigner;
    expect(1, -1, 0.2F, GeneralFIRLowpass, &Designer::LowpassDesign, 0.2F);
    expect(0, 0.2F, 1, GeneralFIRHighpass, &Designer::HighpassDesign, 0.2F);
    expect(0, 0.1F, 0.3F, GeneralFIRBandpass, &Designer::BandpassDesign, 0.1F, 0.3F);
    expect(1, -1, 1, GeneralFIRFractionalDelay, &Designer::FractionalDelay, 32.5F);
}

TEST(Design, ThresholdsAndRoundings)
{
    constexpr int L = 22;
    const float sliver = 1e-5F, above = std::nextafter(sliver, 1.0F); // the first is below 1e-5
    const float nyquist = std::nextafter(0.5F, 0.0F);
    const auto is_bare = [](float low, float high, float centre) {
        float taps[L];
        GeneralFIRDesign(taps, L, WIN_HAMMING, low, high, centre);
        return std::count(taps, taps + L, 0) == L - 1;
    };
    EXPECT_TRUE(is_bare(sliver, 0.5F, sliver) && is_bare(NAN, NAN, 3 + 0.9e-5F));
    EXPECT_FALSE(is_bare(above, 1, 11) || is_bare(-1, nyquist, 11) || is_bare(-1, 1, above));
    // From a model in NumPy's float32 over libm's cosf, sinf, atanf and fmaf.  A phase that is
    // not fused, a slope in double, exact twiddles, or another order of steps give other bits.
    float taps[11];
    GeneralFIRDesign(taps, 11, WIN_HAMMING, 0.163F, 0.186F, 5.8F);
    EXPECT_EQ(taps[2], -0x1.430c7ap-8F);
}

TEST(Windows, RoundAsTheyShould)
{
    const auto window = [](int length, General_WindowType type, int n) {
        return CGeneralFIRDesigner(length, type).m_window[n];
    };
    EXPECT_EQ(window(1, WIN_HAMMING, 0), 0.08F);
    WinHanning(nullptr, INT_MIN);
    // Figures from a model in exact fractions over libm's cosf.  A step from 2 pi / (N - 1) for
    // Blackman, from a reciprocal for the others, weights in single precision, a product that is
    // rounded on its own, or the mirrored value give other bits.
    EXPECT_EQ(window(15, WIN_BLACKMAN, 13), 0x1.3dc342p-6F);
    EXPECT_EQ(window(32, WIN_HAMMING, 26), 0x1.2fcbfp-2F);
    EXPECT_EQ(window(47, WIN_HAMMING, 37), 0x1.8b37e6p-2F);
    EXPECT_EQ(window(42, WIN_HANNING, 30), 0x1.1d5bdcp-1F);
}

} // namespace
