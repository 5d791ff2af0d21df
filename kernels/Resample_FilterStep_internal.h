/* Resample_FilterStep_internal.h - the one definition of the filter step.
 *
 * Of this come the loop that runs it step by step and the map that takes a whole block at once.
 * Arithmetic::Number is what they compute in, Arithmetic::multiply_add(a, b, c) is a b + c.  In a
 * kernel source it is a type of that source alone, so that these templates are too. */
#ifndef RSMPL_RESAMPLE_FILTERSTEP_INTERNAL_H
#define RSMPL_RESAMPLE_FILTERSTEP_INTERNAL_H

#include "kernels/Resample_Designs_internal.h"

#include <cstddef>

namespace rsmpl
{

inline constexpr std::size_t kMemory =
    2 * std::size_t{kSections}; // (p, q) per section, p the newer

// Coefficients of one second-order section,
//     (1 + C/z + 1/z^2) / (1 - (A - C)/z - (B - 1)/z^2).
// A and C come from single precision, so that A - C is exact here.
struct Section {
    double a;
    double b;
    double a_minus_c;
};

// Of a stage, in double precision.
struct Cascade {
    double gain;
    Section section[kSections];
};

[[gnu::always_inline]] constexpr Cascade widen(const CoefficientTable& table, int insertion)
{
    Cascade cascade{};
    cascade.gain = static_cast<float>(insertion) * table[0];
    for (int k = 0; k < kSections; ++k) {
        const double a = table[1 + 3 * k];
        const double b = table[2 + 3 * k];
        const double c = table[3 + 3 * k];
        cascade.section[k] = {a, b, a - c};
    }
    return cascade;
}

// Per section with input x, output w and memory (p, q):
//
//     h = x + B q,   w = h + A p,   p' = w - (C p + q) = h - q + (A - C) p,   q' = p
//
// The last form of p' leaves one multiply-add between p and p'; all else of a step is off the
// recursion and overlaps with its neighbours.
template <typename Arithmetic>
class SectionFilter
{
public:
    using Number = typename Arithmetic::Number;

    [[gnu::always_inline]] constexpr SectionFilter(const Section& section, const double* memory)
        : a_(section.a), b_(section.b), a_minus_c_(section.a_minus_c), p_(memory[0]), q_(memory[1])
    {
    }

    [[gnu::always_inline]] constexpr Number step(Number x)
    {
        return advance(Arithmetic::multiply_add(b_, q_, x));
    }

    [[gnu::always_inline]] constexpr Number step_of_zero() { return advance(b_ * q_); }

    [[gnu::always_inline]] constexpr void store(double* memory) const
    {
        memory[0] = static_cast<double>(p_);
        memory[1] = static_cast<double>(q_);
    }

private:
    [[gnu::always_inline]] constexpr Number advance(Number h)
    {
        const Number w = Arithmetic::multiply_add(a_, p_, h);
        const Number next = Arithmetic::multiply_add(a_minus_c_, p_, h - q_);
        q_ = p_;
        p_ = next;
        return w;
    }

    double a_, b_, a_minus_c_;
    Number p_, q_;
};

// Four sections in a row.
template <typename Arithmetic>
class Filter
{
public:
    using Number = typename Arithmetic::Number;

    [[gnu::always_inline]] constexpr Filter(const Cascade& cascade, const double* memory)
        : first_(cascade.section[0], memory), second_(cascade.section[1], memory + 2),
          third_(cascade.section[2], memory + 4), fourth_(cascade.section[3], memory + 6)
    {
    }

    [[gnu::always_inline]] constexpr Number step(Number x) { return rest(first_.step(x)); }

    [[gnu::always_inline]] constexpr Number step_of_zero() { return rest(first_.step_of_zero()); }

    [[gnu::always_inline]] constexpr void store(double* memory) const
    {
        first_.store(memory);
        second_.store(memory + 2);
        third_.store(memory + 4);
        fourth_.store(memory + 6);
    }

private:
    [[gnu::always_inline]] constexpr Number rest(Number w)
    {
        return fourth_.step(third_.step(second_.step(w)));
    }

    SectionFilter<Arithmetic> first_, second_, third_, fourth_;
};

} // namespace rsmpl

#endif
