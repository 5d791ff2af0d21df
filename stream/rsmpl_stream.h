/* rsmpl_stream.h - any rates, any block: sample-rate conversion as hosts want it.
 *
 *     rsmpl_stream* stream;
 *     if (rsmpl_stream_open(&stream, 2, 44100, 16000, RSMPL_ENGINE_AUTO, 0) != RSMPL_STREAM_OK)
 *         return 1;
 *     short out[2 * ROOM];                   rsmpl_stream_outputs(stream, n) tells how much room
 *     m = rsmpl_stream_run_short(stream, in, n, out);          per block, n as it comes
 *     m = rsmpl_stream_finish_short(stream, out);              at the end of a file
 *     rsmpl_stream_close(stream);
 *
 * The rates are reduced to out / in = L / M; both can be 1 to 1024.  Three engines serve them:
 *
 *     copy   equal rates: what goes in comes out
 *     IIR    the ten stages, L : M = 2:3 1:2 1:3 1:4 1:6 3:2 2:1 3:1 4:1 6:1; next to no delay
 *     FIR    any other, or all when asked for; linear phase, the same delay for all frequencies
 *
 * Frames.  A frame is one sample of each channel; lengths and delays count frames.  Samples are
 * interleaved, in[frame * channels + channel], or planar, in[channel][frame].  in and out must not
 * overlap.  Floats have no full scale and are never clipped; NaN and infinity flow through, and a
 * reset recovers.  16-bit samples are rounded to nearest, clipped at the limits, and counted.
 *
 * Counts.  After n frames floor(n / M) * L frames have been delivered, however the n were split:
 * up to M - 1 wait for their group.  finish completes the group with silence, and the sum is
 * ceil(n * L / M).  With RSMPL_STREAM_ALIGNED the first round(delay) frames are left out, and
 * finish delivers as many more, so that what went in comes out in its place and the sum is
 * ceil(n * L / M) again.  The place is exact with FIR; with a stage it is that of a tone at N / 10
 * (below), to half an output frame, and tones near the edge come later.  For files that is what one
 * wants; a live stream does without.  rsmpl_stream_outputs and rsmpl_stream_tail tell each count
 * before the call.
 *
 * Splits of one stream give the same samples; IIR, which keeps its memory in single precision
 * between calls, to 1e-6 of the loudest one, FIR to the bit.
 *
 * What each conversion is good at, up to the lower one of the two Nyquist frequencies, N, measured:
 *
 *              ripple, up to     -1 dB at    from N on    delay, output frames   ns per input
 *     2:3      0.5 dB  0.875 N   0.877 N     -60 dB       1.44                   1.4
 *     1:2      0.5     0.875     0.876       -60          1.30                   1.1
 *     1:3      0.5     0.875     0.877       -60          1.44                   0.9
 *     1:4      0.5     0.875     0.877       -60          1.49                   0.8
 *     1:6      0.5     0.875     0.877       -60          1.53                   0.8
 *     3:2      0.5     0.875     0.877       -60          2.16                   1.9
 *     2:1      0.5     0.875     0.876       -60          2.59                   2.1
 *     3:1      0.5     0.875     0.877       -60          4.32                   2.9
 *     4:1      0.5     0.875     0.877       -60          5.96                   3.5
 *     6:1      0.5     0.875     0.877       -60          9.15                   4.9
 *     FIR      0.01    0.87      0.902       -71          48 max(L, M) / M       3.0, 6.6
 *
 * FIR's delay is rounded up.  ns: mono, blocks of 960 samples of the faster side; FIR 160:441, in
 * calls of 1 s and of 10 ms; on an AMD EPYC with AVX2 (./bench/run).
 *
 * A stage's delay is that of a tone at N / 10, and grows towards the edge.  Its level is -0.5 dB at
 * DC, and 0 dB at most; FIR's is 0 dB.  FIR's figures are bounds for all ratios: each has 71.5 to
 * 87 dB, and -1 dB at 0.904 to 0.910 N.  No output exceeds the largest input times 3.4 with a
 * stage, times 2.6 with FIR.
 *
 * One thread at a time per stream; distinct streams are independent, also while another is opened.
 * [rt]: neither allocates, locks, prints nor touches files; calls that convert take 28 KiB of
 * stack.  A null in stands for silence; out may be null where it gets no frames. */
#ifndef RSMPL_RSMPL_STREAM_H
#define RSMPL_RSMPL_STREAM_H

#include <stddef.h>
#include <stdint.h>

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

/* One stream: its filters, and what waits for its group. */
typedef struct rsmpl_stream rsmpl_stream;

