// Frames go through the stream in pieces: gathered from the areas to rows of floats, filtered
// behind what is held from the last piece, rounded, and scattered to the areas.
#include "alsa/converter_internal.h"

#include "convert/Resample_DatTypeConvert.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <numeric>
#include <type_traits>
#include <utility>

using std::size_t;

namespace rsmpl_alsa
{
namespace
{

// Frames of the faster side that make a piece, when a group is not longer: as many as the stream
// takes at once of 16-bit samples, so that all is rounded where it would be there.
constexpr size_t kPiece = 8192;

// Groups of outputs that may wait for the next call.
constexpr size_t kMostHeld = 2;

char* address(const snd_pcm_channel_area_t& area, size_t frame)
{
    return static_cast<char*>(area.addr) + (area.first + area.step * frame) / CHAR_BIT;
}

// Calls each(bytes from sample to sample), which for mono and stereo is a constant.
template <typename Each>
void with_stride(const snd_pcm_channel_area_t& area, const Each& each)
{
    const size_t stride = area.step / CHAR_BIT;
    if (stride == sizeof(short))
        each(std::integral_constant<size_t, sizeof(short)>());
    else if (stride == 2 * sizeof(short))
        each(std::integral_constant<size_t, 2 * sizeof(short)>());
    else
        each(stride);
}

// Samples need not be aligned.
void gather(const snd_pcm_channel_area_t& area, size_t first, size_t count, float* to)
{
    const char* const from = address(area, first);
    with_stride(area, [=](auto stride) {
        for (size_t i = 0; i < count; ++i) {
            short sample = 0;
            std::memcpy(&sample, from + i * stride, sizeof sample);
            to[i] = sample;
        }
    });
}

void scatter(const short* from, size_t count, const snd_pcm_channel_area_t& area, size_t first)
{
    char* const to = address(area, first);
    with_stride(area, [=](auto stride) {
        for (size_t i = 0; i < count; ++i)
            std::memcpy(to + i * stride, from + i, sizeof *from);
    });
}

// ceil(frames * up / down), which for the frames of a buffer does not overflow.
snd_pcm_sframes_t scaled(snd_pcm_sframes_t frames, size_t up, size_t down)
{
    const auto l = static_cast<snd_pcm_sframes_t>(up);
    const auto m = static_cast<snd_pcm_sframes_t>(down);
    const snd_pcm_sframes_t rest = frames % m * l;
    return frames / m * l + (rest > 0 ? rest + m - 1 : rest) / m;
}

} // namespace

rsmpl_stream_status Converter::open(const Periods& periods, const Options& options,
                                    std::unique_ptr<Converter>& converter)
{
    const snd_pcm_uframes_t divisor = std::max(1UL, std::gcd(periods.in, periods.out));
    const snd_pcm_uframes_t up = periods.out / divisor;
    const snd_pcm_uframes_t down = periods.in / divisor;
    if (std::max(up, down) > RSMPL_STREAM_MOST_RATIO)
        return RSMPL_STREAM_BAD_RATES;
    const auto channels = std::min<unsigned>(periods.channels, INT_MAX);
    rsmpl_stream* opened = nullptr;
    const rsmpl_stream_status status =
        rsmpl_stream_open(&opened, static_cast<int>(channels), static_cast<int>(down),
                          static_cast<int>(up), options.engine, 0);
    Stream stream(opened, rsmpl_stream_close);
    if (status == RSMPL_STREAM_OK)
        converter.reset(new Converter(std::move(stream), options));
    return status;
}

Converter::Converter(Stream stream, const Options& options) : stream_(std::move(stream))
{
    const rsmpl_stream_info info = describe();
    channels_ = static_cast<size_t>(info.channels);
    up_ = static_cast<size_t>(info.up);
    down_ = static_cast<size_t>(info.down);
    gain_ = static_cast<float>(std::pow(10.0, options.gain / 20));
    const size_t groups = std::max<size_t>(1, kPiece / std::max(up_, down_));
    piece_ = groups * down_;
    const size_t out_row = (groups + kMostHeld) * up_;
    in_.resize(channels_ * piece_);
    out_.resize(channels_ * out_row);
    rounded_.resize(out_row);
    for (size_t c = 0; c < channels_; ++c) {
        in_rows_.push_back(in_.data() + c * piece_);
        out_rows_.push_back(out_.data() + c * out_row);
    }
}

rsmpl_stream_info Converter::describe() const
{
    rsmpl_stream_info info;
    rsmpl_stream_describe(stream_.get(), &info);
    return info;
}

void Converter::reset()
{
    rsmpl_stream_reset(stream_.get());
    held_ = 0;
    clipped_ = 0;
}

void Converter::convert(const Block& to, const Block& from)
{
    const size_t ready = held_ + rsmpl_stream_outputs(stream_.get(), from.frames);
    size_t done = to.frames - std::min(to.frames, ready);
    snd_pcm_areas_silence(to.areas, to.offset, static_cast<unsigned>(channels_), done,
                          SND_PCM_FORMAT_S16);
    done += give(to, done);
    for (size_t taken = 0, count = 0; taken < from.frames; taken += count) {
        count = std::min(piece_, from.frames - taken);
        take(from, taken, count);
        done += give(to, done);
    }
}

// Filters `count` frames of the block, at most a piece, to behind those held.
void Converter::take(const Block& from, size_t first, size_t count)
{
    for (size_t c = 0; c < channels_; ++c)
        gather(from.areas[c], from.offset + first, count, in_.data() + c * piece_);
    for (float*& row : out_rows_)
        row += held_;
    const size_t made =
        rsmpl_stream_run_rows(stream_.get(), in_rows_.data(), count, out_rows_.data());
    for (float*& row : out_rows_) {
        row -= held_;
        if (gain_ != 1)
            std::for_each(row + held_, row + held_ + made, [=](float& x) { x *= gain_; });
    }
    held_ += made;
}

// Delivers what is held, as far as there is room from frame `done` on.  Returns how much.
size_t Converter::give(const Block& to, size_t done)
{
    const size_t count = std::min(held_, to.frames - done);
    const size_t left = std::min(held_ - count, kMostHeld * up_);
    for (size_t c = 0; c < channels_; ++c) {
        round(out_rows_[c], count);
        scatter(rounded_.data(), count, to.areas[c], to.offset + done);
        std::copy_n(out_rows_[c] + count, left, out_rows_[c]);
    }
    held_ = left;
    return count;
}

void Converter::round(const float* row, size_t count)
{
    constexpr int kToNearest = 1;
    Convert_FloatToShort(rounded_.data(), row, static_cast<int>(count), kToNearest);
    unsigned clipped = 0; // as wide as a float, for the vectoriser
    for (size_t i = 0; i < count; ++i)
        clipped += static_cast<unsigned>(row[i] >= SHRT_MAX + 0.5F) |
                   static_cast<unsigned>(row[i] <= SHRT_MIN - 0.5F);
    clipped_ += clipped;
}

snd_pcm_sframes_t Converter::outputs(snd_pcm_sframes_t frames) const
{
    return scaled(frames, up_, down_);
}

snd_pcm_sframes_t Converter::inputs(snd_pcm_sframes_t frames) const
{
    return scaled(frames, down_, up_);
}

} // namespace rsmpl_alsa
