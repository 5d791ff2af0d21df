// Replaces the heap of this program to make allocations fail and to count what is left.
#include "api/resample_api.h"
#include "design/Resample_FIRFilterDesign.h"
#include "fir/Resample_FIRFiltering.h"
#include "fir/Resample_GeneralResampler.h"
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
static std::size_t bytes = 0;

static bool fails(std::size_t size)
{
    if (!watching || --until_failure == 0)
        return watching;
    ++live;
    bytes += size;
    return false;
}

extern "C" void* malloc(std::size_t size)
{
    return fails(size) ? nullptr : __libc_malloc(size);
}

extern "C" void* calloc(std::size_t count, std::size_t size)
{
    return fails(count * size) ? nullptr : __libc_calloc(count, size);
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
    for (int n = 1; n < 1000; ++n) {
        until_failure = n;
        live = 0;
        watching = true;
        const bool done = attempt();
        watching = false;
        EXPECT_EQ(live, 0) << "allocation " << n;
        if (done)
            return n - 1;
    }
    return 0;
}

static bool open_and_close(int channels, int in_rate)
{
    short block[16 * 960] = {};
    resample_handle* handle = resample_init(channels, in_rate, 16000, 960);
    const bool opened = handle != nullptr;
    EXPECT_TRUE(!opened || resample_process(handle, block, block, channels * 960) == 0);
    resample_exit(handle);
    return opened;
}

static bool use_every_building_block()
{
    float taps[65] = {};
    int flags[] = {1, 0};
    short in[2 * 3 * 8] = {0, 0, 0, 1};
    short*** array = nullptr;
    FIRState* one = nullptr;
    FIRMRState* several = nullptr;
    CFFT fft;
    CGeneralFIRDesigner designer;
    CGeneralResampler general;
    general.Init(2, flags, 1, 3, 8, 16, 48000, 0, 20000);
    general.ResampleOneBlock(in);
    float** const out = general.GetFloatOutput();
    const bool done = out != nullptr && out[0][3] != 0 && iCalloc(array, 3, 2, 5) &&
                      FIRInitAlloc(&one, taps, 3, taps) &&
                      FIRMRInitAlloc(&several, taps, 3, 1, 3) && fft.FFTInitAlloc(3) &&
                      designer.Init(65, WIN_HAMMING) == 1;
    until_failure = 1;
    general.ResampleOneBlock(in);
    EXPECT_EQ(designer.LowpassDesign(0.2F, taps), done);
    EXPECT_TRUE(until_failure == 1 || !done) << "later use allocates";
    iFree(array, 3, 2);
    FIRFree(one);
    FIRMRFree(several);
    fft.FFTFree();
    fft.FFTFree();
    general.UnInit();
    return done;
}

TEST(Allocation, FailureAnywhereIsToldAndReleasesEverything)
{
    // Flags and states, outputs, taps, a designer (its transform, spectrum, magnitude, phase and
    // window); when 65 taps are not 128, one more.
    const int designer = 5 + 4, general = 2 + 3 + 1 + designer;
    EXPECT_EQ(allocations_of(use_every_building_block),
              general + 3 + 1 + (1 + 3 * 2) + 3 + 3 + 4 + designer + 1);
    // A record, two tables and a general resampler; per channel three blocks and its filter.
    for (const int channels : {0, 1, 16})
        EXPECT_EQ(allocations_of([=] { return open_and_close(channels, 48000); }),
                  3 + 1 + general + (3 + 3) * channels);
    short** rows = nullptr; // the largest sizes that do not throw
    FIRState* state = nullptr;
    EXPECT_FALSE(iCalloc(rows, (1UL << 60U) - 1, 1));
    EXPECT_EQ(FIRInitAlloc(&state, nullptr, (1UL << 61U) - 2, nullptr), 0);
    FIRFree(state);
    until_failure = live = 0;
    bytes = 0;
    watching = true;
    EXPECT_TRUE(open_and_close(1, 48000));
    EXPECT_LE(bytes, 16U << 10U) << "for a mono handle";
    for (int cycle = 0; cycle < 1000; ++cycle)
        EXPECT_TRUE(open_and_close(1, 48000));
    EXPECT_EQ(live, 0);
    EXPECT_FALSE(open_and_close(1, 44100));
    EXPECT_EQ(CFFT().FFTInitAlloc(0), 1);
    watching = false;
    EXPECT_EQ(live, 1 + 4) << "a refused rate keeps its record, a transform's end its arrays";
}
