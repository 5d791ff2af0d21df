#ifndef RSMPL_RESAMPLE_DELAYLINE_INTERNAL_H
#define RSMPL_RESAMPLE_DELAYLINE_INTERNAL_H

#include <cstdint>

namespace rsmpl
{

// The last `size` values of a stream in a circle; the next one overwrites the oldest.
struct DelayLine {
    DelayLine(float* memory, std::uint64_t count, std::uint64_t next)
        : values(memory), size(count), index(next)
    {
    }

    float* values;
    std::uint64_t size;
    std::uint64_t index; // where the next value goes
};

} // namespace rsmpl

#endif
