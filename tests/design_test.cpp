#include "design/Resample_FIRFilterDesign.h"
#include "tests/common.h"

#include <cstddef>
#include <gtest/gtest.h>
#include <numeric>

namespace
{

// The definition in double precision.  Every bin within the band, weighted by the part of it that
// is within, is a cosine whose peak is at L/2 and the fraction; these are summed, windowed, and
// shifted until the peak is at the centre.
std::vector<double> closed_form(int L, int M, int type, double low, double high, double centre)
{
    if (high >= 0.5)
        high = 1; // absent
    const double whole = std::trunc(centre), fraction = std::max(centre - whole, 0.0);
    const bool bare = low < 0 && high == 1 && fraction == 0;
    std::vector<double> taps(static_cast<std::size_t>(L));
    for (int n = 0; n < L; ++n) {
        const int at = n + static_cast<int>(whole) - L / 2;
        if (at < 0 || at >= L)
            continue;
        double sum = 0;
        for (int k = 0; k <= M / 2; ++k) {
            const double within = std::clamp(high * M - (k - 0.5), 0.0, 1.0) *
                                  std::clamp(k + 0.5 - low * M, 0.0, 1.0);
            const double mirrored = k == 0 || 2 * k == M ? 1 : 2;
            if (within > 0)
                sum += within * mirrored / M * std::cos(2 * M_PI * k * (n - L / 2 - fraction) / M);
        }
        const double x = L > 1 ? 2 * M_PI * n / (L - 1) : 0;
        const double windows[] = {1, 0.42 - 0.5 * std::cos(x) + 0.08 * std::cos(2 * x),
                                  0.54 - 0.46 * std::cos(x), 0.5 - 0.5 * std::cos(x)};
        taps[static_cast<std::size_t>(at)] = sum * windows[bare ? 0 : type];
    }
    return taps;
}

TEST(Design, IsTheWindowedBandOfTheClosedForm)
{
    for (int L = 1; L <= 200; L += L < 66 ? 1 : 31) {
        const int type = 2 * L % 7 % 4; // powers of two have their turns
        CGeneralFIRDesigner designer(L, static_cast<General_WindowType>(type));
        const int size = designer.m_fftSize;
        EXPECT_TRUE(L <= size && size < 2 * L && size == 1 << designer.m_fftOrder);
        EXPECT_EQ(designer.m_numBins, size / 2 + 1);
        EXPECT_EQ(designer.m_window == nullptr, type == WIN_NONE);
        const auto length = static_cast<float>(L), M = static_cast<float>(size);
        // Edges within a bin, on its centre, and between two; centres between and on samples,
        // before, at and beyond the middle.
        for (const float low : {-1.0F, 0.107F, 0.125F, 0.125F + 0.5F / M})
            for (const float high : {1.0F, 0.311F, 0.375F, 0.375F + 0.5F / M})
                for (const float centre : {length / 2, std::floor(length * 0.3F) + 0.3F, 0.0F,
                                           std::floor(length * 0.8F), length + 2.25F, -1.5F}) {
                    Floats taps(static_cast<std::size_t>(L));
                    EXPECT_EQ(designer.GenericDesign(low, high, centre, taps.data()), 1);
                    const auto expected = closed_form(L, size, type, low, high, centre);
                    for (std::size_t n = 0; n < expected.size(); ++n)
                        ASSERT_NEAR(taps[n], expected[n], 2e-6) << L << ", tap " << n;
                }
    }
}

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

// Sanitizers and the guards see to it that nothing else is touched.
TEST(Design, AnyArgumentsAreSafe)
{
    const float any[] = {NAN, -INFINITY, INFINITY, -1e30F, 1e30F, -3e9F, -0.5F, 0.3F, 0.7F, 2};
    for (const int L : {INT_MIN, -5, 0, 1, 2, 3, 8, 65})
        for (const float low : any)
            for (const float high : any)
                for (const float centre : any) {
                    Guarded taps(std::max(L, 0));
                    EXPECT_EQ(GeneralFIRDesign(taps.data(), L, WIN_BLACKMAN, low, high, centre), 1);
                    EXPECT_EQ(taps.untouched(), 0);
                    for (const float tap : taps.block())
                        ASSERT_TRUE(std::isfinite(tap));
                }
    const Floats none(8);
    Guarded taps(8), again(8);
    CGeneralFIRDesigner designer;
    EXPECT_EQ(designer.GenericDesign(0, 0, 0, taps.data()), 0);
    EXPECT_EQ(designer.Init(65, WIN_HANNING), 1);
    EXPECT_EQ(designer.Init((1 << 30) + 1, WIN_NONE), 0);
    EXPECT_EQ(designer.GenericDesign(0, 0, 0, taps.data()) + 8, taps.untouched());
    EXPECT_EQ(designer.Init(8, static_cast<General_WindowType>(7)), 1);
    designer.BandpassDesign(1e30F, 0.9F, taps.data()); // beyond the spectrum
    designer.BandpassDesign(-2, -0.5F, again.data());  // before it
    EXPECT_TRUE(taps.block() == none && again.block() == none);
    designer.GenericDesign(0.1F, 1, 3.5F, taps.data());
    GeneralFIRDesign(again.data(), 8, WIN_NONE, 0.1F, 1, 3.5F);
    EXPECT_TRUE(again.block() == taps.block() && designer.m_window != nullptr);
    EXPECT_EQ(designer.m_spectrum[4].im, 0);
}

static_assert(offsetof(CGeneralFIRDesigner, m_numBins) == 12 &&
              offsetof(CGeneralFIRDesigner, m_timeBuf) == 16 &&
              offsetof(CGeneralFIRDesigner, m_window) == 48);

} // namespace
