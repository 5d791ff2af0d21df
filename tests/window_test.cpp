#include "design/Resample_WinFunc.h"

#include <cmath>
#include <gtest/gtest.h>

namespace
{

// w[n] = constant - first cos(x) + second cos(2 x)
struct Window {
    void (*fill)(float* w, int N);
    double constant, first, second;
    float end;
};

TEST(Windows, AreTheClosedForms)
{
    for (const Window& window :
         {Window{WinBlackman, 0.42, 0.5, 0.08, 0}, Window{WinHamming, 0.54, 0.46, 0, 0.08F},
          Window{WinHanning, 0.5, 0.5, 0, 0}}) {
        float w[66] = {};
        for (const int length : {2, 3, 4, 5, 64, 65}) {
            w[length] = 7;
            window.fill(w, length);
            EXPECT_EQ(w[length], 7);
            for (int n = 0; n < length; ++n) {
                const double x = 2 * M_PI * n / (length - 1), cosine = std::cos(x);
                const double first = window.constant - window.first * cosine;
                EXPECT_NEAR(w[n], first + window.second * std::cos(2 * x), 4e-7) << n;
            }
        }
        window.fill(w, 1);
        EXPECT_EQ(w[0], window.end);
        window.fill(nullptr, 0);
        window.fill(nullptr, -0x7FFFFFFF - 1);
    }
}

// Figures from a model in exact fractions over libm's cosf.  A step from 2 pi / (N - 1) for
// Blackman, from a reciprocal for the others, weights in single precision, or a product that is
// rounded on its own give other bits.
TEST(Windows, RoundWhereTheyShould)
{
    const auto value = [](void (*fill)(float* w, int N), int length, int n) {
        float w[64];
        fill(w, length);
        return w[n];
    };
    EXPECT_EQ(value(WinBlackman, 8, 1), 0x1.727f5p-4F);
    EXPECT_EQ(value(WinBlackman, 4, 1), 0x1.428f5ep-1F);
    EXPECT_EQ(value(WinHamming, 8, 1), 0x1.034578p-2F);
    EXPECT_EQ(value(WinHamming, 4, 3), 0x1.47ae14p-4F);
    EXPECT_EQ(value(WinHamming, 47, 37), 0x1.8b37e6p-2F);
    EXPECT_EQ(value(WinHanning, 8, 1), 0x1.818be4p-3F);
}

} // namespace
