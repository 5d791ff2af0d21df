/* 4_interleaved.c - 16-bit stereo PCM from standard input at 48 kHz to standard output at 16 kHz.
 * Devices and files interleave channels; the three calls want each channel in one piece.  The last
 * block is filled up with zeros, and what they make is left out.
 *
 *     cc 4_interleaved.c $(pkg-config --cflags --libs rsmpl) -o 4_interleaved
 *     sox stereo.wav -t raw -r 48000 -b 16 -c 2 - | ./4_interleaved >stereo16.raw */
#include "api/resample_api.h"
#include <stdio.h>

enum { CHANNELS = 2, BLOCK = 960, OUT = BLOCK / 3 }; /* 20 ms */

int main(void)
{
    short frames[BLOCK][CHANNELS], in[CHANNELS][BLOCK], out[CHANNELS][OUT];
    resample_handle* rs = resample_init(CHANNELS, 48000, 16000, BLOCK);
    int ok = rs != NULL;
    for (size_t count; ok && (count = fread(frames, sizeof frames[0], BLOCK, stdin)) > 0;) {
        for (size_t i = 0; i < BLOCK; ++i)
            for (size_t c = 0; c < CHANNELS; ++c)
                in[c][i] = i < count ? frames[i][c] : 0;
        ok = resample_process(rs, in[0], out[0], CHANNELS * BLOCK) == 0;
        for (size_t j = 0; j < OUT; ++j)
            for (size_t c = 0; c < CHANNELS; ++c)
                frames[j][c] = out[c][j];
        count = (count + 2) / 3;
        ok = ok && fwrite(frames, sizeof frames[0], count, stdout) == count;
    }
    resample_exit(rs);
    return ok && fflush(stdout) == 0 ? 0 : 1;
}
