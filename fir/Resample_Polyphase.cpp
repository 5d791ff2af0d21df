// Outputs come in groups of eight, one in each lane, which kernels sum side by side.  Lanes lie far
// apart in the stream, each with outputs one after the other, and a window holds the inputs of each
// beside those of the others: what a group needs is rows of the window then.
//
// In a call of at least eight frames a lane is an eighth of it, whole frames: so a group has one
// phase, and its lanes share the taps.  What is left, and calls in place, goes in blocks of a frame
// or so, whose eighths are the lanes.  There each output of a group has a phase of its own, and so
// an input more or less, relative to where its lane begins, than the others.
//
// Row i of the taps, taps[phase + i L] for every phase, meets the input i before the one that an
// output stands at.  A tile is some groups that find the inputs of a row in one window; rows that
// the window has no room for wait until it is filled again, further back.
#include "fir/Resample_Polyphase_internal.h"

#include "fir/Resample_SparseLine_internal.h"
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

constexpr uint64_t kLanes = kFirLanes;

// What a tile works on: bounds of its scratch on the stack, some 22 KiB.
constexpr uint64_t kWindow = 512; // rows
constexpr uint64_t kTileGroups = 64;
constexpr uint64_t kTileRows = kWindow / 2; // that further groups leave room for
constexpr uint64_t kSlice = 32;             // rows

constexpr uint64_t kBlockGroups = 64; // at most
constexpr uint64_t kFewGroups = 16;   // for which blocks are joined
constexpr uint64_t kFarthest = 384;   // inputs between outputs, less than that

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

// Eight lanes of outputs in groups, which repeat after `period` of them, `outputs` outputs and
// `inputs` inputs further on.
struct Lanes {
    uint64_t period, outputs, inputs;
    uint64_t count; // groups
    uint64_t end;   // of the outputs: not every group is full
    bool alike;     // whether the outputs of a group have one phase
    uint64_t rows;
    const float* tables;     // of `period` groups
    uint64_t output[kLanes]; // the first of each lane
    int64_t newest[kLanes];  // input that the first row meets there

    uint64_t row_size() const { return alike ? 1 : kLanes; }
};

// `frames` frames in each lane.
Lanes streams(const Polyphase& filter, const float* tables, uint64_t frames)
{
    const uint64_t count = frames * filter.L;
    Lanes lanes = {filter.L, filter.L,    filter.M, count, kLanes * count,
                   true,     filter.rows, tables,   {},    {}};
    for (uint64_t s = 0; s < kLanes; ++s) {
        lanes.output[s] = s * count;
        lanes.newest[s] = static_cast<int64_t>(s * frames * filter.M);
    }
    return lanes;
}

// The block that output `from` begins, of patterns that begin with output `start`, before output
// `end`.  Where a pattern is one block, and small, some more follow along.
Lanes blocks(const Polyphase& filter, const float* tables, uint64_t start, uint64_t from,
             uint64_t end)
{
    const uint64_t pattern = filter.pattern, groups = filter.groups, rows = filter.rows + 1;
    const uint64_t inputs = pattern / filter.L * filter.M;
    const uint64_t into = (from - start) % pattern;
    const uint64_t block = (into * filter.blocks + pattern - 1) / pattern;
    uint64_t turns = 1;
    while (filter.blocks == 1 && (turns + 1) * groups <= kFewGroups &&
           (turns + 1) * inputs <= kWindow - kTileRows && from + turns * pattern < end)
        ++turns;
    const auto output = [&](uint64_t lane) { return from - into + filter.lane_start(lane); };
    end = std::min(end, output(kLanes * (block + 1)) + (turns - 1) * pattern);
    tables += filter.L * filter.rows + block * groups * rows * kLanes;
    Lanes lanes = {groups, pattern, inputs, turns * groups, end, false, rows, tables, {}, {}};
    for (uint64_t s = 0; s < kLanes; ++s) {
        lanes.output[s] = output(kLanes * block + s);
        lanes.newest[s] = position(filter, lanes.output[s]).input + 1;
    }
    return lanes;
}

// Some groups of eight lanes.
class Tile
{
public:
    // From group `first` on, as many as fit; of blocks, all.
    // cppcheck-suppress uninitMemberVar ; the rest is written before it is read
    Tile(const Polyphase& filter, const Lanes& lanes, uint64_t first)
        : filter_(filter), lanes_(lanes)
    {
        uint64_t turn = first / lanes.period, k = first % lanes.period;
        Position at = position(filter, k);
        for (; first + groups_ < lanes.count && groups_ < kTileGroups; ++groups_) {
            const uint64_t input = turn * lanes.inputs + static_cast<uint64_t>(at.input);
            oldest_ = groups_ == 0 ? input : oldest_;
            newest_[groups_] = input - oldest_;
            if (newest_[groups_] + std::min(lanes.rows, kTileRows) > kWindow)
                break;
            taps_[groups_] = lanes.tables + k * lanes.rows * lanes.row_size();
            outputs_[groups_] = turn * lanes.outputs + k;
            step(turn, k, at);
        }
        if (first + groups_ < lanes.count && groups_ > kLanes)
            groups_ -= groups_ % kLanes; // as many as kernels take at once
    }

