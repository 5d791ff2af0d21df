// Step by step in single precision.  Bins and shifts are computed for any edge and any centre,
// and kept within the arrays where they are used.
#include "design/Resample_FIRFilterDesign.h"

#include "design/Resample_WinFunc.h"
#include "kernels/Resample_Truncate_internal.h"
#include "spectral/Resample_CFFT.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <new>

namespace
{

constexpr int kLongest = 1 << 30; // M is an int
constexpr float kMinusTwoPi = -6.2831854820251465F;
constexpr float kNoLowEdge = -1;
constexpr float kNoHighEdge = 1;

// Edges and fractions are floats; this is not one, and is compared with in double.
constexpr double kSmallest = 1e-5;

float half_of(int len)
{
    return static_cast<float>(len) * 0.5F;
}

template <typename T>
T* allocate(int count)
{
    return new (std::nothrow) T[static_cast<std::size_t>(std::max(count, 0))];
}

// The values of a window, or null when memory is short.
float* make_window(int len, General_WindowType type)
{
    auto* window = allocate<float>(len);
    if (window == nullptr)
        return nullptr;
    switch (type) {
    case WIN_BLACKMAN:
        WinBlackman(window, len);
        break;
    case WIN_HAMMING:
        WinHamming(window, len);
        break;
    case WIN_HANNING:
        WinHanning(window, len);
        break;
    default:
        std::fill_n(window, std::max(len, 0), 1.0F);
    }
    return window;
}

// The transform, or null when memory is short.
CFFT* make_transform(int order)
{
    auto* fft = new (std::nothrow) CFFT;
    if (fft == nullptr || fft->FFTInitAlloc(order) == 1)
        return fft;
    fft->FFTFree();
    delete fft;
    return nullptr;
}

void release(CGeneralFIRDesigner& d)
{
    delete[] d.m_spectrum;
    delete[] d.m_magnitude;
    delete[] d.m_phase;
    delete[] d.m_window;
    delete[] d.m_timeBuf;
    d.m_timeBuf = d.m_magnitude = d.m_phase = d.m_window = nullptr;
    d.m_spectrum = nullptr;
    if (d.m_fft != nullptr)
        d.m_fft->FFTFree();
    delete d.m_fft;
    d.m_fft = nullptr;
}

// A single point is its own transform; the engine leaves it alone.
void transform_forth(CGeneralFIRDesigner& d)
{
    if (d.m_fftSize == 1)
        d.m_spectrum[0] = {d.m_timeBuf[0], 0};
    else
        d.m_fft->FFTFwd_RToC(d.m_timeBuf, d.m_spectrum);
}

void transform_back(CGeneralFIRDesigner& d)
{
    if (d.m_fftSize == 1)
        d.m_timeBuf[0] = d.m_spectrum[0].re;
    else
        d.m_fft->FFTInv_CToR(d.m_spectrum, d.m_timeBuf);
}

// A delay by `fraction` of a sample turns bin k by -2 pi fraction k / M.
void turn_phase(CGeneralFIRDesigner& d, float fraction)
{
    d.m_fft->CartToPolar(d.m_spectrum, d.m_magnitude, d.m_phase);
    const float slope = fraction * kMinusTwoPi / static_cast<float>(d.m_fftSize);
    for (int k = 0; k < d.m_numBins; ++k)
        d.m_phase[k] = std::fma(slope, static_cast<float>(k), d.m_phase[k]);
    d.m_fft->PolarToCartEL(d.m_magnitude, d.m_phase, d.m_spectrum);
    d.m_spectrum[d.m_numBins - 1].im = 0; // at the Nyquist frequency a real signal has none
}

// An edge lies in bin i, the whole part of x = edge M + 1/2, and x - i past that bin's start.
struct EdgeBin {
    EdgeBin(const CGeneralFIRDesigner& d, float edge)
        : x(std::fma(edge, static_cast<float>(d.m_fftSize), 0.5F)), i(rsmpl::truncate_saturating(x))
    {
    }

