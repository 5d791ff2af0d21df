#include "kernels/Resample_Kernels_internal.h"
#include "kernels/Resample_StageMap_internal.h"
#include "kernels/Resample_Vector_internal.h"

#include <algorithm>
#include <cmath>
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

// Step T of a group: every L-th step takes an input, the others an inserted zero; every M-th
// step's value is kept.
template <int L, int M, int T>
[[gnu::always_inline]] inline void run_step(Filter& filter, double gain, const float* in,
                                            float* out)
{
    double w;
    if constexpr (T % L == 0)
        w = filter.step(in[T / L]);
    else
        w = filter.step_of_zero();
    if constexpr (T % M == 0)
        out[T / M] = static_cast<float>(gain * w);
}

template <int L, int M, int... T>
[[gnu::always_inline]] inline void run_group(Filter& filter, double gain, const float* in,
                                             float* out, std::integer_sequence<int, T...> /*steps*/)
{
    (run_step<L, M, T>(filter, gain, in, out), ...);
}

// The steps after the last whole group.  A value is kept only when the M steps that it stands
// for are all there, which makes the count of outputs floor(len * L / M).
template <int L, int M>
void run_rest(Filter& filter, double gain, const float* in, float* out, int len)
{
    const int steps = len * L;
    for (int t = 0; t < steps; ++t) {
        const double w = t % L == 0 ? filter.step(in[t / L]) : filter.step_of_zero();
        if (t % M == 0 && t + M <= steps)
            out[t / M] = static_cast<float>(gain * w);
    }
}

// Step by step.  L and M have no common factor, so that the pattern of zeros and kept steps
// repeats every M inputs and L outputs.
template <int L, int M>
void run_steps(const CoefficientTable& table, const float* in, float* out, double* memory, int len)
{
    const Cascade cascade = widen(table, L);
    Filter filter(cascade, memory);
    for (int groups = len / M; groups > 0; --groups) {
        run_group<L, M>(filter, cascade.gain, in, out, std::make_integer_sequence<int, M * L>());
        in += M;
        out += L;
    }
    run_rest<L, M>(filter, cascade.gain, in, out, len % M);
    filter.store(memory);
}

// Block by block, with the stage's map.  A tile of blocks goes at once: eight rows of a column make
// some ten sums with it, enough to keep two multipliers with a latency of four cycles busy.
constexpr std::size_t kParts = kRows / kDoubles;
constexpr std::size_t kTile = 10 / kParts;

// Eight rows for each of several blocks.
template <std::size_t Blocks>
using Sums = Doubles[Blocks][kParts];

// Adds column c times factors[b][c] for c in [from, to), to the rows from part `First` on.
template <std::size_t First, std::size_t Blocks, std::size_t Factors>
[[gnu::always_inline]] inline void add_columns(Sums<Blocks>& sums, const double (*columns)[kRows],
                                               const double (*factors)[Factors], std::size_t from,
                                               std::size_t to)
{
#pragma GCC unroll 4
    for (std::size_t c = from; c < to; ++c) {
        Doubles factor[Blocks];
        for (std::size_t b = 0; b < Blocks; ++b)
            factor[b] = broadcast(factors[b][c]);
        for (std::size_t part = First; part < kParts; ++part) {
            const auto column = load<Doubles>(columns[c] + part * kDoubles);
            for (std::size_t b = 0; b < Blocks; ++b)
                sums[b][part] = multiply_add(column, factor[b], sums[b][part]);
        }
    }
}

// The three passes over a tile are calls of their own: inlined into one another, they keep more
// than there are registers.

// Sets s[b] to what the inputs of block b leave in the memory.
template <typename Map, std::size_t Blocks>
[[gnu::noinline]] void run_inputs(const Map& map, const double (*x)[Map::kInputs],
                                  double (*s)[kMemory])
{
    Sums<Blocks> sums = {};
    add_columns<0, Blocks>(sums, map.rows[0] + kMemory, x, 0, Map::kInputs);
    for (std::size_t b = 0; b < Blocks; ++b)
        for (std::size_t part = 0; part < kParts; ++part)
            store(s[b] + part * kDoubles, sums[b][part]);
}

// Adds to `after` what the memory before a block leaves of itself: in two chains, since the next
// block waits for it.  No section knows a later one, so that each part of the rows leaves out the
// columns beyond its own.
[[gnu::always_inline]] inline void advance(const double (*columns)[kRows], const double* before,
                                           double* after)
{
    for (std::size_t part = 0; part < kParts; ++part) {
        const std::size_t row = part * kDoubles;
        Doubles even = load<Doubles>(after + row), odd = {};
        for (std::size_t c = 0; c < row + kDoubles; c += 2) {
            even = multiply_add(load<Doubles>(columns[c] + row), broadcast(before[c]), even);
            odd = multiply_add(load<Doubles>(columns[c + 1] + row), broadcast(before[c + 1]), odd);
        }
        store(after + row, even + odd);
    }
}

// Completes the memories after s[0], and sets y[b] to what s[b] leaves in the outputs.
template <typename Map, std::size_t Blocks>
[[gnu::noinline]] void run_memory(const Map& map, double (*s)[kMemory], double (*y)[Map::kOutputs])
{
    for (std::size_t b = 0; b < Blocks; ++b) {
        advance(map.rows[0], s[b], s[b + 1]);
        for (std::size_t group = 0; group < Map::kOutputs / kRows; ++group) {
            Doubles sums[kParts] = {};
            for (std::size_t c = 0; c < kMemory; ++c) {
                const Doubles factor = broadcast(s[b][c]);
                for (std::size_t part = 0; part < kParts; ++part)
                    sums[part] =
                        multiply_add(load<Doubles>(map.rows[1 + group][c] + part * kDoubles),
                                     factor, sums[part]);
            }
            for (std::size_t part = 0; part < kParts; ++part)
                store(y[b] + group * kRows + part * kDoubles, sums[part]);
        }
    }
}

