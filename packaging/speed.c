/* Least times of a block through the three calls, a stage up and a stream's FIR filter: a line with
 * nanoseconds per input sample of each.  packaging/deb runs it on two builds of the libraries. */
#include "rsmpl.h"
#include <stdio.h>
#include <time.h>

enum { BLOCK = 960, CALLS = 50, REPETITIONS = 60 };

static resample_handle* handle;
static rsmpl_stream* stream;
static uint32_t context[9];
static short shorts[BLOCK], short_out[BLOCK];
static float floats[BLOCK / 3], float_out[BLOCK];

static void three_calls(void)
{
    resample_process(handle, shorts, short_out, BLOCK);
}

static void stage_up(void)
{
    RSMPL_Up(context, floats, float_out, BLOCK / 3, RSMPL_RATIO_3_1);
}

static void stream_fir(void)
{
    rsmpl_stream_run_short(stream, shorts, BLOCK, short_out);
}

static double now(void)
{
    struct timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return 1e9 * (double)t.tv_sec + (double)t.tv_nsec;
}

static double least(void (*job)(void), int samples)
{
    double best = 1e300;
    for (int repetition = 0; repetition < REPETITIONS; ++repetition) {
        const double start = now();
        for (int call = 0; call < CALLS; ++call)
            job();
        const double taken = (now() - start) / CALLS / samples;
        best = taken < best ? taken : best;
    }
    return best;
}

int main(void)
{
    handle = resample_init(1, 48000, 16000, BLOCK);
    if (handle == NULL || RSMPL_InitContext(context) != RSMPL_SUCCESS ||
        rsmpl_stream_open(&stream, 1, 44100, 16000, RSMPL_ENGINE_FIR, 0) != RSMPL_STREAM_OK)
        return 1;
    for (int i = 0; i < BLOCK; ++i) /* noise */
        shorts[i] = (short)(i * 25173 % 20011 - 10000);
    Convert_ShortToFloat(floats, shorts, BLOCK / 3);
    printf("%.4f %.4f %.4f\n", least(three_calls, BLOCK), least(stage_up, BLOCK / 3),
           least(stream_fir, BLOCK));
    rsmpl_stream_close(stream);
    resample_exit(handle);
    return 0;
}
