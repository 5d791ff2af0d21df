#include "python/blocks.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <new>
#include <type_traits>
#include <vector>

using std::size_t;

namespace
{

// A device's block of 20 ms.  A stage rounds its memory between calls, and so gives a device's
// samples.
constexpr size_t kDeviceBlock = 960;

// Frames of the faster side that FIR takes at once: its results are the same however a stream is
// split, and each call reads all of the taps.
constexpr size_t kLongBlock = 65536;

// What goes through the stream.
template <typename Sample>
using Native = std::conditional_t<std::is_same_v<Sample, short>, short, float>;

void run(rsmpl_stream* stream, const float* in, size_t frames, float* out)
{
    rsmpl_stream_run_float(stream, in, frames, out);
}
void run(rsmpl_stream* stream, const short* in, size_t frames, short* out)
{
    rsmpl_stream_run_short(stream, in, frames, out);
}
void finish(rsmpl_stream* stream, float* out)
{
    rsmpl_stream_finish_float(stream, out);
}
void finish(rsmpl_stream* stream, short* out)
{
    rsmpl_stream_finish_short(stream, out);
}

// In double, which holds both limits; every float beyond them is a step of its own away.
int round(float sample, std::uint64_t& clipped)
{
    const double x = sample;
    if (x >= INT_MIN && x <= INT_MAX)
        return static_cast<int>(x + std::copysign(0.5, x));
    if (std::isnan(x))
        return 0;
    ++clipped;
    return x < 0 ? INT_MIN : INT_MAX;
}

// What the stream makes, as a caller's sample.
template <typename Sample>
Sample back(Native<Sample> made, std::uint64_t& clipped)
{
    if constexpr (std::is_same_v<Sample, int>)
        return round(made, clipped);
    else
        return static_cast<Sample>(made);
}

// A caller's signal, and a block of it for where it is not interleaved, or not in the stream's
// type.
template <typename Sample>
struct Signal {
    Sample* data;
    std::ptrdiff_t frame, channel;
    size_t channels;
    bool interleaved;
    std::vector<Native<Sample>> block;

    Signal(const rsmpl_signal& from, size_t channel_count)
        : data(static_cast<Sample*>(from.data)), frame(from.frame), channel(from.channel),
          channels(channel_count), interleaved(frame == static_cast<std::ptrdiff_t>(channels) &&
                                               (channels == 1 || channel == 1))
    {
    }

    // Where frame `first` lies if the stream can use it there; otherwise null.
    Native<Sample>* direct(size_t first) const
    {
        if constexpr (std::is_same_v<Sample, Native<Sample>>)
            return interleaved ? data + first * channels : nullptr;
        return nullptr;
    }

    // each(sample, its place in the block), with a loop of its own for what is interleaved, which
    // vectorises.
    template <typename Each>
    void for_each(size_t first, size_t count, const Each& each)
    {
        block.resize(count * channels);
        Native<Sample>* const to = block.data();
        Sample* const from = data + static_cast<std::ptrdiff_t>(first) * frame;
        for (size_t i = 0; interleaved && i < block.size(); ++i)
            each(from[i], to[i]);
        for (size_t c = 0; !interleaved && c < channels; ++c) {
            Sample* sample = from + static_cast<std::ptrdiff_t>(c) * channel;
            for (size_t i = c; i < block.size(); i += channels, sample += frame)
                each(*sample, to[i]);
        }
    }

    const Native<Sample>* bring(size_t first, size_t count)
    {
        if (direct(first) != nullptr)
            return direct(first);
        for_each(first, count, [](const Sample& sample, Native<Sample>& place) {
            place = static_cast<Native<Sample>>(sample);
        });
        return block.data();
    }

    // Has write(where) make so many frames, for this signal from `first` on.
    template <typename Write>
    void take(size_t first, size_t count, std::uint64_t& clipped, const Write& write)
    {
        if (direct(first) != nullptr) {
            write(direct(first));
            return;
        }
        block.resize(count * channels);
        write(block.data());
        for_each(first, count, [&](Sample& sample, const Native<Sample>& made) {
            sample = back<Sample>(made, clipped);
        });
    }
};

size_t block_length(const rsmpl_stream_info& info)
{
    const auto up = static_cast<size_t>(info.up);
    const auto down = static_cast<size_t>(info.down);
    return info.taps == 0 ? kDeviceBlock
                          : std::max<size_t>(kLongBlock * down / std::max(up, down), 1);
}

template <typename Sample>
void convert(rsmpl_stream* stream, rsmpl_tally& tally, const rsmpl_signal& from, size_t frames,
             const rsmpl_signal& to, bool last)
{
    rsmpl_stream_info info;
    rsmpl_stream_describe(stream, &info);
    Signal<Sample> in(from, static_cast<size_t>(info.channels));
    Signal<Sample> out(to, in.channels);
    const size_t block = block_length(info);
    size_t done = 0;
    for (size_t first = 0; first < frames; first += block) {
        const size_t count = std::min(block, frames - first);
        const Native<Sample>* const samples = in.bring(first, count);
        const size_t made = rsmpl_stream_outputs(stream, count);
        out.take(done, made, tally.clipped,
                 [&](auto* where) { run(stream, samples, count, where); });
        done += made;
    }
    if (last)
        out.take(done, rsmpl_stream_tail(stream), tally.clipped,
                 [&](auto* where) { finish(stream, where); });
    tally.waiting = last ? 0 : (tally.waiting + frames) % static_cast<size_t>(info.down);
}

} // namespace

void rsmpl_blocks_reset(rsmpl_stream* stream, rsmpl_tally* tally)
{
    rsmpl_stream_reset(stream);
    *tally = {};
}

int rsmpl_blocks_run(rsmpl_stream* stream, rsmpl_tally* tally, rsmpl_sample type,
                     const rsmpl_signal* in, size_t frames, const rsmpl_signal* out, int last)
{
    static constexpr decltype(&convert<float>) kOfType[] = {convert<short>, convert<int>,
                                                            convert<float>, convert<double>};
    try {
        kOfType[type](stream, *tally, *in, frames, *out, last != 0);
        return 0;
    } catch (const std::bad_alloc&) {
        rsmpl_blocks_reset(stream, tally);
        return 1;
    }
}

void rsmpl_smooth(const short* in, size_t frames, size_t channels, double a, double b,
                  double* memory, short* out)
{
    for (size_t i = 0; i < frames * channels; ++i) {
        const size_t c = i % channels;
        memory[c] = (a * in[i] + b * memory[c]) / (a + b);
        out[i] = static_cast<short>(std::lround(memory[c]));
    }
}
