// Replaces the heap of this program to make allocations fail and to count what is left.
#include "api/resample_api.h"

#include <cerrno>
#include <cstddef>
#include <gtest/gtest.h>

extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* __libc_calloc(std::size_t count, std::size_t size);
extern "C" void __libc_free(void* memory);

namespace
{

thread_local bool watching = false;
int until_failure = 0; // the allocation that fails, counted down; never when below 1
int live = 0;

bool fails()
{
    if (!watching)
        return false;
    if (--until_failure == 0) {
        errno = ENOMEM;
        return true;
    }
    ++live;
    return false;
}

} // namespace

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
    if (watching && memory != nullptr)
        --live;
    __libc_free(memory);
}

namespace
{

// Opens with the n-th allocation failing; 0 for none.
resample_handle* open(int channels, int in_rate, int n)
{
    until_failure = n;
    live = 0;
    watching = true;
    resample_handle* handle = resample_init(channels, in_rate, 16000, 960);
    watching = false;
    return handle;
}

void close(resample_handle* handle)
{
    watching = true;
    resample_exit(handle);
    watching = false;
}

TEST(Allocation, FailureAnywhereInInitReleasesEverything)
{
    for (const int channels : {0, 1, 16}) {
        int n = 1;
        resample_handle* handle = nullptr;
        for (; (handle = open(channels, 48000, n)) == nullptr; ++n)
            EXPECT_EQ(live, 0) << channels << " channels, allocation " << n;
        EXPECT_EQ(n - 1, 3 + 3 * channels) << "record and two tables, three blocks per channel";
        close(handle);
        EXPECT_EQ(live, 0);
    }
}

TEST(Allocation, RefusedRateKeepsItsRecord)
{
    EXPECT_EQ(open(1, 44100, 0), nullptr);
    EXPECT_EQ(live, 1);
}

} // namespace
