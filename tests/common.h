// What tests share: the ten stages to walk with an independent model of what they compute,
// noise, comparison to the bit, guarded blocks.
#ifndef RSMPL_TESTS_COMMON_H
#define RSMPL_TESTS_COMMON_H

#include "design/Resample_FIRFilterDesign.h"
#include "iir/Resample_IIRFilterDesign.h"
#include "spectral/Resample_Complex.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <random>
#include <utility>
#include <vector>

using Floats = std::vector<float>;
using Shorts = std::vector<short>;

struct Stage {
    float* (*init)(float* ctx);
    void (*run)(const float* in, float* out, float* ctx, int len);
    int insertion, kept; // L, M
    const float* table;
    double checksum;                // of the table's published values: sum of (i + 1) * value
    int minimum, multiple, longest; // the length rule of the dispatch

    int outputs(int len) const { return len * insertion / kept; }
};

constexpr double k2 = 32.92236289381981, k3 = -3.2448522187769413, k4 = -23.098156666615978,
                 k6 = -42.64713471173309;

// Decimators, then interpolators, each in the order of the ratio codes 0 to 4.
constexpr Stage kStages[] = {
    {InitDownsample2_3, Downsample2_3, 2, 3, s_FiltCoeffs_3_2, k3, 18, 6, INT_MAX},
    {InitDownsample1_2, Downsample1_2, 1, 2, s_FiltCoeffs_2_1, k2, 8, 4, INT_MAX},
    {InitDownsample1_3, Downsample1_3, 1, 3, s_FiltCoeffs_3_1, k3, 18, 6, INT_MAX},
    {InitDownsample1_4, Downsample1_4, 1, 4, s_FiltCoeffs_4_1, k4, 16, 4, INT_MAX},
    {InitDownsample1_6, Downsample1_6, 1, 6, s_FiltCoeffs_6_1, k6, 36, 6, INT_MAX},
    {InitUpsample3_2, Upsample3_2, 3, 2, s_FiltCoeffs_3_2, k3, 6, 1, 640},
    {InitUpsample2_1, Upsample2_1, 2, 1, s_FiltCoeffs_2_1, k2, 4, 1, 480},
    {InitUpsample3_1, Upsample3_1, 3, 1, s_FiltCoeffs_3_1, k3, 6, 1, 320},
    {InitUpsample4_1, Upsample4_1, 4, 1, s_FiltCoeffs_4_1, k4, 4, 1, 240},
    {InitUpsample6_1, Upsample6_1, 6, 1, s_FiltCoeffs_6_1, k6, 6, 1, 160},
};

// A stage's filter as its sections are defined, in double precision throughout, its gain left out.
struct Model {
    double step(double w)
    {
        for (int k = 0; k < 4; ++k) {
            const double A = table[1 + 3 * k], B = table[2 + 3 * k], C = table[3 + 3 * k];
            double &p = memory[2 * k], &q = memory[2 * k + 1];
            w += A * p + B * q;
            q = std::exchange(p, w - (C * p + q));
        }
        return w;
    }

    const float* table;
    double memory[8] = {};
};

// The taps of a general resampler, from the designer.
inline Floats resampler_taps(unsigned long up, unsigned long down, unsigned long count,
                             unsigned long rate, float low, float high)
{
    const float per_hertz = 1.0F / static_cast<float>(rate), edge = high * per_hertz;
    const float cap = 0.45F / static_cast<float>(std::max(up, down));
    Floats taps(count);
    GeneralFIRBandpass(taps.data(), static_cast<int>(count), WIN_HAMMING, low * per_hertz,
                       edge < cap ? edge : cap);
    for (float& tap : taps)
        tap *= static_cast<float>(up);
    return taps;
}

inline Floats noise(int len, unsigned seed = 1)
{
    std::mt19937 generator(seed);
    std::uniform_real_distribution<float> sample(-8000, 8000);
    Floats values(static_cast<std::size_t>(len));
    std::generate(values.begin(), values.end(), [&] { return sample(generator); });
    return values;
}

// Equal to the bit, except that all NaNs are alike.
inline bool same(float a, float b)
{
    return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b));
}

inline bool operator==(DCOMPLEX a, DCOMPLEX b)
{
    return same(a.re, b.re) && same(a.im, b.im);
}

// A block between guard values that no test's samples reach.
struct Guarded {
    static constexpr float kMark = 54321;
    static constexpr int kGuards = 16;

    explicit Guarded(int len) : all(static_cast<std::size_t>(len + 2 * kGuards), kMark) {}
    float* data() { return all.data() + kGuards; }
    Floats block() const { return {all.begin() + kGuards, all.end() - kGuards}; }
    auto untouched() const { return std::count(all.begin(), all.end(), kMark) - 2 * kGuards; }

    Floats all;
};

#endif
