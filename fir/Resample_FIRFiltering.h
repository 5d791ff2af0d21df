/* Resample_FIRFiltering.h - FIR filters on float streams of one channel.
 *
 * Three engines in direct form: one rate with a state record, several rates with a state record,
 * and one rate on memory of the caller's.  Each computes
 *
 *     y[k] = taps[0] x[k] + taps[1] x[k - 1] + ... + taps[length - 1] x[k - length + 1]
 *
 * in single precision: the sum starts at +0, takes the taps in this order, and rounds each
 * multiply-add once.  It is the same bits everywhere, all NaNs being alike and the host rounding to
 * nearest; infinities and NaNs flow as IEEE arithmetic has it.  A filter without taps gives 0.
 *
 * Consecutive calls join without a seam: a stream may be cut into blocks anywhere, or, at several
 * rates, between any two frames.
 *
 * A record belongs to whoever created it and must not be used by two threads at once; distinct
 * ones are independent.  [rt]: neither allocates, locks, prints nor touches files; filtering
 * takes 24 KiB of stack. */
#ifndef RSMPL_RESAMPLE_FIRFILTERING_H
#define RSMPL_RESAMPLE_FIRFILTERING_H

#include <stdint.h>

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

/* One rate.  To look at, not to write; both arrays are owned by the record. */
typedef struct FIRState {
    float* taps;     /* copy of the coefficients, taps[0] for the newest sample */
    float* delay;    /* circular delay line, the last `length` inputs */
    uint64_t length; /* count of taps */
    uint64_t index;  /* where in the delay line the next input goes: the oldest sample */
} FIRState;

/* Creates a filter with a copy of taps[0 .. length).  delay[0 .. length) is the past, oldest
 * first; null stands for silence.
 * Returns 1; or 0 when memory is short, with *state null or of length 0.  A length above
 * 2^61 - 2 throws std::bad_array_new_length, with a *state of length 0; a program in C ends
 * there.  Either way FIRFree(*state) is due, and safe. */
int FIRInitAlloc(FIRState** state, const float* taps, uint64_t length, const float* delay);

/* Filters in[0 .. n) to out[0 .. n); out may be in.  [rt] */
void FIRFiltering(FIRState* state, const float* in, float* out, uint64_t n);

/* Copies the last `length` inputs to delay[0 .. length), oldest first.  [rt] */
void FIRGetDlyLine(const FIRState* state, float* delay);

/* Releases the record and its arrays; null is ignored. */
void FIRFree(FIRState* state);

/* Several rates: up by L, filtered, down by M.  Both arrays are owned by the record.  To look at,
 * but for two things that a host may do: it may start a stream anew by setting `delay` and `index`
 * to 0; and it may have several streams share the taps, by copies of the record, each with a
 * `delay` of `length` floats of its own, that are released without FIRMRFree and before the record
 * is. */
typedef struct FIRMRState {
    float* taps;     /* copy of the coefficients, taps[0] for the newest sample */
    float* delay;    /* circular delay line at the high rate, inserted zeros included */
    uint64_t length; /* count of taps */
    uint64_t up;     /* L: L - 1 zeros are inserted after each input */
    uint64_t down;   /* M: the first of every M filtered values is kept */
    uint64_t index;  /* where in the delay line the next value goes: the oldest one */
} FIRMRState;

/* Creates a filter for the rate in * L / M with a copy of taps[0 .. length), which act at the
 * rate in * L, and a silent past.  Nothing makes up for the inserted zeros: to keep the level,
 * the taps carry a gain of L.  Where L is above 1 the record keeps them twice more, by phase, as if
 * `length` were the next multiple of L: for calls of eight frames, and for shorter ones.  Of 20
 * taps for each phase or more, that takes up to 11 times their room, for L above 60 at most 2.4
 * times.  Results and failures as FIRInitAlloc, FIRMRFree being due. */
int FIRMRInitAlloc(FIRMRState** state, const float* taps, uint64_t length, uint64_t L, uint64_t M);

/* Filters n frames: in[0 .. M * n) to out[0 .. L * n).  out may be in where L <= M.  Does nothing
 * when L, M or n is 0.  An output costs length / L multiply-adds; with a tap that is infinite or
 * NaN, L above length, or M of 384 L or more, it costs length of them.  Calls of at least
 * 8 frames and 64 outputs, out apart from in, are up to two and a half times as fast as shorter
 * ones, which are fastest where `length` is a multiple of L.  [rt] */
void FIRMRFiltering(FIRMRState* state, const float* in, float* out, uint64_t n);

/* Releases the record and its arrays; null is ignored. */
void FIRMRFree(FIRMRState* state);

/* One rate, without a record: filters in[0 .. n) to out[0 .. n) with taps[0 .. N); out may be in.
 * history[0 .. 2 * N) and *position are the caller's, zero at the start of a stream: a circular
 * store of the last inputs and where in it the next one goes.  A position beyond the store counts
 * modulo 2 * N.  Nothing is done when n is below 1; with N below 1 the outputs are 0, and history
 * and *position are not touched.  [rt] */
void FIRFiltering_Direct(const float* in, float* out, int n, const float* taps, int N,
                         float* history, uint32_t* position);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif
