// The stages: zeros inserted up to L times the rate, four sections one after another, every M-th
// value kept.  A section with memory (p, q) takes x to w,
//
//     w = x + A p + B q,   p' = w - (C p + q),   q' = p
//
// and a stage the memory s of all four and a block of inputs x, by a matrix, to the block's outputs
// and the memory after it:
//
//     [s'; y] = sum over c of column(c) s_c + sum over i of column(8 + i) x_i
//
// Such blocks take most of a call; the filter step takes what is left of it, and all of it where
// the matrix would be wrong: with other coefficients than its own, or from a value on that is not
// finite.  The memory stays in the step's form and in double precision all through a call, so that
// either can go on where the other has stopped.
#include "kernels/Resample_Denormals_internal.h"
#include "kernels/Resample_Kernels_internal.h"
#include "kernels/Resample_StageMap_internal.h"
#include "kernels/Resample_Vector_internal.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace rsmpl::RSMPL_LEVEL
{

namespace
{

struct Arithmetic {
    using Number = double;

    [[gnu::always_inline]] static double multiply_add(double a, double b, double c)
    {
        return RSMPL_LEVEL::multiply_add(a, b, c);
    }
};

using Filter = rsmpl::Filter<Arithmetic>;

// What the stages have in common is not inlined: ten copies of it would double the code.

// What comes before and after tiles and steps.  True if floats below the normal ones are near.
[[gnu::noinline]] bool take_in(const float* in, std::size_t count, double* x, double* memory)
{
    const bool loud = std::max(std::fabs(memory[0]), std::fabs(memory[1])) >= 0x1p-64;
    const bool faint = (!loud || has_small(in, 1)) && settle(memory, *in);
    if (faint)
        widen_faint(in, count, x);
    else
        convert(in, count, x);
    return faint;
}

[[gnu::noinline]] void give_out(const double* y, std::size_t count, float* out, bool faint)
{
    if (faint)
        narrow_faint(y, count, out);
    else
        convert(y, count, out);
}

// Step T of a group: every L-th step takes an input, the others an inserted zero; every M-th
// step's value is kept.
template <int L, int M, int T>
[[gnu::always_inline]] inline void run_step(Filter& filter, double gain, const double* in,
                                            double* out)
{
    double w;
    if constexpr (T % L == 0)
        w = filter.step(in[T / L]);
    else
        w = filter.step_of_zero();
    if constexpr (T % M == 0)
        out[T / M] = gain * w;
}

template <int L, int M, int... T>
[[gnu::always_inline]] inline void run_group(Filter& filter, double gain, const double* in,
                                             double* out,
                                             std::integer_sequence<int, T...> /*steps*/)
{
    (run_step<L, M, T>(filter, gain, in, out), ...);
}

// Any number of steps of any stage.  A value is kept only when the M steps that it stands for are
// all there, which makes the count of outputs floor(len * L / M).
[[gnu::noinline]] void run_rest(const Cascade& cascade, const double* in, double* out,
                                double* memory, int len, int L, int M)
{
    Filter filter(cascade, memory);
    const double* const end = out + len * L / M;
    int until_kept = 0;
    const auto take = [&](double w) {
        if (until_kept == 0 && out != end)
            *out++ = cascade.gain * w;
        until_kept = until_kept == 0 ? M - 1 : until_kept - 1;
    };
    for (int i = 0; i < len; ++i) {
        take(filter.step(in[i]));
        for (int zero = 1; zero < L; ++zero)
            take(filter.step_of_zero());
    }
    filter.store(memory);
}

// Whole groups.  L and M have no common factor, so that the pattern of zeros and kept steps repeats
// every M inputs and L outputs.
template <int L, int M>
[[gnu::noinline]] void run_groups(const Cascade& cascade, const double* in, double* out,
                                  double* memory, int groups)
{
    Filter filter(cascade, memory);
    for (; groups > 0; --groups) {
        run_group<L, M>(filter, cascade.gain, in, out, std::make_integer_sequence<int, M * L>());
        in += M;
        out += L;
    }
    filter.store(memory);
}

// What is left of a call.
struct Rest {
    Rest(const float* from, float* to, int count) : in(from), out(to), len(count) {}

    const float* in;
    float* out;
    int len;
};

using Groups = void(const Cascade& cascade, const double* in, double* out, double* memory,
                    int groups);

// Step by step, in pieces of whole groups between which the memory settles.  Without `groups` the
// loop for all stages does.
[[gnu::noinline]] void run_steps(const CoefficientTable& table, const StageDesign& stage,
                                 Groups* run_groups, Rest rest, double* memory)
{
    constexpr int kSteps = 240;
    const int L = stage.insertion, M = stage.kept;
    const Cascade cascade = rsmpl::widen(table, L);
    while (rest.len > 0) {
        double x[kSteps], y[kSteps];
        const int inputs = std::min(rest.len, kSteps / L), outputs = inputs * L / M;
        const int groups = run_groups != nullptr ? inputs / M : 0;
        const int taken = groups * M, made = groups * L;
        const bool faint = take_in(rest.in, static_cast<std::size_t>(inputs), x, memory);
        if (groups > 0)
            run_groups(cascade, x, y, memory, groups);
        if (inputs > taken)
            run_rest(cascade, x + taken, y + made, memory, inputs - taken, L, M);
        give_out(y, static_cast<std::size_t>(outputs), rest.out, faint);
        rest.in += inputs;
        rest.out += outputs;
        rest.len -= inputs;
    }
}

// Some blocks on their way through a stage's map, all at once: eight rows of a column make ten sums
// with five of them (AVX2), enough to keep two multipliers with a latency of four cycles busy, or
// sixteen with four (NEON), so that in-order processors have much to multiply for what they load.
// The three passes are calls of their own: inlined into one another they would keep more values
// than there are registers.
template <std::size_t Blocks>
class Tile
{
public:
    // False, and nothing done, if the blocks don't leave a finite memory behind: in a matrix, an
    // infinity or a NaN would reach outputs before its own position.
    template <typename Map>
    [[gnu::always_inline]] bool run(const Map& map, const float* in, float* out, double* memory)
    {
        const bool faint = take_in(in, Blocks * map.inputs(), x_, memory);
        std::copy_n(memory, kMemory, s_[0]);
        run_inputs(map);
        run_memory(map);
        if (!all_finite(s_[Blocks]))
            return false;
        run_outputs(map, faint ? nullptr : out);
        if (faint)
            narrow_faint(y_, Blocks * map.outputs(), out);
        std::copy_n(s_[Blocks], kMemory, memory);
        return true;
    }

private:
    static constexpr std::size_t kParts = kRows / kDoubles;

    // Eight rows for each block.
    using Sums = Doubles[Blocks][kParts];

    // Adds column c times factors[b * stride + c] for c in [from, to), to the rows from part
    // `First` on.
    template <std::size_t First>
    [[gnu::always_inline]] static void add_columns(Sums& sums, Rows columns, const double* factors,
                                                   std::size_t stride, std::size_t from,
                                                   std::size_t to)
    {
        std::size_t c = from;
#pragma GCC unroll kUnroll
        for (; c + kFactors <= to; c += kFactors)
            add_columns<First>(sums, columns + c, factors + c, stride,
                               std::make_index_sequence<kFactors>());
        if (c < to)
            add_columns<First>(sums, columns + c, factors + c, stride,
                               std::make_index_sequence<1>());
    }

    // As many columns as one load brings factors for, or fewer: blocks are of even length.
    template <std::size_t First, std::size_t... Lane>
    [[gnu::always_inline]] static void add_columns(Sums& sums, Rows columns, const double* factors,
                                                   std::size_t stride,
                                                   std::index_sequence<Lane...> /*all*/)
    {
        Factors factor[Blocks];
        for (std::size_t b = 0; b < Blocks; ++b)
            factor[b] = load_factors(factors + b * stride);
        (add_column<First, Lane>(sums, columns[Lane], factor), ...);
    }

    template <std::size_t First, std::size_t Lane>
    [[gnu::always_inline]] static void add_column(Sums& sums, const double* column,
                                                  const Factors (&factor)[Blocks])
    {
        for (std::size_t part = First; part < kParts; ++part) {
            const auto rows = load<Doubles>(column + part * kDoubles);
            for (std::size_t b = 0; b < Blocks; ++b)
                sums[b][part] = multiply_add<Lane>(rows, factor[b], sums[b][part]);
        }
    }

    // Sets s_[b + 1] to what the inputs of block b leave in the memory.
    template <typename Map>
    [[gnu::noinline]] void run_inputs(const Map& map)
    {
        Sums sums = {};
        add_columns<0>(sums, map.memory_rows() + kMemory, x_, map.inputs(), 0, map.inputs());
        for (std::size_t b = 0; b < Blocks; ++b)
            for (std::size_t part = 0; part < kParts; ++part)
                store(s_[b + 1] + part * kDoubles, sums[b][part]);
    }

    // Completes the memories after s_[0].  A processor that looks ahead multiplies what they leave
    // in the outputs, for y_, while the next one waits for its chains.
    template <typename Map>
    [[gnu::noinline]] void run_memory(const Map& map)
    {
        for (std::size_t b = 0; b < Blocks; ++b) {
            advance(map.memory_rows(), s_[b], s_[b + 1]);
            if constexpr (kLooksAhead) {
                for (std::size_t group = 0; group < map.outputs() / kRows; ++group)
                    leave(map.output_rows(group), s_[b], y_ + b * map.outputs() + group * kRows);
            }
        }
    }

    // Adds to `after` what the memory before a block leaves of itself: in two chains, since the
    // next block waits for it.  No section knows a later one, so that each part of the rows leaves
    // out the columns beyond its own.
    [[gnu::always_inline]] static void advance(Rows columns, const double* before, double* after)
    {
        Doubles even[kParts], odd[kParts] = {};
        for (std::size_t part = 0; part < kParts; ++part)
            even[part] = load<Doubles>(after + part * kDoubles);
        for (std::size_t c = 0; c < kMemory; c += 2) {
            const Doubles factor = broadcast(before[c]), next = broadcast(before[c + 1]);
            for (std::size_t part = c / kDoubles; part < kParts; ++part) {
                const double* const rows = columns[c] + part * kDoubles;
                even[part] = multiply_add(load<Doubles>(rows), factor, even[part]);
                odd[part] = multiply_add(load<Doubles>(rows + kRows), next, odd[part]);
            }
        }
        for (std::size_t part = 0; part < kParts; ++part)
            store(after + part * kDoubles, even[part] + odd[part]);
    }

    // Sets y[0 .. 8) to what the memory before a block leaves in eight outputs.
    [[gnu::always_inline]] static void leave(Rows columns, const double* before, double* y)
    {
        Doubles sums[kParts] = {};
        for (std::size_t c = 0; c < kMemory; ++c) {
            const Doubles factor = broadcast(before[c]);
            for (std::size_t part = 0; part < kParts; ++part)
                sums[part] =
                    multiply_add(load<Doubles>(columns[c] + part * kDoubles), factor, sums[part]);
        }
        for (std::size_t part = 0; part < kParts; ++part)
            store(y + part * kDoubles, sums[part]);
    }

    [[gnu::always_inline]] static bool all_finite(const double (&memory)[kMemory])
    {
        Doubles zeros = {}; // or NaNs
        for (std::size_t c = 0; c < kMemory; c += kDoubles)
            zeros += load<Doubles>(memory + c) * 0.0;
        double sum = 0;
        for (std::size_t lane = 0; lane < kDoubles; ++lane)
            sum += zeros[lane];
        return sum == 0;
    }

    // Adds the inputs' share to the outputs.  With a stage's own map the bounds are
    // known to the compiler, group by group: more code, a sixth less time.
    template <StageIndex S>
    [[gnu::noinline]] void run_outputs(const StageMap<S>& map, float* out)
    {
        run_groups(map, out, std::make_index_sequence<StageMap<S>::outputs() / kRows>());
    }

    [[gnu::noinline]] void run_outputs(const AnyStageMap& map, float* out)
    {
        for (std::size_t group = 0; group < map.outputs() / kRows; ++group)
            run_group(map, group, out);
    }

    template <typename Map, std::size_t... Group>
    [[gnu::always_inline]] void run_groups(const Map& map, float* out,
                                           std::index_sequence<Group...> /*all*/)
    {
        (run_group(map, Group, out), ...);
    }

    template <typename Map>
    [[gnu::always_inline]] void run_group(const Map& map, std::size_t group, float* out)
    {
        // Or g++ carries inputs over from group to group, for which there are no registers.
        asm volatile("" : : : "memory");
        Sums sums = {};
        double* const y = y_ + group * kRows;
        if constexpr (kLooksAhead) {
            for (std::size_t b = 0; b < Blocks; ++b)
                for (std::size_t part = 0; part < kParts; ++part)
                    sums[b][part] = load<Doubles>(y + b * map.outputs() + part * kDoubles);
        } else {
            add_columns<0>(sums, map.output_rows(group), s_[0], kMemory, 0, kMemory);
        }
        add_inputs<0>(sums, map, group, 0);
        if (out == nullptr) {
            for (std::size_t b = 0; b < Blocks; ++b)
                for (std::size_t part = 0; part < kParts; ++part)
                    store(y + b * map.outputs() + part * kDoubles, sums[b][part]);
            return;
        }
        out += group * kRows;
        for (std::size_t b = 0; b < Blocks; ++b)
            for (std::size_t part = 0; part < kParts; ++part)
                store_narrow(out + b * map.outputs() + part * kDoubles, sums[b][part]);
    }

    // No output needs a later input: here too, each part of the rows leaves out the columns beyond
    // its own.
    template <std::size_t First, typename Map>
    [[gnu::always_inline]] void add_inputs(Sums& sums, const Map& map, std::size_t group,
                                           std::size_t from)
    {
        const std::size_t to = map.inputs_before(group * kRows + (First + 1) * kDoubles);
        add_columns<First>(sums, map.output_rows(group) + kMemory, x_, map.inputs(), from, to);
        if constexpr (First + 1 < kParts)
            add_inputs<First + 1>(sums, map, group, to);
    }

    double x_[Blocks * kMostInputs];  // inputs, block after block
    double s_[Blocks + 1][kMemory];   // the memory before each block, and after the last
    double y_[Blocks * kMostOutputs]; // outputs
};

constexpr std::size_t kTile = kSums * std::size_t{kDoubles} / kRows;

// As many tiles as there are, or until one is not finite.
template <std::size_t Blocks, typename Map>
[[gnu::noinline]] void run_tiles(const Map& map, Rest& rest, double* memory)
{
    Tile<Blocks> tile;
    const int inputs = static_cast<int>(Blocks * map.inputs());
    while (rest.len >= inputs && tile.run(map, rest.in, rest.out, memory)) {
        rest.in += inputs;
        rest.out += Blocks * map.outputs();
        rest.len -= inputs;
    }
}

// The exported table is all zero until it is initialised.
[[maybe_unused, gnu::noinline]] bool is_same(const CoefficientTable& table,
                                             const CoefficientTable& design)
{
    for (int i = 0; i < kTableSize; ++i)
        if (table[i] != design[i])
            return false;
    return true;
}

template <StageIndex S>
[[gnu::always_inline]] inline void run_blocks(Rest& rest, double* memory)
{
    const StageMap<S> map;
    run_tiles<kTile>(map, rest, memory);
    run_tiles<1>(AnyStageMap(map), rest, memory);
}

template <StageIndex S, bool ByBlocks>
void run_stage(const CoefficientTable& table, const float* in, float* out, float* memory, int len)
{
    constexpr const StageDesign& kStage = kStages[S];
    Rest rest(in, out, len);
    Groups* groups = nullptr;
    double s[kMemory];
    widen_faint(memory, kMemory, s);
    if constexpr (ByBlocks) {
        if (is_same(table, kStage.coefficients))
            run_blocks<S>(rest, s);
    }
    if constexpr (kFuses)
        groups = run_groups<kStage.insertion, kStage.kept>;
    run_steps(table, kStage, groups, rest, s);
    narrow_faint(s, kMemory, memory);
}

template <bool ByBlocks, std::size_t... S>
constexpr IirKernels all_stages(std::index_sequence<S...> /*all*/)
{
    return {{run_stage<StageIndex{S}, ByBlocks>...}};
}

using All = std::make_index_sequence<kStageCount>;

} // namespace

extern const IirKernels iir, iir_by_steps;
const IirKernels iir = all_stages<kFuses>(All()); // unfused, blocks gain half as much, for 14 KiB
const IirKernels iir_by_steps = all_stages<false>(All());

} // namespace rsmpl::RSMPL_LEVEL
