// Replaces the heap of this program, to make allocations fail and to count what is left, and what
// real-time calls ask of it; paints the stack, to measure what they take of that.
#include "api/resample_api.h"
#include "convert/Resample_DatTypeConvert.h"
#include "design/Resample_FIRFilterDesign.h"
#include "design/Resample_WinFunc.h"
#include "fir/Resample_FIRFiltering.h"
#include "fir/Resample_GeneralResampler.h"
#include "fir/Resample_iMalloc.h"
#include "iir/Resample_Rsmpl_IIR_api.h"
#include "kernels/Resample_Kernels_internal.h"
#include "spectral/Resample_CFFT.h"
#include "stream/rsmpl_stream.h"
#include "tests/common.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <pthread.h>

static struct {
    bool watched = false;
    int until_failure = 0; // the allocation that fails, counted down; none when below 1
    int calls = 0;         // of any function below
    int live = 0;
    std::size_t bytes = 0, largest = 0;
} heap;

static bool fails(std::size_t size)
{
    heap.calls += heap.watched;
    heap.largest = heap.watched ? std::max(heap.largest, size) : heap.largest;
    if (!heap.watched || --heap.until_failure == 0 || size > 1U << 30U)
        return heap.watched;
    ++heap.live;
    heap.bytes += size;
    return false;
}

extern "C" {

#define REPLACE(name, parameters, size, real, arguments)                                           \
    void* real parameters;                                                                         \
    void* name parameters                                                                          \
    {                                                                                              \
        return fails(size) ? nullptr : real arguments;                                             \
    }
REPLACE(malloc, (std::size_t size), size, __libc_malloc, (size))
REPLACE(calloc, (std::size_t n, std::size_t size), (n * size), __libc_calloc, (n, size))
REPLACE(realloc, (void* memory, std::size_t size), size, __libc_realloc, (memory, size))
void __libc_free(void* memory);
void free(void* memory)
{
    heap.calls += heap.watched;
    heap.live -= heap.watched && memory != nullptr;
    __libc_free(memory);
}

int puts(const char* text)
{
    heap.calls += heap.watched;
    return heap.watched ? 0 : std::printf("%s\n", text); // not turned into a puts again
}
}

