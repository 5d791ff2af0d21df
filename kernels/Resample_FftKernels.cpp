#include "kernels/Resample_Kernels_internal.h"

#include <cstring>
#include <utility>

namespace rsmpl::RSMPL_LEVEL
{

namespace
{

#ifdef __AVX2__
constexpr int kWide = 4;
#else
constexpr int kWide = 2;
#endif

// As many complex values as a vector register holds, or one.
template <int Count>
struct ComplexVector {
    using Floats [[gnu::vector_size(Count * 2 * sizeof(float))]] = float;

    Floats z; // re, im, re, im ...

    [[gnu::always_inline]] static ComplexVector load(const float* from)
    {
        ComplexVector v;
        std::memcpy(&v.z, from, sizeof v.z);
        return v;
    }

    [[gnu::always_inline]] void store(float* to) const { std::memcpy(to, &z, sizeof z); }
};

template <int Count>
[[gnu::always_inline]] inline ComplexVector<Count> operator+(ComplexVector<Count> a,
                                                             ComplexVector<Count> b)
{
    return {a.z + b.z};
}

template <int Count>
[[gnu::always_inline]] inline ComplexVector<Count> operator-(ComplexVector<Count> a,
                                                             ComplexVector<Count> b)
{
    return {a.z - b.z};
}

// One factor for all values of a vector:
//     d w = (dr wr - di wi, di wr + dr wi) = d (wr, wr) + swapped d (-wi, wi)
template <int Count>
class Twiddle
{
public:
    [[gnu::always_inline]] explicit Twiddle(const float* w) : Twiddle(w, Lanes()) {}

    [[gnu::always_inline]] ComplexVector<Count> operator*(ComplexVector<Count> d) const
    {
        return {d.z * re_ + swapped(d.z, Lanes()) * im_};
    }

private:
    using Floats = typename ComplexVector<Count>::Floats;
    using Lanes = std::make_integer_sequence<int, 2 * Count>;

    template <int... I>
    [[gnu::always_inline]] Twiddle(const float* w, std::integer_sequence<int, I...> /*lanes*/)
        : re_(w[0] - Floats{}), im_(w[1] * Floats{(I % 2 == 0 ? -1.0F : 1.0F)...})
    {
    }

    template <int... I>
    [[gnu::always_inline]] static Floats swapped(Floats z,
                                                 std::integer_sequence<int, I...> /*lanes*/)
    {
        return __builtin_shufflevector(z, z, (I ^ 1)...);
    }

    Floats re_, im_;
};

// The butterfly of a stage with span s, for k < n / (2 s) and j < s:
//     a = src[j + k s],  b = src[j + k s + n/2]
//     dst[j + 2 k s] = a + b,  dst[j + 2 k s + s] = (a - b) twiddle[k s]
// j runs inside: it is contiguous, and all of it shares one twiddle.
template <int Count>
[[gnu::always_inline]] inline void run_stage(const float* src, float* dst, const float* twiddle,
                                             std::size_t n, std::size_t s)
{
    using Vector = ComplexVector<Count>;
    const std::size_t half = n / 2;
    for (std::size_t k = 0; k < half; k += s) { // k s above
        const Twiddle<Count> w(twiddle + 2 * k);
        for (std::size_t j = 0; j < s; j += Count) {
            const float* from = src + 2 * (j + k);
            float* to = dst + 2 * (j + 2 * k);
            const Vector a = Vector::load(from);
            const Vector b = Vector::load(from + 2 * half);
            (a + b).store(to);
            (w * (a - b)).store(to + 2 * s);
        }
    }
}

// Two stages, their values between kept in registers: what stage s makes of k and of k + n/4
// is what stage 2 s combines.
template <int Count>
[[gnu::always_inline]] inline void
run_two_stages(const float* src, float* dst, const float* twiddle, std::size_t n, std::size_t s)
{
    using Vector = ComplexVector<Count>;
    const std::size_t quarter = n / 4;
    for (std::size_t k = 0; k < quarter; k += s) {
        const Twiddle<Count> w_low(twiddle + 2 * k), w_high(twiddle + 2 * (k + quarter)),
            w_next(twiddle + 2 * (2 * k));
        for (std::size_t j = 0; j < s; j += Count) {
            const float* from = src + 2 * (j + k);
            float* to = dst + 2 * (j + 4 * k);
            const Vector a_low = Vector::load(from);
            const Vector a_high = Vector::load(from + 2 * quarter);
            const Vector b_low = Vector::load(from + 4 * quarter);
            const Vector b_high = Vector::load(from + 6 * quarter);
            const Vector sum_low = a_low + b_low, difference_low = w_low * (a_low - b_low);
            const Vector sum_high = a_high + b_high, difference_high = w_high * (a_high - b_high);
            (sum_low + sum_high).store(to);
            (difference_low + difference_high).store(to + 2 * s);
            (w_next * (sum_low - sum_high)).store(to + 4 * s);
            (w_next * (difference_low - difference_high)).store(to + 6 * s);
        }
    }
}

void one_stage(const float* src, float* dst, const float* twiddle, std::size_t n, std::size_t s)
{
    if (s < kWide)
        run_stage<1>(src, dst, twiddle, n, s);
    else
        run_stage<kWide>(src, dst, twiddle, n, s);
}

void two_stages(const float* src, float* dst, const float* twiddle, std::size_t n, std::size_t s)
{
    if (s < kWide)
        run_two_stages<1>(src, dst, twiddle, n, s);
    else
        run_two_stages<kWide>(src, dst, twiddle, n, s);
}

} // namespace

extern const FftKernels fft;
const FftKernels fft = {one_stage, two_stages};

} // namespace rsmpl::RSMPL_LEVEL