    uint64_t groups() const { return groups_; }

    // Sums over all rows of taps.
    void run(const float* taps, const Source& source)
    {
        const FirKernels& kernels = active_kernels().fir;
        const auto convolve = lanes_.alike ? kernels.convolve_streams : kernels.convolve_lanes;
        const uint64_t span = newest_[groups_ - 1];
        std::fill_n(sums_, groups_ * kLanes, 0.0F);
        for (uint64_t row = 0, count; row < lanes_.rows; row += count) {
            count = std::min(kWindow - span, lanes_.rows - row);
            fill(source, static_cast<int64_t>(oldest_ + span + 1) - static_cast<int64_t>(row),
                 span + count);
            convolve(sums_, groups_, taps_, newest_, count,
                     window_ + (kWindow - 1 - span) * kLanes);
            for (uint64_t g = 0; g < groups_; ++g)
                taps_[g] += count * lanes_.row_size();
        }
        sign_zeros(taps, source);
    }

    void deliver(float* out) const
    {
        for (uint64_t g = 0, count; g < groups_; g += count) {
            count = std::min(groups_ - g, lanes_.period - outputs_[g] % lanes_.outputs);
            deliver(out + outputs_[g], g, count, lanes_.end - outputs_[g]);
        }
    }

private:
    // Groups [g, g + count), whose outputs follow one another in each lane.
    void deliver(float* out, uint64_t g, uint64_t count, uint64_t end) const
    {
        const uint64_t squares = lanes_.output[kLanes - 1] + count <= end ? count / kLanes : 0;
        for (uint64_t s = 0; s < kLanes; ++s)
            for (uint64_t i = squares * kLanes; i < count; ++i)
                if (lanes_.output[s] + i < end)
                    out[lanes_.output[s] + i] = sums_[(g + i) * kLanes + s];
        if (squares == 0)
            return;
        const float* from[kLanes];
        float* to[kLanes];
        for (uint64_t s = 0; s < kLanes; ++s) {
            from[s] = sums_ + (g + s) * kLanes;
            to[s] = out + lanes_.output[s];
        }
        active_kernels().fir.turn(to, kLanes, from, kLanes * kLanes, squares);
    }

    // To the next group.
    void step(uint64_t& turn, uint64_t& k, Position& at) const
    {
        if (++k == lanes_.period) {
            ++turn;
            k = 0;
            at = {0, 0};
            return;
        }
        at.phase += filter_.M % filter_.L;
        const uint64_t carry = at.phase >= filter_.L; // no branch, which none could predict
        at.phase -= carry * filter_.L;
        at.input += static_cast<int64_t>(filter_.M / filter_.L + carry);
    }

    // Fills the window, at least its last `height` rows: of each lane the inputs before `end`,
    // counted from where it begins.
    void fill(const Source& source, int64_t end, uint64_t height)
    {
        float scratch[kLanes][kSlice];
        const float* lane[kLanes];
        float* to[kLanes];
        uint64_t left = (height + kLanes - 1) / kLanes * kLanes;
        for (uint64_t count; left > 0; left -= count) {
            const int64_t first = end - static_cast<int64_t>(left);
            const bool direct =
                source.holds(first + lanes_.newest[0], first + lanes_.newest[kLanes - 1], left);
            count = direct ? left : std::min(left, kSlice);
            for (uint64_t s = 0; s < kLanes; ++s) {
                const int64_t oldest = first + lanes_.newest[s];
                lane[s] = lanes_.output[s] < lanes_.end ? source.view(oldest, count, scratch[s])
                                                        : lane[0]; // to read, not to use
                to[s] = window_ + (kWindow - left + s) * kLanes;
            }
            active_kernels().fir.turn(to, kLanes * kLanes, lane, kLanes, count / kLanes);
        }
    }

    void sign_zeros(const float* taps, const Source& source)
    {
        if (!active_kernels().fir.has_negative_zero(sums_, groups_))
            return;
        for (uint64_t i = 0; i < groups_ * kLanes; ++i) {
            const uint64_t output = lanes_.output[i % kLanes] + outputs_[i / kLanes];
            if (sums_[i] == 0 && std::signbit(sums_[i]) && output < lanes_.end)
                sums_[i] = signed_zero(filter_, taps, source, position(filter_, output));
        }
    }

