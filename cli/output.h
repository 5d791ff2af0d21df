#ifndef RSMPL_CLI_OUTPUT_H
#define RSMPL_CLI_OUTPUT_H

#include "cli/options.h"
#include "cli/place.h"
#include "cli/sound_file.h"

#include <cstdint>
#include <string>
#include <vector>

// By --format, or else by the suffix; raw for "-" and WAV for names without one.  Throws FileError.
Format format_of(const std::string& path, const Options& options);

// "wav", which is a file's suffix too.
const char* suffix_of(Format format);

struct Shape {
    Format format;
    Bits bits;
    int channels;
    int rate;
    std::int64_t frames; // -1: not known yet
};

// Samples on their way into a file.  Throws FileError, and ClosedPipe.
class Output
{
public:
    // What the format can't hold is found here, before anything is written.
    Output(const std::string& path, const Shape& shape);

    // Texts, origin and marks of the input, at `up` / `down` of its rate, as far as the format
    // holds them; before write().
    void copy_tags(SNDFILE* from, int up, int down);

    // Frames in steps of 16-bit samples, interleaved: rounded to nearest and clipped, but for
    // floats. A pipe has all of it when the call returns.
    void write(const std::vector<float>& samples);

    void commit();

    std::int64_t frames() const { return frames_; }

    // Of each channel, the samples that have been clipped.
    const std::vector<std::int64_t>& clipped() const { return clipped_; }

    // The largest sample before it was clipped, in steps of 16-bit samples.
    float peak() const { return peak_; }

private:
    void to_integers(const std::vector<float>& samples, float peak);
    [[noreturn]] void fail();

    Shape shape_; // of what has been announced, and written beyond that
    Place place_;
    SoundFile file_;
    std::int64_t frames_ = 0;
    std::vector<std::int64_t> clipped_;
    float peak_ = 0;
    std::vector<int> integers_; // of 32 bits, what the format leaves of them above
    std::vector<float> floats_;
};

#endif
