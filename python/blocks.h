/* blocks.h - a whole signal through a stream, in a single call, during which Python's other threads
 * run.
 *
 * Lengths count frames.  The sample of frame f and channel c lies at
 * data[f * frame + c * channel]; steps count samples and may be negative or 0.  in and out must
 * not overlap.  One thread at a time per stream. */
#ifndef RSMPL_BLOCKS_H
#define RSMPL_BLOCKS_H

#include "stream/rsmpl_stream.h"

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum { RSMPL_INT16, RSMPL_INT32, RSMPL_FLOAT32, RSMPL_FLOAT64 } rsmpl_sample;

typedef struct rsmpl_signal {
    void* data; /* of `in` only read */
    ptrdiff_t frame, channel;
} rsmpl_signal;

/* What goes on from call to call.  Python may be interrupted between any two calls, so it is these
 * that keep it. */
typedef struct rsmpl_tally {
    size_t waiting;   /* frames that make no group of M yet */
    uint64_t clipped; /* 32-bit samples clipped; those of 16 bits are the stream's */
} rsmpl_tally;

/* Stream and tally as just opened. */
void rsmpl_blocks_reset(rsmpl_stream* stream, rsmpl_tally* tally);

/* Takes `frames` frames through the stream, in blocks of 960 where their length shows, in longer
 * ones where it does not; with `last` also ends it.  out receives what the stream delivers then,
 * and has room for it.  All but 16-bit samples go as floats; 32-bit ones are rounded to nearest,
 * halves away from zero, clipped at the limits, and 0 for NaN.  Returns 0; or 1 when memory is
 * short, both then being reset. */
int rsmpl_blocks_run(rsmpl_stream* stream, rsmpl_tally* tally, rsmpl_sample type,
                     const rsmpl_signal* in, size_t frames, const rsmpl_signal* out, int last);

/* y[n] = (a x[n] + b y[n-1]) / (a + b) for each of so many interleaved channels, rounded to
 * nearest; a > 0, b >= 0.  memory[c] is y[n-1], not rounded.  out == in is allowed. */
void rsmpl_smooth(const short* in, size_t frames, size_t channels, double a, double b,
                  double* memory, short* out);

#ifdef __cplusplus
}
#endif

#endif
