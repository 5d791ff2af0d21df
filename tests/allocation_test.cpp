// Replaces the heap of this program to make allocations fail and to count what is left.
#include "api/resample_api.h"
#include "fir/Resample_FIRFiltering.h"
#include "fir/Resample_iMalloc.h"
#include "spectral/Resample_CFFT.h"

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

// Fails the first allocation of attempt(), then the second, and so on until it returns true.
// Nothing is left behind, ever.  Returns how many allocations it makes.
template <typename Attempt>
static int allocations_of(Attempt attempt)
{
    for (int n = 1;; ++n) {
        until_failure = n;
        live = 0;
        watching = true;
        const bool done = attempt();
        watching = false;
        EXPECT_EQ(live, 0) << "allocation " << n;
        if (done)
            return n - 1;
    }
}

static bool open_and_close(int channels, int in_rate)
{
    resample_handle* handle = resample_init(channels, in_rate, 16000, 960);
    resample_exit(handle);
    return handle != nullptr;
}

static bool use_every_building_block()
{
    const float taps[] = {1, 2, 3};
    short*** array = nullptr;
    FIRState* one = nullptr;
    FIRMRState* several = nullptr;
    CFFT fft;
    const bool done = iCalloc(array, 3, 2, 5) && FIRInitAlloc(&one, taps, 3, taps) &&
                      FIRMRInitAlloc(&several, taps, 3, 1, 3) && fft.FFTInitAlloc(3);
    iFree(array, 3, 2);
    FIRFree(one);
    FIRMRFree(several);
    fft.FFTFree();
    fft.FFTFree();
    return done;
}

TEST(Allocation, FailureAnywhereIsToldAndReleasesEverything)
{
    EXPECT_EQ(allocations_of(use_every_building_block), (1 + 3 * 2) + 3 + 3 + 4);
    for (const int channels : {0, 1, 16}) // a record and two tables, three blocks per channel
        EXPECT_EQ(allocations_of([=] { return open_and_close(channels, 48000); }),
                  3 + 3 * channels);
    short** rows = nullptr; // the largest sizes that do not throw
    FIRState* state = nullptr;
    EXPECT_FALSE(iCalloc(rows, (1UL << 60U) - 1, 1));
    EXPECT_EQ(FIRInitAlloc(&state, nullptr, (1UL << 61U) - 2, nullptr), 0);
    FIRFree(state);
    until_failure = live = 0;
    watching = true;
    EXPECT_FALSE(open_and_close(1, 44100));
    EXPECT_EQ(CFFT().FFTInitAlloc(0), 1);
    watching = false;
    EXPECT_EQ(live, 1 + 4) << "a refused rate keeps its record, a transform's end its arrays";
}
