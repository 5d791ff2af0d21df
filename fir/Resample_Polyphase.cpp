// Outputs come in groups of eight, which a kernel sums side by side.  A call of at least
// eight frames, with a group of outputs for each eighth of it, is cut into eight streams that go
// side by side instead: these share every tap, and a sample of each lies next to the others'.
//
// Row i of the taps, taps[phase + i L] for every phase, meets the input i before the one that an
// output stands at.  A tile is some groups that find the inputs of a row in one window; rows that
// the window has no room for wait until it is filled again, further back.
#include "fir/Resample_Polyphase_internal.h"

#include "kernels/Resample_Kernels_internal.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

namespace rsmpl
{

namespace
{

using std::int64_t;
using std::uint64_t;

constexpr uint64_t kGroup = kFirOutputs;
constexpr uint64_t kStreams = kFirStreams;

// What a tile works on: bounds of its scratch on the stack, some 22 KiB.
constexpr uint64_t kWindow = 4096; // samples of all streams
constexpr uint64_t kTileGroups = 16;
constexpr uint64_t kTileRows = 256; // that further groups leave room for

// Where an output stands: `phase` steps of the high rate after an input.
struct Position {
    int64_t input;
    uint64_t phase;
};

Position position(const Polyphase& filter, uint64_t output)
{
    const uint64_t tick = output * filter.M;
    return {static_cast<int64_t>(tick / filter.L), tick % filter.L};
}

// Whether the samples of a group leave some room in the window.
bool fits(uint64_t L, uint64_t M, uint64_t streams)
{
    return M / L < kWindow / streams / kGroup * 3 / 4;
}

int64_t divide_up(int64_t dividend, int64_t divisor)
{
    return dividend / divisor + (dividend % divisor > 0 ? 1 : 0);
}

// The inputs of a call and, with negative numbers, those before it.  The line stands at `tick` of
// the high rate and has what came before.
struct Source {
    const float* in;
    const DelayLine& line;
    int64_t tick;
    int64_t L;

    // Where in the line input i is.
    uint64_t place(int64_t i) const
    {
        const auto age = static_cast<uint64_t>(tick - i * L);
        return (line.index + line.size - age % line.size) % line.size;
    }

    float sample(int64_t i) const { return i * L < tick ? line.values[place(i)] : in[i]; }

    // Copies inputs [first, end), to every `stride`-th float.
    void copy(int64_t first, int64_t end, float* to, uint64_t stride) const
    {
        const int64_t recent = std::clamp(divide_up(tick, L), first, end);
        const uint64_t step = static_cast<uint64_t>(L) % line.size;
        uint64_t at = first < recent ? place(first) : 0;
        for (int64_t i = first; i < recent; ++i, to += stride) {
            *to = line.values[at];
            at += step;
            at -= at < line.size ? 0 : line.size;
        }
        for (int64_t i = recent; i < end; ++i, to += stride)
            *to = in[i];
    }
};

// Sets the places of the inputs in ticks [from, to) to value(input).
template <typename Value>
void set_inputs(DelayLine& line, int64_t tick, int64_t L, int64_t from, int64_t to, Value value)
{
    const auto size = static_cast<int64_t>(line.size);
    int64_t i = divide_up(from, L);
    int64_t at = (static_cast<int64_t>(line.index) + size + (i * L - tick) % size) % size;
    for (const int64_t step = L % size; i * L < to; ++i) {
        line.values[at] = value(i);
        at += step;
        at -= at < size ? 0 : size;
    }
}

// Moves the line on from `tick` by `ticks`.  It has zeros between its inputs already, so that
// inputs are all that leaves it and enters it.
void advance(DelayLine& line, const float* in, int64_t tick, uint64_t ticks, int64_t L)
{
    const auto size = static_cast<int64_t>(line.size);
    const int64_t end = tick + static_cast<int64_t>(ticks);
    set_inputs(line, tick, L, tick - size, std::min(tick, end - size),
               [](int64_t) { return 0.0F; });
    set_inputs(line, tick, L, std::max(tick, end - size), end, [in](int64_t i) { return in[i]; });
    line.index = (line.index + ticks) % line.size;
}

// What a sum that came out as -0 is with the zeros in it.  After the last product that does not
// vanish it was -0; it stays that until a product of +0 comes: that of a zero and a tap without
// a sign.
float signed_zero(const Polyphase& filter, const float* taps, const Source& source, Position at)
{
    const auto positive = [](float tap) { return !std::signbit(tap); };
    uint64_t end = filter.length;
    for (uint64_t row = filter.rows; row-- > 0;) {
        const uint64_t j = at.phase + row * filter.L; // meets an input, those up to `end` zeros
        if (j >= end)
            continue;
        if (std::any_of(taps + j + 1, taps + end, positive))
            break;
        if (taps[j] != 0 && source.sample(at.input - static_cast<int64_t>(row)) != 0)
            return -0.0F;
        end = j;
    }
    return 0.0F;
}

// Some groups of outputs in one stream or in eight, each `apart` inputs after the one before.
class Tile
{
public:
    // From `first` on, where a group begins, as many outputs of each stream as fit, before `end`.
    // cppcheck-suppress uninitMemberVar ; the rest is written before it is read
    Tile(const Polyphase& filter, uint64_t streams, uint64_t first, uint64_t end)
        : filter_(filter), streams_(streams), room_(kWindow / streams),
          first_group_(first % filter.pattern / kGroup), oldest_(position(filter, first).input)
    {
        while (groups_ < kTileGroups && first + outputs_ < end && add_group(first + outputs_, end))
            ++groups_;
    }