// No output needs a later input: here too, each part of the rows leaves out the columns beyond
// its own.
template <typename Map, std::size_t Blocks, std::size_t Group, std::size_t First = 0>
[[gnu::always_inline]] inline void add_inputs(Sums<Blocks>& sums, const Map& map,
                                              const double (*x)[Map::kInputs], std::size_t from = 0)
{
    constexpr std::size_t kTo = Map::inputs_before(Group * kRows + (First + 1) * kDoubles);
    add_columns<First, Blocks>(sums, map.rows[1 + Group] + kMemory, x, from, kTo);
    if constexpr (First + 1 < kParts)
        add_inputs<Map, Blocks, Group, First + 1>(sums, map, x, kTo);
}

// Adds the inputs' share and delivers.
template <typename Map, std::size_t Blocks, std::size_t Group>
[[gnu::noinline]] void run_outputs(const Map& map, const double (*x)[Map::kInputs],
                                   const double (*y)[Map::kOutputs], float* out)
{
    Sums<Blocks> sums;
    for (std::size_t b = 0; b < Blocks; ++b)
        for (std::size_t part = 0; part < kParts; ++part)
            sums[b][part] = load<Doubles>(y[b] + Group * kRows + part * kDoubles);
    add_inputs<Map, Blocks, Group>(sums, map, x);
    for (std::size_t b = 0; b < Blocks; ++b)
        for (std::size_t part = 0; part < kParts; ++part)
            store_narrow(out + b * Map::kOutputs + Group * kRows + part * kDoubles, sums[b][part]);
}

template <typename Map, std::size_t Blocks, std::size_t... Group>
[[gnu::always_inline]] inline void run_groups(const Map& map, const double (*x)[Map::kInputs],
                                              const double (*y)[Map::kOutputs], float* out,
                                              std::index_sequence<Group...> /*of outputs*/)
{
    (run_outputs<Map, Blocks, Group>(map, x, y, out), ...);
}

[[gnu::always_inline]] inline bool all_finite(const double (&memory)[kMemory])
{
    Doubles zeros = {}; // or NaNs
    for (std::size_t c = 0; c < kMemory; c += kDoubles)
        zeros += load<Doubles>(memory + c) * 0.0;
    double sum = 0;
    for (std::size_t lane = 0; lane < kDoubles; ++lane)
        sum += zeros[lane];
    return sum == 0;
}

struct Stream {
    const float* in;
    float* out;
    int len;
};

// Takes the next blocks of the stream.  False, and nothing done, if they don't leave a finite
// memory behind: in a matrix, an infinity or a NaN would reach outputs before its own position.
template <typename Map, std::size_t Blocks>
[[gnu::always_inline]] inline bool run_tile(const Map& map, Stream& stream, double* memory)
{
    double x[Blocks][Map::kInputs], s[Blocks + 1][kMemory], y[Blocks][Map::kOutputs];
    std::copy_n(stream.in, Blocks * Map::kInputs, x[0]);
    std::copy_n(memory, kMemory, s[0]);
    run_inputs<Map, Blocks>(map, x, s + 1);
    run_memory<Map, Blocks>(map, s, y);
    if (!all_finite(s[Blocks]))
        return false;
    run_groups<Map, Blocks>(map, x, y, stream.out,
                            std::make_index_sequence<Map::kOutputs / kRows>());
    std::copy_n(s[Blocks], kMemory, memory);
    stream.in += Blocks * Map::kInputs;
    stream.out += Blocks * Map::kOutputs;
    stream.len -= int{Blocks * Map::kInputs};
    return true;
}

template <typename Map, std::size_t Blocks>
void run_tiles(const Map& map, Stream& stream, double* memory)
{
    constexpr int kInputs = int{Blocks * Map::kInputs};
    while (stream.len >= kInputs && run_tile<Map, Blocks>(map, stream, memory)) {
    }
}

// The map is that of the design; a table that is not yet initialised is all zero.
template <std::size_t L, std::size_t M, bool ByBlocks>
void run_stage(const CoefficientTable& table, const float* in, float* out, float* memory, int len)
{
    Stream stream = {in, out, len};
    double s[kMemory];
    std::copy_n(memory, kMemory, s);
    if (ByBlocks && std::equal(table, table + kTableSize, design<L, M>())) {
        run_tiles<StageMap<L, M>, kTile>(kStageMap<L, M>, stream, s);
        run_tiles<StageMap<L, M>, 1>(kStageMap<L, M>, stream, s);
    }
    run_steps<int{L}, int{M}>(table, stream.in, stream.out, s, stream.len);
    for (std::size_t c = 0; c < kMemory; ++c)
        memory[c] = static_cast<float>(s[c]);
}

template <bool ByBlocks>
constexpr IirKernels kStages = {
    run_stage<1, 2, ByBlocks>, run_stage<2, 3, ByBlocks>, run_stage<1, 3, ByBlocks>,
    run_stage<1, 4, ByBlocks>, run_stage<1, 6, ByBlocks>, run_stage<2, 1, ByBlocks>,
    run_stage<3, 2, ByBlocks>, run_stage<3, 1, ByBlocks>, run_stage<4, 1, ByBlocks>,
    run_stage<6, 1, ByBlocks>,
};

} // namespace

extern const IirKernels iir, iir_by_steps;
const IirKernels iir = kStages<true>;
const IirKernels iir_by_steps = kStages<false>;

} // namespace rsmpl::RSMPL_LEVEL
