#include "fir/Resample_FIRFiltering.h"

#include "fir/Resample_DelayLine_internal.h"
#include "fir/Resample_Polyphase_internal.h"
#include "kernels/Resample_Kernels_internal.h"

#include <algorithm>
#include <new>

namespace
{

using rsmpl::DelayLine;
using rsmpl::Polyphase;

// What a tile works on: bounds of its scratch on the stack, some 22 KiB.
constexpr std::uint64_t kTileOutputs = 256;
constexpr std::uint64_t kTileTaps = 128;
constexpr std::uint64_t kWindow = 2048;

// What comes after the delay line: each value of `in`, and L - 1 zeros behind it.
struct Input {
    const float* in;
    std::uint64_t L;

    void copy(std::uint64_t tick, std::uint64_t count, float* to) const
    {
        if (L == 1) {
            std::copy_n(in + tick, count, to);
            return;
        }
        std::fill_n(to, count, 0.0F);
        for (std::uint64_t t = (tick + L - 1) / L * L; t < tick + count; t += L)
            to[t - tick] = in[t / L];
    }
};

// Moves `count` values of the input, from `tick` on, to the line.
void append(DelayLine& line, const Input& input, std::uint64_t tick, std::uint64_t count)
{
    const std::uint64_t kept = std::min(count, line.size);
    tick += count - kept;
    const std::uint64_t index = (line.index + (count - kept)) % line.size;
    const std::uint64_t to_end = std::min(kept, line.size - index);
    input.copy(tick, to_end, line.values + index);
    input.copy(tick + to_end, kept - to_end, line.values);
    line.index = (index + kept) % line.size;
}

// To as many as the inner loop may touch.
std::uint64_t round_up(std::uint64_t outputs)
{
    return (outputs + rsmpl::kFirOutputs - 1) / rsmpl::kFirOutputs * rsmpl::kFirOutputs;
}

// The inner loop wants the values that a tap meets, output after output, side by side.  With one
// output for every M ticks they are M apart, so that a window is split into its M phases.
class Window
{
public:
    // For `outputs` outputs and `taps` taps: the ticks from the oldest that the first output
    // needs to the newest that the last one does.
    // cppcheck-suppress uninitMemberVar ; the rest is written before it is read
    Window(std::uint64_t outputs, std::uint64_t taps, std::uint64_t M)
        : ticks_((outputs - 1) * M + taps), taps_(taps), M_(M),
          row_(round_up(outputs) + (taps - 1) / M)
    {
    }

    // Outputs that fit.
    static std::uint64_t outputs(std::uint64_t taps, std::uint64_t M)
    {
        return std::min(kTileOutputs, (kWindow - taps) / M + 1);
    }

    // Begins `age` ticks before the end of the line, which goes on with the input at `tick`.
    void fill(const DelayLine& line, std::uint64_t age, const Input& input, std::uint64_t tick)
    {
        const std::uint64_t past = std::min(age, ticks_);
        const std::uint64_t oldest = (line.index + line.size - age) % line.size;
        const std::uint64_t to_end = std::min(past, line.size - oldest);
        std::copy_n(line.values + oldest, to_end, values_);
        std::copy_n(line.values, past - to_end, values_ + to_end);
        input.copy(tick, ticks_ - past, values_ + past);
        std::fill_n(values_ + ticks_, rsmpl::kFirOutputs - 1, 0.0F); // to read, not to use
    }

