// Replaces the heap of this program to make allocations fail and to count what is left.
#include "api/resample_api.h"

#include <cstddef>
#include <gtest/gtest.h>

extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* __libc_calloc(std::size_t count, std::size_t size);
extern "C" void __libc_free(void* memory);

static bool watching = false;
static int until_failure = 0; // the allocation that fails, counted down; none when below 1
static int live = 0;

static bool fails()
{
    if (!watching || --until_failure == 0)
        return watching;
    ++live;
    return false;
}

extern "C" void* malloc(std::size_t size)
{
    return fails() ? nullptr : __libc_malloc(size);
}

extern "C" void* calloc(std::size_t count, std::size_t size)
{
    return fails() ? nullptr : __libc_calloc(count, size);
}

extern "C" void free(void* memory)
{
    live -= watching && memory != nullptr;
    __libc_free(memory);
}

// Opens, with the n-th allocation failing, and closes.  False when opening failed.
static bool open_and_close(int channels, int in_rate, int n)
{
    until_failure = n;
    live = 0;
    watching = true;
    resample_handle* handle = resample_init(channels, in_rate, 16000, 960);
    resample_exit(handle);
    watching = false;
    return handle != nullptr;
}

TEST(Allocation, FailureAnywhereInInitReleasesEverything)
{
    for (const int channels : {0, 1, 16}) {
        // A record and two tables, three blocks per channel.
        for (int n = 1; n <= 4 + 3 * channels; ++n) {
            EXPECT_EQ(open_and_close(channels, 48000, n), n == 4 + 3 * channels) << n;
            EXPECT_EQ(live, 0) << channels << " channels, allocation " << n;
        }
    }
    EXPECT_FALSE(open_and_close(1, 44100, 0));
    EXPECT_EQ(live, 1) << "a refused rate keeps its record";
}
