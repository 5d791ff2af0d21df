// The signals are integers, so that they are the same everywhere.  Results that are the same bits
// on every machine go into the checksums as they are.  Those that hang on the last bit of a double
// or of the C library's cosine are rounded first, to steps so wide, by signals and lengths so
// chosen, that none is near a half: tests/verbs_test.py has each family's definition, in
// double precision, measures how near, and gives the same sums.
#include "cli/families.h"

#include "api/resample_api.h"
#include "cli/measure.h"
#include "convert/Resample_DatTypeConvert.h"
#include "design/Resample_FIRFilterDesign.h"
#include "design/Resample_WinFunc.h"
#include "fir/Resample_FIRFiltering.h"
#include "fir/Resample_GeneralResampler.h"
#include "iir/Resample_Rsmpl_IIR_api.h"
#include "spectral/Resample_CFFT.h"
#include "stream/rsmpl_stream.h"

#include <memory>
#include <new>

namespace
{

using Floats = std::vector<float>;
using Shorts = std::vector<short>;
using Longs = std::vector<long>;
using std::size_t;

constexpr int kRound = 1; // modes of the converters
constexpr int kTruncate = 0;

std::uint32_t stages()
{
    constexpr int kRatios[][2] = {{2, 3}, {1, 2}, {1, 3}, {1, 4}, {1, 6}};
    constexpr int kInputs = 480;
    const Floats in = float_noise(kInputs, 15);
    Checksum sum;
    const auto run = [&](auto convert, unsigned code, int block, int outputs) {
        float ctx[9];
        RSMPL_InitContext(ctx);
        Floats out(static_cast<size_t>(outputs));
        for (int from = 0; from < kInputs; from += block) {
            convert(ctx, in.data() + from, out.data(), block, code);
            sum.add_rounded(out);
        }
    };
    for (unsigned code = 0; code < 5; ++code) {
        const auto [low, high] = kRatios[code];
        run(RSMPL_Down, code, 240, 240 * low / high);
        run(RSMPL_Up, code, 160, 160 * high / low);
    }
    return sum.sum();
}

// 16 bits times 16 do not fit a float: what these sums round shows.
std::uint32_t fir()
{
    constexpr size_t kTaps = 37;
    constexpr size_t kInputs = 600;
    constexpr int kFirst = 7;
    const Floats taps = float_noise(kTaps, 16, 15);
    const Floats in = float_noise(kInputs, 16);
    Floats out(kInputs);
    Floats direct(kInputs);
    FIRState* state = nullptr;
    const int made = FIRInitAlloc(&state, taps.data(), kTaps, nullptr);
    const std::unique_ptr<FIRState, decltype(&FIRFree)> owner(state, FIRFree);
    if (made == 0)
        throw std::bad_alloc();
    FIRFiltering(state, in.data(), out.data(), kFirst);
    FIRFiltering(state, in.data() + kFirst, out.data() + kFirst, kInputs - kFirst);
    Floats history(2 * kTaps);
    std::uint32_t position = 0;
    FIRFiltering_Direct(in.data(), direct.data(), kInputs, taps.data(), kTaps, history.data(),
                        &position);
    return Checksum().add(out).add(direct).sum();
}

std::uint32_t multirate()
{
    constexpr std::uint64_t kRatios[][2] = {{1, 3}, {3, 1}, {2, 3}, {5, 7}};
    constexpr size_t kTaps = 64;
    constexpr std::uint64_t kFrames = 100;
    const Floats taps = float_noise(kTaps, 16, 15);
    const Floats in = float_noise(kFrames * 7, 16);
    Checksum sum;
    for (const auto& [up, down] : kRatios) {
        FIRMRState* state = nullptr;
        const int made = FIRMRInitAlloc(&state, taps.data(), kTaps, up, down);
        const std::unique_ptr<FIRMRState, decltype(&FIRMRFree)> owner(state, FIRMRFree);
        if (made == 0)
            throw std::bad_alloc();
        Floats out(kFrames * up);
        FIRMRFiltering(state, in.data(), out.data(), 1);
        FIRMRFiltering(state, in.data() + down, out.data() + up, kFrames - 1);
        sum.add(out);
    }
    return sum.sum();
}

constexpr int kSmallSteps = -11; // of windows and taps

std::uint32_t windows()
{
    Checksum sum;
    for (auto* const window : {WinBlackman, WinHamming, WinHanning}) {
        Floats values(50);
        window(values.data(), static_cast<int>(values.size()));
        sum.add_rounded(values, kSmallSteps);
    }
    return sum.sum();
}

std::uint32_t designer()
{
    constexpr int kTaps = 50;
    Floats taps(kTaps);
    Checksum sum;
    GeneralFIRLowpass(taps.data(), kTaps, WIN_HAMMING, 0.15F);
    sum.add_rounded(taps, kSmallSteps);
    GeneralFIRHighpass(taps.data(), kTaps, WIN_HANNING, 0.15F);
    sum.add_rounded(taps, kSmallSteps);
    GeneralFIRBandpass(taps.data(), kTaps, WIN_BLACKMAN, 0.1F, 0.3F);
    sum.add_rounded(taps, kSmallSteps);
    GeneralFIRFractionalDelay(taps.data(), kTaps, WIN_NONE, 20.25F);
    return sum.add_rounded(taps, kSmallSteps).sum();
}

// 48 to 32 kHz in two channels of rows.
std::uint32_t general_resampler()
{
    constexpr unsigned long kFrames = 40;
    Floats left = float_noise(kFrames * 3, 8);
    Floats right(left.rbegin(), left.rend());
    float* rows[] = {left.data(), right.data()};
    int enabled[] = {1, 1};
    CGeneralResampler resampler;
    resampler.Init(2, enabled, 2, 3, kFrames, 96, 48000, 0, 48000);
    resampler.ResampleOneBlock(rows);
    float** const out = resampler.GetFloatOutput();
    Checksum sum;
    for (int c = 0; c < 2 && out != nullptr; ++c)
        sum.add_rounded(out[c], kFrames * 2);
    resampler.UnInit();
    return sum.sum();
}

// A real signal there, in Cartesian and in polar form, and back again.
std::uint32_t fourier()
{
    constexpr int kOrder = 6;
    constexpr size_t kPoints = 1U << kOrder;
    constexpr size_t kBins = kPoints / 2 + 1;
    Floats signal = float_noise(kPoints, 8);
    std::vector<DCOMPLEX> bins(kBins);
    Floats magnitude(kBins);
    Floats phase(kBins);
    Floats back(kPoints);
    CFFT fft;
    if (fft.FFTInitAlloc(kOrder) == 1) {
        fft.FFTFwd_RToC(signal.data(), bins.data());
        fft.FFTFwd_RToPolarC(signal.data(), magnitude.data(), phase.data());
        fft.FFTInv_PolarCToR(magnitude.data(), phase.data(), back.data());
    }
    fft.FFTFree();
    return Checksum()
        .add_rounded(&bins[0].re, 2 * kBins)
        .add_rounded(magnitude)
        .add_rounded(back)
        .sum();
}

std::uint32_t complex_numbers()
{
    constexpr size_t kPairs = 50;
    constexpr int kSteps = -4;
    const Floats parts = float_noise(4 * kPairs, 6);
    Checksum sum;
    for (size_t i = 0; i < parts.size(); i += 4) {
        const DCOMPLEX a = Complex(parts[i], parts[i + 1]);
        const DCOMPLEX b = Complex(parts[i + 2], parts[i + 3] + 0.5F); // not 0
        for (const DCOMPLEX z : {Cmul(a, b), Cdiv(a, b), Cdiv2(a, b), Csqrt(b), Csub(Conjg(a), b),
                                 Complex(Cabs(a), Cabs2(b))})
            sum.add_rounded(&z.re, 2, kSteps);
    }
    return sum.sum();
}

// 16 bits to floats and back beyond full scale, to wide samples and back.
std::uint32_t converters()
{
    constexpr int kCount = 203;
    const Shorts in = noise(kCount, 16);
    Floats floats(kCount);
    Shorts shorts(kCount);
    Longs wide(kCount);
    Checksum sum;
    Convert_ShortToFloat_Sf(floats.data(), in.data(), kCount, 3);
    sum.add(floats);
    for (const int mode : {kTruncate, kRound})
        for (const int sf : {-4, 1, 2}) {
            Convert_FloatToShort_Sf(shorts.data(), floats.data(), kCount, mode, sf);
            sum.add(shorts);
        }
    Convert_Int16ToInt32(wide.data(), in.data(), kCount);
    sum.add(wide);
    for (long& value : wide)
        value = value / 5 * 6;
    for (const int mode : {kTruncate, kRound}) {
        Convert_Int32ToInt16(shorts.data(), wide.data(), kCount, mode);
        sum.add(shorts);
    }
    wide.resize(kCount / 2);
    Convert_Int16ToInt32_Step(wide.data(), in.data(), kCount / 2, 2);
    return sum.add(wide).sum();
}

// Stereo, so loud that it wraps.
std::uint32_t three_calls()
{
    constexpr int kBlock = 960;
    const Shorts in = noise(size_t{4} * kBlock, 16);
    Shorts out(size_t{2} * kBlock / 3);
    Checksum sum;
    const std::unique_ptr<resample_handle, decltype(&resample_exit)> handle(
        resample_init(2, 48000, 16000, kBlock), resample_exit);
    if (!handle)
        throw std::bad_alloc();
    for (int block = 0; block < 2; ++block) {
        resample_process(handle.get(), in.data() + std::ptrdiff_t{2} * block * kBlock, out.data(),
                         2 * kBlock);
        sum.add(out);
    }
    return sum.sum();
}

// Stereo, aligned, in two calls and an end.
std::uint32_t stream(int in_rate, int out_rate, int bits)
{
    constexpr size_t kFrames = 1001;
    constexpr size_t kFirst = 500;
    const Shorts in = noise(2 * kFrames, bits);
    const Stream stream =
        open_stream(2, in_rate, out_rate, RSMPL_ENGINE_AUTO, RSMPL_STREAM_ALIGNED);
    Shorts out(2 * kFrames * static_cast<size_t>(out_rate) / static_cast<size_t>(in_rate) + 2);
    size_t done = rsmpl_stream_run_short(stream.get(), in.data(), kFirst, out.data());
    done += rsmpl_stream_run_short(stream.get(), in.data() + 2 * kFirst, kFrames - kFirst,
                                   out.data() + 2 * done);
    done += rsmpl_stream_finish_short(stream.get(), out.data() + 2 * done);
    out.resize(2 * done);
    return Checksum().add(out).sum();
}

std::uint32_t stage_stream()
{
    return stream(32000, 48000, 16);
}

std::uint32_t fir_stream()
{
    return stream(44100, 16000, 7);
}

} // namespace

