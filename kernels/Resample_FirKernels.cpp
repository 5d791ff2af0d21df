#include "kernels/Resample_Kernels_internal.h"
#include "kernels/Resample_Vector_internal.h"

#include <climits>

namespace rsmpl::RSMPL_LEVEL
{

namespace
{

static_assert(kFirOutputs % kFloats == 0 && kFirLanes % kFloats == 0);

// Sums are pinned, tap after tap, so that vectors go across outputs.  `Vectors` of them at once
// hide each other's latency and share every tap.
template <std::size_t Vectors>
[[gnu::always_inline]] inline void run_tile(float* sums, const float* taps,
                                            const std::size_t* starts, std::size_t count,
                                            const float* window)
{
    Floats sum[Vectors];
    for (std::size_t v = 0; v < Vectors; ++v)
        sum[v] = load<Floats>(sums + v * kFloats);
    for (std::size_t j = 0; j < count; ++j) {
        const Floats tap = broadcast(taps[j]);
        for (std::size_t v = 0; v < Vectors; ++v)
            sum[v] = multiply_add(tap, load<Floats>(window + starts[j] + v * kFloats), sum[v]);
    }
    for (std::size_t v = 0; v < Vectors; ++v)
        store(sums + v * kFloats, sum[v]);
}

// As many whole tiles of `Vectors` as there are, then of half as many.
template <std::size_t Vectors>
void run_tiles(float* sums, std::size_t n, const float* taps, const std::size_t* starts,
               std::size_t count, const float* window)
{
    constexpr std::size_t kOutputs = Vectors * kFloats;
    for (; n >= kOutputs; n -= kOutputs) {
        run_tile<Vectors>(sums, taps, starts, count, window);
        sums += kOutputs;
        window += kOutputs;
    }
    if constexpr (Vectors > 1)
        run_tiles<Vectors / 2>(sums, n, taps, starts, count, window);
}

void convolve(float* sums, std::size_t n, const float* taps, const std::size_t* starts,
              std::size_t count, const float* window)
{
    run_tiles<8>(sums, (n + kFloats - 1) / kFloats * kFloats, taps, starts, count, window);
}

constexpr std::size_t kParts = kFirLanes / kFloats; // vectors for eight lanes
constexpr std::size_t kTogether = 8;                // groups that hide each other's latency

// The taps of a row: one for all lanes, or one for each.
struct Shared {
    static constexpr std::size_t kStep = 1;
    static constexpr std::size_t kFirst = 0, kLast = 1; // rows that may lack taps
    [[gnu::always_inline]] static Floats load(const float* tap, std::size_t /*part*/)
    {
        return broadcast(*tap);
    }
};

struct PerLane {
    static constexpr std::size_t kStep = kFirLanes;
    static constexpr std::size_t kFirst = 1, kLast = 2;
    [[gnu::always_inline]] static Floats load(const float* tap, std::size_t part)
    {
        return RSMPL_LEVEL::load<Floats>(tap + part * kFloats);
    }
};

// Rows [from, to) of some groups, in which lanes may lack taps where it says so.
template <typename Taps, bool Lack = true>
[[gnu::noinline]] void add_rows(float* sums, std::size_t groups, const float* const* taps,
                                const std::size_t* newest, std::size_t from, std::size_t to,
                                const float* window)
{
    for (std::size_t i = from; i < to; ++i)
        for (std::size_t k = 0; k < groups * kParts; ++k) {
            const std::size_t g = k / kParts, part = k % kParts;
            const Floats tap = Taps::load(taps[g] + Taps::kStep * i, part);
            const auto sample =
                load<Floats>(window + kFirLanes * newest[g] - kFirLanes * i + part * kFloats);
            const auto sum = load<Floats>(sums + k * kFloats);
            const Floats more = multiply_add(tap, sample, sum);
            if constexpr (Lack)
                store(sums + k * kFloats, tap * 0 == 0 ? more : sum);
            else
                store(sums + k * kFloats, more);
        }
}

// The same of one group.
template <typename Taps>
[[gnu::always_inline]] inline void add_edge(float* sums, const float* tap, const float* sample,
                                            std::size_t rows)
{
    for (std::size_t part = 0; part < kParts; ++part) {
        Floats sum = load<Floats>(sums + part * kFloats);
        for (std::size_t i = 0; i < rows; ++i) {
            const Floats taps = Taps::load(tap + Taps::kStep * i, part);
            const auto samples = load<Floats>(sample - kFirLanes * i + part * kFloats);
            sum = taps * 0 == 0 ? multiply_add(taps, samples, sum) : sum;
        }
        store(sums + part * kFloats, sum);
    }
}

// Groups that meet the same rows of the window at the same times, each with another of its taps, so
// that they share the samples.  At time t this is the row t before where the last group begins,
// which is the first to; group g begins at late[g].
template <typename Taps, std::size_t Groups>
struct Together {
    Floats sum[Groups];
    const float* tap[Groups]; // at time 0, which may be before there is one
    const float* sample;
    std::size_t late[Groups], part;

