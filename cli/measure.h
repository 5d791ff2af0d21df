#ifndef RSMPL_CLI_MEASURE_H
#define RSMPL_CLI_MEASURE_H

#include "stream/rsmpl_stream.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <memory>
#include <vector>

using Stream = std::unique_ptr<rsmpl_stream, decltype(&rsmpl_stream_close)>;

// Throws std::runtime_error with the reason.
Stream open_stream(int channels, int in_rate, int out_rate, rsmpl_engine engine,
                   unsigned flags = 0);

// The filter of a stream of one channel, at L times its input's rate and raised by L: its taps, of
// a stage as many as single precision can tell from silence.
std::vector<double> impulse_response(rsmpl_stream* stream);

struct Response {
    double decibels; // -HUGE_VAL where nothing passes
    double phase;    // -pi to pi
    double delay;    // group delay in samples; NaN where nothing passes
};

// At `frequency`, a part of the filter's rate.
Response response_at(const std::vector<double>& taps, double frequency);

// Of the conversion by L / M.  Frequencies are parts of the lower one of the two Nyquist
// frequencies, delays output frames.
struct Figures {
    double gain;       // at DC, dB
    double ripple;     // dB between the strongest and the weakest tone up to `flat`
    double edge;       // where tones are 1 dB below the strongest
    double rejection;  // dB from the strongest tone to the strongest alias or image
    double delay;      // at DC
    double edge_delay; // at `edge`
    double overshoot;  // dB by which an output can exceed the largest input, at worst
};

Figures measure(const std::vector<double>& taps, int up, int down, double flat);

// Nanoseconds of the fastest of many runs within a hundredth of a second.
template <typename Run>
double fastest(Run run)
{
    using Clock = std::chrono::steady_clock;
    using Nanoseconds = std::chrono::duration<double, std::nano>;
    const auto end = Clock::now() + std::chrono::milliseconds(10);
    Nanoseconds least = std::chrono::hours(1);
    for (auto began = Clock::now(), now = began; now < end; began = now) {
        run();
        now = Clock::now();
        least = std::min<Nanoseconds>(least, now - began);
    }
    return least.count();
}

#endif
