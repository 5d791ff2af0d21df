#ifndef RSMPL_CLI_LEVEL_H
#define RSMPL_CLI_LEVEL_H

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

// The largest magnitude of `count` samples, and of `before`.  Eight at once: a compiler may not
// reorder a maximum of floats by itself.
inline float peak_of(const float* samples, std::size_t count, float before)
{
    std::array<float, 8> most;
    most.fill(before);
    std::size_t i = 0;
    for (; i + most.size() <= count; i += most.size())
        for (std::size_t lane = 0; lane < most.size(); ++lane)
            most[lane] = std::max(most[lane], std::fabs(samples[i + lane]));
    for (; i < count; ++i)
        most[0] = std::max(most[0], std::fabs(samples[i]));
    return *std::max_element(most.begin(), most.end());
}

// The least and the greatest of integer samples.
struct Limits {
    float lowest, highest;

    // The nearest integer, as the library rounds: halves away from zero.
    int rounded(float value) const
    {
        const float kept = std::clamp(value, lowest, highest);
        return static_cast<int>(kept + std::copysign(0.5F, kept));
    }

    // In double, because 24 bits and a half are more than a float has.
    bool clips(double value) const { return value >= highest + 0.5 || value <= lowest - 0.5; }
};

#endif