// Fails the first allocation of attempt(), then the second, and so on until none fails.  Nothing is
// left behind, ever.  Returns how often it was not true: how many allocations it can't do without.
template <typename Attempt>
static int allocations_of(Attempt attempt)
{
    int needed = 0;
    for (int n = 1; heap.until_failure < 1; ++n) {
        heap = {true, n};
        needed += attempt() ? 0 : 1;
        heap.watched = false;
        EXPECT_EQ(heap.live, 0) << "allocation " << n;
    }
    heap.until_failure = 0;
    return needed;
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

static bool open_stream(int channels, int fir)
{
    rsmpl_stream* stream = nullptr;
    const auto status =
        rsmpl_stream_open(&stream, channels, 4, fir == 0 ? 2 : 3, RSMPL_ENGINE_AUTO, 0);
    EXPECT_EQ(status, stream != nullptr ? RSMPL_STREAM_OK : RSMPL_STREAM_NO_MEMORY);
    rsmpl_stream_close(stream);
    return stream != nullptr;
}

constexpr int (*kDesigns[])(float*) = {
    [](float* out) { return GeneralFIRDesign(out, 65, WIN_HAMMING, 0.1F, 0.2F, 32.5F); },
    [](float* out) { return GeneralFIRFractionalDelay(out, 65, WIN_BLACKMAN, 32.5F); },
    [](float* out) { return GeneralFIRLowpass(out, 65, WIN_HANNING, 0.2F); },
    [](float* out) { return GeneralFIRHighpass(out, 65, WIN_HAMMING, 0.2F); },
    [](float* out) { return GeneralFIRBandpass(out, 65, WIN_HAMMING, 0.1F, 0.2F); },
    [](float* out) { return CGeneralFIRDesigner(65, WIN_HAMMING).LowpassDesign(0.2F, out); }};

// What each result tells is what there is, and can be released.
static bool use_building_blocks()
{
    float taps[65] = {}, *p = taps, **pp = &p, ***ppp = &pp;
    FIRState* one = nullptr;
    FIRMRState* several = nullptr;
    CFFT fft;
    CGeneralFIRDesigner designer;
    const int a = iCalloc(p, 3), b = iCalloc(pp, 2, 5), c = iCalloc(ppp, 3, 2, 5);
    const int d = FIRInitAlloc(&one, taps, 3, taps), e = FIRMRInitAlloc(&several, taps, 3, 1, 3);
    const int next = heap.until_failure, before = heap.live, f = fft.FFTInitAlloc(3);
    EXPECT_EQ(heap.live - before, next < 1 ? 4 : std::min(next - 1, 4)) << "what it had remains";
    const int g = designer.Init(65, WIN_HAMMING);
    EXPECT_TRUE(a == (p != nullptr) && b == (pp != nullptr) && c == (ppp != nullptr));
    EXPECT_TRUE(d == (one != nullptr && one->length == 3) && f == (fft.pOutBuf != nullptr));
    EXPECT_TRUE(e == (several != nullptr && several->length == 3));
    EXPECT_EQ(g, designer.LowpassDesign(0.2F, taps));
    int done = a + b + c + d + e + f + g;
    for (const auto design : kDesigns) {
        float out[65] = {};
        const int designed = design(out);
        EXPECT_EQ(designed, std::count(out, out + 65, 0.0F) < 65);
        done += designed;
    }
    iFree(p);
    iFree(pp, 2);
    iFree(ppp, 3, 2);
    FIRFree(one);
    FIRMRFree(several);
    fft.FFTFree();
    fft.FFTFree();
    return done == 7 + 6;
}

// The first 16-bit block allocates.  Without memory it is as if it had not come.
static bool resample_two_blocks()
{
    int flags[] = {1, 0};
    short in[2 * 3 * 4] = {0, 0, 0, 1}; // the response reaches into the next block
    CGeneralResampler general;
    general.Init(2, flags, 1, 3, 4, 16, 48000, 0, 20000);
    float** const out = general.GetFloatOutput();
    general.ResampleOneBlock(in);
    const bool done = out != nullptr && out[0][3] != 0;
    general.ResampleOneBlock(in);
    EXPECT_EQ(general.GetInt16Output() != nullptr, out != nullptr);
    EXPECT_TRUE(out == nullptr || (out[0][3] != 0 && (out[0][0] != 0) == done));
    return general.UnInit() == 1 && done;
}

TEST(Allocation, FailureAnywhereIsToldAndReleasesEverything)
{
    // A transform and its record, spectrum, magnitude, phase, window; flags and states, outputs,
    // taps, a designer; when 65 taps are not 128, one more.
    const int designer = 4 + 5, general = 2 + 3 + 1 + designer;
    EXPECT_EQ(allocations_of(use_building_blocks),
              1 + 2 + (1 + 3 * 2) + 3 + 3 + 4 + 7 * (designer + 1));
    EXPECT_EQ(allocations_of(resample_two_blocks), general + 3 + 1);
    // A record and two tables; per channel three blocks.  The general resampler may stay empty.
    for (const int channels : {0, 16, 1})
        EXPECT_EQ(allocations_of([=] { return open_and_close(channels, 48000); }),
                  3 + 3 * channels);
    EXPECT_LE(heap.bytes, 16U << 10U) << "for a mono handle";
    // A record, filters, frames that wait, two buffers; for FIR a design, a filter, and lines.
    for (const int channels : {1, 3})
        for (const int fir : {0, 1})
            EXPECT_EQ(allocations_of([=] { return open_stream(channels, fir); }),
                      5 + fir * (1 + designer + 1 + 3 + channels));
    heap = {true};
    EXPECT_FALSE(open_and_close(1, 44100));
    EXPECT_EQ(CFFT().FFTInitAlloc(0), 1);
    heap.watched = false;
    EXPECT_EQ(heap.live, 1 + 4) << "a refused rate keeps its record, a transform's end its arrays";
}

// Asked for in full, also the most that does not throw.
TEST(Allocation, SizesBeyond32BitsAreNotCut)
{
    const auto largest_of = [](auto call) {
        allocations_of([&] { return call(), heap.largest >> 32U != 0; });
        return heap.largest;
    };
    constexpr unsigned long most = (1UL << 61U) - 2, most_rows = (1UL << 60U) - 1;
    bool *p, **pp;
    FIRState* f;
    EXPECT_EQ(largest_of([&] { iCalloc(p, 1UL << 32U); }), (1UL << 32U) + 64);
    EXPECT_EQ(largest_of([&] { iCalloc(pp, 4, 1UL << 31U); }), (1UL << 33U) + 64);
    EXPECT_EQ(largest_of([&] { iCalloc(pp, most_rows, 1); }), 8 * most_rows);
    EXPECT_EQ(largest_of([&] { FIRInitAlloc(&f, nullptr, most, nullptr), FIRFree(f); }), 4 * most);
    EXPECT_EQ(largest_of([] { CFFT().FFTInitAlloc(31); }), 1UL << 34U);
}

using Call = std::pair<const char*, void (*)()>;
#define CALL(...) Call(#__VA_ARGS__, [] { __VA_ARGS__; })

// How much of its stack a thread uses that makes this call, the heap being watched.
static long stack_of(void (*call)())
{
    static unsigned char stack[1U << 19U];
    std::memset(stack, 0xA5, sizeof stack);
    const auto body = [](void* argument) -> void* {
        char margin[4096]; // more than the thread's own start and end need
        asm volatile("" : : "r"(margin) : "memory");
        FILE* const console = std::exchange(stdout, nullptr); // a crash for all but puts
        heap = {true};
        (*static_cast<void (**)()>(argument))();
        heap.watched = false;
        stdout = console;
        return nullptr;
    };
    pthread_t thread;
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstack(&attributes, stack, sizeof stack);
    EXPECT_EQ(pthread_create(&thread, &attributes, body, &call), 0);
    pthread_join(thread, nullptr);
    const auto used = [](int byte) { return byte != 0xA5; };
    return std::end(stack) - std::find_if(std::begin(stack), std::end(stack), used);
}

// All that are marked [rt], with what takes them deepest: several tiles.
TEST(RealTime, CallsNeitherAllocateNorPrintAndNeedLittleStack)
{
    constexpr int len = 9600, taps = 300;
    static float in[len], out[6 * len], ctx[9], line[2 * taps], *rows[] = {in};
    static short pcm[16 * len];
    static long wide[len];
    static unsigned position, code;
    const Floats samples = noise(len);
    std::copy(samples.begin(), samples.end(), in);
    int enabled = 1;
    static DCOMPLEX z = {3, -4}, z1024[1024];
    static CGeneralFIRDesigner d(taps, WIN_HAMMING);
    static CGeneralResampler general;
    static CFFT fft;
    static FIRState* one;
    static FIRMRState* several[3];
    static resample_handle* handle = resample_init(16, 48000, 16000, len);
    static float* two[] = {in, in, out, out + len};
    static short* const to = pcm + 2 * len;
    static rsmpl_stream* s[3]; // a copy, a filter, a stage
    static rsmpl_stream_status status;
    static rsmpl_stream_info info;
    for (code = 0; code < 3; ++code)
        rsmpl_stream_open(&s[code], 2, 12, 12 - 3 * static_cast<int>(code), RSMPL_ENGINE_AUTO, 1);
    FIRInitAlloc(&one, in, taps, in);
    FIRMRInitAlloc(&several[0], in, taps, 2, 3), FIRMRInitAlloc(&several[1], in, taps, 3, 2);
    FIRMRInitAlloc(&several[2], in, taps, 1, 3);
    general.Init(1, &enabled, 2, 3, len / 3, taps, 48000, 100, 7000);
    general.ResampleOneBlock(pcm); // the first allocates
    fft.FFTInitAlloc(10);
    const Call calls[] =
    { CALL(resample_process(handle, pcm, pcm, 16 * len)),
      CALL(RSMPL_GetContextSize(), RSMPL_InitContext(ctx), RSMPL_Reset(ctx)),
      CALL(for (code = 0; code < 5; ++code) RSMPL_Down(ctx, in, out, len, code)),
      CALL(for (code = 0; code < 5; ++code) RSMPL_Up(ctx, in, out, 160, code)),
      CALL(for (code = 0; code < 10; ++code) kStages[code].init(ctx)),
      CALL(for (code = 0; code < 10; ++code) kStages[code].run(in, out, ctx, len)),
      CALL(FIRFiltering(one, in, out, len), FIRFiltering(one, out, out, len)),
      CALL(FIRGetDlyLine(one, out)),
      CALL(for (code = 0; code < 3; ++code) FIRMRFiltering(several[code], in, out, len / 3 - 1)),
      CALL(FIRFiltering_Direct(in, out, len, in, taps, line, &position)),
      CALL(general.ResampleOneBlock(rows)),
      CALL(general.ResampleOneBlock(pcm)),
      CALL(general.GetFloatOutput(), general.GetInt16Output()),
      CALL(d.GenericDesign(0.1F, 0.2F, 149.5F, out), d.FractionalDelay(149.5F, out)),
      CALL(d.LowpassDesign(0.2F, out), d.HighpassDesign(1, out), d.BandpassDesign(0, 1, out)),
      CALL(WinBlackman(out, len), WinHamming(out, len), WinHanning(out, len)),
      CALL(Complex(3, 4), Cadd(z, z), Csub(z, z), Cmul(z, z), RCmul(3, z), Cdiv(z, z), Cdiv2(z, z)),
      CALL(Cdivr(z, 3), Conjg(z), Cabs(z), Cabs2(z), Csqrt(z), Cavg_vec(z1024, 1024)),
      CALL(fft.FFTFwd_CToC(z1024, z1024), fft.FFTFwd_RToC(in, z1024), fft.FFTInv_CToR(z1024, out)),
      CALL(fft.FFTFwd_RToPolarC(in, line, out), fft.FFTInv_PolarCToR(in, in, out)),
      CALL(fft.CartToPolar(z1024, line, out), fft.PolarToCart(in, in, z1024)),
      CALL(fft.PolarToCartEL(in, in, z1024), fft.CartCToConj(z1024, z1024)),
      CALL(fft.c_abs(z), fft.c_angle(z), fft.c_conj(z)),
      CALL(Convert_ShortToFloat(out, pcm, len), Convert_ShortToFloat_Sf(out, pcm, len, 15)),
      CALL(Convert_FloatToShort(pcm, in, len, 1), Convert_FloatToShort_Sf(pcm, in, len, 0, 1)),
      CALL(Convert_Int32ToInt16(pcm, wide, len, 1), Convert_Int16ToInt32(wide, pcm, len)),
      CALL(Convert_Int16ToInt32_Step(wide, pcm, len, 16)),
      CALL(for (code = 0; code < 3; ++code) rsmpl_stream_run_rows(s[code], two, 2399, two + 2),
           rsmpl_stream_finish_rows(s[code], two + 2)),
      CALL(for (code = 0; code < 3; ++code) rsmpl_stream_run_float(s[code], in, 4799, out),
           rsmpl_stream_finish_float(s[code], out)),
      CALL(for (code = 0; code < 3; ++code) rsmpl_stream_run_short(s[code], pcm, len, to),
           rsmpl_stream_finish_short(s[code], to)),
      CALL(rsmpl_stream_outputs(s[2], 9), rsmpl_stream_tail(s[2]), rsmpl_stream_message(status)),
      CALL(rsmpl_stream_delay(s[2]), rsmpl_stream_clipped(s[2]),
           rsmpl_stream_describe(s[2], &info)),
      CALL(for (code = 0; code < 3; ++code) rsmpl_stream_reset(s[code])) };
    const long nothing = stack_of([] {});
    std::printf("bytes of stack, in pairs: by blocks and by steps, weakest level first\n");
    for (const auto& [text, call] : calls) {
        for (int level = 0; level < 2 * rsmpl::available_levels(); ++level) {
            rsmpl::force_level(level / 2, level % 2 == 1);
            const long bytes = stack_of(call) - nothing;
            std::printf("%6ld ", bytes);
            EXPECT_TRUE(heap.calls == 0 && bytes < 65536) << text;
        }
        std::printf(" %s\n", text);
    }
    stack_of([] { resample_process(nullptr, pcm, pcm, 0), ::operator delete(::operator new(1)); });
    EXPECT_EQ(heap.calls, 3) << "a puts, a malloc and a free";
}
