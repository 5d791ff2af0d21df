/* realtime.c - a thread that converts 20 ms of 48 kHz to 16 kHz whenever a device has them.  Here
 * the device is standard input, and what plays is standard output.
 *
 *     cc realtime.c $(pkg-config --cflags --libs rsmpl) -pthread -o realtime
 *     sox speech.wav -t raw -r 48000 -b 16 -c 1 - | ./realtime >speech16.raw */
#define _DEFAULT_SOURCE
#include "api/resample_api.h"
#include <pthread.h>
#include <sched.h>
#include <stdio.h>
#include <string.h>
#include <sys/mman.h>

enum { BLOCK = 960, PAGE = 4096, STACK = 64 * 1024, PRIORITY = 40 };

static int wait_for_block(short* in) /* such as snd_pcm_readi */
{
    return fread(in, sizeof *in, BLOCK, stdin) == BLOCK;
}

static int deliver(const short* out)
{
    return fwrite(out, sizeof *out, BLOCK / 3, stdout) == BLOCK / 3;
}

static void touch_stack(void) /* so that no page of it is missing later */
{
    volatile char stack[STACK];
    for (size_t i = 0; i < sizeof stack; i += PAGE)
        stack[i] = 0;
}

static void* convert(void* handle)
{
    short in[BLOCK] = {0}, out[BLOCK / 3];
    touch_stack();
    int result = resample_process(handle, in, out, BLOCK); /* brings code and tables in; silence
                                                              leaves the filter as it was */
    while (result == 0 && wait_for_block(in)) {
        result = resample_process(handle, in, out, BLOCK);
        if (result == 0 && !deliver(out))
            result = -1;
    }
    return result == 0 ? NULL : handle;
}

int main(void)
{
    pthread_t thread;
    pthread_attr_t how;
    const struct sched_param priority = {.sched_priority = PRIORITY};
    resample_handle* handle = resample_init(1, 48000, 16000, BLOCK);
    if (handle == NULL)
        return 1;
    if (mlockall(MCL_CURRENT | MCL_FUTURE) != 0)
        perror("not locked in memory"); /* see ulimit -l */
    pthread_attr_init(&how);
    pthread_attr_setstacksize(&how, 4 * STACK);
    pthread_attr_setinheritsched(&how, PTHREAD_EXPLICIT_SCHED);
    pthread_attr_setschedpolicy(&how, SCHED_FIFO);
    pthread_attr_setschedparam(&how, &priority);
    if (pthread_create(&thread, &how, convert, handle) != 0) {
        fputs("no real-time priority\n", stderr); /* see ulimit -r */
        pthread_attr_setinheritsched(&how, PTHREAD_INHERIT_SCHED);
        if (pthread_create(&thread, &how, convert, handle) != 0)
            return 1;
    }
    void* failed = NULL;
    pthread_join(thread, &failed);
    resample_exit(handle);
    return failed == NULL && fflush(stdout) == 0 ? 0 : 1;
}