/* What serves a stream. */
typedef enum {
    RSMPL_ENGINE_AUTO, /* a stage where there is one, otherwise FIR */
    RSMPL_ENGINE_IIR,  /* a stage */
    RSMPL_ENGINE_FIR   /* the linear-phase filter */
} rsmpl_engine;

/* Results of open. */
typedef enum {
    RSMPL_STREAM_OK,           /* there is a stream */
    RSMPL_STREAM_BAD_ARGUMENT, /* null, channels not 1 to 64, unknown engine or flags */
    RSMPL_STREAM_BAD_RATES,    /* a rate below 1, L or M above 1024, or no stage for them */
    RSMPL_STREAM_NO_MEMORY     /* nothing is kept */
} rsmpl_stream_status;

/* Flags of open. */
enum {
    RSMPL_STREAM_ALIGNED = 1 /* the delay is taken out, see above */
};

/* Limits of open. */
enum {
    RSMPL_STREAM_MOST_CHANNELS = 64, /* per stream */
    RSMPL_STREAM_MOST_RATIO = 1024   /* of L and of M */
};

/* Of FIR, flat to rejection are what holds for all ratios. */
typedef struct rsmpl_stream_info {
    rsmpl_engine engine;   /* IIR or FIR; AUTO for a copy */
    int channels;          /* 1 to 64 */
    int in_rate, out_rate; /* Hz */
    int up, down;          /* L, M */
    int taps;              /* of the FIR filter at in_rate * L; 0 without one */
    double flat;           /* as parts of the lower Nyquist frequency: where the ripple ends, */
    double edge;           /* and where the response is 1 dB below its maximum */
    double ripple;         /* dB between the strongest and the weakest tone up to `flat` */
    double rejection;      /* dB from the maximum down to the strongest alias or image */
    double delay;          /* in output frames, as rsmpl_stream_delay tells */
} rsmpl_stream_info;

/* Opens a stream of 1 to 64 channels from in_rate to out_rate Hz; flags 0 or RSMPL_STREAM_ALIGNED.
 * Equal rates are a copy with any engine.  What is found wrong first is the result; *stream is then
 * null.  This is the only call that allocates: some 100 KiB; with FIR up to 4 MiB more for the
 * taps, and 0.4 MiB for each channel, which a reset or finish clears again. */
rsmpl_stream_status rsmpl_stream_open(rsmpl_stream** stream, int channels, int in_rate,
                                      int out_rate, rsmpl_engine engine, unsigned flags);

/* Releases the stream; null is ignored. */
void rsmpl_stream_close(rsmpl_stream* stream);

/* As just opened: silent past, counts and clipped at 0.  [rt] */
void rsmpl_stream_reset(rsmpl_stream* stream);

/* The frames that the next run with so many frames delivers.  [rt] */
size_t rsmpl_stream_outputs(const rsmpl_stream* stream, size_t frames);

/* Takes `frames` frames from 0 up; returns the frames that it wrote to out.  [rt] */
size_t rsmpl_stream_run_float(rsmpl_stream* stream, const float* in, size_t frames, float* out);
size_t rsmpl_stream_run_short(rsmpl_stream* stream, const short* in, size_t frames, short* out);
size_t rsmpl_stream_run_rows(rsmpl_stream* stream, const float* const* in, size_t frames,
                             float* const* out);

/* The frames that finish delivers.  [rt] */
size_t rsmpl_stream_tail(const rsmpl_stream* stream);

/* Ends the stream: writes its last frames and returns how many.  It is then as just opened, but for
 * what rsmpl_stream_clipped tells, which goes on.  [rt] */
size_t rsmpl_stream_finish_float(rsmpl_stream* stream, float* out);
size_t rsmpl_stream_finish_short(rsmpl_stream* stream, short* out);
size_t rsmpl_stream_finish_rows(rsmpl_stream* stream, float* const* out);

/* By how many output frames the filter delays a tone at a tenth of the lower Nyquist frequency.
 * RSMPL_STREAM_ALIGNED makes up for it, rounded to whole frames, and leaves this figure as it
 * is.  [rt] */
double rsmpl_stream_delay(const rsmpl_stream* stream);

/* 16-bit samples that were clipped since open or reset.  [rt] */
uint64_t rsmpl_stream_clipped(const rsmpl_stream* stream);

/* Fills *info: what serves the stream, and how good it is.  [rt] */
void rsmpl_stream_describe(const rsmpl_stream* stream, rsmpl_stream_info* info);

/* A status in words, never null.  [rt] */
const char* rsmpl_stream_message(rsmpl_stream_status status);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif
