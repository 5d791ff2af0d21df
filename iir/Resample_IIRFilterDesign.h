/* Resample_IIRFilterDesign.h - ten fixed-ratio IIR stages and their coefficient tables.
 *
 * Each stage inserts zeros, filters through four second-order sections (together an elliptic
 * lowpass of order 8) and keeps every M-th value:
 *
 *     y[j] = G' * w[M j],   w = filter(u),   u[L i] = in[i], other u = 0,   G' = L * G
 *
 * Lengths count samples of one channel; a call reads `len` inputs and writes
 * floor(len * L / M) outputs.  Lengths that the stage is made for, from which a stream can be
 * joined without a seam, are multiples of the group:
 *
 *     stage        L  M  group   outputs         table
 *     1:2          1  2  2 in    len / 2         s_FiltCoeffs_2_1
 *     2:3          2  3  3 in    2 * len / 3     s_FiltCoeffs_3_2
 *     1:3          1  3  3 in    len / 3         s_FiltCoeffs_3_1
 *     1:4          1  4  4 in    len / 4         s_FiltCoeffs_4_1
 *     1:6          1  6  6 in    len / 6         s_FiltCoeffs_6_1
 *     2:1          2  1  1 in    2 * len         s_FiltCoeffs_2_1
 *     3:2          3  2  2 in    3 * len / 2     s_FiltCoeffs_3_2
 *     3:1          3  1  1 in    3 * len         s_FiltCoeffs_3_1
 *     4:1          4  1  1 in    4 * len         s_FiltCoeffs_4_1
 *     6:1          6  1  1 in    6 * len         s_FiltCoeffs_6_1
 *
 * The group is what the arithmetic needs.  RSMPL_Down and RSMPL_Up have rules of their own, which
 * are stricter: least lengths, and multiples of 4 or 6 going down, a longest length going up.
 *
 * Response, from DC to 0.875 of the lower of the two Nyquist frequencies: 0 to -0.5 dB (DC is
 * at the lower end, 0.944); from that Nyquist frequency on: -60 dB.  Full scale can overshoot:
 * no output exceeds 3.4 times the largest input.
 *
 * The context `ctx` is the record of nine 32-bit words of Resample_Rsmpl_IIR_api.h: word 0 is
 * reserved, words 1 to 8 are the filter memory, (p, q) per section, p the newer.  A call works
 * in double precision and rounds the memory to float at its end, interpolators also after every
 * 960 inputs of a longer one; nothing else is state.
 *
 * Samples have no prescribed full scale; NaN and Inf flow through from their own position on,
 * and an initialiser recovers.  Arguments must not be null.  A `len` below 1 does nothing.
 * A context must not be used by two threads at once; distinct ones are independent, also while
 * another thread initialises.  All calls here are [rt]: they neither allocate, lock, print nor
 * touch files; stages take up to 9 KiB of stack. */
#ifndef RSMPL_RESAMPLE_IIRFILTERDESIGN_H
#define RSMPL_RESAMPLE_IIRFILTERDESIGN_H

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

/* The gain G, then (A, B, C) of each section.  A section's response is
 *     (1 + C/z + 1/z^2) / (1 - (A - C)/z - (B - 1)/z^2).
 * For reading only.  All zero until an initialiser of a stage that uses the table has run.  The
 * calls here may read them while another thread initialises; a host's own reading then is a race.
 */
extern float s_FiltCoeffs_2_1[13];
extern float s_FiltCoeffs_3_2[13];
extern float s_FiltCoeffs_3_1[13];
extern float s_FiltCoeffs_4_1[13];
extern float s_FiltCoeffs_6_1[13];

/* Initialisers: set all nine words of ctx to zero, fill the stage's table, return ctx.
 * A table is rewritten with the values it has; other threads may filter meanwhile.  [rt] */
float* InitDownsample1_2(float* ctx);
float* InitDownsample2_3(float* ctx);
float* InitDownsample1_3(float* ctx);
float* InitDownsample1_4(float* ctx);
float* InitDownsample1_6(float* ctx);
float* InitUpsample2_1(float* ctx);
float* InitUpsample3_2(float* ctx);
float* InitUpsample3_1(float* ctx);
float* InitUpsample4_1(float* ctx);
float* InitUpsample6_1(float* ctx);

/* Decimators.  out may equal in.  [rt] */
void Downsample1_2(const float* in, float* out, float* ctx, int len);
void Downsample2_3(const float* in, float* out, float* ctx, int len);
void Downsample1_3(const float* in, float* out, float* ctx, int len);
void Downsample1_4(const float* in, float* out, float* ctx, int len);
void Downsample1_6(const float* in, float* out, float* ctx, int len);

/* Interpolators.  The input is copied before the first output is written, so that out may
 * equal in for len up to 960; the copy is 3.75 KiB of stack.  Longer blocks work too, with
 * out apart from in.  [rt] */
void Upsample2_1(const float* in, float* out, float* ctx, int len);
void Upsample3_2(const float* in, float* out, float* ctx, int len);
void Upsample3_1(const float* in, float* out, float* ctx, int len);
void Upsample4_1(const float* in, float* out, float* ctx, int len);
void Upsample6_1(const float* in, float* out, float* ctx, int len);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif
