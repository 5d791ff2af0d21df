// Prints what the pictures show beside responses: what filters, conversions and the transform make
// of known signals, in columns.  Usage: rsmpl_signals impulse|convert|wrap|fft
#include "api/resample_api.h"
#include "cli/measure.h"
#include "convert/Resample_DatTypeConvert.h"
#include "design/Resample_WinFunc.h"
#include "iir/Resample_Rsmpl_IIR_api.h"
#include "spectral/Resample_CFFT.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <numeric>

namespace
{

constexpr double kPi = 3.14159265358979323846;

// 48 to 16 kHz, stage and FIR: ms, the reply to an impulse, and to a step.
void print_impulse()
{
    constexpr std::size_t kSamples = 290; // 6 ms
    const Stream stage = open_stream(1, 48000, 16000, RSMPL_ENGINE_IIR);
    const Stream filter = open_stream(1, 48000, 16000, RSMPL_ENGINE_FIR);
    const std::vector<double> taps[] = {impulse_response(stage.get()),
                                        impulse_response(filter.get())};
    double sums[] = {0, 0};
    for (std::size_t n = 0; n < kSamples; ++n) {
        std::printf("%.4f", static_cast<double>(n) / 48);
        for (int i : {0, 1}) {
            const double tap = n < taps[i].size() ? taps[i][n] : 0;
            std::printf(" %.6f %.6f", tap, sums[i] += tap);
        }
        std::puts("");
    }
}

// Floats near 0, truncated and rounded.
void print_convert()
{
    for (int i = -300; i <= 300; ++i) {
        const float x = static_cast<float>(i) / 100;
        short truncated = 0;
        short rounded = 0;
        Convert_FloatToShort(&truncated, &x, 1, 0);
        Convert_FloatToShort(&rounded, &x, 1, 1);
        std::printf("%g %d %d\n", static_cast<double>(x), truncated, rounded);
    }
}

// A square wave at full scale from 48 to 16 kHz, 48 samples a period: as floats, by the three
// calls, by a stream.
void print_wrap()
{
    constexpr int kCount = 480;
    short in[kCount];
    float floats[kCount];
    float filtered[kCount / 3];
    short delivered[kCount / 3];
    short clipped[kCount / 3];
    for (int i = 0; i < kCount; ++i)
        in[i] = i / 24 % 2 == 0 ? 32767 : -32767;
    Convert_ShortToFloat(floats, in, kCount);
    float context[9];
    RSMPL_InitContext(context);
    RSMPL_Down(context, floats, filtered, kCount, 2);
    resample_handle* handle = resample_init(1, 48000, 16000, kCount);
    resample_process(handle, in, delivered, kCount);
    resample_exit(handle);
    const Stream stream = open_stream(1, 48000, 16000, RSMPL_ENGINE_IIR);
    rsmpl_stream_run_short(stream.get(), in, kCount, clipped);
    for (int i = 0; i < kCount / 3; ++i)
        std::printf("%.4f %.1f %d %d\n", i / 16.0, static_cast<double>(filtered[i]), delivered[i],
                    clipped[i]);
}

// The magnitudes in dB, the tone's being 0, of 1024 samples of a tone of `turns` periods.
std::vector<double> spectrum(double turns, void (*window)(float*, int))
{
    constexpr int kOrder = 10;
    constexpr std::size_t kLength = 1 << kOrder;
    std::vector<float> samples(kLength, 1);
    if (window != nullptr)
        window(samples.data(), kLength);
    const double gain = std::accumulate(samples.begin(), samples.end(), 0.0) / 2;
    for (std::size_t i = 0; i < kLength; ++i)
        samples[i] *=
            static_cast<float>(std::cos(2 * kPi * turns * static_cast<double>(i) / kLength));
    std::vector<DCOMPLEX> bins(kLength / 2 + 1);
    CFFT fft;
    fft.FFTInitAlloc(kOrder);
    fft.FFTFwd_RToC(samples.data(), bins.data());
    fft.FFTFree();
    std::vector<double> decibels;
    for (DCOMPLEX bin : bins)
        decibels.push_back(20 * std::log10(static_cast<double>(Cabs(bin)) / gain + 1e-9));
    return decibels;
}

void print_fft()
{
    const std::vector<double> columns[] = {spectrum(101, nullptr), spectrum(101.5, nullptr),
                                           spectrum(101.5, WinHanning),
                                           spectrum(101.5, WinBlackman)};
    for (std::size_t k = 0; k < columns[0].size(); ++k) {
        std::printf("%zu", k);
        for (const auto& column : columns)
            std::printf(" %.2f", column[k]);
        std::puts("");
    }
}

} // namespace

int main(int argc, char** argv)
{
    const char* const what = argc == 2 ? argv[1] : "";
    if (std::strcmp(what, "impulse") == 0)
        print_impulse();
    else if (std::strcmp(what, "convert") == 0)
        print_convert();
    else if (std::strcmp(what, "wrap") == 0)
        print_wrap();
    else if (std::strcmp(what, "fft") == 0)
        print_fft();
    else
        return 2;
    return 0;
}
