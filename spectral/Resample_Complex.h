/* Resample_Complex.h - complex numbers in single precision, passed by value.
 *
 * An array of DCOMPLEX is interleaved re, im, re, im; memory of all zero bits is 0 + 0j.
 *
 * Nothing is checked: a division by zero gives the infinities and NaNs of IEEE arithmetic.  All
 * functions are pure and safe in any thread; all are [rt]: they neither allocate, lock, print
 * nor touch files. */
#ifndef RSMPL_RESAMPLE_COMPLEX_H
#define RSMPL_RESAMPLE_COMPLEX_H

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

/* re + im j. */
typedef struct DCOMPLEX {
    float re; /* real part */
    float im; /* imaginary part */
} DCOMPLEX;

/* Makes re + im j. */
DCOMPLEX Complex(float re, float im);

DCOMPLEX Cadd(DCOMPLEX a, DCOMPLEX b); /* a + b */
DCOMPLEX Csub(DCOMPLEX a, DCOMPLEX b); /* a - b */
DCOMPLEX Cmul(DCOMPLEX a, DCOMPLEX b); /* a * b */

/* x * a and a / x: the real factor comes first, the real divisor last. */
DCOMPLEX RCmul(float x, DCOMPLEX a);
DCOMPLEX Cdivr(DCOMPLEX a, float x);

/* a / b, scaled by the larger part of b, so that no square leaves the range: for |b| between
 * about 1e-38 and 8e37. */
DCOMPLEX Cdiv(DCOMPLEX a, DCOMPLEX b);

/* a / b, by one division by |b|^2: quicker, but only for |b| between about 1e-19 and 1e19,
 * where the square stays in range. */
DCOMPLEX Cdiv2(DCOMPLEX a, DCOMPLEX b);

/* The conjugate of z, re - im j. */
DCOMPLEX Conjg(DCOMPLEX z);

/* |z|, in range wherever the result is, and |z|^2, which overflows from about 1.8e19 on. */
float Cabs(DCOMPLEX z);
float Cabs2(DCOMPLEX z);

/* The principal square root: its real part is not negative, and the imaginary part has the sign
 * of z.im.  For negative real z a negative zero z.im counts as positive: Csqrt(-4 - 0j) is
 * -0 + 2j. */
DCOMPLEX Csqrt(DCOMPLEX z);

/* The mean of v[0 .. n), summed in that order in single precision.  v is not read for n < 1;
 * the result is then NaN in both parts for n = 0, and negative zero for n < 0. */
DCOMPLEX Cavg_vec(const DCOMPLEX* v, int n);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif
