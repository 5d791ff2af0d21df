/* Resample_FIRFilterDesign.h - FIR filters designed by frequency sampling.
 *
 *     float taps[64];
 *     GeneralFIRLowpass(taps, 64, WIN_HAMMING, 0.25F);
 *
 * The spectrum of an impulse is cut off at the band edges, and turned in phase when the impulse
 * is to lie between two samples; transformed back, it is weighted by a window and shifted to its
 * place.
 *
 *     len, L     count of taps, up to 2^30; typically 64
 *     type       the window.  Before the shift it is symmetric about (L - 1) / 2, and the impulse
 *                at L / 2
 *     low, high  band edges as fractions of the sampling rate, 0.5 being the Nyquist frequency.
 *                A low edge up to 1e-5, a high edge from 0.5 on, and NaN are absent
 *     centre     where the peak of the response goes, in samples from the first tap, 0 to L - 1:
 *                the delay of the filter.  What a shift moves beyond the taps is lost: best near
 *                L / 2
 *     out        receives L taps
 *
 * The transform has M points, the power of two from L on.  A bin k reaches from (k - 1/2) / M to
 * (k + 1/2) / M; the one that holds an edge is weighted by the part of it that the edge leaves,
 * by both parts when it holds both edges.  The gain of the pass band is 1 before the window;
 * nothing is normalised after it.  A Hamming window then takes about 3 / L from -1 to -50 dB.
 *
 * Low-pass, high-pass and band-pass have their centre at L / 2, half a sample later than the
 * window's.  Exactly linear phase has the centre (L - 1) / 2 of an odd L, to be had from
 * GeneralFIRDesign.
 *
 * A centre counts as whole when less than 1e-5 is beyond the whole number, and when it is
 * negative: it is truncated toward zero.  A whole centre without edges gives the bare impulse,
 * 1 at that tap, not weighted.
 *
 * Nothing is refused but a len above 2^30.  Bands and centres far outside their ranges, infinite
 * ones too, give taps of 0; a NaN centre counts as 0.  A len of 1 is designed like any other, with
 * M = 1; a len below 1 writes nothing.
 *
 * A designer must not be used by two threads at once; distinct ones are independent, and the
 * plain functions may be called anywhere.  [rt]: neither allocates, locks, prints nor touches
 * files. */
#ifndef RSMPL_RESAMPLE_FIRFILTERDESIGN_H
#define RSMPL_RESAMPLE_FIRFILTERDESIGN_H

#pragma GCC visibility push(default)

/* Values other than these give the same taps as WIN_NONE. */
#ifdef __cplusplus
enum General_WindowType : int
#else
enum General_WindowType
#endif
{
    WIN_NONE = 0,     /* rectangular */
    WIN_BLACKMAN = 1, /* WinBlackman */
    WIN_HAMMING = 2,  /* WinHamming */
    WIN_HANNING = 3   /* WinHanning */
};
typedef enum General_WindowType General_WindowType;

#ifdef __cplusplus
extern "C" {
#endif

/* Designs out[0 .. len), with a designer of its own, which it releases.  Returns 1; or 0, with out
 * untouched, when memory is short or len above 2^30.  So do the other four. */
int GeneralFIRDesign(float* out, int len, General_WindowType type, float low, float high,
                     float centre);

/* Passes everything, delayed by `delay` samples, which need not be whole.  A whole delay is exact.
 * Any other is a windowed pulse around L / 2, and the farther it is shifted from there, the more of
 * it is lost beyond the taps: of 64 with a Hamming window the gain below a frequency of 0.4 stays
 * within 0.04 dB for a delay of 24.5, 0.11 dB for 16.5 and 0.4 dB for 8.5. */
int GeneralFIRFractionalDelay(float* out, int len, General_WindowType type, float delay);

/* Pass what is below fc, above fc, between f1 and f2. */
int GeneralFIRLowpass(float* out, int len, General_WindowType type, float fc);
int GeneralFIRHighpass(float* out, int len, General_WindowType type, float fc);
int GeneralFIRBandpass(float* out, int len, General_WindowType type, float f1, float f2);

#ifdef __cplusplus
}

struct DCOMPLEX;
class CFFT;

/* Any number of designs of one length and window. */
class CGeneralFIRDesigner
{
public:
    /* No arrays yet: designs nothing before Init. */
    CGeneralFIRDesigner();

    /* The same, followed by Init(len, type).  Where that fails m_fft is null, and designs return
     * 0. */
    CGeneralFIRDesigner(int len, General_WindowType type);

    /* Releases all arrays. */
    ~CGeneralFIRDesigner();

    CGeneralFIRDesigner(const CGeneralFIRDesigner&) = delete;
    CGeneralFIRDesigner& operator=(const CGeneralFIRDesigner&) = delete;

    /* Sets length and window, and allocates; an earlier Init is undone.  Returns 1; or 0, with
     * nothing allocated, when memory is short or len above 2^30. */
    int Init(int len, General_WindowType type);

    /* Designs out[0 .. L).  Returns 1; or 0, with out untouched, without a successful Init.
     * [rt] */
    int GenericDesign(float low, float high, float centre, float* out);

    /* As the plain functions above.  [rt] */
    int FractionalDelay(float delay, float* out);
    int LowpassDesign(float fc, float* out);
    int HighpassDesign(float fc, float* out);
    int BandpassDesign(float f1, float f2, float* out);

    /* To look at, not to write.  The arrays are owned by the object. */
    int m_filterLen;      /* L */
    int m_fftSize;        /* M; 1 when L is below 1 */
    int m_fftOrder;       /* log2 of M */
    int m_numBins;        /* M / 2 + 1 */
    float* m_timeBuf;     /* M samples; null when L = M, where out serves during a design */
    DCOMPLEX* m_spectrum; /* per bin, before the window; not set by a bare impulse */
    float* m_magnitude;   /* per bin; set by designs with a fractional centre only, as m_phase */
    float* m_phase;       /* per bin, in radians */
    float* m_window;      /* L values; null for WIN_NONE, ones for an unknown type */
    CFFT* m_fft;          /* null without a successful Init */
};
#endif

#pragma GCC visibility pop

#endif