    const Polyphase& filter_;
    const Lanes& lanes_;
    uint64_t groups_ = 0, oldest_ = 0;
    // Of each group: newest input, relative to the first group; taps; output.
    std::size_t newest_[kTileGroups];
    const float* taps_[kTileGroups];
    uint64_t outputs_[kTileGroups];
    float sums_[kTileGroups * kLanes];
    alignas(32) float window_[kWindow * kLanes];
};

// All groups of the lanes.  In place these fit into one tile; of the input that is read ahead of
// the output, but then overwritten, the line keeps what later ones need.
[[gnu::noinline]] void run(const Polyphase& filter, const float* taps, const Lanes& lanes,
                           Source& source, float* out, bool in_place)
{
    for (uint64_t g = 0; g < lanes.count;) {
        Tile tile(filter, lanes, g);
        tile.run(taps, source);
        if (in_place) {
            source.advance(static_cast<int64_t>(lanes.end * filter.M));
            source.keep();
        }
        tile.deliver(out);
        g += tile.groups();
    }
}

// In whole frames, as few as leave at most an eighth of the places in groups empty.  Eight frames
// leave none.
uint64_t pattern_of(uint64_t L)
{
    uint64_t outputs = L;
    while ((kLanes - outputs % kLanes) % kLanes > outputs / 8)
        outputs += L;
    return outputs;
}

// So many that the groups of one are not too many, and not too far apart.
uint64_t blocks_of(uint64_t pattern, uint64_t L, uint64_t M)
{
    const uint64_t groups = std::clamp((kWindow - kTileRows) * L / M, uint64_t{1}, kBlockGroups);
    return (pattern - 1) / (kLanes * groups) + 1;
}

bool apart(const float* in, uint64_t inputs, const float* out, uint64_t outputs)
{
    const std::less_equal<> before;
    return before(in + inputs, out) || before(out + outputs, in);
}

} // namespace

bool Polyphase::serves(uint64_t length, uint64_t L, uint64_t M)
{
    return L > 1 && L <= length && M > 0 && M / L < kFarthest;
}

Polyphase::Polyphase(uint64_t taps, uint64_t up, uint64_t down)
    : length(taps), L(up), M(down), rows((taps - 1) / up + 1), pattern(pattern_of(up)),
      blocks(blocks_of(pattern, up, down)), groups((pattern - 1) / (kLanes * blocks) + 1)
{
}

uint64_t Polyphase::table_size() const
{
    return L * rows + blocks * groups * (rows + 1) * kLanes;
}

void Polyphase::fill(const float* taps, float* tables) const
{
    constexpr float kNone = std::numeric_limits<float>::quiet_NaN();
    const auto tap = [&](uint64_t j) { return j < length ? taps[j] : kNone; };
    float* to = tables;
    for (uint64_t i = 0; i < L * rows; ++i)
        *to++ = tap(position(*this, i / rows).phase + i % rows * L);
    for (uint64_t k = 0; k < blocks * groups; ++k) {
        const int64_t inputs =
            position(*this, k % groups).input; // from the first group on, at least
        for (uint64_t s = 0; s < kLanes; ++s) {
            const uint64_t first = lane_start(k / groups * kLanes + s);
            const Position from = position(*this, first), at = position(*this, first + k % groups);
            const bool late = at.input - from.input == inputs;
            for (uint64_t i = 0; i <= rows; ++i)
                to[i * kLanes + s] =
                    late && i == 0 ? kNone : tap(at.phase + (late ? i - 1 : i) * L);
        }
        to += (rows + 1) * kLanes;
    }
    if (!std::all_of(taps, taps + length, [](float value) { return std::isfinite(value); }))
        tables[0] = kNone;
}

bool Polyphase::usable(const float* tables)
{
    return std::isfinite(tables[0]);
}

void filter_by_phases(const Polyphase& filter, const float* taps, const float* tables,
                      DelayLine& line, const float* in, float* out, uint64_t frames)
{
    const uint64_t inputs = frames * filter.M, end = frames * filter.L;
    const bool in_place = !apart(in, inputs, out, end);
    Source source(in, inputs, line, filter.L, filter.rows + kLanes);
    source.keep();
    uint64_t start = 0;
    if (!in_place && frames / kLanes * filter.L >= kLanes) {
        const Lanes lanes = streams(filter, tables, frames / kLanes);
        run(filter, taps, lanes, source, out, false);
        start = lanes.end;
    }
    for (uint64_t k = start; k < end;) {
        const Lanes lanes = blocks(filter, tables, start, k, end);
        run(filter, taps, lanes, source, out, in_place);
        k = lanes.end;
    }
    if (!in_place)
        source.advance(static_cast<int64_t>(end * filter.M));
}

} // namespace rsmpl
