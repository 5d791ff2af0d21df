/* Resample_WinFunc.h - tapering windows.
 *
 * Each writes w[0 .. N), symmetric: w[0] and w[N - 1] are the two ends of the taper, and an odd N
 * has its peak of 1 in the middle.  N of 1 gives the end alone.  N below 1 writes nothing.
 *
 * No state: safe in any thread.  All are [rt]: they neither allocate, lock, print nor touch
 * files, but take one or two cosines per value. */
#ifndef RSMPL_RESAMPLE_WINFUNC_H
#define RSMPL_RESAMPLE_WINFUNC_H

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

/* 0.42 - 0.5 cos(2 pi n / (N - 1)) + 0.08 cos(4 pi n / (N - 1)), from 0 to 1. */
void WinBlackman(float* w, int N);

/* 0.54 - 0.46 cos(2 pi n / (N - 1)), from 0.08 to 1. */
void WinHamming(float* w, int N);

/* 0.5 - 0.5 cos(2 pi n / (N - 1)), from 0 to 1. */
void WinHanning(float* w, int N);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif
