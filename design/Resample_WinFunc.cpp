#include "design/Resample_WinFunc.h"

#include <cmath>

namespace
{

constexpr float kTwoPi = 6.2831854820251465F;
constexpr float kFourPi = 12.566370964050293F;

// cos(n step), the angle in single precision.  n = 0 is apart: for N = 1 the step is infinite.
double cosine(int n, float step)
{
    return n == 0 ? 1.0 : std::cos(static_cast<float>(n) * step);
}

} // namespace

void WinBlackman(float* w, int N)
{
    if (N < 1)
        return;
    const float per_step = 1.0F / static_cast<float>(N - 1);
    const float step = per_step * kTwoPi;
    const float double_step = per_step * kFourPi;
    for (int n = 0; n < N; ++n) {
        const double rest = std::fma(cosine(n, double_step), 0.08, 0.42);
        w[n] = static_cast<float>(std::fma(-cosine(n, step), 0.5, rest));
    }
}

void WinHamming(float* w, int N)
{
    if (N < 1)
        return;
    const float step = kTwoPi / static_cast<float>(N - 1);
    for (int n = 0; n < N; ++n)
        w[n] = static_cast<float>(std::fma(-cosine(n, step), 0.46, 0.54));
}

void WinHanning(float* w, int N)
{
    if (N < 1)
        return;
    const float step = kTwoPi / static_cast<float>(N - 1);
    for (int n = 0; n < N; ++n)
        w[n] = static_cast<float>((1.0 - cosine(n, step)) * 0.5);
}
