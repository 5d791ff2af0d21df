/* 5_up_and_down.c - 16-bit mono PCM at 16 kHz from standard input, up to 48 kHz and down again, to
 * standard output: what surrounds an effect that works at the higher rate.  The stages take and
 * give floats, each with a context of its own; at the end samples are clipped instead of wrapped.
 *
 *     cc 5_up_and_down.c $(pkg-config --cflags --libs rsmpl) -o 5_up_and_down
 *     sox speech.wav -t raw -r 16000 -b 16 -c 1 - | ./5_up_and_down >again.raw */
#include "convert/Resample_DatTypeConvert.h"
#include "iir/Resample_Rsmpl_IIR_api.h"
#include <stdio.h>
#include <stdlib.h>

enum { BLOCK = 320, HIGH = 3 * BLOCK, ROUND = 1 }; /* 20 ms; at most 960 samples at the high rate */

int main(void)
{
    short pcm[BLOCK];
    float low[BLOCK], high[HIGH];
    void* up = malloc(RSMPL_GetContextSize());
    void* down = malloc(RSMPL_GetContextSize());
    int ok = RSMPL_InitContext(up) == RSMPL_SUCCESS && RSMPL_InitContext(down) == RSMPL_SUCCESS;
    while (ok && fread(pcm, sizeof pcm[0], BLOCK, stdin) == BLOCK) {
        Convert_ShortToFloat(low, pcm, BLOCK);
        ok = RSMPL_Up(up, low, high, BLOCK, RSMPL_RATIO_3_1) == RSMPL_SUCCESS;
        /* Here goes what is to be done to high[0 .. HIGH) at 48 kHz. */
        ok = ok && RSMPL_Down(down, high, low, HIGH, RSMPL_RATIO_1_3) == RSMPL_SUCCESS;
        Convert_FloatToShort(pcm, low, BLOCK, ROUND);
        ok = ok && fwrite(pcm, sizeof pcm[0], BLOCK, stdout) == BLOCK;
    }
    free(up);
    free(down);
    return ok && fflush(stdout) == 0 ? 0 : 1;
}
