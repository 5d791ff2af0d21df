/* 2_pipe.c - 16-bit mono PCM from standard input at 48 kHz to standard output at 16 kHz.
 *
 *     cc 2_pipe.c $(pkg-config --cflags --libs rsmpl) -o 2_pipe
 *     sox speech.wav -t raw -r 48000 -b 16 -c 1 - | ./2_pipe >speech16.raw */
#include "api/resample_api.h"
#include <stdio.h>

enum { BLOCK = 960 }; /* 20 ms */

int main(void)
{
    short in[BLOCK], out[BLOCK / 3];
    resample_handle* rs = resample_init(1, 48000, 16000, BLOCK);
    int ok = rs != NULL;
    while (ok && fread(in, sizeof in[0], BLOCK, stdin) == BLOCK)
        ok = resample_process(rs, in, out, BLOCK) == 0 &&
             fwrite(out, sizeof out[0], BLOCK / 3, stdout) == BLOCK / 3;
    resample_exit(rs);
    return ok && fflush(stdout) == 0 ? 0 : 1;
}
