#include "fir/Resample_FIRFiltering.h"

#include "kernels/Resample_Kernels_internal.h"

#include <algorithm>
#include <new>

namespace
{

// The last `size` values of a stream in a circle; the next one overwrites the oldest.
class DelayLine
{
public:
    DelayLine(float* values, std::uint64_t size, std::uint64_t index)
        : values_(values), size_(size), index_(index), newest_(index)
    {
    }

    void push(float value)
    {
        newest_ = index_;
        values_[newest_] = value;
        index_ = newest_ + 1 == size_ ? 0 : newest_ + 1;
    }

    // taps[0] * newest + taps[1] * the one before ..., at most `size` of them.  Two runs, back
    // to the start of the memory and on from its end, spare a modulo per tap.
    float convolve(const float* taps, std::uint64_t length) const
    {
        const auto run = rsmpl::active_kernels().fir.convolve;
        const std::uint64_t to_start = std::min(newest_ + 1, length);
        const float sum = run(taps, values_ + newest_, to_start, 0.0F);
        return run(taps + to_start, values_ + size_ - 1, length - to_start, sum);
    }

    // Where the next value goes.
    std::uint64_t index() const { return index_; }

private:
    float* values_;
    std::uint64_t size_, index_, newest_;
};

// Zeroed, or null when memory is short.
float* allocate(std::uint64_t count)
{
    constexpr std::uint64_t kLargestCount = (std::uint64_t{1} << 61U) - 2;
    if (count > kLargestCount)
        throw std::bad_array_new_length();
    return new (std::nothrow) float[count]();
}

// Stores the record before there are arrays, so that it can be released whatever becomes of
// them.
template <typename State>
bool create(State** state, const float* taps, std::uint64_t length)
{
    auto* created = new (std::nothrow) State();
    *state = created;
    if (created == nullptr)
        return false;
    created->taps = allocate(length);
    created->delay = allocate(length);
    if (created->taps == nullptr || created->delay == nullptr)
        return false;
    std::copy_n(taps, length, created->taps);
    created->length = length;
    return true;
}

template <typename State>
void release(State* state)
{
    if (state == nullptr)
        return;
    delete[] state->taps;
    delete[] state->delay;
    delete state;
}

} // namespace

int FIRInitAlloc(FIRState** state, const float* taps, uint64_t length, const float* delay)
{
    if (!create(state, taps, length))
        return 0;
    if (delay != nullptr)
        std::copy_n(delay, length, (*state)->delay);
    return 1;
}

void FIRFiltering(FIRState* state, const float* in, float* out, uint64_t n)
{
    if (state->length == 0) {
        std::fill_n(out, n, 0.0F);
        return;
    }
    DelayLine line(state->delay, state->length, state->index);
    for (std::uint64_t k = 0; k < n; ++k) {
        line.push(in[k]);
        out[k] = line.convolve(state->taps, state->length);
    }
    state->index = line.index();
}

void FIRGetDlyLine(const FIRState* state, float* delay)
{
    const float* line = state->delay;
    std::rotate_copy(line, line + state->index, line + state->length, delay);
}

void FIRFree(FIRState* state)
{
    release(state);
}

int FIRMRInitAlloc(FIRMRState** state, const float* taps, uint64_t length, uint64_t L, uint64_t M)
{
    if (!create(state, taps, length))
        return 0;
    (*state)->up = L;
    (*state)->down = M;
    return 1;
}

// The clock ticks at the high rate; n frames of L * M ticks hold M * n inputs and L * n outputs.
void FIRMRFiltering(FIRMRState* state, const float* in, float* out, uint64_t n)
{
    const std::uint64_t L = state->up;
    const std::uint64_t M = state->down;
    if (L == 0 || M == 0)
        return;
    if (state->length == 0) {
        std::fill_n(out, L * n, 0.0F);
        return;
    }
    DelayLine line(state->delay, state->length, state->index);
    std::uint64_t until_output = 0;
    for (std::uint64_t input = 0; input < M * n; ++input) {
        for (std::uint64_t tick = 0; tick < L; ++tick) {
            line.push(tick == 0 ? in[input] : 0.0F);
            if (until_output == 0) {
                *out++ = line.convolve(state->taps, state->length);
                until_output = M;
            }
            --until_output;
        }
    }
    state->index = line.index();
}

void FIRMRFree(FIRMRState* state)
{
    release(state);
}

void FIRFiltering_Direct(const float* in, float* out, int n, const float* taps, int N,
                         float* history, uint32_t* position)
{
    if (n < 1)
        return;
    if (N < 1) {
        std::fill_n(out, n, 0.0F);
        return;
    }
    const auto length = static_cast<std::uint64_t>(N);
    DelayLine line(history, 2 * length, *position % (2 * length));
    for (int k = 0; k < n; ++k) {
        line.push(in[k]);
        out[k] = line.convolve(taps, length);
    }
    *position = static_cast<std::uint32_t>(line.index());
}
