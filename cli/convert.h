#ifndef RSMPL_CLI_CONVERT_H
#define RSMPL_CLI_CONVERT_H

#include <cstdint>
#include <string>

struct Conversion {
    int channels = 0;
    std::int64_t frames_in = 0;
    std::int64_t frames_out = 0; // ceil(frames_in / 3)
    std::int64_t wrapped = 0;    // output samples that left the 16-bit range and wrapped around
    double turn_down_db = 0;     // how much quieter the input must be to wrap none; 0 when none
};

// Converts the recording `in`, at 48 kHz, to the 16-bit WAV file `out` at 16 kHz.  Throws
// FileError, `out` then being as it was.
Conversion convert(const std::string& in, const std::string& out);

#endif
