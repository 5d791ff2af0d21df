// 7_general_resampler.cpp - 16-bit stereo PCM from standard input at 48 kHz to standard output at
// 32 kHz: the general resampler at 2:3.  What is left of an incomplete block at the end is dropped.
//
//     c++ -std=c++17 7_general_resampler.cpp $(pkg-config --cflags --libs rsmpl) -o general
//     sox stereo.wav -t raw -r 48000 -b 16 -c 2 - | ./general >stereo32.raw
#include "convert/Resample_DatTypeConvert.h"
#include "fir/Resample_GeneralResampler.h"
#include "fir/Resample_iMalloc.h"
#include <cstdio>

constexpr int kChannels = 2, kFrames = 320, kIn = 3 * kFrames, kOut = 2 * kFrames; // 20 ms
constexpr int kToFullScale = 15;                                                   // 2^15 is 1
constexpr int kTaps = 192; // at 96 kHz: 1 ms of delay; -1 dB at 13.9 kHz, -50 dB from 15.2 kHz on

int main()
{
    short frames[kIn][kChannels], planar[kIn];
    int enabled[kChannels] = {1, 1};
    float** in = nullptr;
    CGeneralResampler resampler;
    // No low edge, and the highest high edge that keeps aliases out: 14.4 kHz.
    resampler.Init(kChannels, enabled, 2, 3, kFrames, kTaps, 48000, 0, 48000);
    const short* out = resampler.GetInt16Output();
    bool ok = out != nullptr && iCalloc(in, kChannels, kIn);
    while (ok && std::fread(frames, sizeof frames, 1, stdin) == 1) {
        for (int c = 0; c < kChannels; ++c) {
            for (int i = 0; i < kIn; ++i)
                planar[i] = frames[i][c];
            Convert_ShortToFloat_Sf(in[c], planar, kIn, kToFullScale);
        }
        resampler.ResampleOneBlock(in);
        out = resampler.GetInt16Output();
        for (int i = 0; i < kOut; ++i)
            for (int c = 0; c < kChannels; ++c)
                frames[i][c] = out[c * kOut + i];
        ok = std::fwrite(frames, sizeof frames[0], kOut, stdout) == kOut;
    }
    iFree(in, kChannels);
    resampler.UnInit();
    return ok && std::fflush(stdout) == 0 ? 0 : 1;
}
