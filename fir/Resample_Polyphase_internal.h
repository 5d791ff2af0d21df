/* Resample_Polyphase_internal.h - filters for L / M times the rate that leave out inserted zeros.
 *
 * Of the taps only every L-th one meets an input, and not a zero:
 *
 *     y[k] = sum over i of taps[phase + i L] x[newest - i],   k M = newest L + phase
 *
 * A zero times a finite tap changes no sum but -0, which it may turn to +0.  So these are the bits
 * of the sum over all taps as long as all are finite and an output of -0 is looked at once more. */
#ifndef RSMPL_RESAMPLE_POLYPHASE_INTERNAL_H
#define RSMPL_RESAMPLE_POLYPHASE_INTERNAL_H

#include "fir/Resample_DelayLine_internal.h"

#include <cstdint>

namespace rsmpl
{

// Numbers of a filter with `length` taps, at least one, that inserts L - 1 zeros and keeps every
// M-th output.
struct Polyphase {
    // Whether a filter is one of these: it inserts zeros, has taps for every phase, and its outputs
    // are not too far apart.
    static bool serves(std::uint64_t length, std::uint64_t L, std::uint64_t M);

    // Of that many taps, and a ratio that is served.
    Polyphase(std::uint64_t taps, std::uint64_t up, std::uint64_t down);

    // Floats in the tables.  More than 64 bits count belong to taps that no memory holds.
    std::uint64_t table_size() const;

    // Fills the tables.  Those of taps that are not all finite are not to be used.
    void fill(const float* taps, float* tables) const;
    static bool usable(const float* tables);

    // The first output of a lane: they divide a pattern evenly, eight for each block.
    std::uint64_t lane_start(std::uint64_t lane) const { return lane * pattern / (8 * blocks); }

    std::uint64_t length, L, M;
    std::uint64_t rows; // taps of a phase; where length % L is not 0 the last is only of that many
    std::uint64_t pattern; // outputs after which blocks repeat, whole frames
    std::uint64_t blocks;  // in a pattern
    std::uint64_t groups;  // of a block: a lane has that many outputs, or one fewer
};

// Takes `frames` frames of M inputs each through the filter: in[0 .. M frames) to out[0 .. L
// frames), which may be the same where L <= M.  The line is the filter's past, inserted zeros
// included, before and after.
void filter_by_phases(const Polyphase& filter, const float* taps, const float* tables,
                      DelayLine& line, const float* in, float* out, std::uint64_t frames);

} // namespace rsmpl

#endif
