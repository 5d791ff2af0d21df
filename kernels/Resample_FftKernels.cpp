#include "kernels/Resample_Kernels_internal.h"
#include "kernels/Resample_Vector_internal.h"

#include <utility>

namespace rsmpl::RSMPL_LEVEL
{

namespace
{

constexpr int kWide = kFloats / 2; // complex values in a register

// One factor for a vector of Count complex values, re, im, re, im ...:
//     d w = (dr wr - di wi, di wr + dr wi) = d (wr, wr) + swapped d (-wi, wi)
template <int Count>
class Twiddle
{
public:
    using Vector [[gnu::vector_size(sizeof(float) * 2 * Count)]] = float;

    [[gnu::always_inline]] explicit Twiddle(const float* w) : Twiddle(w, Lanes()) {}

    [[gnu::always_inline]] Vector operator*(Vector d) const
    {
        return d * re_ + swapped(d, Lanes()) * im_;
    }

private:
    using Lanes = std::make_integer_sequence<int, 2 * Count>;

    template <int... I>
    [[gnu::always_inline]] Twiddle(const float* w, std::integer_sequence<int, I...> /*lanes*/)
        : re_(w[0] - Vector{}), im_(w[1] * Vector{(I % 2 == 0 ? -1.0F : 1.0F)...})
    {
    }

    template <int... I>
    [[gnu::always_inline]] static Vector swapped(Vector z,
                                                 std::integer_sequence<int, I...> /*lanes*/)
    {
        return __builtin_shufflevector(z, z, (I ^ 1)...);
    }

    Vector re_, im_;
};

// The butterfly of a stage with span s, for k < n / (2 s) and j < s:
//     a = src[j + k s],  b = src[j + k s + n/2]
//     dst[j + 2 k s] = a + b,  dst[j + 2 k s + s] = (a - b) twiddle[k s]
// j runs inside: it is contiguous, and all of it shares one twiddle.
template <int Count>
[[gnu::always_inline]] inline void run_stage(const float* src, float* dst, const float* twiddle,
                                             std::size_t n, std::size_t s)
{
    using Vector = typename Twiddle<Count>::Vector;
    const std::size_t half = n / 2;
    for (std::size_t ks = 0; ks < half; ks += s) {
        const Twiddle<Count> w(twiddle + 2 * ks);
        for (std::size_t j = 0; j < s; j += Count) {
            const float* from = src + 2 * (j + ks);
            float* to = dst + 2 * (j + 2 * ks);
            const Vector a = load<Vector>(from);
            const Vector b = load<Vector>(from + 2 * half);
            store(to, a + b);
            store(to + 2 * s, w * (a - b));
        }
    }
}

// Two stages, their values between kept in registers: what stage s makes of k and of k + n/4
// is what stage 2 s combines.
template <int Count>
[[gnu::always_inline]] inline void
run_two_stages(const float* src, float* dst, const float* twiddle, std::size_t n, std::size_t s)
{
    using Vector = typename Twiddle<Count>::Vector;
    const std::size_t quarter = n / 4;
    for (std::size_t ks = 0; ks < quarter; ks += s) {
        const Twiddle<Count> w_low(twiddle + 2 * ks), w_high(twiddle + 2 * (ks + quarter)),
            w_next(twiddle + 2 * (2 * ks));
        for (std::size_t j = 0; j < s; j += Count) {
            const float* from = src + 2 * (j + ks);
            float* to = dst + 2 * (j + 4 * ks);
            const Vector a_low = load<Vector>(from);
            const Vector a_high = load<Vector>(from + 2 * quarter);
            const Vector b_low = load<Vector>(from + 4 * quarter);
            const Vector b_high = load<Vector>(from + 6 * quarter);
            const Vector sum_low = a_low + b_low, difference_low = w_low * (a_low - b_low);
            const Vector sum_high = a_high + b_high, difference_high = w_high * (a_high - b_high);
            store(to, sum_low + sum_high);
            store(to + 2 * s, difference_low + difference_high);
            store(to + 4 * s, w_next * (sum_low - sum_high));
            store(to + 6 * s, w_next * (difference_low - difference_high));
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
