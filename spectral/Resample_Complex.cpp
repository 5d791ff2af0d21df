#include "spectral/Resample_Complex.h"

#include <cmath>

DCOMPLEX Complex(float re, float im)
{
    return {re, im};
}

DCOMPLEX Cadd(DCOMPLEX a, DCOMPLEX b)
{
    return {a.re + b.re, a.im + b.im};
}

DCOMPLEX Csub(DCOMPLEX a, DCOMPLEX b)
{
    return {a.re - b.re, a.im - b.im};
}

DCOMPLEX Cmul(DCOMPLEX a, DCOMPLEX b)
{
    return {a.re * b.re - a.im * b.im, a.im * b.re + a.re * b.im};
}

DCOMPLEX RCmul(float x, DCOMPLEX a)
{
    return {x * a.re, x * a.im};
}

DCOMPLEX Cdivr(DCOMPLEX a, float x)
{
    return {a.re / x, a.im / x};
}

// Numerator and denominator are divided by the larger part of b, so that no square leaves the
// range.
DCOMPLEX Cdiv(DCOMPLEX a, DCOMPLEX b)
{
    if (std::fabs(b.re) >= std::fabs(b.im)) {
        const float ratio = b.im / b.re;
        const float scale = 1.0F / (b.re + ratio * b.im);
        return {(a.re + ratio * a.im) * scale, (a.im - ratio * a.re) * scale};
    }
    const float ratio = b.re / b.im;
    const float scale = 1.0F / (b.im + ratio * b.re);
    return {(a.re * ratio + a.im) * scale, (a.im * ratio - a.re) * scale};
}

DCOMPLEX Cdiv2(DCOMPLEX a, DCOMPLEX b)
{
    const float scale = 1.0F / Cabs2(b);
    return {(a.re * b.re + a.im * b.im) * scale, (a.im * b.re - a.re * b.im) * scale};
}

DCOMPLEX Conjg(DCOMPLEX z)
{
    return {z.re, -z.im};
}

// |z| = L sqrt(1 + (S / L)^2), with L and S the larger and the smaller part.
float Cabs(DCOMPLEX z)
{
    const float x = std::fabs(z.re);
    const float y = std::fabs(z.im);
    if (x == 0)
        return y;
    if (y == 0)
        return x;
    const bool wide = x > y;
    const float ratio = wide ? z.im / z.re : z.re / z.im;
    const float square = ratio * ratio;
    return (wide ? x : y) * static_cast<float>(std::sqrt(static_cast<double>(square) + 1.0));
}

float Cabs2(DCOMPLEX z)
{
    return z.re * z.re + z.im * z.im;
}

// w is the root's larger part for a z turned into the right half plane,
//     w^2 = (|re| + |z|) / 2 = L (|re| / L + sqrt(1 + (S / L)^2)) / 2,
// and the other part is im / (2 w).
DCOMPLEX Csqrt(DCOMPLEX z)
{
    if (z.re == 0 && z.im == 0)
        return {0, 0};
    const float x = std::fabs(z.re);
    const float y = std::fabs(z.im);
    const bool wide = x >= y;
    const float ratio = wide ? z.im / z.re : x / y;
    const float square = ratio * ratio;
    const double sum =
        (wide ? 1.0 : static_cast<double>(ratio)) + std::sqrt(static_cast<double>(square) + 1.0);
    const double root_of_larger = std::sqrt(wide ? x : y); // of a float: single precision
    auto w = static_cast<float>(root_of_larger * std::sqrt(sum * 0.5));

    const bool left = !(z.re >= 0);
    if (left && z.im < 0)
        w = -w;
    const double twice = static_cast<double>(w) + static_cast<double>(w);
    const auto other = static_cast<float>(static_cast<double>(z.im) / twice);
    return left ? DCOMPLEX{other, w} : DCOMPLEX{w, other};
}

DCOMPLEX Cavg_vec(const DCOMPLEX* v, int n)
{
    DCOMPLEX sum = {0, 0};
    for (int i = 0; i < n; ++i)
        sum = Cadd(sum, v[i]);
    return Cdivr(sum, static_cast<float>(n));
}
