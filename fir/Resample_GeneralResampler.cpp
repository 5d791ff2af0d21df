#include "fir/Resample_GeneralResampler.h"

#include "convert/Resample_DatTypeConvert.h"
#include "design/Resample_FIRFilterDesign.h"
#include "fir/Resample_FIRFiltering.h"
#include "fir/Resample_iMalloc.h"

#include <algorithm>
#include <cstddef>
#include <new>

namespace
{

using ulong = unsigned long;

constexpr int kEnabled = 1;
constexpr int kIntegerUnits = 0; // scale factors of the converters
constexpr int kFromFullScale = -15;
constexpr int kRound = 1;

bool enabled(const CGeneralResampler& r, int channel)
{
    return r.m_flags[channel] == kEnabled;
}

// Where a channel starts in planar samples of that many per channel.
short* channel_of(short* planar, int channel, int len)
{
    return planar + static_cast<std::ptrdiff_t>(channel) * len;
}

// The next two are false when it does not fit an int.
bool store_product(ulong a, ulong b, int& product)
{
    return !__builtin_mul_overflow(a, b, &product);
}

bool store(ulong value, int& narrow)
{
    return store_product(value, 1, narrow);
}

// The next three are false when memory is short.
bool allocate(CGeneralResampler& r, const int* flags)
{
    const auto channels = static_cast<ulong>(r.m_channels);
    const auto output_len = static_cast<ulong>(r.m_outputLen);
    r.m_flags = new (std::nothrow) int[channels];
    r.m_states = new (std::nothrow) FIRMRState*[channels]();
    if (r.m_flags == nullptr || r.m_states == nullptr)
        return false;
    std::copy_n(flags, channels, r.m_flags);
    return iCalloc(r.m_floatOut, channels, output_len) &&
           iCalloc(r.m_int16Out, channels * output_len);
}

// The high edge is capped, against images and aliases; NaN gives the cap.
bool design(float* taps, int count, ulong up, ulong down, ulong rate, float low, float high)
{
    const float per_hertz = 1.0F / static_cast<float>(rate);
    const float cap = 0.45F / static_cast<float>(std::max(up, down));
    const float edge = high * per_hertz;
    if (GeneralFIRBandpass(taps, count, WIN_HAMMING, low * per_hertz, edge < cap ? edge : cap) != 1)
        return false;
    const auto gain = static_cast<float>(up); // makes up for the inserted zeros
    std::for_each(taps, taps + count, [gain](float& tap) { tap *= gain; });
    return true;
}

bool create_states(CGeneralResampler& r, const float* taps, ulong count, ulong up, ulong down)
{
    for (int c = 0; c < r.m_channels; ++c)
        if (enabled(r, c) && FIRMRInitAlloc(&r.m_states[c], taps, count, up, down) != 1)
            return false;
    return true;
}

} // namespace

int CGeneralResampler::Init(unsigned long channels, int* flags, unsigned long up,
                            unsigned long down, unsigned long frames, unsigned long tap_count,
                            unsigned long rate, float low, float high)
{
    UnInit();
    int count = 0;
    float* taps = nullptr;
    const bool done = store(channels, m_channels) && store(frames, m_frames) &&
                      store_product(frames, down, m_inputLen) &&
                      store_product(frames, up, m_outputLen) && store(tap_count, count) &&
                      allocate(*this, flags) && iCalloc(taps, tap_count) &&
                      design(taps, count, up, down, rate, low, high) &&
                      create_states(*this, taps, tap_count, up, down);
    iFree(taps);
    if (!done)
        UnInit();
    return 1;
}

int CGeneralResampler::UnInit()
{
    if (m_states != nullptr)
        std::for_each(m_states, m_states + m_channels, FIRMRFree);
    delete[] m_states;
    m_states = nullptr;
    iFree(m_floatOut, static_cast<ulong>(m_channels));
    iFree(m_int16Out);
    iFree(m_scratch);
    delete[] m_flags;
    m_flags = nullptr;
    return 1;
}

int CGeneralResampler::ResampleOneBlock(float** in)
{
    if (m_states == nullptr)
        return 0;
    for (int c = 0; c < m_channels; ++c)
        if (enabled(*this, c))
            FIRMRFiltering(m_states[c], in[c], m_floatOut[c], static_cast<ulong>(m_frames));
    return 0;
}

int CGeneralResampler::ResampleOneBlock(short* in)
{
    if (m_states == nullptr)
        return 0;
    if (m_scratch == nullptr && !iCalloc(m_scratch, static_cast<ulong>(m_inputLen)))
        return 0;
    for (int c = 0; c < m_channels; ++c) {
        if (!enabled(*this, c))
            continue;
        Convert_ShortToFloat_Sf(m_scratch, channel_of(in, c, m_inputLen), m_inputLen,
                                kIntegerUnits);
        FIRMRFiltering(m_states[c], m_scratch, m_floatOut[c], static_cast<ulong>(m_frames));
    }
    return 0;
}

float** CGeneralResampler::GetFloatOutput()
{
    return m_floatOut;
}

short* CGeneralResampler::GetInt16Output()
{
    if (m_states == nullptr)
        return nullptr;
    for (int c = 0; c < m_channels; ++c)
        if (enabled(*this, c))
            Convert_FloatToShort_Sf(channel_of(m_int16Out, c, m_outputLen), m_floatOut[c],
                                    m_outputLen, kRound, kFromFullScale);
    return m_int16Out;
}
