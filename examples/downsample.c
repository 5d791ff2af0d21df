/* 16-bit mono PCM from standard input at 48 kHz to standard output at 16 kHz. */
#include "api/resample_api.h"
#include <stdio.h>

enum { BLOCK = 960 }; /* 20 ms */

int main(void)
{
    short in[BLOCK], out[BLOCK / 3];
    resample_handle* rs = resample_init(1, 48000, 16000, BLOCK);
    if (rs == NULL)
        return 1;
    while (fread(in, sizeof in[0], BLOCK, stdin) == BLOCK) {
        if (resample_process(rs, in, out, BLOCK) != 0)
            return 1;
        fwrite(out, sizeof out[0], BLOCK / 3, stdout);
    }
    resample_exit(rs);
    return 0;
}