    // Groups [First, End) from one time to another.
    template <std::size_t First, std::size_t End>
    [[gnu::always_inline]] void run(std::size_t from, std::size_t to)
    {
        for (std::size_t t = from; t < to; ++t) {
            const auto samples = load<Floats>(sample - kFirLanes * t);
            for (std::size_t g = First; g < End; ++g)
                sum[g] = multiply_add(Taps::load(tap[g] + Taps::kStep * t, part), samples, sum[g]);
        }
    }

    // Until all groups have begun.
    template <std::size_t First = Groups - 1>
    [[gnu::always_inline]] void begin()
    {
        if constexpr (First > 0) {
            run<First, Groups>(late[First], late[First - 1]);
            begin<First - 1>();
        }
    }

    // From where the first group of them ends.
    template <std::size_t End = Groups - 1>
    [[gnu::always_inline]] void end(std::size_t rows)
    {
        if constexpr (End > 0) {
            run<0, End>(late[End] + rows, late[End - 1] + rows);
            end<End - 1>(rows);
        }
    }
};

// Groups that have all rows between the edges in common.
template <typename Taps, std::size_t Groups>
void run_together(float* sums, const float* const* taps, const std::size_t* newest,
                  std::size_t rows, const float* window)
{
    const std::size_t inner = rows - Taps::kFirst - Taps::kLast;
    for (std::size_t g = 0; g < Groups; ++g)
        add_edge<Taps>(sums + kFirLanes * g, taps[g], window + kFirLanes * newest[g], Taps::kFirst);
    for (std::size_t part = 0; part < kParts; ++part) {
        Together<Taps, Groups> all;
        all.part = part;
        all.sample =
            window + kFirLanes * newest[Groups - 1] - kFirLanes * Taps::kFirst + part * kFloats;
        for (std::size_t g = 0; g < Groups; ++g) {
            all.late[g] = newest[Groups - 1] - newest[g];
            all.tap[g] = taps[g] + Taps::kStep * Taps::kFirst - Taps::kStep * all.late[g];
            all.sum[g] = load<Floats>(sums + kFirLanes * g + part * kFloats);
        }
        all.begin();
        all.template run<0, Groups>(all.late[0], inner);
        all.end(inner);
        for (std::size_t g = 0; g < Groups; ++g)
            store(sums + kFirLanes * g + part * kFloats, all.sum[g]);
    }
    for (std::size_t g = 0; g < Groups; ++g)
        add_edge<Taps>(sums + kFirLanes * g, taps[g] + Taps::kStep * (rows - Taps::kLast),
                       window + kFirLanes * newest[g] - kFirLanes * (rows - Taps::kLast),
                       Taps::kLast);
}

// As many groups, at most `Groups`, as go together; returns how many.
template <typename Taps, std::size_t Groups>
std::size_t run_some(float* sums, std::size_t groups, const float* const* taps,
                     const std::size_t* newest, std::size_t rows, const float* window)
{
    if (groups >= Groups && newest[Groups - 1] - newest[0] + Taps::kFirst + Taps::kLast <= rows) {
        run_together<Taps, Groups>(sums, taps, newest, rows, window);
        return Groups;
    }
    if constexpr (Groups > 1)
        return run_some<Taps, Groups / 2>(sums, groups, taps, newest, rows, window);
    add_rows<Taps>(sums, 1, taps, newest, 0, rows, window);
    return 1;
}

// Where fusing is emulated nothing else counts, and its code is long.
template <typename Taps>
void run_groups(float* sums, std::size_t groups, const float* const* taps,
                const std::size_t* newest, std::size_t rows, const float* window)
{
    if constexpr (kFuses)
        for (std::size_t g = 0; g < groups;)
            g += run_some<Taps, kTogether>(sums + kFirLanes * g, groups - g, taps + g, newest + g,
                                           rows, window);
    else
        for (std::size_t i = 0, next; i < rows; i = next) {
            const bool edge = i < Taps::kFirst || i + Taps::kLast >= rows;
            next = edge ? i + 1 : rows - Taps::kLast;
            const auto add = edge ? add_rows<Taps, true> : add_rows<Taps, false>;
            add(sums, groups, taps, newest, i, next, window);
        }
}

void turn(float* const* to, std::size_t to_step, const float* const* from, std::size_t from_step,
          std::size_t squares)
{
    for (std::size_t i = 0; i < squares * kParts * kParts; ++i) {
        const std::size_t square = i / (kParts * kParts);
        const std::size_t upper = i / kParts % kParts * kFloats, left = i % kParts * kFloats;
        Floats rows[kFloats];
        for (std::size_t k = 0; k < kFloats; ++k)
            rows[k] = load<Floats>(from[upper + k] + square * from_step + left);
        transpose(rows);
        for (std::size_t k = 0; k < kFloats; ++k)
            store(to[left + k] + square * to_step + upper, rows[k]);
    }
}

bool has_negative_zero(const float* sums, std::size_t groups)
{
    Ints found{};
    for (std::size_t i = 0; i < groups * kFirLanes; i += kFloats)
        found |= load<Ints>(sums + i) == INT_MIN;
    int any = 0;
    for (int lane = 0; lane < kFloats; ++lane)
        any |= found[lane];
    return any != 0;
}

} // namespace

extern const FirKernels fir;
const FirKernels fir = {convolve, run_groups<Shared>, run_groups<PerLane>, turn, has_negative_zero};

} // namespace rsmpl::RSMPL_LEVEL
