/* 3_any_rates.c - 16-bit mono PCM from standard input at 44.1 kHz to standard output at 16 kHz, the
 * delay of the filter taken out: n samples become ceil(n * 160 / 441).
 *
 *     cc 3_any_rates.c $(pkg-config --cflags --libs rsmpl-stream) -o 3_any_rates
 *     sox song.wav -t raw -r 44100 -b 16 -c 1 - | ./3_any_rates >song16.raw */
#include "stream/rsmpl_stream.h"
#include <stdio.h>

enum { BLOCK = 1000, ROOM = 640 }; /* any length; room for what it makes, 480 at most */

int main(void)
{
    short in[BLOCK], out[ROOM];
    rsmpl_stream* stream;
    rsmpl_stream_status status =
        rsmpl_stream_open(&stream, 1, 44100, 16000, RSMPL_ENGINE_AUTO, RSMPL_STREAM_ALIGNED);
    if (status != RSMPL_STREAM_OK) {
        fprintf(stderr, "%s\n", rsmpl_stream_message(status));
        return 1;
    }
    for (size_t count, made; (count = fread(in, sizeof in[0], BLOCK, stdin)) > 0;) {
        made = rsmpl_stream_run_short(stream, in, count, out);
        fwrite(out, sizeof out[0], made, stdout);
    }
    size_t rest = rsmpl_stream_finish_short(stream, out);
    fwrite(out, sizeof out[0], rest, stdout);
    rsmpl_stream_close(stream);
    return fflush(stdout) == 0 && !ferror(stdout) ? 0 : 1;
}
