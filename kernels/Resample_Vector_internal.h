/* Resample_Vector_internal.h - one name for what the vector units of all levels can do.
 *
 * For kernel sources only, which are compiled once per level: everything is always inlined. */
#ifndef RSMPL_RESAMPLE_VECTOR_INTERNAL_H
#define RSMPL_RESAMPLE_VECTOR_INTERNAL_H

#include <cmath>
#include <cstddef>
#include <utility>

#ifdef __aarch64__
    #include <arm_neon.h>
#else
    #include <immintrin.h>
#endif

#ifdef __AVX2__
    #define RSMPL_VECTOR_BYTES 32
#else
    #define RSMPL_VECTOR_BYTES 16
#endif

namespace rsmpl::RSMPL_LEVEL
{

// A register of the level: arithmetic goes lane by lane.
using Doubles [[gnu::vector_size(RSMPL_VECTOR_BYTES)]] = double;
using Floats [[gnu::vector_size(RSMPL_VECTOR_BYTES)]] = float;
using Shorts [[gnu::vector_size(RSMPL_VECTOR_BYTES)]] = short;
using Ints [[gnu::vector_size(RSMPL_VECTOR_BYTES)]] = int;
using Longs [[gnu::vector_size(RSMPL_VECTOR_BYTES)]] = long;
using Words [[gnu::vector_size(RSMPL_VECTOR_BYTES)]] = unsigned long;

using Narrow [[gnu::vector_size(RSMPL_VECTOR_BYTES / 2)]] = float; // as many as Doubles

inline constexpr int kDoubles = RSMPL_VECTOR_BYTES / sizeof(double);
inline constexpr int kFloats = RSMPL_VECTOR_BYTES / sizeof(float);
inline constexpr int kShorts = RSMPL_VECTOR_BYTES / sizeof(short);
inline constexpr int kLongs = RSMPL_VECTOR_BYTES / sizeof(long);

// Memory of any alignment.  As builtins, which the checks of a hardened std::memcpy don't reach:
// with clang they cost a quarter of the FFT's speed.
template <typename Vector, typename T>
[[gnu::always_inline]] inline Vector load(const T* from)
{
    Vector v;
    __builtin_memcpy(&v, from, sizeof v);
    return v;
}

template <typename Vector, typename T>
[[gnu::always_inline]] inline void store(T* to, Vector v)
{
    __builtin_memcpy(to, &v, sizeof v);
}

#if defined(__FMA__) || defined(__aarch64__)
inline constexpr bool kFuses = true;
#else
inline constexpr bool kFuses = false;
#endif

// All lanes alike.  Unlike a sum with zeros the difference keeps -0.
[[gnu::always_inline]] inline Doubles broadcast(double x)
{
    return x - Doubles{};
}

[[gnu::always_inline]] inline Floats broadcast(float x)
{
    return x - Floats{};
}

// Lane by lane to floats.
[[gnu::always_inline]] inline void store_narrow(float* to, Doubles v)
{
    store(to, __builtin_convertvector(v, Narrow));
}

// Exchanges the lanes of a and b that are `Half` apart: of a square of 2 Half by 2 Half values, a
// and b being rows that are Half apart, the off-diagonal quarters.
template <int Half, int... Lane>
[[gnu::always_inline]] inline void exchange(Floats& a, Floats& b,
                                            std::integer_sequence<int, Lane...> /*lanes*/)
{
    const Floats upper =
        __builtin_shufflevector(a, b, ((Lane & Half) != 0 ? kFloats + (Lane ^ Half) : Lane)...);
    b = __builtin_shufflevector(a, b, ((Lane & Half) != 0 ? kFloats + Lane : Lane ^ Half)...);
    a = upper;
}

// rows[i][k] to rows[k][i].
template <int Half = kFloats / 2>
[[gnu::always_inline]] inline void transpose(Floats (&rows)[kFloats])
{
    for (int i = 0; i < kFloats; ++i)
        if ((i & Half) == 0)
            exchange<Half>(rows[i], rows[i + Half], std::make_integer_sequence<int, kFloats>());
    if constexpr (Half > 1)
        transpose<Half / 2>(rows);
}

// a * b + c in double precision, rounded once where the processor fuses; twice on an x86-64
// without FMA, where the emulation of one rounding would cost more than the filters.
[[gnu::always_inline]] inline double multiply_add(double a, double b, double c)
{
#if defined(__FMA__) || defined(__aarch64__)
    return std::fma(a, b, c);
#else
    return a * b + c;
#endif
}

[[gnu::always_inline]] inline Doubles multiply_add(Doubles a, Doubles b, Doubles c)
{
#if defined(__aarch64__)
    return vfmaq_f64(c, a, b);
#elif defined(__FMA__)
    return _mm256_fmadd_pd(a, b, c);
#else
    return a * b + c;
#endif
}

// A bit for each lane in which a comparison holds.
inline constexpr int kAllLanes = (1 << kLongs) - 1;

[[gnu::always_inline]] inline int lane_bits(Longs holds)
{
#if defined(__aarch64__)
    return static_cast<int>((holds[0] & 1) | (holds[1] & 2));
#elif defined(__AVX2__)
    return _mm256_movemask_pd(reinterpret_cast<__m256d>(holds));
#else
    return _mm_movemask_pd(reinterpret_cast<__m128d>(holds));
#endif
}

// Factors that each multiply all lanes, as many as one load brings: NEON multiplies by a lane of a
// register, AVX2 broadcasts as it loads.
using Factors = Doubles;

#if defined(__aarch64__)
inline constexpr std::size_t kFactors = kDoubles;
inline constexpr std::size_t kSums = 16;   // that registers hold, beside what they are made of
inline constexpr bool kLooksAhead = false; // whether to count on execution out of order
inline constexpr int kUnroll = 1;          // of loops that multiply: a compiler would load ahead
#else
inline constexpr std::size_t kFactors = 1;
inline constexpr std::size_t kSums = 10;
inline constexpr bool kLooksAhead = true;
inline constexpr int kUnroll = 4;
#endif

[[gnu::always_inline]] inline Factors load_factors(const double* from)
{
#if defined(__aarch64__)
    return load<Factors>(from);
#else
    return broadcast(*from);
#endif
}

// a * b + c, b being factor `Which`.
template <std::size_t Which>
[[gnu::always_inline]] inline Doubles multiply_add(Doubles a, Factors b, Doubles c)
{
    static_assert(Which < kFactors);
#if defined(__aarch64__)
    return vfmaq_laneq_f64(c, a, b, Which);
#else
    return multiply_add(a, b, c);
#endif
}

#if !defined(__FMA__) && !defined(__aarch64__)
// The product is exact in double, and an inexact sum is rounded to odd there: toward zero, then
// its last bit set, so that the second rounding, to float, never sees a tie that is none.
[[gnu::always_inline]] inline Narrow multiply_add(Narrow a, Narrow b, Narrow c)
{
    const auto widened = __builtin_convertvector(c, Doubles);
    const Doubles product =
        __builtin_convertvector(a, Doubles) * __builtin_convertvector(b, Doubles);
    const Doubles sum = product + widened;
    // product + c = sum + error exactly; NaN where the sum is not finite.
    const Doubles c_in_sum = sum - product;
    const Doubles error = (product - (sum - c_in_sum)) + (widened - c_in_sum);
    const Longs inexact = (error < 0) | (error > 0);
    const Longs beyond = inexact & ((error < 0) ^ (sum < 0));
    const Longs odd = (reinterpret_cast<Longs>(sum) + beyond) | (inexact & 1);
    return __builtin_convertvector(reinterpret_cast<Doubles>(odd), Narrow);
}
#endif

// a * b + c in single precision, rounded once.
[[gnu::always_inline]] inline Floats multiply_add(Floats a, Floats b, Floats c)
{
#if defined(__aarch64__)
    return vfmaq_f32(c, a, b);
#elif defined(__FMA__)
    return _mm256_fmadd_ps(a, b, c);
#else
    const Narrow low =
        multiply_add(__builtin_shufflevector(a, a, 0, 1), __builtin_shufflevector(b, b, 0, 1),
                     __builtin_shufflevector(c, c, 0, 1));
    const Narrow high =
        multiply_add(__builtin_shufflevector(a, a, 2, 3), __builtin_shufflevector(b, b, 2, 3),
                     __builtin_shufflevector(c, c, 2, 3));
    return __builtin_shufflevector(low, high, 0, 1, 2, 3);
#endif
}

// y truncated toward zero, at most 32767; NaN is 32767, and what is too low for an int the lowest.
[[gnu::always_inline]] inline Ints to_ints(Floats y)
{
    constexpr float kMost = 32767.0F;
#if defined(__aarch64__)
    return vcvtq_s32_f32(vminnmq_f32(y, vdupq_n_f32(kMost)));
#elif defined(__AVX2__) // of two operands the minimum is the second when one is NaN
    return reinterpret_cast<Ints>(_mm256_cvttps_epi32(_mm256_min_ps(y, _mm256_set1_ps(kMost))));
#else
    return reinterpret_cast<Ints>(_mm_cvttps_epi32(_mm_min_ps(y, _mm_set1_ps(kMost))));
#endif
}

// Lanes of a, then of b; at most 32767, at least -32768.
[[gnu::always_inline]] inline Shorts to_shorts(Ints a, Ints b)
{
#if defined(__aarch64__)
    return vqmovn_high_s32(vqmovn_s32(a), b);
#elif defined(__AVX2__)
    const __m256i halves_mixed =
        _mm256_packs_epi32(reinterpret_cast<__m256i>(a), reinterpret_cast<__m256i>(b));
    return reinterpret_cast<Shorts>(_mm256_permute4x64_epi64(halves_mixed, 0b11'01'10'00));
#else
    return reinterpret_cast<Shorts>(
        _mm_packs_epi32(reinterpret_cast<__m128i>(a), reinterpret_cast<__m128i>(b)));
#endif
}

} // namespace rsmpl::RSMPL_LEVEL

#endif
