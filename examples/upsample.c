/* 16-bit mono PCM from standard input at 16 kHz to standard output at 48 kHz: the fixed-ratio
 * stages on float blocks, with a context of one's own and clipping instead of wrapping. */
#include "iir/Resample_Rsmpl_IIR_api.h"
#include <stdio.h>
#include <stdlib.h>

enum { BLOCK = 320, RATIO = 3, CODE_3_1 = 2 }; /* 20 ms */

static short clip(float value)
{
    if (value > 32767.0F)
        return 32767;
    if (value < -32768.0F)
        return -32768;
    return (short)value;
}

int main(void)
{
    short pcm[BLOCK * RATIO];
    float in[BLOCK], out[BLOCK * RATIO];
    void* ctx = malloc(RSMPL_GetContextSize());
    if (RSMPL_InitContext(ctx) != 0)
        return 1;
    while (fread(pcm, sizeof pcm[0], BLOCK, stdin) == BLOCK) {
        for (int i = 0; i < BLOCK; ++i)
            in[i] = pcm[i];
        if (RSMPL_Up(ctx, in, out, BLOCK, CODE_3_1) != 0)
            return 1;
        for (int i = 0; i < BLOCK * RATIO; ++i)
            pcm[i] = clip(out[i]);
        fwrite(pcm, sizeof pcm[0], BLOCK * RATIO, stdout);
    }
    free(ctx);
    return 0;
}
