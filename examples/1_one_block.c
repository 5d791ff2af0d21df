/* 1_one_block.c - one block of 20 ms, in memory: 960 samples of a tone at 48 kHz become 320 at
 * 16 kHz, which are printed.
 *
 *     cc 1_one_block.c $(pkg-config --cflags --libs rsmpl) -lm -o 1_one_block
 *     ./1_one_block */
#include "rsmpl.h" /* all there is for C; one header of it would do: api/resample_api.h */
#include <math.h>
#include <stdio.h>

enum { BLOCK = 960 }; /* a multiple of 6 */

int main(void)
{
    short in[BLOCK], out[BLOCK / 3];
    for (int n = 0; n < BLOCK; ++n)
        in[n] = (short)lrint(10000 * sin(2 * 3.14159265358979 * n * 1000 / 48000)); /* 1 kHz */

    resample_handle* rs = resample_init(1, 48000, 16000, BLOCK); /* 1 channel */
    if (rs == NULL) {
        fputs("resample_init: no memory, or rates or a length that it does not take\n", stderr);
        return 1;
    }
    const int result = resample_process(rs, in, out, BLOCK);
    resample_exit(rs);
    if (result != 0)
        return 1; /* resample_process has said why */

    for (int n = 0; n < BLOCK / 3; ++n)
        printf("%7.4f ms %6d\n", n / 16.0, out[n]);
    return 0;
}
