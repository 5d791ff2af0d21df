#include "kernels/Resample_Kernels_internal.h"
#include "spectral/Resample_CFFT.h"
#include "tests/common.h"

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
    }
    ~FftTest() override { fft_.FFTFree(); }

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

    CFFT fft_;
    unsigned order_;
    std::size_t length_;
};

TEST_P(FftTest, TransformsToTheBitAsStageByStage)
{
    const std::vector<float> noisy = noise(2 << order_);
    Bins in(length_), out(length_ + 1, kMark);
    std::memcpy(in.data(), noisy.data(), length_ * sizeof(DCOMPLEX));
    const Bins expected = plain(in);
    fft_.FFTFwd_CToC(in.data(), out.data());
    EXPECT_TRUE(fft_.pStagePair[0] == out.data() && fft_.pStagePair[1] == fft_.pScratch);
    EXPECT_TRUE(fft_.nFFTLen == length_ && fft_.nFFTOrder == order_ && out[length_] == kMark);
    EXPECT_EQ(std::memcmp(in.data(), noisy.data(), length_ * sizeof(DCOMPLEX)), 0);
    EXPECT_EQ(Bins(&out[0], &out[length_]), order_ > 0 ? expected : Bins{kMark});
    if (order_ % 2 == 0) {
        fft_.FFTFwd_CToC(in.data(), in.data());
        EXPECT_EQ(in, expected) << "in place";
    }
    const float step = -6.2831855F / static_cast<float>(length_);
    for (std::size_t k = 0; k < length_; ++k) {
        const float angle = k > 0 ? static_cast<float>(k) * step : 0.0F;
        ASSERT_EQ(fft_.pTwiddle[k], Complex(std::cos(angle), std::sin(angle)));
    }
}

// A transform that is linear is known by what it makes of impulses.
TEST_P(FftTest, ImpulsesGoToTheirTonesAndBack)
{
    const std::size_t bins = length_ / 2 + 1;
    for (std::size_t at = 0; at < length_ && order_ > 0; at += 1 + length_ / 9) {
        std::vector<float> impulse(length_), mag(bins), phase(bins), back(length_), again(length_);
        Bins half(bins + 1, kMark), whole(length_ + 1, kMark), from_polar(bins + 1, kMark);
        impulse[at] = 2;
        fft_.FFTFwd_RToC(impulse.data(), half.data());
        fft_.FFTFwd_RToPolarC(impulse.data(), mag.data(), phase.data());
        fft_.PolarToCartEL(mag.data(), phase.data(), from_polar.data());
        fft_.PolarToCart(mag.data(), phase.data(), whole.data());
        EXPECT_TRUE(half[bins] == kMark && from_polar[bins] == kMark && whole[length_] == kMark);
        for (std::size_t k = 0; k < bins; ++k) {
            const double angle = -2 * M_PI / static_cast<double>(length_);
            const auto tone = std::polar(2.0, angle * static_cast<double>(k * at % length_));
            const DCOMPLEX mirrored = fft_.c_conj(whole[(length_ - k) % length_]);
            EXPECT_EQ(whole[k], from_polar[k]);
            for (const DCOMPLEX z : {half[k], from_polar[k], mirrored})
                EXPECT_LT(std::abs(std::complex<double>(z.re, z.im) - tone), 2e-6) << k;
        }
        half[0].im = half[bins - 1].im = 1e4F; // without effect
        fft_.FFTInv_CToR(half.data(), back.data());
        EXPECT_EQ(half[0].im, 1e4F) << "an input is written";
        fft_.FFTInv_PolarCToR(mag.data(), phase.data(), again.data());
        for (std::size_t n = 0; n < length_; ++n)
            EXPECT_LT(std::fabs(back[n] - impulse[n]) + std::fabs(again[n] - impulse[n]), 2e-6);
    }
}

INSTANTIATE_TEST_SUITE_P(LevelsAndOrders, FftTest,
                         testing::Combine(testing::Range(0, rsmpl::available_levels()),
                                          testing::Range(0U, 13U)));

TEST(Fft, PhasesAndRefusals)
{
    CFFT fft;
    const float pi = 3.1415927F;
    EXPECT_TRUE(fft.c_angle({0, -1}) == pi / 2 && fft.c_angle({-0.0F, 0}) == pi / 2);
    EXPECT_TRUE(fft.c_angle({-1, -0.0F}) == pi && fft.c_angle({-1, -1e-20F}) == -pi);
    EXPECT_TRUE(fft.c_abs({1e20F, 0}) == INFINITY && fft.c_abs({1.2F, 1.7F}) == 0x1.0a59cap+1F);
    volatile float ratio = -4.5F; // for libm, not the compiler
    EXPECT_EQ(fft.c_angle({-2, 9}), std::atan(ratio) + pi);
    EXPECT_EQ(fft.FFTInitAlloc(3), 1);
    for (const int order : {-1, 32, 1 << 30})
        EXPECT_TRUE(fft.FFTInitAlloc(order) == 0 && fft.nFFTLen == 8);
    fft.FFTFree();
}

} // namespace
