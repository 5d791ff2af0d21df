#include "kernels/Resample_Kernels_internal.h"

#include <cmath>
#include <utility>

namespace rsmpl::RSMPL_LEVEL
{

namespace
{

// a * b + c, rounded once where the processor fuses; twice on an x86-64 without FMA, where
// the emulation of one rounding would cost more than the filter.
[[gnu::always_inline]] inline double multiply_add(double a, double b, double c)
{
#if defined(__FMA__) || defined(__aarch64__)
    return std::fma(a, b, c);
#else
    return a * b + c;
#endif
}

// The filter step, per section with input x, output w and memory (p, q):
//
//     h = x + B q,   w = h + A p,   p' = w - (C p + q) = h - q + (A - C) p,   q' = p
//
// The last form of p' leaves one multiply-add between p and p'; all else of a step is off the
// recursion and overlaps with its neighbours.
class SectionFilter
{
public:
    [[gnu::always_inline]] SectionFilter(const Section& section, const float* memory)
        : a_(section.a), b_(section.b), a_minus_c_(section.a_minus_c), p_(memory[0]), q_(memory[1])
    {
    }

    [[gnu::always_inline]] double step(double x) { return advance(multiply_add(b_, q_, x)); }

    [[gnu::always_inline]] double step_of_zero() { return advance(b_ * q_); }

    [[gnu::always_inline]] void store(float* memory) const
    {
        memory[0] = static_cast<float>(p_);
        memory[1] = static_cast<float>(q_);
    }

private:
    [[gnu::always_inline]] double advance(double h)
    {
        const double w = multiply_add(a_, p_, h);
        const double next = multiply_add(a_minus_c_, p_, h - q_);
        q_ = p_;
        p_ = next;
        return w;
    }

    double a_, b_, a_minus_c_, p_, q_;
};

// Four sections in a row, in double precision from the first input of a call to its last.
class Filter
{
public:
    [[gnu::always_inline]] Filter(const Cascade& cascade, const float* memory)
        : first_(cascade.section[0], memory), second_(cascade.section[1], memory + 2),
          third_(cascade.section[2], memory + 4), fourth_(cascade.section[3], memory + 6)
    {
    }

    [[gnu::always_inline]] double step(double x) { return rest(first_.step(x)); }

    [[gnu::always_inline]] double step_of_zero() { return rest(first_.step_of_zero()); }

    [[gnu::always_inline]] void store(float* memory) const
    {
        first_.store(memory);
        second_.store(memory + 2);
        third_.store(memory + 4);
        fourth_.store(memory + 6);
    }

private:
    [[gnu::always_inline]] double rest(double w)
    {
        return fourth_.step(third_.step(second_.step(w)));
    }

    SectionFilter first_, second_, third_, fourth_;
};

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

// L and M have no common factor, so that the pattern of zeros and kept steps repeats every M
// inputs and L outputs.
template <int L, int M>
void run_stage(const Cascade& cascade, const float* in, float* out, float* memory, int len)
{
    Filter filter(cascade, memory);
    for (int groups = len / M; groups > 0; --groups) {
        run_group<L, M>(filter, cascade.gain, in, out, std::make_integer_sequence<int, M * L>());
        in += M;
        out += L;
    }
    run_rest<L, M>(filter, cascade.gain, in, out, len % M);
    filter.store(memory);
}

} // namespace

extern const IirKernels iir;
const IirKernels iir = {
    run_stage<1, 2>, run_stage<2, 3>, run_stage<1, 3>, run_stage<1, 4>, run_stage<1, 6>,
    run_stage<2, 1>, run_stage<3, 2>, run_stage<3, 1>, run_stage<4, 1>, run_stage<6, 1>,
};

} // namespace rsmpl::RSMPL_LEVEL
