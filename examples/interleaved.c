/* 16-bit stereo PCM from standard input at 48 kHz to standard output at 16 kHz.  Devices and
 * files interleave channels; the library wants each channel in one piece.  The last block is
 * filled up with zeros, and what they make is left out. */
#include "api/resample_api.h"
#include <stdio.h>

enum { CHANNELS = 2, BLOCK = 960, OUT = BLOCK / 3 }; /* 20 ms */

int main(void)
{
    short frames[BLOCK][CHANNELS], in[CHANNELS][BLOCK], out[CHANNELS][OUT];
    resample_handle* rs = resample_init(CHANNELS, 48000, 16000, BLOCK);
    size_t count;
    if (rs == NULL)
        return 1;
    while ((count = fread(frames, sizeof frames[0], BLOCK, stdin)) > 0) {
        for (size_t i = 0; i < BLOCK; ++i)
            for (size_t c = 0; c < CHANNELS; ++c)
                in[c][i] = i < count ? frames[i][c] : 0;
        if (resample_process(rs, in[0], out[0], CHANNELS * BLOCK) != 0)
            return 1;
        for (size_t j = 0; j < OUT; ++j)
            for (size_t c = 0; c < CHANNELS; ++c)
                frames[j][c] = out[c][j];
        fwrite(frames, sizeof frames[0], (count + 2) / 3, stdout);
    }
    resample_exit(rs);
    return 0;
}
