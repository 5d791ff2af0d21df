// Whole groups of M frames go through each channel's filter, in pieces that the scratch buffers
// hold: brought there channel by channel as floats, filtered, and taken from there in the caller's
// format.  Rows of floats need neither.  Frames that make no group yet wait in `pending`.
#include "stream/rsmpl_stream.h"

#include "convert/Resample_DatTypeConvert.h"
#include "stream/road_internal.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <type_traits>
#include <vector>

using rsmpl_streams::Filter;
using rsmpl_streams::Road;
using std::size_t;

struct rsmpl_stream {
    Road road;
    size_t up = 0, down = 0;     // L, M
    std::vector<Filter> filters; // one per channel
    std::vector<float> pending;  // channel by channel, room for M frames each
    size_t waiting = 0;          // of them in use
    size_t lead = 0;             // frames that an aligned stream leaves out
    size_t skip = 0;             // of these still to come
    size_t groups_at_once = 0;   // that the scratch holds
    std::vector<float> scratch_in;
    std::vector<float> scratch_out; // of two channels
    std::uint64_t clipped = 0;
};

namespace
{

// Frames of the faster side that the scratch holds, when a group is not longer.
constexpr size_t kScratch = 8192;

// The longest call of a filter in frames of the faster side.
constexpr size_t kLongestCall = INT_MAX / 2;

// to[i] = from[i * stride], with loops of their own for mono and stereo, which vectorise.
template <typename From, typename To>
void gather(const From* from, size_t stride, size_t count, To* to)
{
    const auto each = [=](auto step) {
        for (size_t i = 0; i < count; ++i)
            to[i] = static_cast<To>(from[i * step]);
    };
    if (stride == 1)
        each(std::integral_constant<size_t, 1>());
    else if (stride == 2)
        each(std::integral_constant<size_t, 2>());
    else
        each(stride);
}

// to[i * stride] = a[i], and to[i * stride + 1] = b[i] unless b is null.
template <typename Sample>
void scatter(const Sample* a, const Sample* b, size_t count, Sample* to, size_t stride)
{
    const auto both = [=](auto step) {
        for (size_t i = 0; i < count; ++i) {
            to[i * step] = a[i];
            to[i * step + 1] = b[i];
        }
    };
    for (size_t i = 0; i < count && b == nullptr; ++i)
        to[i * stride] = a[i];
    if (b != nullptr && stride == 2)
        both(std::integral_constant<size_t, 2>());
    else if (b != nullptr)
        both(stride);
}

// Rounds to 16 bits.  Returns how many samples were clipped, which are looked for only where a
// result is one of the limits.
std::uint64_t round(const float* from, size_t count, short* to)
{
    constexpr int kToNearest = 1;
    Convert_FloatToShort(to, from, static_cast<int>(count), kToNearest);
    short lowest = 0;
    short highest = 0;
    for (size_t i = 0; i < count; ++i) {
        lowest = std::min(lowest, to[i]);
        highest = std::max(highest, to[i]);
    }
    const auto beyond = [](float x) { return x >= SHRT_MAX + 0.5F || x <= SHRT_MIN - 0.5F; };
    return lowest == SHRT_MIN || highest == SHRT_MAX
               ? static_cast<std::uint64_t>(std::count_if(from, from + count, beyond))
               : 0;
}

// A caller's block: read() brings samples of channel c to a filter; write() takes them back, those
// of channel c + 1, b, along with it when there are any.  A null `in` is silence.
struct RowBlock {
    static constexpr bool kRows = true; // that a filter can use as they are

    const float* const* in;
    float* const* out;

    void read(size_t c, size_t first, size_t count, float* to) const
    {
        std::copy_n(in[c] + first, count, to);
    }
    void write(size_t c, size_t first, size_t count, const float* a, const float* b) const
    {
        std::copy_n(a, count, out[c] + first);
        if (b != nullptr)
            std::copy_n(b, count, out[c + 1] + first);
    }
};

struct FloatBlock {
    static constexpr bool kRows = false;

    const float* in;
    float* out;
    size_t channels;

    void read(size_t c, size_t first, size_t count, float* to) const
    {
        gather(in + first * channels + c, channels, count, to);
    }
    void write(size_t c, size_t first, size_t count, const float* a, const float* b) const
    {
        scatter(a, b, count, out + first * channels + c, channels);
    }
};

struct ShortBlock {
    static constexpr bool kRows = false;

    const short* in;
    short* out;
    size_t channels;
    std::uint64_t& clipped;

