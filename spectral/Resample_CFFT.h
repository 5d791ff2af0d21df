/* Resample_CFFT.h - the Fourier transform of N = 2^m points in single precision.
 *
 *     CFFT fft;
 *     if (fft.FFTInitAlloc(10) != 1) // N = 1024
 *         ...                        // out of memory; FFTFree is still due
 *     fft.FFTFwd_RToC(samples, bins);
 *     fft.FFTInv_CToR(bins, samples);
 *     fft.FFTFree();
 *
 * Forward:  X[k] = sum over n of x[n] e^(-2 pi i n k / N), not scaled.
 * Inverse:  x[n] = 1/N sum over k of X[k] e^(+2 pi i n k / N), so that it undoes the forward.
 *
 * A real signal is N floats.  Its half spectrum is the N/2 + 1 bins from 0 to N/2, as DCOMPLEX
 * or as two arrays of magnitudes and phases, the phases in radians.
 *
 * Arrays are the caller's, and must not be null nor one of the object's own.  Unless said
 * otherwise input and output do not overlap; inputs are never written.  An engine of order 0
 * (N = 1) transforms nothing: its outputs are left as they are or are undefined.
 *
 * What works on arrays needs a successful FFTInitAlloc before it, and after FFTFree another one.
 * An object must not be used by two threads at once; distinct ones are independent.  [rt]: neither
 * allocates, locks, prints nor touches files. */
#ifndef RSMPL_RESAMPLE_CFFT_H
#define RSMPL_RESAMPLE_CFFT_H

#include "spectral/Resample_Complex.h"

#pragma GCC visibility push(default)

/* A transform of one length, with its arrays. */
class CFFT
{
public:
    /* No arrays yet: all pointers are null, length and order 0. */
    CFFT();

    /* Does not release the arrays: FFTFree does. */
    ~CFFT();

    CFFT(const CFFT&) = delete;
    CFFT& operator=(const CFFT&) = delete;

    /* Sets the length to 2^order and allocates four arrays of that many values.  Returns 1; 0
     * when memory is short, what was allocated until then remaining for FFTFree; 0 with nothing
     * touched when order is below 0 or above 31.  A second call needs an FFTFree before it. */
    int FFTInitAlloc(int order);

    /* Releases the four arrays, also after a failed FFTInitAlloc.  Their pointers are null then,
     * and a second call does nothing.  Length, order and pStagePair stay as they were; what
     * pStagePair points to may be gone. */
    void FFTFree();

    /* |z| as the root of re^2 + im^2, in single precision throughout.  [rt] */
    float c_abs(DCOMPLEX z);

    /* The phase of z, from -pi to pi; +pi/2 wherever z.re is 0, also for negative z.im.  [rt] */
    float c_angle(DCOMPLEX z);

    /* The conjugate of z, re - im j.  [rt] */
    DCOMPLEX c_conj(DCOMPLEX z);

    /* Half spectrum in[0 .. N/2] to mag[0 .. N/2] and phase[0 .. N/2].  [rt] */
    void CartToPolar(DCOMPLEX* in, float* mag, float* phase);

    /* mag[0 .. N/2] and phase[0 .. N/2] to the whole spectrum out[0 .. N), whose upper half is
     * the conjugate of the lower.  [rt] */
    void PolarToCart(float* mag, float* phase, DCOMPLEX* out);

    /* The same to the half spectrum out[0 .. N/2].  [rt] */
    void PolarToCartEL(float* mag, float* phase, DCOMPLEX* out);

    /* Conjugates in[0 .. N) to out[0 .. N); out may be in.  [rt] */
    void CartCToConj(DCOMPLEX* in, DCOMPLEX* out);

    /* Forward transform of in[0 .. N) to out[0 .. N), bins in natural order.  out may be in
     * when the order is even; in is not written otherwise.  [rt] */
    void FFTFwd_CToC(DCOMPLEX* in, DCOMPLEX* out);

    /* Forward transform of the real in[0 .. N) to the half spectrum out[0 .. N/2].  [rt] */
    void FFTFwd_RToC(float* in, DCOMPLEX* out);

    /* The same to magnitudes and phases.  [rt] */
    void FFTFwd_RToPolarC(float* in, float* mag, float* phase);

    /* Inverse transform of the half spectrum in[0 .. N/2] to the real out[0 .. N).  The
     * imaginary parts of bins 0 and N/2 have no effect.  [rt] */
    void FFTInv_CToR(DCOMPLEX* in, float* out);

    /* The same from magnitudes and phases.  [rt] */
    void FFTInv_PolarCToR(float* mag, float* phase, float* out);

    /* To look at, not to write.  The arrays are owned by the object. */
    DCOMPLEX* pStagePair[2]; /* destinations of the last transform: its output, pScratch */
    DCOMPLEX* pScratch;      /* N values between stages */
    DCOMPLEX* pTwiddle;      /* N factors, [k] = e^(-2 pi i k / N) */
    DCOMPLEX* pInBuf;        /* N values: complex input of the real transforms */
    DCOMPLEX* pOutBuf;       /* N values: complex output of the real transforms */
    unsigned nFFTLen;        /* N; 0 before the first FFTInitAlloc */
    unsigned nFFTOrder;      /* m; likewise */
};

#pragma GCC visibility pop

#endif
