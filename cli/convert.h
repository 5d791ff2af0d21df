#ifndef RSMPL_CLI_CONVERT_H
#define RSMPL_CLI_CONVERT_H

#include "cli/options.h"
#include "cli/progress.h"
#include "stream/rsmpl_stream.h"

#include <cstdint>
#include <string>
#include <vector>

// What was done.
struct Report {
    Job job;
    rsmpl_stream_info stream{};    // engine, rates, L, M, channels, delay
    Engine engine = Engine::kAuto; // as asked for
    bool aligned = true;
    std::int64_t frames_in = 0;
    std::int64_t frames_out = 0;
    double gain_db = 0;                // the user's, and what --safe found
    double peak = 0;                   // of the output before it was clipped, full scale being 1
    std::vector<std::int64_t> clipped; // output samples, by channel
    std::int64_t clipped_inputs = 0;   // on their way into a device
    std::int64_t wrapped = 0;          // output samples of a device
    double turn_down_db = 0;           // how much quieter none would have been; 0 when none was
    std::int64_t not_finite = 0;       // input samples, taken as silence
    std::string truncation;            // how the input ends too early, or empty
    double seconds = 0;                // that it took
};

// Converts one file; `share` of the whole is what `progress` is told of it.  Throws FileError, the
// output then being as it was, ClosedPipe and std::bad_alloc.
Report convert(const Job& job, const Options& options, Progress& progress, double share);

#endif