Checksum& Checksum::add_rounded(const float* values, size_t count, int sf)
{
    Shorts steps(count);
    Convert_FloatToShort_Sf(steps.data(), values, static_cast<int>(count), kRound, sf);
    return add(steps);
}

Checksum& Checksum::add_rounded(const Floats& values, int sf)
{
    return add_rounded(values.data(), values.size(), sf);
}

Shorts noise(size_t count, int bits)
{
    std::uint32_t random = 1;
    Shorts samples(count);
    for (short& sample : samples) {
        random = random * 1664525U + 1013904223U;
        sample = static_cast<short>(static_cast<int>(random >> (32 - bits)) - (1 << (bits - 1)));
    }
    return samples;
}

Floats float_noise(size_t count, int bits, int sf)
{
    Floats samples(count);
    Convert_ShortToFloat_Sf(samples.data(), noise(count, bits).data(), static_cast<int>(count), sf);
    return samples;
}

const std::vector<Family>& families()
{
    static const std::vector<Family> all = {
        {"ten stages", stages, 0xf7a864c7},
        {"FIR filters", fir, 0xd4181269},
        {"multirate FIR", multirate, 0x65f301f6},
        {"windows", windows, 0x21b9fa71},
        {"filter designs", designer, 0xf3a6a849},
        {"general resampler", general_resampler, 0x678fb1e1},
        {"Fourier transform", fourier, 0x5d8fdbd1},
        {"complex numbers", complex_numbers, 0xc2f9aa04},
        {"sample formats", converters, 0xf7ab606e},
        {"three calls", three_calls, 0xd066d159},
        {"stream, IIR", stage_stream, 0x9e3af858},
        {"stream, FIR", fir_stream, 0x26aba87d},
    };
    return all;
}
