#ifndef RSMPL_CLI_HEADER_H
#define RSMPL_CLI_HEADER_H

#include <cstdint>
#include <optional>

// What the header of a recording says of its samples.  libsndfile shortens in silence what has
// been cut off, and can't read pipes whose writers did not know how long they would write.
struct Header {
    const char* kind = "";
    std::int64_t audio_at = 0;     // bytes from the beginning
    std::int64_t audio_bytes = -1; // 0 or -1: the writer did not know
    bool placeholder = false;      // that may also stand for not knowing
    std::int64_t whole_bytes = -1; // of the file; -1: not said
    int format = 0;                // as SF_FORMAT_RAW; 0: coded otherwise
    int channels = 0;
    std::int64_t rate = -1; // Hz; -1: not looked for, as format and channels
};

// Reads from the descriptor's position up to the first sample, or finds no header of WAV (RIFF,
// RIFX, RF64), AU, AIFF, W64 or CAF.  Format, channels and rate are found of the first two; of
// FLAC and Ogg, the kind.
std::optional<Header> read_header(int descriptor);

#endif