    void read(size_t c, size_t first, size_t count, float* to) const
    {
        gather(in + first * channels + c, channels, count, to);
    }
    void write(size_t c, size_t first, size_t count, const float* a, const float* b) const
    {
        constexpr size_t kPart = 512;
        short rounded[2][kPart];
        for (size_t done = 0, part = 0; done < count; done += part) {
            part = std::min(count - done, kPart);
            clipped += round(a + done, part, rounded[0]);
            if (b != nullptr)
                clipped += round(b + done, part, rounded[1]);
            scatter(rounded[0], b == nullptr ? nullptr : rounded[1], part,
                    out + (first + done) * channels + c, channels);
        }
    }
};

template <typename Block>
void bring(const Block& block, size_t c, size_t first, size_t count, float* to)
{
    if (block.in == nullptr)
        std::fill_n(to, count, 0.0F);
    else
        block.read(c, first, count, to);
}

// What goes through the filters at once: so many groups, of which `fresh` frames are not waiting
// yet; of their outputs the first `skipped` are left out, the next `kept` delivered.
struct Piece {
    size_t groups, fresh, skipped, kept;
};

// Of rows any length can be taken, of all else what the scratch holds.
Piece next_piece(const rsmpl_stream& s, bool rows, size_t frames, size_t room)
{
    const bool direct = rows && s.waiting == 0 && s.skip == 0;
    const size_t most = direct ? kLongestCall / std::max(s.up, s.down) : s.groups_at_once;
    const size_t groups = std::min((s.waiting + frames) / s.down, most);
    const size_t made = groups * s.up;
    const size_t skipped = std::min(s.skip, made);
    return {groups, groups * s.down - s.waiting, skipped, std::min(made - skipped, room)};
}

// Takes channel c of it, from frame `first` of the block on, through its filter.  Returns where in
// `scratch` what is kept begins; or null when it lies in the block already, from frame `done` on.
template <typename Block>
const float* filter_channel(rsmpl_stream& s, const Block& block, size_t c, const Piece& piece,
                            size_t first, size_t done, float* scratch)
{
    const float* in = s.scratch_in.data();
    float* out = scratch;
    if constexpr (Block::kRows) {
        if (block.in != nullptr && s.waiting == 0)
            in = block.in[c] + first;
        if (piece.kept == piece.groups * s.up)
            out = block.out[c] + done;
    }
    if (in == s.scratch_in.data()) {
        bring(block, c, first, piece.fresh,
              std::copy_n(s.pending.data() + c * s.down, s.waiting, s.scratch_in.data()));
    }
    s.filters[c].run(in, out, piece.groups);
    return out == scratch ? out + piece.skipped : nullptr;
}

// All channels, by twos.
template <typename Block>
void filter_piece(rsmpl_stream& s, const Block& block, const Piece& piece, size_t first,
                  size_t done)
{
    float* const scratch = s.scratch_out.data();
    for (size_t c = 0; c < s.filters.size(); c += 2) {
        const float* const a = filter_channel(s, block, c, piece, first, done, scratch);
        const float* const b = c + 1 == s.filters.size()
                                   ? nullptr
                                   : filter_channel(s, block, c + 1, piece, first, done,
                                                    scratch + s.scratch_out.size() / 2);
        if (a != nullptr && piece.kept > 0)
            block.write(c, done, piece.kept, a, b);
    }
}

// Takes `frames` frames through the filters.  Returns the frames delivered, at most `room`.
template <typename Block>
size_t convert(rsmpl_stream& s, const Block& block, size_t frames, size_t room)
{
    size_t taken = 0;
    size_t done = 0;
    while (s.waiting + frames - taken >= s.down) {
        const bool rows = Block::kRows && block.in != nullptr;
        const Piece piece = next_piece(s, rows, frames - taken, room - done);
        filter_piece(s, block, piece, taken, done);
        taken += piece.fresh;
        done += piece.kept;
        s.skip -= piece.skipped;
        s.waiting = 0;
    }
    for (size_t c = 0; c < s.filters.size() && taken < frames; ++c)
        bring(block, c, taken, frames - taken, s.pending.data() + c * s.down + s.waiting);
    s.waiting += frames - taken;
    return done;
}

void start(rsmpl_stream& s)
{
    for (Filter& filter : s.filters)
        filter.reset();
    s.waiting = 0;
    s.skip = s.lead;
}

template <typename Block>
size_t run(rsmpl_stream* stream, const Block& block, size_t frames)
{
    return convert(*stream, block, frames, std::numeric_limits<size_t>::max());
}

// As much silence as there are outputs still to come.
template <typename Block>
size_t finish(rsmpl_stream* stream, const Block& block)
{
    const size_t tail = rsmpl_stream_tail(stream);
    const size_t groups = (stream->skip + tail + stream->up - 1) / stream->up;
    if (tail > 0)
        convert(*stream, block, groups * stream->down - stream->waiting, tail);
    start(*stream);
    return tail;
}

// Room for all that the stream's road needs with so many channels.
void furnish(rsmpl_stream& s, int channels, unsigned flags)
{
    const auto count = static_cast<size_t>(channels);
    s.road.info.channels = channels;
    s.up = static_cast<size_t>(s.road.info.up);
    s.down = static_cast<size_t>(s.road.info.down);
    s.filters.reserve(count);
    for (size_t c = 0; c < count; ++c)
        s.filters.emplace_back(s.road);
    s.groups_at_once = std::max<size_t>(1, kScratch / std::max(s.up, s.down));
    s.pending.resize(count * s.down);
    s.scratch_in.resize(s.groups_at_once * s.down);
    s.scratch_out.resize(2 * s.groups_at_once * s.up);
    if ((flags & RSMPL_STREAM_ALIGNED) != 0)
        s.lead = static_cast<size_t>(std::lround(s.road.info.delay));
    start(s);
}

} // namespace

