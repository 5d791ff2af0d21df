/* 6_designed_filter.c - 16-bit mono PCM from standard input to standard output, everything above a
 * quarter of the sampling rate taken out by a FIR filter of 63 taps.
 *
 *     cc 6_designed_filter.c $(pkg-config --cflags --libs rsmpl) -o 6_designed_filter
 *     sox speech.wav -t raw -b 16 -c 1 - | ./6_designed_filter >dull.raw */
#include "convert/Resample_DatTypeConvert.h"
#include "design/Resample_FIRFilterDesign.h"
#include "fir/Resample_FIRFiltering.h"
#include <stdio.h>

enum { BLOCK = 960, TAPS = 63, MIDDLE = (TAPS - 1) / 2 };

int main(void)
{
    short pcm[BLOCK];
    float taps[TAPS], samples[BLOCK];
    size_t len;
    FIRState* filter = NULL;
    /* Centred on the middle tap the phase is linear; GeneralFIRLowpass is half a sample later. */
    const int ready = GeneralFIRDesign(taps, TAPS, WIN_HAMMING, -1, 0.25F, MIDDLE) &&
                      FIRInitAlloc(&filter, taps, TAPS, NULL);
    while (ready && (len = fread(pcm, sizeof pcm[0], BLOCK, stdin)) > 0) {
        Convert_ShortToFloat(samples, pcm, (int)len);
        FIRFiltering(filter, samples, samples, len);
        Convert_FloatToShort(pcm, samples, (int)len, 1);
        fwrite(pcm, sizeof pcm[0], len, stdout);
    }
    FIRFree(filter);
    return ready && fflush(stdout) == 0 && !ferror(stdout) ? 0 : 1;
}
