/* converter_internal.h - a stream between channel areas, from one period to the other. */
#ifndef RSMPL_ALSA_CONVERTER_INTERNAL_H
#define RSMPL_ALSA_CONVERTER_INTERNAL_H

#include "stream/rsmpl_stream.h"

#include <alsa/asoundlib.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace rsmpl_alsa
{

struct Options {
    rsmpl_engine engine = RSMPL_ENGINE_AUTO;
    double gain = 0; // dB, applied before rounding
};

// Of what the host asks for: 16-bit samples, `in` frames become `out`.
struct Periods {
    unsigned channels;
    snd_pcm_uframes_t in, out;
};

// Frames `offset` to `offset + frames` of so many areas, one per channel.
struct Block {
    const snd_pcm_channel_area_t* areas;
    std::size_t offset, frames;
};

class Converter
{
public:
    // Fails as rsmpl_stream_open does; BAD_RATES when the periods have no filter.  Throws
    // std::bad_alloc.
    static rsmpl_stream_status open(const Periods& periods, const Options& options,
                                    std::unique_ptr<Converter>& converter);

    // As just opened.  [rt]
    void reset();

    // Fills all of `to`.  Whole periods come out as the stream makes them.  When there is not
    // enough for `to`, silence comes first; up to two groups too many wait for the next call.  [rt]
    void convert(const Block& to, const Block& from);

    // The frames that so many frames become, and those that they are made of, to the next whole
    // one; frames may be negative.  [rt]
    snd_pcm_sframes_t outputs(snd_pcm_sframes_t frames) const;
    snd_pcm_sframes_t inputs(snd_pcm_sframes_t frames) const;

    // Samples since the last reset.  [rt]
    std::uint64_t clipped() const { return clipped_; }

    rsmpl_stream_info describe() const;

private:
    using Stream = std::unique_ptr<rsmpl_stream, decltype(&rsmpl_stream_close)>;

    Converter(Stream stream, const Options& options);
    void take(const Block& from, std::size_t first, std::size_t count);
    std::size_t give(const Block& to, std::size_t done);
    void round(const float* row, std::size_t count);

    Stream stream_;
    std::size_t channels_, up_, down_; // L, M
    float gain_;                       // linear
    std::size_t piece_;                // frames that are taken at once, whole groups
    std::size_t held_ = 0;             // outputs that no call has delivered yet
    std::uint64_t clipped_ = 0;
    std::vector<float> in_, out_; // rows, one per channel; in each of out_ those held come first
    std::vector<const float*> in_rows_;
    std::vector<float*> out_rows_;
    std::vector<short> rounded_;
};

} // namespace rsmpl_alsa

#endif
