// 8_spectrum.cpp - the spectrum of 16-bit mono PCM from standard input: a line per bin with its
// frequency, as a fraction of the sampling rate, and its mean power in dB, a full-scale sine being
// at 0 dB.
//
//     c++ -std=c++17 8_spectrum.cpp $(pkg-config --cflags --libs rsmpl) -o 8_spectrum
//     sox speech.wav -t raw -b 16 -c 1 - | ./8_spectrum
#include "convert/Resample_DatTypeConvert.h"
#include "design/Resample_WinFunc.h"
#include "fir/Resample_iMalloc.h"
#include "spectral/Resample_CFFT.h"
#include <cmath>
#include <cstdio>

constexpr int kOrder = 8, kLength = 1 << kOrder, kBins = kLength / 2 + 1;
constexpr int kToFullScale = 15; // 2^15 is 1

int main()
{
    short pcm[kLength];
    float window[kLength], samples[kLength], mag[kBins], phase[kBins];
    float* power = nullptr;
    CFFT fft;
    const bool ready = fft.FFTInitAlloc(kOrder) == 1 && iCalloc(power, kBins);
    WinHanning(window, kLength);
    int blocks = 0;
    for (; ready && std::fread(pcm, sizeof pcm, 1, stdin) == 1; ++blocks) {
        Convert_ShortToFloat_Sf(samples, pcm, kLength, kToFullScale);
        for (int n = 0; n < kLength; ++n)
            samples[n] *= window[n];
        fft.FFTFwd_RToPolarC(samples, mag, phase);
        for (int k = 0; k < kBins; ++k)
            power[k] += mag[k] * mag[k];
    }
    // A sine of amplitude 1 is N/4 high in its bin: half of it there, the window's mean 1/2.
    const double full_scale = blocks * (kLength / 4.0) * (kLength / 4.0);
    for (int k = 0; k < kBins && blocks > 0; ++k)
        std::printf("%.4f %6.1f\n", static_cast<double>(k) / kLength,
                    10 * std::log10(power[k] / full_scale + 1e-12));
    iFree(power);
    fft.FFTFree();
    return ready ? 0 : 1;
}
