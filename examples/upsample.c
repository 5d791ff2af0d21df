/* 16-bit mono PCM from standard input at 16 kHz to standard output at 48 kHz: the fixed-ratio
 * stages on float blocks, with a context of one's own and clipping instead of wrapping. */
#include "convert/Resample_DatTypeConvert.h"
#include "iir/Resample_Rsmpl_IIR_api.h"
#include <stdio.h>
#include <stdlib.h>

enum { BLOCK = 320, RATIO = 3 }; /* 20 ms */

int main(void)
{
    short pcm[BLOCK * RATIO];
    float in[BLOCK], out[BLOCK * RATIO];
    void* ctx = malloc(RSMPL_GetContextSize());
    if (RSMPL_InitContext(ctx) != 0)
        return 1;
    while (fread(pcm, sizeof pcm[0], BLOCK, stdin) == BLOCK) {
        Convert_ShortToFloat(in, pcm, BLOCK);
        if (RSMPL_Up(ctx, in, out, BLOCK, RSMPL_RATIO_3_1) != 0)
            return 1;
        Convert_FloatToShort(pcm, out, BLOCK * RATIO, 1);
        fwrite(pcm, sizeof pcm[0], BLOCK * RATIO, stdout);
    }
    free(ctx);
    return 0;
}
