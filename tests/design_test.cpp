#include "design/Resample_FIRFilterDesign.h"
#include "tests/common.h"

#include <complex>
#include <cstddef>
#include <gtest/gtest.h>

namespace
{

constexpr float kAbsentLow = -1, kAbsentHigh = 1;

double window(int type, int L, int n)
{
    const double x = L > 1 ? 2 * M_PI * n / (L - 1) : 0;
    const double forms[] = {1, 0.42 - 0.5 * std::cos(x) + 0.08 * std::cos(2 * x),
                            0.54 - 0.46 * std::cos(x), 0.5 - 0.5 * std::cos(x)};
    return forms[type];
}

// The definition in double precision.  Every bin within the band, weighted by the part of it that
// is within, is a cosine whose peak is at L/2 and the fraction; these are summed, windowed, and
// shifted until the peak is at the centre.
std::vector<double> closed_form(int L, int type, double low, double high, double centre)
{
    int M = 1;
    while (M < L)
        M *= 2;
    if (high >= 0.5)
        high = kAbsentHigh;
    const double whole = std::trunc(centre), fraction = std::max(centre - whole, 0.0);
    const int shift = static_cast<int>(whole) - L / 2;
    std::vector<double> sums(static_cast<std::size_t>(L)), taps(sums);
    for (int k = 0; k <= M / 2; ++k) {
        const double mirrored = k == 0 || 2 * k == M ? 1 : 2;
        const double within =
            std::clamp(high * M - (k - 0.5), 0.0, 1.0) * std::clamp(k + 0.5 - low * M, 0.0, 1.0);
        const double turn = 2 * M_PI * k / M;
        auto tone = std::polar(mirrored * within / M, -turn * (L / 2 + fraction));
        for (double& sum : sums) {
            sum += tone.real();
            tone *= std::polar(1.0, turn);
        }
    }
    const bool bare = low < 0 && high >= 0.5 && fraction == 0;
    for (int n = std::max(shift, 0); n < std::min(L, L + shift); ++n)
        taps[static_cast<std::size_t>(n)] =
            sums[static_cast<std::size_t>(n - shift)] * (bare ? 1 : window(type, L, n - shift));
    return taps;
}

TEST(Design, IsTheWindowedBandOfTheClosedForm)
{
    for (int L = 1; L <= 200; ++L) {
        const int type = (L + 1) % 4;
        CGeneralFIRDesigner designer(L, static_cast<General_WindowType>(type));
        const auto M = static_cast<float>(designer.m_fftSize);
        EXPECT_TRUE(M >= static_cast<float>(L) && (M < static_cast<float>(2 * L)));
        EXPECT_EQ(designer.m_numBins, designer.m_fftSize / 2 + 1);
        EXPECT_EQ(1 << designer.m_fftOrder, designer.m_fftSize);
        EXPECT_EQ(designer.m_window == nullptr, type == WIN_NONE);
        const auto length = static_cast<float>(L);
        // Edges within a bin, on its centre, and between two; centres between and on samples,
        // before, at and beyond the middle.
        for (const float low : {kAbsentLow, 0.107F, 0.125F, 0.125F + 0.5F / M})
            for (const float high : {kAbsentHigh, 0.311F, 0.375F, 0.375F + 0.5F / M})
                for (const float centre : {length / 2, std::floor(length * 0.3F) + 0.3F, 0.0F,
                                           std::floor(length * 0.8F), length + 2.25F, -1.5F}) {
                    Guarded taps(L);
                    EXPECT_EQ(designer.GenericDesign(low, high, centre, taps.data()), 1);
                    EXPECT_EQ(designer.m_timeBuf == nullptr, L == designer.m_fftSize);
                    const auto expected = closed_form(L, type, low, high, centre);
                    for (std::size_t n = 0; n < expected.size(); ++n)
                        ASSERT_NEAR(taps.block()[n], expected[n], 2e-6)
                            << L << " taps, tap " << n << ", centre " << centre;
                    EXPECT_EQ(taps.untouched(), 0);
                }
    }
}

double gain(const std::vector<float>& taps, double frequency)
{
    std::complex<double> sum = 0;
    for (std::size_t n = 0; n < taps.size(); ++n)
        sum += std::polar<double>(1, 2 * M_PI * frequency * static_cast<double>(n)) *
               static_cast<double>(taps[n]);
    return std::abs(sum);
}

TEST(Design, PlainFunctionsAndMethodsPassTheirBands)
{
    constexpr int L = 65;
    CGeneralFIRDesigner designer(L, WIN_HAMMING);
    std::vector<float> taps(L), same_taps(L);
    const auto expect_band = [&](const char* what, double from, double to) {
        EXPECT_EQ(taps, same_taps) << what;
        for (const double f : {0.0, 0.05, 0.15, 0.25, 0.3, 0.4})
            EXPECT_NEAR(gain(taps, f), f >= from && f <= to ? 1 : 0, 0.005) << what << " at " << f;
    };
    float* const out = taps.data();
    EXPECT_EQ(GeneralFIRLowpass(out, L, WIN_HAMMING, 0.2F), 1);
    EXPECT_EQ(designer.LowpassDesign(0.2F, same_taps.data()), 1);
    expect_band("low-pass", 0, 0.2);
    EXPECT_EQ(GeneralFIRHighpass(out, L, WIN_HAMMING, 0.2F), 1);
    EXPECT_EQ(designer.HighpassDesign(0.2F, same_taps.data()), 1);
    expect_band("high-pass", 0.2, 0.45);
    EXPECT_EQ(GeneralFIRBandpass(out, L, WIN_HAMMING, 0.1F, 0.35F), 1);
    EXPECT_EQ(designer.BandpassDesign(0.1F, 0.35F, same_taps.data()), 1);
    expect_band("band-pass", 0.1, 0.35);
    EXPECT_EQ(GeneralFIRFractionalDelay(out, L, WIN_HAMMING, 20.25F), 1);
    EXPECT_EQ(designer.FractionalDelay(20.25F, same_taps.data()), 1);
    expect_band("delay", 0, 0.45);
}

bool is_bare_impulse(const std::vector<float>& taps, std::size_t at)
{
    return taps[at] == 1 &&
           std::count(taps.begin(), taps.end(), 0) + 1 == static_cast<long>(taps.size());
}

TEST(Design, ThresholdsAreFloatsComparedInTheirPrecision)
{
    constexpr int L = 22;
    std::vector<float> taps(L);
    float* const out = taps.data();
    const float sliver = 1e-5F; // below 1e-5
    GeneralFIRFractionalDelay(out, L, WIN_HAMMING, 3 + 0.9e-5F);
    EXPECT_TRUE(is_bare_impulse(taps, 3));
    GeneralFIRFractionalDelay(out, L, WIN_HAMMING, sliver);
    EXPECT_TRUE(is_bare_impulse(taps, 0));
    GeneralFIRFractionalDelay(out, L, WIN_HAMMING, std::nextafter(sliver, 1.0F));
    EXPECT_FALSE(is_bare_impulse(taps, 0));
    GeneralFIRBandpass(out, L, WIN_HAMMING, sliver, 0.5F);
    EXPECT_TRUE(is_bare_impulse(taps, L / 2));
    GeneralFIRHighpass(out, L, WIN_HAMMING, std::nextafter(sliver, 1.0F));
    EXPECT_LT(taps[L / 2], 0.99F);
    GeneralFIRLowpass(out, L, WIN_HAMMING, std::nextafter(0.5F, 0.0F));
    EXPECT_LT(taps[L / 2], 0.99F);
    // From a model in NumPy's float32 over libm's cosf, sinf, atanf and fmaf.  A phase that is
    // not fused, a slope in double, or exact twiddles give other bits.
    GeneralFIRDesign(out, 11, WIN_HAMMING, 0.088F, 0.236F, 5.8F);
    EXPECT_EQ(taps[1], 0x1.38bcb4p-10F);
}

// Sanitizers and the guards see to it that nothing else is touched.
TEST(Design, AnyArgumentsAreSafe)
{
    const float any[] = {NAN,   -INFINITY, INFINITY, -1e30F, 1e30F, -3e9F, 3e9F,
                         -0.5F, 0,         0.3F,     0.5F,   0.7F,  2};
    for (const int L : {INT_MIN, -5, 0, 1, 2, 3, 8, 65})
        for (const float low : any)
            for (const float high : any)
                for (const float centre : any) {
                    Guarded taps(std::max(L, 0));
                    EXPECT_EQ(GeneralFIRDesign(taps.data(), L, WIN_BLACKMAN, low, high, centre), 1);
                    EXPECT_EQ(taps.untouched(), 0);
                    const bool empty = low > 0.6F || high < -0.1F || std::fabs(centre) > 1e9F;
                    const bool finite = std::isfinite(low + high + centre);
                    const std::vector<float> out = taps.block();
                    EXPECT_TRUE(!empty || !finite || std::count(out.begin(), out.end(), 0) == L ||
                                L < 1)
                        << L << " " << low << " " << high << " " << centre;
                }
    Guarded taps(8), again(8);
    CGeneralFIRDesigner designer;
    EXPECT_EQ(designer.GenericDesign(0, 0, 0, taps.data()), 0);
    EXPECT_EQ(GeneralFIRLowpass(taps.data(), (1 << 30) + 1, WIN_NONE, 0.2F), 0);
    EXPECT_EQ(taps.untouched(), 8);
    EXPECT_EQ(designer.Init(65, WIN_HANNING), 1);
    EXPECT_EQ(designer.Init(8, static_cast<General_WindowType>(7)), 1);
    EXPECT_NE(designer.m_window, nullptr);
    EXPECT_EQ(designer.GenericDesign(0.1F, 0.3F, 3.5F, taps.data()), 1);
    EXPECT_EQ(designer.m_spectrum[4].im, 0);
    EXPECT_EQ(GeneralFIRDesign(again.data(), 8, WIN_NONE, 0.1F, 0.3F, 3.5F), 1);
    EXPECT_EQ(again.block(), taps.block());
}

static_assert(offsetof(CGeneralFIRDesigner, m_numBins) == 12);
static_assert(offsetof(CGeneralFIRDesigner, m_timeBuf) == 16);
static_assert(offsetof(CGeneralFIRDesigner, m_window) == 48);
static_assert(offsetof(CGeneralFIRDesigner, m_fft) == 56);

} // namespace
