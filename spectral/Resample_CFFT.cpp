#include "spectral/Resample_CFFT.h"

#include "kernels/Resample_Kernels_internal.h"

#include <cmath>
#include <cstdlib>
#include <initializer_list>

namespace
{

constexpr float kTwoPi = 6.2831855F;
constexpr float kPi = 3.1415927F;
constexpr float kHalfPi = 1.5707964F;
constexpr int kLargestOrder = 31; // N has 32 bits

DCOMPLEX polar(float magnitude, float phase)
{
    return {magnitude * std::cos(phase), magnitude * std::sin(phase)};
}

DCOMPLEX* allocate(unsigned count)
{
    return static_cast<DCOMPLEX*>(std::malloc(count * sizeof(DCOMPLEX)));
}

// The kernels see arrays of complex values as the interleaved floats that they are.
float* floats(DCOMPLEX* z)
{
    return &z->re;
}

// Fills the upper half of a whole spectrum from its lower half.
void mirror(DCOMPLEX* spectrum, unsigned length)
{
    for (unsigned k = 1; k < length / 2; ++k)
        spectrum[length - k] = {spectrum[k].re, -spectrum[k].im};
}

// The whole spectrum in the input buffer to the real signal: the forward transform of the
// conjugate is the conjugate of the inverse, whose real part is what is wanted.
void inverse_of_input(CFFT& fft, float* out)
{
    fft.CartCToConj(fft.pInBuf, fft.pInBuf);
    fft.FFTFwd_CToC(fft.pInBuf, fft.pOutBuf);
    const float scale = 1.0F / static_cast<float>(fft.nFFTLen);
    for (unsigned n = 0; n < fft.nFFTLen; ++n)
        out[n] = fft.pOutBuf[n].re * scale;
}

void forward_of_real(CFFT& fft, const float* in)
{
    for (unsigned n = 0; n < fft.nFFTLen; ++n)
        fft.pInBuf[n] = {in[n], 0};
    fft.FFTFwd_CToC(fft.pInBuf, fft.pOutBuf);
}

} // namespace

CFFT::CFFT()
    : pStagePair{nullptr, nullptr}, pScratch(nullptr), pTwiddle(nullptr), pInBuf(nullptr),
      pOutBuf(nullptr), nFFTLen(0), nFFTOrder(0)
{
}

CFFT::~CFFT() = default;

int CFFT::FFTInitAlloc(int order)
{
    if (order < 0 || order > kLargestOrder)
        return 0;
    nFFTLen = 1U << static_cast<unsigned>(order);
    nFFTOrder = static_cast<unsigned>(order);
    for (DCOMPLEX** array : {&pScratch, &pTwiddle, &pInBuf, &pOutBuf}) {
        *array = allocate(nFFTLen);
        if (*array == nullptr)
            return 0;
    }
    const float step = -kTwoPi / static_cast<float>(nFFTLen);
    pTwiddle[0] = {1, 0};
    for (unsigned k = 1; k < nFFTLen; ++k)
        pTwiddle[k] = polar(1, static_cast<float>(k) * step);
    return 1;
}

void CFFT::FFTFree()
{
    for (DCOMPLEX** array : {&pTwiddle, &pScratch, &pInBuf, &pOutBuf}) {
        std::free(*array);
        *array = nullptr;
    }
}

float CFFT::c_abs(DCOMPLEX z)
{
    return std::sqrt(z.re * z.re + z.im * z.im);
}

float CFFT::c_angle(DCOMPLEX z)
{
    if (z.re == 0)
        return kHalfPi;
    const float angle = std::atan(z.im / z.re);
    if (z.re < 0 && z.im >= 0)
        return angle + kPi;
    if (z.re < 0 && z.im < 0)
        return angle - kPi;
    return angle;
}

DCOMPLEX CFFT::c_conj(DCOMPLEX z)
{
    return {z.re, -z.im};
}

void CFFT::CartToPolar(DCOMPLEX* in, float* mag, float* phase)
{
    for (unsigned k = 0; k <= nFFTLen / 2; ++k) {
        mag[k] = c_abs(in[k]);
        phase[k] = c_angle(in[k]);
    }
}

void CFFT::PolarToCart(float* mag, float* phase, DCOMPLEX* out)
{
    PolarToCartEL(mag, phase, out);
    mirror(out, nFFTLen);
}

void CFFT::PolarToCartEL(float* mag, float* phase, DCOMPLEX* out)
{
    for (unsigned k = 0; k <= nFFTLen / 2; ++k)
        out[k] = polar(mag[k], phase[k]);
}

void CFFT::CartCToConj(DCOMPLEX* in, DCOMPLEX* out)
{
    for (unsigned k = 0; k < nFFTLen; ++k)
        out[k] = c_conj(in[k]);
}

// Stockham's autosort: m stages, each from one array to the other.  Two at a time spare a trip
// through memory.  An odd order leaves one to go alone at the end; of an even order two go alone
// where that makes the number of passes even, so that the first pass writes the scratch array and
// out may be in.  Order 0 has no stage.
void CFFT::FFTFwd_CToC(DCOMPLEX* in, DCOMPLEX* out)
{
    pStagePair[0] = out;
    pStagePair[1] = pScratch;
    const rsmpl::FftKernels& kernels = rsmpl::active_kernels().fft;
    const unsigned alone = nFFTOrder % 4 == 2 ? 2 : nFFTOrder % 2;
    const unsigned pairs = (nFFTOrder - alone) / 2;
    const float* src = floats(in);
    unsigned span = 1;
    unsigned to_come = pairs + alone;
    const auto run = [&](rsmpl::FftPass* pass, unsigned growth) {
        float* dst = floats(pStagePair[--to_come % 2]); // out for the last one
        pass(src, dst, floats(pTwiddle), nFFTLen, span);
        src = dst;
        span *= growth;
    };
    for (unsigned i = 0; i < pairs; ++i)
        run(kernels.two_stages, 4);
    for (unsigned i = 0; i < alone; ++i)
        run(kernels.one_stage, 2);
}

void CFFT::FFTFwd_RToC(float* in, DCOMPLEX* out)
{
    forward_of_real(*this, in);
    for (unsigned k = 0; k <= nFFTLen / 2; ++k)
        out[k] = pOutBuf[k];
}

void CFFT::FFTFwd_RToPolarC(float* in, float* mag, float* phase)
{
    forward_of_real(*this, in);
    CartToPolar(pOutBuf, mag, phase);
}

void CFFT::FFTInv_CToR(DCOMPLEX* in, float* out)
{
    for (unsigned k = 0; k <= nFFTLen / 2; ++k)
        pInBuf[k] = in[k];
    mirror(pInBuf, nFFTLen);
    inverse_of_input(*this, out);
}

void CFFT::FFTInv_PolarCToR(float* mag, float* phase, float* out)
{
    PolarToCart(mag, phase, pInBuf);
    inverse_of_input(*this, out);
}