    uint64_t outputs() const { return outputs_; }

    // Sums over all rows of taps.
    void run(const float* taps, const float* tables, const Source& source, int64_t apart)
    {
        std::fill_n(sums_, groups_ * kGroup * streams_, 0.0F);
        std::fill_n(window_ + room_ * streams_, streams_, 0.0F);
        const uint64_t at_once = room_ - static_cast<uint64_t>(newest_ - oldest_);
        for (uint64_t row = 0, count; row < filter_.rows; row += count) {
            count = std::min(at_once, filter_.rows - row);
            const int64_t start = oldest_ - static_cast<int64_t>(row + count - 1);
            fill(source, start, newest_ + 1 - static_cast<int64_t>(row), apart);
            for (uint64_t g = 0; g < groups_; ++g)
                add_rows(tables, g, row, count, start);
        }
        sign_zeros(taps, source, apart);
    }

    // Output k of stream s goes to out[k + s * outputs].
    void deliver(float* out, uint64_t outputs) const
    {
        for (uint64_t g = 0; g < groups_; ++g)
            for (uint64_t p = 0; p < counts_[g]; ++p, ++out)
                for (uint64_t s = 0; s < streams_; ++s)
                    out[s * outputs] = sums_[(g * kGroup + p) * streams_ + s];
    }

private:
    // False when it finds no room.
    bool add_group(uint64_t first, uint64_t end)
    {
        const uint64_t in_pattern = filter_.pattern - first % filter_.pattern;
        const uint64_t count = std::min({kGroup, in_pattern, end - first});
        Position* const at = at_ + groups_ * kGroup;
        for (uint64_t p = 0; p < kGroup; ++p) // places without an output repeat the last one
            at[p] = position(filter_, first + std::min(p, count - 1));
        const int64_t newest = at[kGroup - 1].input;
        if (groups_ > 0 &&
            static_cast<uint64_t>(newest - oldest_) + std::min(filter_.rows, kTileRows) > room_)
            return false;
        newest_ = newest;
        counts_[groups_] = count;
        outputs_ += count;
        return true;
    }

    // Fills the window with inputs [first, end) of every stream; several streams begin at input 0.
    void fill(const Source& source, int64_t first, int64_t end, int64_t apart)
    {
        const int64_t recent = streams_ == 1 ? end : std::clamp(int64_t{0}, first, end);
        for (uint64_t s = 0; s < streams_; ++s) {
            const int64_t shift = static_cast<int64_t>(s) * apart;
            source.copy(shift + first, shift + recent, window_ + s, streams_);
        }
        if (recent < end)
            active_kernels().fir.interleave(
                window_ + static_cast<uint64_t>(recent - first) * kStreams, source.in + recent,
                static_cast<uint64_t>(apart), static_cast<uint64_t>(end - recent));
    }

    // Adds the products of rows [row, row + count) to group g.  The last row may be one that only
    // some phases have; the others then take a sample that is +0, and a tap of -0, which adds
    // nothing.
    void add_rows(const float* tables, uint64_t g, uint64_t row, uint64_t count, int64_t start)
    {
        const FirKernels& kernels = active_kernels().fir;
        const auto convolve = streams_ == 1 ? kernels.convolve_phases : kernels.convolve_streams;
        const uint64_t table = (first_group_ + g) % filter_.groups;
        const float* const taps = tables + (table * filter_.rows + row) * kGroup;
        const uint64_t whole = std::min(count, filter_.length / filter_.L - row);
        std::size_t newest[kGroup];
        for (uint64_t p = 0; p < kGroup; ++p)
            newest[p] = static_cast<std::size_t>(at_[g * kGroup + p].input -
                                                 static_cast<int64_t>(row) - start);
        convolve(sums_ + g * kGroup * streams_, taps, whole, window_, newest);
        if (whole == count)
            return;
        for (uint64_t p = 0; p < kGroup; ++p)
            newest[p] =
                at_[g * kGroup + p].phase < filter_.length % filter_.L ? newest[p] - whole : room_;
        convolve(sums_ + g * kGroup * streams_, taps + whole * kGroup, 1, window_, newest);
    }

