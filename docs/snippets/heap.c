/* heap.c - the bytes that opening takes from the heap: of a stream, or, with a block length, of a
 * handle.
 *
 *     cc heap.c $(pkg-config --cflags --libs rsmpl rsmpl-stream) -o heap
 *     ./heap 2 48000 16000 960 */
#include "rsmpl.h"
#include <malloc.h>
#include <stdio.h>
#include <stdlib.h>

int main(int argc, char** argv) /* CHANNELS IN_RATE OUT_RATE, and FRAMES for a handle */
{
    const int channels = atoi(argv[1]), in = atoi(argv[2]), out = atoi(argv[3]);
    rsmpl_stream* stream;
    const struct mallinfo2 before = mallinfo2();
    if (argc == 5)
        resample_init(channels, in, out, atoi(argv[4]));
    else
        rsmpl_stream_open(&stream, channels, in, out, RSMPL_ENGINE_AUTO, 0);
    const struct mallinfo2 now = mallinfo2();
    printf("%zu\n", now.uordblks + now.hblkhd - before.uordblks - before.hblkhd);
    return 0;
}
