#include "kernels/Resample_Kernels_internal.h"
#include "spectral/Resample_CFFT.h"
#include "tests/bits.h"
#include "tests/stages.h"

#include <complex>
#include <gtest/gtest.h>

namespace
{

using Bins = std::vector<DCOMPLEX>;
constexpr DCOMPLEX kMark = {7, 7};

class FftTest : public testing::TestWithParam<std::tuple<int, unsigned>>
{
protected:
    FftTest() : order_(std::get<1>(GetParam())), length_(std::size_t{1} << order_)
    {
        rsmpl::force_level(std::get<0>(GetParam()));
        EXPECT_EQ(fft_.FFTInitAlloc(static_cast<int>(order_)), 1);
        for (std::size_t n = 0; n < length_; ++n)
            signal_.push_back({real_[n], real_[n + length_]});
    }
    ~FftTest() override { fft_.FFTFree(); }

    // sum of x[n] e^(-2 pi i n k / N), directly.
    DCOMPLEX bin_of(const Bins& x, std::size_t k) const
    {
        std::complex<double> sum = 0;
        for (std::size_t n = 0; n < length_; ++n) {
            const auto turn = static_cast<double>(n * k % length_) / static_cast<double>(length_);
            sum += std::complex<double>(x[n].re, x[n].im) * std::polar(1.0, -2 * M_PI * turn);
        }
        return {static_cast<float>(sum.real()), static_cast<float>(sum.imag())};
    }

    // The stages one by one, as they are defined.
    Bins plain(Bins src) const
    {
        Bins dst(length_);
        const std::size_t half = length_ / 2;
        for (std::size_t s = 1; s < length_; s *= 2, src.swap(dst))
            for (std::size_t j = 0; j < s; ++j)
                for (std::size_t k = 0; k < half; k += s) {
                    const DCOMPLEX difference = Csub(src[j + k], src[j + k + half]);
                    dst[j + 2 * k] = Cadd(src[j + k], src[j + k + half]);
                    dst[j + 2 * k + s] = Cmul(difference, fft_.pTwiddle[k]);
                }
        return src;
    }

    // Single precision leaves an error of some 1e-7 of the spectrum's size per stage.
    void expect_near(const Bins& z, const Bins& expected) const
    {
        const double tolerance = 8000 * std::sqrt(static_cast<double>(length_)) * 1e-6;
        for (std::size_t k = 0; k < expected.size(); ++k)
            EXPECT_LE(Cabs(Csub(z[k], expected[k])), tolerance) << k;
    }

    CFFT fft_;
    unsigned order_;
    std::size_t length_;
    std::vector<float> real_ = noise(2 << order_);
    Bins signal_;
};

TEST_P(FftTest, TransformsAsTheDirectSumDoes)
{
    const Bins untouched = signal_;
    Bins out(length_ + 1, kMark), sparse, expected;
    fft_.FFTFwd_CToC(signal_.data(), out.data());
    EXPECT_TRUE(fft_.pStagePair[0] == out.data() && fft_.pStagePair[1] == fft_.pScratch);
    EXPECT_TRUE(fft_.nFFTLen == length_ && fft_.nFFTOrder == order_);
    const float step = -6.2831855F / static_cast<float>(length_);
    for (std::size_t k = 0; k < length_; ++k) {
        const float angle = k == 0 ? 0 : static_cast<float>(k) * step;
        ASSERT_EQ(fft_.pTwiddle[k], Complex(std::cos(angle), std::sin(angle)));
    }
    EXPECT_EQ(signal_, untouched);
    EXPECT_EQ(out.back(), kMark);
    if (order_ == 0) {
        EXPECT_EQ(out[0], kMark);
        return;
    }
    out.pop_back();
    EXPECT_EQ(out, plain(signal_)); // to the bit
    for (std::size_t k = 0; k < length_; k += 1 + length_ / 64) {
        sparse.push_back(out[k]);
        expected.push_back(bin_of(signal_, k));
    }
    expect_near(sparse, expected);
    if (order_ % 2 == 0) {
        fft_.FFTFwd_CToC(signal_.data(), signal_.data());
        EXPECT_EQ(signal_, out) << "in place";
    }
}

TEST_P(FftTest, RealSignalsGoThereAndBack)
{
    if (order_ == 0)
        return;
    const std::size_t bins = length_ / 2 + 1;
    std::vector<float> mag(bins), phase(bins), back(length_), back_from_polar(length_);
    Bins half(bins + 1, kMark), whole(length_ + 1, kMark), polar(bins + 1, kMark);
    for (std::size_t n = 0; n < length_; ++n)
        signal_[n].im = 0;
    fft_.FFTFwd_RToC(real_.data(), half.data());
    fft_.FFTFwd_CToC(signal_.data(), whole.data());
    EXPECT_TRUE(std::equal(&half[0], &half[bins], whole.begin()) && half[bins] == kMark);

    fft_.FFTFwd_RToPolarC(real_.data(), mag.data(), phase.data());
    fft_.PolarToCartEL(mag.data(), phase.data(), polar.data());
    fft_.PolarToCart(mag.data(), phase.data(), whole.data());
    EXPECT_TRUE(polar[bins] == kMark && whole[length_] == kMark);
    expect_near(polar, Bins(half.begin(), half.end() - 1));
    Bins mirrored = whole;
    fft_.CartCToConj(mirrored.data(), mirrored.data());
    for (std::size_t k = 0; k < length_; ++k)
        EXPECT_EQ(whole[k], k < bins ? polar[k] : mirrored[length_ - k]) << k;

    half[0].im = half[bins - 1].im = 1e4F; // without effect
    fft_.FFTInv_CToR(half.data(), back.data());
    fft_.FFTInv_PolarCToR(mag.data(), phase.data(), back_from_polar.data());
    for (std::size_t n = 0; n < length_; ++n) {
        EXPECT_NEAR(back[n], real_[n], 8000 * 2e-6);
        EXPECT_NEAR(back_from_polar[n], real_[n], 8000 * 2e-6);
    }
}

INSTANTIATE_TEST_SUITE_P(LevelsAndOrders, FftTest,
                         testing::Combine(testing::Range(0, rsmpl::available_levels()),
                                          testing::Range(0U, 13U)));

TEST(Fft, PhasesAndRefusals)
{
    CFFT fft;
    const std::pair<DCOMPLEX, float> phases[] = {
        {{0, -1}, 0x1.921fb6p0F}, {{-0.0F, 0}, 0x1.921fb6p0F},    {{-1, -0.0F}, 0x1.921fb6p1F},
        {{-1, 0}, 0x1.921fb6p1F}, {{-1, -1}, -0x1.2d97c8p1F},     {{-1, 1}, 0x1.2d97c8p1F},
        {{1, 1}, 0x1.921fb6p-1F}, {{-1, -1e-20F}, -0x1.921fb6p1F}};
    for (const auto& [z, phase] : phases)
        EXPECT_FLOAT_EQ(fft.c_angle(z), phase) << z.re << " " << z.im;
    EXPECT_EQ(fft.c_abs({3, -4}), 5);
    EXPECT_TRUE(std::isinf(fft.c_abs({1e20F, 0})));
    for (const int order : {-1, 32, 1 << 30})
        EXPECT_EQ(fft.FFTInitAlloc(order), 0);
    fft.FFTFree();
    fft.FFTFree();
}

} // namespace