    void sign_zeros(const float* taps, const Source& source, int64_t apart)
    {
        for (uint64_t i = 0; i < groups_ * kGroup * streams_; ++i) {
            if (sums_[i] != 0 || !std::signbit(sums_[i]))
                continue;
            Position at = at_[i / streams_];
            at.input += static_cast<int64_t>(i % streams_) * apart;
            sums_[i] = signed_zero(filter_, taps, source, at);
        }
    }

    const Polyphase& filter_;
    uint64_t streams_, room_; // samples of each stream
    uint64_t first_group_, groups_ = 0, outputs_ = 0;
    int64_t oldest_, newest_ = 0; // inputs where its outputs stand
    uint64_t counts_[kTileGroups];
    Position at_[kTileGroups * kGroup];
    float sums_[kTileGroups * kGroup * kStreams];
    alignas(32) float window_[kWindow + kStreams]; // the last ones are +0
};

// `frames` frames in each of eight streams, one after the other in `in` and in `out`, which are
// apart.
void filter_streams(const Polyphase& filter, const float* taps, const float* tables,
                    DelayLine& line, const float* in, float* out, uint64_t frames)
{
    const auto L = static_cast<int64_t>(filter.L);
    const Source source = {in, line, 0, L};
    const uint64_t outputs = frames * filter.L;
    for (uint64_t k = 0; k < outputs;) {
        Tile tile(filter, kStreams, k, outputs);
        tile.run(taps, tables, source, static_cast<int64_t>(frames * filter.M));
        tile.deliver(out + k, outputs);
        k += tile.outputs();
    }
    advance(line, in, 0, kStreams * outputs * filter.M, L);
}

// `frames` frames, output after output: what is read of `in` is ahead of what is written to `out`.
void filter_in_order(const Polyphase& filter, const float* taps, const float* tables,
                     DelayLine& line, const float* in, float* out, uint64_t frames)
{
    const auto L = static_cast<int64_t>(filter.L);
    const uint64_t outputs = frames * filter.L;
    for (uint64_t k = 0; k < outputs;) {
        const auto tick = static_cast<int64_t>(k * filter.M);
        Tile tile(filter, 1, k, outputs);
        tile.run(taps, tables, {in, line, tick, L}, 0);
        advance(line, in, tick, tile.outputs() * filter.M, L);
        tile.deliver(out + k, outputs);
        k += tile.outputs();
    }
}

// In whole frames, as few as leave at most an eighth of the places in groups empty.  Eight frames
// leave none.
uint64_t pattern_of(uint64_t L)
{
    uint64_t outputs = L;
    while ((kGroup - outputs % kGroup) % kGroup > outputs / 8)
        outputs += L;
    return outputs;
}

bool apart(const float* in, uint64_t inputs, const float* out, uint64_t outputs)
{
    const std::less_equal<> before;
    return before(in + inputs, out) || before(out + outputs, in);
}

} // namespace

bool Polyphase::serves(uint64_t length, uint64_t L, uint64_t M)
{
    return L > 1 && L <= length && M > 0 && fits(L, M, 1);
}

Polyphase::Polyphase(uint64_t taps, uint64_t up, uint64_t down)
    : length(taps), L(up), M(down), rows((taps - 1) / up + 1), pattern(pattern_of(up)),
      groups((pattern - 1) / kGroup + 1)
{
}

uint64_t Polyphase::table_size() const
{
    return groups * kGroup * rows;
}

void Polyphase::fill(const float* taps, float* tables) const
{
    for (uint64_t k = 0; k < groups * kGroup; ++k) {
        float* const table = tables + k / kGroup * rows * kGroup + k % kGroup;
        const uint64_t phase = position(*this, k).phase;
        for (uint64_t row = 0; row < rows; ++row) {
            const uint64_t j = phase + row * L;
            table[row * kGroup] = j < length ? taps[j] : -0.0F;
        }
    }
    if (!std::all_of(taps, taps + length, [](float tap) { return std::isfinite(tap); }))
        tables[0] = std::numeric_limits<float>::quiet_NaN();
}

bool Polyphase::usable(const float* tables)
{
    return std::isfinite(tables[0]);
}

void filter_by_phases(const Polyphase& filter, const float* taps, const float* tables,
                      DelayLine& line, const float* in, float* out, uint64_t frames)
{
    const uint64_t in_streams = frames / kStreams;
    if (in_streams * filter.L >= kGroup && fits(filter.L, filter.M, kStreams) &&
        apart(in, frames * filter.M, out, frames * filter.L)) {
        filter_streams(filter, taps, tables, line, in, out, in_streams);
        in += kStreams * in_streams * filter.M;
        out += kStreams * in_streams * filter.L;
        frames -= kStreams * in_streams;
    }
    filter_in_order(filter, taps, tables, line, in, out, frames);
}

} // namespace rsmpl