    float x;
    int i;
};

void weigh_bin(CGeneralFIRDesigner& d, int i, float weight)
{
    if (i >= 0 && i < d.m_numBins)
        d.m_spectrum[i] = RCmul(weight, d.m_spectrum[i]);
}

void cut_below(CGeneralFIRDesigner& d, float edge)
{
    const EdgeBin bin(d, edge);
    std::fill_n(d.m_spectrum, std::min(bin.i, d.m_numBins), DCOMPLEX{0, 0});
    weigh_bin(d, bin.i, static_cast<float>(bin.i) + (1.0F - bin.x));
}

void cut_above(CGeneralFIRDesigner& d, float edge)
{
    const EdgeBin bin(d, edge);
    const int first = std::clamp(bin.i + 1, 0, d.m_numBins);
    std::fill(d.m_spectrum + first, d.m_spectrum + d.m_numBins, DCOMPLEX{0, 0});
    weigh_bin(d, bin.i, bin.x - static_cast<float>(bin.i));
}

void apply_window(CGeneralFIRDesigner& d)
{
    if (d.m_window == nullptr)
        return;
    for (int n = 0; n < d.m_filterLen; ++n)
        d.m_timeBuf[n] *= d.m_window[n];
}

// Moves the taps by `places`, to later ones when positive; zeros move in.
void shift(float* taps, std::int64_t len, std::int64_t places)
{
    const std::int64_t gap = std::min(std::abs(places), len);
    float* const from = places > 0 ? taps : taps + gap;
    float* const to = places > 0 ? taps + gap : taps;
    std::memmove(to, from, static_cast<std::size_t>(len - gap) * sizeof(float));
    std::fill_n(places > 0 ? taps : taps + len - gap, gap, 0.0F);
}

// The taps in m_timeBuf.
void design(CGeneralFIRDesigner& d, float low, float high, float centre)
{
    const int middle = d.m_filterLen / 2;
    const int whole = rsmpl::truncate_saturating(centre);
    const float fraction = centre - static_cast<float>(whole);
    const bool has_low = static_cast<double>(low) > kSmallest;
    const bool has_high = high < 0.5F;
    const bool has_fraction = static_cast<double>(fraction) >= kSmallest;

    std::fill_n(d.m_timeBuf, d.m_fftSize, 0.0F);
    d.m_timeBuf[middle] = 1;
    if (has_low || has_high || has_fraction) {
        transform_forth(d);
        if (has_fraction)
            turn_phase(d, fraction);
        if (has_low)
            cut_below(d, low);
        if (has_high)
            cut_above(d, high);
        transform_back(d);
        apply_window(d);
    }
    shift(d.m_timeBuf, d.m_filterLen, std::int64_t{whole} - middle);
}

} // namespace

CGeneralFIRDesigner::CGeneralFIRDesigner()
    : m_filterLen(0), m_fftSize(0), m_fftOrder(0), m_numBins(0), m_timeBuf(nullptr),
      m_spectrum(nullptr), m_magnitude(nullptr), m_phase(nullptr), m_window(nullptr), m_fft(nullptr)
{
}

CGeneralFIRDesigner::CGeneralFIRDesigner(int len, General_WindowType type) : CGeneralFIRDesigner()
{
    Init(len, type);
}

CGeneralFIRDesigner::~CGeneralFIRDesigner()
{
    release(*this);
}

int CGeneralFIRDesigner::Init(int len, General_WindowType type)
{
    release(*this);
    if (len > kLongest)
        return 0;
    m_filterLen = len;
    m_fftSize = 1;
    m_fftOrder = 0;
    for (; m_fftSize < len; m_fftSize *= 2)
        ++m_fftOrder;
    m_numBins = m_fftSize / 2 + 1;

    const bool borrows = m_filterLen == m_fftSize;
    if (!borrows)
        m_timeBuf = allocate<float>(m_fftSize);
    m_fft = make_transform(m_fftOrder);
    m_spectrum = allocate<DCOMPLEX>(m_numBins);
    m_magnitude = allocate<float>(m_numBins);
    m_phase = allocate<float>(m_numBins);
    if (type != WIN_NONE)
        m_window = make_window(m_filterLen, type);
    if ((m_timeBuf != nullptr || borrows) && m_fft != nullptr && m_spectrum != nullptr &&
        m_magnitude != nullptr && m_phase != nullptr && (m_window != nullptr || type == WIN_NONE))
        return 1;
    release(*this);
    return 0;
}

int CGeneralFIRDesigner::GenericDesign(float low, float high, float centre, float* out)
{
    if (m_fft == nullptr)
        return 0;
    if (m_filterLen < 1)
        return 1;
    const bool borrows = m_timeBuf == nullptr;
    if (borrows)
        m_timeBuf = out;
    design(*this, low, high, centre);
    if (borrows)
        m_timeBuf = nullptr;
    else
        std::copy_n(m_timeBuf, m_filterLen, out);
    return 1;
}

int CGeneralFIRDesigner::FractionalDelay(float delay, float* out)
{
    return GenericDesign(kNoLowEdge, kNoHighEdge, delay, out);
}

int CGeneralFIRDesigner::LowpassDesign(float fc, float* out)
{
    return GenericDesign(kNoLowEdge, fc, half_of(m_filterLen), out);
}

int CGeneralFIRDesigner::HighpassDesign(float fc, float* out)
{
    return GenericDesign(fc, kNoHighEdge, half_of(m_filterLen), out);
}

int CGeneralFIRDesigner::BandpassDesign(float f1, float f2, float* out)
{
    return GenericDesign(f1, f2, half_of(m_filterLen), out);
}

int GeneralFIRDesign(float* out, int len, General_WindowType type, float low, float high,
                     float centre)
{
    return CGeneralFIRDesigner(len, type).GenericDesign(low, high, centre, out);
}

int GeneralFIRFractionalDelay(float* out, int len, General_WindowType type, float delay)
{
    return GeneralFIRDesign(out, len, type, kNoLowEdge, kNoHighEdge, delay);
}

int GeneralFIRLowpass(float* out, int len, General_WindowType type, float fc)
{
    return GeneralFIRDesign(out, len, type, kNoLowEdge, fc, half_of(len));
}

int GeneralFIRHighpass(float* out, int len, General_WindowType type, float fc)
{
    return GeneralFIRDesign(out, len, type, fc, kNoHighEdge, half_of(len));
}

int GeneralFIRBandpass(float* out, int len, General_WindowType type, float f1, float f2)
{
    return GeneralFIRDesign(out, len, type, f1, f2, half_of(len));
}
