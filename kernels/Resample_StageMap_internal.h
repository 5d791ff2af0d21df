/* Resample_StageMap_internal.h - what a stage does to a whole block, as a matrix.
 *
 * A stage is linear: a block of inputs x takes the memory s to the block's outputs y and a new
 * memory s',
 *
 *     [s'; y] = sum over c of column(c) s_c + sum over i of column(8 + i) x_i
 *
 * whose columns are what the filter step, from a memory of zeros, makes of one word of memory or
 * one input that is 1. */
#ifndef RSMPL_RESAMPLE_STAGEMAP_INTERNAL_H
#define RSMPL_RESAMPLE_STAGEMAP_INTERNAL_H

#include "kernels/Resample_FilterStep_internal.h"

#include <cstddef>
#include <numeric>

namespace rsmpl
{

// The unevaluated sum of two doubles, for maps that are right to the last bit: what a column is off
// would show in many more outputs than the rounding of the sums.
struct Wide {
    double high;
    double low;

    constexpr Wide(double value, double rest = 0) : high(value + rest), low(rest - (high - value))
    {
    }
    constexpr explicit operator double() const { return high; }
};

constexpr Wide operator+(Wide a, Wide b)
{
    const double sum = a.high + b.high;
    const double b_in_sum = sum - a.high;
    const double error = (a.high - (sum - b_in_sum)) + (b.high - b_in_sum);
    return {sum, error + (a.low + b.low)};
}

constexpr Wide operator-(Wide a, Wide b)
{
    return a + Wide(-b.high, -b.low);
}

// Of halves with 26 bits all products are exact.
constexpr double upper_half(double x)
{
    const double scaled = x * 134217729.0; // 2^27 + 1
    return scaled - (scaled - x);
}

constexpr Wide operator*(double a, Wide b)
{
    const double product = a * b.high;
    const double a_high = upper_half(a), a_low = a - a_high;
    const double b_high = upper_half(b.high), b_low = b.high - b_high;
    const double error =
        ((a_high * b_high - product) + a_high * b_low + a_low * b_high) + a_low * b_low;
    return {product, error + a * b.low};
}

struct WideArithmetic {
    using Number = Wide;

    static constexpr Wide multiply_add(double a, Wide b, Wide c) { return a * b + c; }
};

inline constexpr std::size_t kRows = 8; // that are kept together: a cache line of doubles

// The stage that inserts zeros up to L times the rate and keeps every M-th step.
template <std::size_t L, std::size_t M>
class StageMap
{
public:
    // A block has whole rows of outputs of whole inputs, and at least 24 steps: the next one
    // waits for its memory.
    static constexpr std::size_t kUnit = std::lcm(kRows, L);
    static constexpr std::size_t kOutputs = (24 / M + kUnit - 1) / kUnit * kUnit;
    static constexpr std::size_t kInputs = kOutputs / L * M;
    static constexpr std::size_t kColumns = kMemory + kInputs;

    // Eight rows of a column: group 0 has the new memory, group 1 + g the outputs from 8 g on.
    alignas(64) double rows[1 + kOutputs / kRows][kColumns][kRows] = {};

    constexpr StageMap()
    {
        for (std::size_t c = 0; c < kColumns; ++c)
            derive_column(c);
    }

    // How many of the first inputs `outputs` outputs depend on.
    static constexpr std::size_t inputs_before(std::size_t outputs)
    {
        return (outputs - 1) * M / L + 1;
    }

private:
    constexpr void derive_column(std::size_t column)
    {
        const Cascade cascade = widen(design<L, M>(), L);
        double memory[kMemory] = {};
        if (column < kMemory)
            memory[column] = 1;
        Filter<WideArithmetic> filter(cascade, memory);
        for (std::size_t t = 0; t < kInputs * L; ++t) {
            const double x = column >= kMemory && t == (column - kMemory) * L ? 1 : 0;
            const Wide w = filter.step(x);
            if (t % M == 0)
                rows[1 + t / M / kRows][column][t / M % kRows] =
                    static_cast<double>(cascade.gain * w);
        }
        filter.store(rows[0][column]);
    }
};

template <std::size_t L, std::size_t M>
inline constexpr StageMap<L, M> kStageMap;

} // namespace rsmpl

#endif
