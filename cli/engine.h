#ifndef RSMPL_CLI_ENGINE_H
#define RSMPL_CLI_ENGINE_H

#include "cli/options.h"
#include "stream/rsmpl_stream.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

// What converts: interleaved floats, in steps of 16-bit samples, block by block.
class Resampler
{
public:
    virtual ~Resampler() = default;

    // Takes `frames` frames, any number; `out` becomes what they make, which may be nothing.
    virtual void run(const float* in, std::size_t frames, std::vector<float>& out) = 0;

    // `out` becomes the rest, once.
    virtual void finish(std::vector<float>& out) = 0;

    // Of the stream that serves these rates; a device filters like it.
    const rsmpl_stream_info& info() const { return info_; }

    // The device's: input samples that 16 bits can't hold and were clipped, output samples that
    // wrapped around, and the largest that the filter made of the input, in steps of 16-bit
    // samples.
    virtual std::int64_t clipped_inputs() const { return 0; }

    virtual std::int64_t wrapped() const { return 0; }

    virtual float filtered_peak() const { return 0; }

protected:
    rsmpl_stream_info info_{};
};

// Throws FileError with `name`.
std::unique_ptr<Resampler> open_resampler(const std::string& name, int channels, int in_rate,
                                          const Options& options);

#endif