rsmpl_stream_status rsmpl_stream_open(rsmpl_stream** stream, int channels, int in_rate,
                                      int out_rate, rsmpl_engine engine, unsigned flags)
{
    if (stream == nullptr)
        return RSMPL_STREAM_BAD_ARGUMENT;
    *stream = nullptr;
    if (channels < 1 || channels > RSMPL_STREAM_MOST_CHANNELS ||
        static_cast<unsigned>(engine) > RSMPL_ENGINE_FIR || flags > RSMPL_STREAM_ALIGNED)
        return RSMPL_STREAM_BAD_ARGUMENT;
    try {
        auto opened = std::make_unique<rsmpl_stream>();
        const rsmpl_stream_status status = opened->road.choose(in_rate, out_rate, engine);
        if (status != RSMPL_STREAM_OK)
            return status;
        furnish(*opened, channels, flags);
        *stream = opened.release();
        return RSMPL_STREAM_OK;
    } catch (const std::bad_alloc&) {
        return RSMPL_STREAM_NO_MEMORY;
    }
}

void rsmpl_stream_close(rsmpl_stream* stream)
{
    delete stream;
}

void rsmpl_stream_reset(rsmpl_stream* stream)
{
    start(*stream);
    stream->clipped = 0;
}

size_t rsmpl_stream_outputs(const rsmpl_stream* stream, size_t frames)
{
    const size_t made = (stream->waiting + frames) / stream->down * stream->up;
    return made - std::min(stream->skip, made);
}

size_t rsmpl_stream_run_float(rsmpl_stream* stream, const float* in, size_t frames, float* out)
{
    if (stream->filters.size() == 1)
        return rsmpl_stream_run_rows(stream, in == nullptr ? nullptr : &in, frames, &out);
    return run(stream, FloatBlock{in, out, stream->filters.size()}, frames);
}

size_t rsmpl_stream_run_short(rsmpl_stream* stream, const short* in, size_t frames, short* out)
{
    return run(stream, ShortBlock{in, out, stream->filters.size(), stream->clipped}, frames);
}

size_t rsmpl_stream_run_rows(rsmpl_stream* stream, const float* const* in, size_t frames,
                             float* const* out)
{
    return run(stream, RowBlock{in, out}, frames);
}

// An aligned stream has left out lead - skip frames, for which the end makes up; then comes what
// the waiting frames stand for.
size_t rsmpl_stream_tail(const rsmpl_stream* stream)
{
    const size_t waiting = (stream->waiting * stream->up + stream->down - 1) / stream->down;
    return stream->lead - stream->skip + waiting;
}

size_t rsmpl_stream_finish_float(rsmpl_stream* stream, float* out)
{
    return finish(stream, FloatBlock{nullptr, out, stream->filters.size()});
}

size_t rsmpl_stream_finish_short(rsmpl_stream* stream, short* out)
{
    return finish(stream, ShortBlock{nullptr, out, stream->filters.size(), stream->clipped});
}

size_t rsmpl_stream_finish_rows(rsmpl_stream* stream, float* const* out)
{
    return finish(stream, RowBlock{nullptr, out});
}

double rsmpl_stream_delay(const rsmpl_stream* stream)
{
    return stream->road.info.delay;
}

std::uint64_t rsmpl_stream_clipped(const rsmpl_stream* stream)
{
    return stream->clipped;
}

void rsmpl_stream_describe(const rsmpl_stream* stream, rsmpl_stream_info* info)
{
    *info = stream->road.info;
}

const char* rsmpl_stream_message(rsmpl_stream_status status)
{
    switch (status) {
    case RSMPL_STREAM_OK:
        return "no error";
    case RSMPL_STREAM_BAD_ARGUMENT:
        return "1 to 64 channels, a known engine and known flags are accepted";
    case RSMPL_STREAM_BAD_RATES:
        return "no filter for these rates: each is 1 Hz at least, divided by their common divisor "
               "neither may be above 1024, and only ten ratios have an IIR stage";
    case RSMPL_STREAM_NO_MEMORY:
        return "not enough memory";
    }
    return "unknown status";
}
