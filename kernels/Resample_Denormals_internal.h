/* Resample_Denormals_internal.h - how the stages keep away from denormal numbers.
 *
 * For a number below the normal ones a processor may take a hundred cycles, and after a sound there
 * would be nothing else.  Where such floats are near they are converted as what they are, integers
 * times 2^-149, and the memory does not fade into such doubles.
 *
 * For kernel sources only, which are compiled once per level: nothing here has external linkage. */
#ifndef RSMPL_RESAMPLE_DENORMALS_INTERNAL_H
#define RSMPL_RESAMPLE_DENORMALS_INTERNAL_H

#include "kernels/Resample_FilterStep_internal.h"
#include "kernels/Resample_Vector_internal.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

namespace rsmpl::RSMPL_LEVEL
{

// The same bits as another type.
template <typename To, typename From>
[[gnu::always_inline]] inline To bits_of(From from)
{
    static_assert(sizeof(To) == sizeof(From));
    To to;
    std::memcpy(&to, &from, sizeof to);
    return to;
}

template <typename From, typename To>
[[gnu::noinline]] static void convert(const From* from, std::size_t count, To* to)
{
#pragma GCC unroll 4 // for processors that run in order
    for (std::size_t i = 0; i < count; ++i)
        to[i] = static_cast<To>(from[i]);
}

constexpr std::int32_t kLeastNormal = 0x00800000; // 2^-126 as a float's bits, and in those units

[[gnu::always_inline]] inline bool has_small(const float* values, std::size_t count)
{
    std::uint32_t least = UINT32_MAX; // size, doubled; 0 comes last
    for (std::size_t i = 0; i < count; ++i)
        least = std::min(least, 2 * bits_of<std::uint32_t>(values[i]) - 1);
    return least < 2 * kLeastNormal - 1;
}

[[gnu::noinline]] static void widen_faint(const float* from, std::size_t count, double* to)
{
    if (!has_small(from, count))
        return convert(from, count, to);
    for (std::size_t i = 0; i < count; ++i) {
        const auto bits = bits_of<std::int32_t>(from[i]), size = bits & INT32_MAX;
        const std::int32_t small = size & -std::int32_t{size < kLeastNormal};
        const double rest = bits_of<float>(bits ^ small); // of a small one its sign
        to[i] = rest + std::copysign(small * 0x1p-149, rest);
    }
}

[[gnu::always_inline]] inline Longs is_small(Doubles v)
{
    const auto size = reinterpret_cast<Longs>(v) & INT64_MAX;
    return reinterpret_cast<Doubles>(size) < 0x1p-126;
}

// The values of some lanes, +0 in the others.
[[gnu::always_inline]] inline Doubles of_lanes(Longs lanes, Doubles v)
{
    return reinterpret_cast<Doubles>(reinterpret_cast<Longs>(v) & lanes);
}

// Of values that are all small: sizes in units, which are the last bits of a sum, and signs.
template <int... I>
[[gnu::always_inline]] inline Ints small_floats(Doubles a, Doubles b,
                                                std::integer_sequence<int, I...> /*lanes*/)
{
    const Doubles sum_a = of_lanes(Longs{} + INT64_MAX, a) + 0x1p-97;
    const Doubles sum_b = of_lanes(Longs{} + INT64_MAX, b) + 0x1p-97;
    const Ints units = __builtin_shufflevector(reinterpret_cast<Ints>(sum_a),
                                               reinterpret_cast<Ints>(sum_b), (2 * I)...);
    const Ints upper = __builtin_shufflevector(reinterpret_cast<Ints>(a), reinterpret_cast<Ints>(b),
                                               (2 * I + 1)...);
    return units | (upper & INT32_MIN);
}

// Of values of which none is small.
template <int... I>
[[gnu::always_inline]] inline Ints normal_floats(Doubles a, Doubles b,
                                                 std::integer_sequence<int, I...> /*lanes*/)
{
    return reinterpret_cast<Ints>(__builtin_shufflevector(
        __builtin_convertvector(a, Narrow), __builtin_convertvector(b, Narrow), I...));
}

// Neighbours mostly are small together, or none is.
[[gnu::noinline]] static void narrow_faint(const double* from, std::size_t count, float* to)
{
    constexpr std::size_t kStep = kFloats;
    constexpr std::make_integer_sequence<int, kFloats> kLanes;
    for (; count >= kStep; count -= kStep, from += kStep, to += kStep) {
        const auto a = load<Doubles>(from), b = load<Doubles>(from + kDoubles);
        const Longs small_a = is_small(a), small_b = is_small(b);
        const int small = lane_bits(small_a) + lane_bits(small_b);
        if (small == 0)
            store(to, normal_floats(a, b, kLanes));
        else if (small == 2 * kAllLanes)
            store(to, small_floats(a, b, kLanes));
        else
            store(to, small_floats(of_lanes(small_a, a), of_lanes(small_b, b), kLanes) |
                          normal_floats(of_lanes(~small_a, a), of_lanes(~small_b, b), kLanes));
    }
    if (count > 0) {
        double rest[kStep] = {};
        float narrowed[kStep];
        std::memcpy(rest, from, count * sizeof *from);
        narrow_faint(rest, kStep, narrowed);
        std::memcpy(to, narrowed, count * sizeof *to);
    }
}

// Holds each section's memory at least at 2^-800, 2^-700, 2^-600 and 2^-500, by powers of two. That
// is far below every float, and what an earlier section keeps is nothing beside a later one's, all
// of which fade slower in the designs: it does not show, not even in the sign of a zero, which with
// other coefficients it may.  True if the memory, or the input after it, is so small that floats
// below the normal ones may come in or out.
[[gnu::noinline]] static bool settle(double* memory, float in)
{
    double peak = 0, least = 0x1p-800;
    for (std::size_t c = 0; c < kMemory; c += 2) {
        const double size = std::max(std::fabs(memory[c]), std::fabs(memory[c + 1]));
        if (size < least && size > 0) {
            const std::uint64_t exponent = bits_of<std::uint64_t>(size) >> 52U;
            const double lift = least * bits_of<double>((2046 - exponent) << 52U);
            memory[c] *= lift;
            memory[c + 1] *= lift;
        }
        peak = std::max(peak, size);
        least *= 0x1p100;
    }
    return peak < 0x1p-64 || has_small(&in, 1);
}

} // namespace rsmpl::RSMPL_LEVEL

#endif
