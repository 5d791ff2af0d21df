/* Resample_DatTypeConvert.h - sample formats: 16-bit, float, and wide.
 *
 * A wide sample, the Int32 of the names, is a long of 64 bits that holds a 16-bit value times
 * 65536.
 *
 * All convert n samples, dst[0 .. n) from src[0 .. n), and do nothing when n is below 1.  The
 * two arrays do not overlap, and need no more than the alignment of their elements.
 *
 *     sf     the factor is 2^-sf, in float: sf = -15 multiplies by 32768, 15 divides by it.
 *            Factors beyond the range of a float are infinity or 0, and 0 times infinity is
 *            NaN.
 *     mode   1 rounds to nearest, halves away from zero; any other value truncates toward zero.
 *            The half is added in float and the sum truncated: the floats next below a half,
 *            +-0.49999997, become +-1 too.  Wide samples have a rounding of their own
 *
 * No state: safe in any thread.  All are [rt]: they neither allocate, lock, print nor touch
 * files. */
#ifndef RSMPL_RESAMPLE_DATTYPECONVERT_H
#define RSMPL_RESAMPLE_DATTYPECONVERT_H

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

/* dst[i] = src[i], or src[i] * 2^-sf. */
void Convert_ShortToFloat(float* dst, const short* src, int n);
void Convert_ShortToFloat_Sf(float* dst, const short* src, int n, int sf);

/* dst[i] = src[i], or src[i] * 2^-sf, rounded as mode says, at most 32767, at least -32768.  NaN
 * gives 32767. */
void Convert_FloatToShort(short* dst, const float* src, int n, int mode);
void Convert_FloatToShort_Sf(short* dst, const float* src, int n, int mode, int sf);

/* dst[i] = src[i] / 65536, at most 32767, at least -32768.  This family's own rounding: with
 * mode 1 floor(src[i] / 65536 + 1/2), but floor(src[i] / 65536 - 1/2) for negative samples, so
 * that -65536 gives -2; with other modes floor(src[i] / 65536).  With mode 1, samples
 * nearer than 32768 to an end of the 64 bits wrap around, to the other limit. */
void Convert_Int32ToInt16(short* dst, const long* src, int n, int mode);

/* dst[i] = src[i] * 65536. */
void Convert_Int16ToInt32(long* dst, const short* src, int n);

/* dst[i] = src[i * step] * 65536: one channel out of `step` interleaved ones.  step may be 0 or
 * negative. */
void Convert_Int16ToInt32_Step(long* dst, const short* src, int n, int step);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif
