/* 16-bit mono PCM from standard input to standard output, everything above a quarter of the
 * sampling rate taken out: a FIR filter of 63 taps, designed by windowing. */
#include "convert/Resample_DatTypeConvert.h"
#include "design/Resample_WinFunc.h"
#include "fir/Resample_FIRFiltering.h"
#include <math.h>
#include <stdio.h>

enum { BLOCK = 960, TAPS = 63 };

/* The ideal low-pass with its edge at 1/4, cut to TAPS by a Hamming window. */
static void design(float* taps)
{
    const double pi = 3.14159265358979323846;
    WinHamming(taps, TAPS);
    for (int n = 0; n < TAPS; ++n) {
        const double t = n - (TAPS - 1) / 2;
        taps[n] *= (float)(t == 0 ? 0.5 : sin(pi * t / 2) / (pi * t));
    }
}

int main(void)
{
    short pcm[BLOCK];
    float taps[TAPS], samples[BLOCK];
    size_t len;
    FIRState* filter = NULL;
    design(taps);
    const int ready = FIRInitAlloc(&filter, taps, TAPS, NULL);
    while (ready && (len = fread(pcm, sizeof pcm[0], BLOCK, stdin)) > 0) {
        Convert_ShortToFloat(samples, pcm, (int)len);
        FIRFiltering(filter, samples, samples, len);
        Convert_FloatToShort(pcm, samples, (int)len, 1);
        fwrite(pcm, sizeof pcm[0], len, stdout);
    }
    FIRFree(filter);
    return !ready;
}