    // Adds the share of taps[0 .. taps) in each output.
    void convolve(const float* taps, float* sums, std::uint64_t outputs)
    {
        std::size_t starts[kTileTaps]; // of the values that each tap meets, newest tap first
        std::uint64_t phase = 0, k = 0;
        for (std::uint64_t j = taps_; j-- > 0;) {
            starts[j] = phase * row_ + k;
            if (++phase == M_) {
                phase = 0;
                ++k;
            }
        }
        rsmpl::active_kernels().fir.convolve(sums, outputs, taps, starts, taps_,
                                             M_ == 1 ? values_ : split());
    }

private:
    const float* split()
    {
        const std::uint64_t phases = std::min(M_, taps_);
        for (std::uint64_t phase = 0; phase < phases; ++phase) {
            float* const row = phases_ + phase * row_;
            const std::uint64_t count = (ticks_ - phase + M_ - 1) / M_;
#pragma GCC unroll 8
            for (std::uint64_t k = 0; k < count; ++k)
                row[k] = values_[phase + k * M_];
            std::fill(row + count, row + row_, 0.0F); // to read, not to use
        }
        return phases_;
    }

    std::uint64_t ticks_, taps_, M_, row_;
    float values_[kWindow + rsmpl::kFirOutputs];
    // min(M, taps) rows of round_up(outputs) + (taps - 1) / M values.  Their outputs and taps alone
    // are the window, at most; rounding up adds less than kFirOutputs to a row.
    float phases_[kWindow + kTileTaps * rsmpl::kFirOutputs];
};

// out[k], k < outputs, is the sum over the taps at tick k M; the line takes all M outputs ticks.
// Reads of the input are ahead of writes to `out`, so that it may be the same where L <= M.
void filter(DelayLine& line, const float* taps, std::uint64_t length, const Input& input,
            std::uint64_t M, float* out, std::uint64_t outputs)
{
    std::uint64_t n;
    for (std::uint64_t k = 0; k < outputs; k += n) {
        n = std::min(outputs - k, Window::outputs(std::min(length, kTileTaps), M));
        float sums[kTileOutputs];
        std::fill_n(sums, round_up(n), 0.0F);
        for (std::uint64_t j = 0; j < length; j += kTileTaps) {
            const std::uint64_t count = std::min(length - j, kTileTaps);
            Window window(n, count, M);
            window.fill(line, j + count - 1, input, k * M);
            window.convolve(taps + j, sums, n);
        }
        append(line, input, k * M, n * M);
        std::copy_n(sums, n, out + k);
    }
}

// Zeroed, with room for `more` values behind; or null when memory is short.
float* allocate(std::uint64_t count, std::uint64_t more)
{
    constexpr std::uint64_t kLargestCount = (std::uint64_t{1} << 61U) - 2;
    if (count > kLargestCount)
        throw std::bad_array_new_length();
    if (more > kLargestCount - count)
        return nullptr;
    return new (std::nothrow) float[count + more]();
}

// Stores the record before there are arrays, so that it can be released whatever becomes of
// them.
template <typename State>
bool create(State** state, const float* taps, std::uint64_t length, std::uint64_t tables)
{
    auto* created = new (std::nothrow) State();
    *state = created;
    if (created == nullptr)
        return false;
    created->taps = allocate(length, tables);
    created->delay = allocate(length, 0);
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
    if (!create(state, taps, length, 0))
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
    filter(line, state->taps, state->length, {in, 1}, 1, out, n);
    state->index = line.index;
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
    const bool by_phases = Polyphase::serves(length, L, M);
    if (!create(state, taps, length, by_phases ? Polyphase(length, L, M).table_size() : 0))
        return 0;
    (*state)->up = L;
    (*state)->down = M;
    if (by_phases)
        Polyphase(length, L, M).fill(taps, (*state)->taps + length);
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
    const float* const tables = state->taps + state->length; // if there are any
    if (Polyphase::serves(state->length, L, M) && Polyphase::usable(tables))
        filter_by_phases({state->length, L, M}, state->taps, tables, line, in, out, n);
    else
        filter(line, state->taps, state->length, {in, L}, M, out, L * n);
    state->index = line.index;
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
    filter(line, taps, length, {in, 1}, 1, out, static_cast<std::uint64_t>(n));
    *position = static_cast<std::uint32_t>(line.index);
}
