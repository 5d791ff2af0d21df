#include "design/Resample_WinFunc.h"

#include <cmath>
#include <gtest/gtest.h>

namespace
{

float value(void (*fill)(float* w, int N), int length, int n)
{
    float w[66];
    w[length] = 7;
    fill(w, length);
    EXPECT_EQ(w[length], 7);
    return w[n];
}

// The closed forms are held together with the filters designed by them.
TEST(Windows, RoundAsTheyShould)
{
    for (auto* fill : {WinBlackman, WinHamming, WinHanning}) {
        EXPECT_EQ(value(fill, 1, 0), fill == WinHamming ? 0.08F : 0.0F);
        fill(nullptr, -0x7FFFFFFF - 1);
    }
    // Figures from a model in exact fractions over libm's cosf.  A step from 2 pi / (N - 1) for
    // Blackman, from a reciprocal for the others, weights in single precision, a product that is
    // rounded on its own, or the mirrored value give other bits.
    EXPECT_EQ(value(WinBlackman, 15, 13), 0x1.3dc342p-6F);
    EXPECT_EQ(value(WinHamming, 32, 26), 0x1.2fcbfp-2F);
    EXPECT_EQ(value(WinHamming, 47, 37), 0x1.8b37e6p-2F);
    EXPECT_EQ(value(WinHanning, 42, 30), 0x1.1d5bdcp-1F);
}

} // namespace
