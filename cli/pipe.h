#ifndef RSMPL_CLI_PIPE_H
#define RSMPL_CLI_PIPE_H

#include "cli/sound_file.h"

#include <cstdint>
#include <vector>

// Samples of a plain coding from a pipe, as soon as they are there.  libsndfile decodes, but from
// memory: left to itself it would wait for more than one read brings.
class Pipe
{
public:
    // `format` is SF_FORMAT_RAW with a coding; `bytes` of audio follow in the descriptor, which
    // stays the caller's, -1 for all there are.  Throws FileError with `name`.
    Pipe(const std::string& name, int descriptor, int format, int channels, std::int64_t bytes);
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    std::int64_t frames() const; // -1: not known

    // Up to `frames` frames, interleaved, full scale being 1; 0 at the end.
    std::size_t read(float* samples, std::size_t frames);

private:
    std::size_t fetch(std::size_t most);

    std::string name_;
    int descriptor_;
    std::size_t frame_bytes_;
    std::int64_t bytes_, left_;
    std::vector<unsigned char> window_; // what libsndfile sees
    std::size_t next_ = 0, end_ = 0;
    SoundFile decoder_;

    friend struct Window;
};

#endif
