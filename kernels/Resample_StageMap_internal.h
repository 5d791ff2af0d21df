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

inline constexpr std::size_t kRows = 8; // that are kept together: a cache line of doubles
using Rows = const double (*)[kRows];   // column by column

// Derived at compile time: all columns of the new memory, then of outputs [0, 8), [8, 16) and so
// on.  Kernels know only where they are; values that they knew they would copy into their code.
Rows stage_rows(StageIndex stage);

inline constexpr std::size_t kMostInputs = 48; // of a block, in any stage
inline constexpr std::size_t kMostOutputs = 24;

// The map of one stage.
template <StageIndex S>
class StageMap
{
    static constexpr std::size_t L{kStages[S].insertion}, M{kStages[S].kept};

    // A block has whole rows of outputs of whole inputs, and at least 24 steps: the next one
    // waits for its memory.
    static constexpr std::size_t kUnit = std::lcm(kRows, L);
    static constexpr std::size_t kOutputs = (24 / M + kUnit - 1) / kUnit * kUnit;
    static constexpr std::size_t kInputs = kOutputs / L * M;
    static_assert(kInputs <= kMostInputs && kOutputs <= kMostOutputs && kInputs % 2 == 0);

public:
    [[gnu::always_inline]] StageMap() : rows_(stage_rows(S)) {}

    // Of a block.
    [[gnu::always_inline]] static constexpr std::size_t inputs() { return kInputs; }
    [[gnu::always_inline]] static constexpr std::size_t outputs() { return kOutputs; }

    // How many inputs the first n outputs depend on.
    [[gnu::always_inline]] static constexpr std::size_t inputs_before(std::size_t n)
    {
        return (n - 1) * M / L + 1;
    }

    [[gnu::always_inline]] Rows memory_rows() const { return rows_; }
    [[gnu::always_inline]] Rows output_rows(std::size_t group) const
    {
        return rows_ + (1 + group) * (kMemory + kInputs);
    }

private:
    Rows rows_;
};

// The same for any stage: less code, and slower.
class AnyStageMap
{
public:
    template <StageIndex S>
    [[gnu::always_inline]] explicit AnyStageMap(const StageMap<S>& map)
        : inputs_(map.inputs()),
          outputs_(map.outputs()), kept_{kStages[S].kept}, insertion_{kStages[S].insertion},
          rows_(map.memory_rows())
    {
    }

    [[gnu::always_inline]] std::size_t inputs() const { return inputs_; }
    [[gnu::always_inline]] std::size_t outputs() const { return outputs_; }
    [[gnu::always_inline]] std::size_t inputs_before(std::size_t n) const
    {
        return (n - 1) * kept_ / insertion_ + 1;
    }
    [[gnu::always_inline]] Rows memory_rows() const { return rows_; }
    [[gnu::always_inline]] Rows output_rows(std::size_t group) const
    {
        return rows_ + (1 + group) * (kMemory + inputs_);
    }

private:
    std::size_t inputs_, outputs_, kept_, insertion_;
    Rows rows_;
};

} // namespace rsmpl

#endif
