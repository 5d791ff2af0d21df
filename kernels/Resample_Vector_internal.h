/* Resample_Vector_internal.h - one name for what the vector units of all levels can do.
 *
 * For kernel sources only, which are compiled once per level: everything is always inlined. */
#ifndef RSMPL_RESAMPLE_VECTOR_INTERNAL_H
#define RSMPL_RESAMPLE_VECTOR_INTERNAL_H

#include <cstring>

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
using Floats [[gnu::vector_size(RSMPL_VECTOR_BYTES)]] = float;
using Shorts [[gnu::vector_size(RSMPL_VECTOR_BYTES)]] = short;

inline constexpr int kFloats = RSMPL_VECTOR_BYTES / sizeof(float);
inline constexpr int kShorts = RSMPL_VECTOR_BYTES / sizeof(short);

// Memory of any alignment.
template <typename Vector, typename T>
[[gnu::always_inline]] inline Vector load(const T* from)
{
    Vector v;
    std::memcpy(&v, from, sizeof v);
    return v;
}

template <typename Vector, typename T>
[[gnu::always_inline]] inline void store(T* to, Vector v)
{
    std::memcpy(to, &v, sizeof v);
}

// Lanes of a, then of b, truncated toward zero; at most 32767, at least -32768; NaN is 32767.
// The upper bound comes before the conversion and the lower one after it: what is too low for
// an int converts to the lowest one.
[[gnu::always_inline]] inline Shorts to_shorts(Floats a, Floats b)
{
    constexpr float kMost = 32767.0F;
#if defined(__aarch64__)
    const float32x4_t most = vdupq_n_f32(kMost);
    const int16x4_t low = vqmovn_s32(vcvtq_s32_f32(vminnmq_f32(a, most)));
    return vqmovn_high_s32(low, vcvtq_s32_f32(vminnmq_f32(b, most)));
#elif defined(__AVX2__)
    const __m256 most = _mm256_set1_ps(kMost); // the second operand: the result for NaN
    const __m256i low = _mm256_cvttps_epi32(_mm256_min_ps(a, most));
    const __m256i high = _mm256_cvttps_epi32(_mm256_min_ps(b, most));
    const __m256i halves_mixed = _mm256_packs_epi32(low, high);
    return reinterpret_cast<Shorts>(_mm256_permute4x64_epi64(halves_mixed, 0b11'01'10'00));
#else
    const __m128 most = _mm_set1_ps(kMost); // the second operand: the result for NaN
    return reinterpret_cast<Shorts>(_mm_packs_epi32(_mm_cvttps_epi32(_mm_min_ps(a, most)),
                                                    _mm_cvttps_epi32(_mm_min_ps(b, most))));
#endif
}

} // namespace rsmpl::RSMPL_LEVEL

#endif
