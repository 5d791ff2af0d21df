#include "spectral/Resample_Complex.h"
#include "tests/common.h"

#include <complex>
#include <gtest/gtest.h>

namespace
{

using Exact = std::complex<double>;

TEST(Complex, AgreesWithDoublePrecision)
{
    std::mt19937 generator(1);
    std::uniform_real_distribution<float> part(-100, 100);
    const auto expect_near = [](DCOMPLEX z, Exact exact, double size = 0) { // a few roundings
        EXPECT_LE(std::abs(Exact(z.re, z.im) - exact), std::max(size, std::abs(exact)) * 3e-7);
    };
    for (int i = 0; i < 1000; ++i) {
        const DCOMPLEX a = Complex(part(generator), part(generator)),
                       b = Complex(part(generator), part(generator));
        const Exact x(a.re, a.im), y(b.re, b.im);
        expect_near(Cadd(a, b), x + y, 200);
        expect_near(Csub(a, b), x - y, 200);
        expect_near(Cmul(a, b), x * y);
        expect_near(RCmul(b.re, a), x * y.real());
        expect_near(Cdiv(a, b), x / y);
        expect_near(Cdiv2(a, b), x / y);
        expect_near(Cdivr(a, b.re), x / y.real());
        expect_near(Csqrt(a), std::sqrt(x));
        expect_near(Conjg(a), std::conj(x));
        expect_near({Cabs(a), 0}, std::abs(x));
        expect_near({Cabs2(a), 0}, std::norm(x));
    }
}

// Figures from a model in NumPy's float32 and float64.  Division that is no reciprocal, a root in
// single precision, or a square that is fused gives other last bits.
TEST(Complex, RoundsWhereItShouldAndKnowsSpecialCases)
{
    EXPECT_EQ(Cdiv({1, 1}, {2, 5}), Complex(0x1.ee5844p-3F, -0x1.a7b96p-4F));
    EXPECT_EQ(Cdiv({1, 1}, {5, 2}), Complex(0x1.ee5844p-3F, 0x1.a7b96p-4F));
    EXPECT_EQ(Cdiv2({1, 2}, {4, 3}), Complex(0x1.999998p-2F, 0x1.999998p-3F));
    EXPECT_EQ(Csqrt({3.625F, 35}), Complex(0x1.19ef68p+2F, 0x1.fc7c56p+1F));
    EXPECT_EQ(Csqrt({3.5F, 2.875F}), Complex(0x1.007864p+1F, 0x1.6f5342p-1F));
    EXPECT_EQ(Csqrt({-0.0F, 3}), Complex(0x1.3988ep+0F, 0x1.3988e2p+0F));
    EXPECT_TRUE(Cabs({3.25F, -8.625F}) == 0x1.26f1bp+3F && Cabs2({1.2F, 1.7F}) == 0x1.151eb8p+2F);

    const float huge = 0x1p125F, nan = std::nanf("");
    EXPECT_FLOAT_EQ(Cabs({huge, -huge}), huge * std::sqrt(2.0F));
    EXPECT_TRUE(std::isinf(Cabs2({huge, huge})) && Cdiv({huge, 0}, {huge, 0}) == Complex(1, 0));
    EXPECT_EQ(Cdiv2({huge, huge}, {huge, huge}), Complex(nan, nan));
    EXPECT_EQ(Cdiv({1, 1}, {0, 0}), Complex(nan, nan));
    EXPECT_TRUE(Cabs({0, 0}) == 0 && Cabs({-4, 0}) == 4 && Cabs({1e-30F, -1e30F}) == 1e30F);
    EXPECT_EQ(Cdiv({1, 1}, {-1, 1}), Complex(-0.0F, -1));
    EXPECT_TRUE(Csqrt({-0.0F, -0.0F}) == Complex(0, 0) && Csqrt({-4, -0.0F}) == Complex(-0.0F, 2));
    EXPECT_EQ(Csqrt({-4, -1e-30F}), Complex(1e-30F / 4, -2));

    const DCOMPLEX v[] = {{5, 2}, {0x1p-22F, -4}, {0x1p-22F, 8}}; // the small ones are lost
    EXPECT_EQ(Cavg_vec(v, 3), Complex(5.0F / 3, 2));              // other bits by a reciprocal
    EXPECT_EQ(Cavg_vec(nullptr, 0), Complex(nan, nan));
    EXPECT_EQ(Cavg_vec(nullptr, -1), Complex(-0.0F, -0.0F));
}

} // namespace
