/* road_internal.h - which filter serves which rates, and one channel of it. */
#ifndef RSMPL_STREAM_ROAD_INTERNAL_H
#define RSMPL_STREAM_ROAD_INTERNAL_H

#include "fir/Resample_FIRFiltering.h"
#include "stream/rsmpl_stream.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace rsmpl_streams
{

struct Stage;

// What all channels of a stream have in common.
struct Road {
    // Sets the rates, the engine and the figures of `info`, but no channels.  Throws
    // std::bad_alloc.
    rsmpl_stream_status choose(int in_rate, int out_rate, rsmpl_engine engine);

    rsmpl_stream_info info{};
    const Stage* stage = nullptr; // with RSMPL_ENGINE_IIR
    std::unique_ptr<FIRMRState, decltype(&FIRMRFree)> fir{nullptr, FIRMRFree}; // with ..._FIR
};

// The filter of one channel.  The road outlives it: channels share its taps.
class Filter
{
public:
    // Throws std::bad_alloc.
    explicit Filter(const Road& road);

    void reset();

    // in[0 .. groups * M) to out[0 .. groups * L), which are apart.
    void run(const float* in, float* out, std::size_t groups);

private:
    const Stage* stage_;
    float context_[9] = {};
    FIRMRState fir_{}; // a copy of the road's, with a delay line of its own
    std::vector<float> line_;
    std::size_t down_;
};

} // namespace rsmpl_streams

#endif
