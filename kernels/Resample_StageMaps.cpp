#include "kernels/Resample_StageMap_internal.h"

#include <utility>

namespace rsmpl
{

namespace
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

template <StageIndex S>
class Columns
{
    using Map = StageMap<S>;
    static constexpr std::size_t L{kStages[S].insertion}, M{kStages[S].kept};

public:
    constexpr Columns()
    {
        for (std::size_t c = 0; c < kCount; ++c)
            derive_column(c);
    }

    constexpr Rows rows() const { return rows_; }

private:
    static constexpr std::size_t kCount = kMemory + Map::inputs();

    constexpr void derive_column(std::size_t column)
    {
        const Cascade cascade = widen(kStages[S].coefficients, kStages[S].insertion);
        double memory[kMemory] = {};
        if (column < kMemory)
            memory[column] = 1;
        Filter<WideArithmetic> filter(cascade, memory);
        for (std::size_t t = 0; t < Map::inputs() * L; ++t) {
            const double x = column >= kMemory && t == (column - kMemory) * L ? 1 : 0;
            const Wide w = filter.step(x);
            const std::size_t n = t / M;
            if (t % M == 0)
                rows_[(1 + n / kRows) * kCount + column][n % kRows] =
                    static_cast<double>(cascade.gain * w);
        }
        filter.store(rows_[column]);
    }

    alignas(64) double rows_[(1 + Map::outputs() / kRows) * kCount][kRows] = {};
};

template <StageIndex S>
constexpr Columns<S> kColumns;

template <std::size_t... S>
Rows rows_of(StageIndex stage, std::index_sequence<S...> /*all*/)
{
    static constexpr Rows kRowsOf[] = {kColumns<StageIndex{S}>.rows()...};
    return kRowsOf[stage];
}

} // namespace

Rows stage_rows(StageIndex stage)
{
    return rows_of(stage, std::make_index_sequence<kStageCount>());
}

} // namespace rsmpl
