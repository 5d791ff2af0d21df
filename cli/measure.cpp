#include "cli/measure.h"

#include "spectral/Resample_CFFT.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <new>
#include <stdexcept>

namespace
{

using Number = std::complex<double>;
using std::size_t;

constexpr double kPi = 3.14159265358979323846;
constexpr size_t kDiesOut = 4800; // by then a stage's response has, in single precision

double decibels(double ratio)
{
    return 20 * std::log10(ratio);
}

rsmpl_stream_info describe(const rsmpl_stream* stream)
{
    rsmpl_stream_info info;
    rsmpl_stream_describe(stream, &info);
    return info;
}

// Magnitudes at 0, 1/n, 2/n .. 1/2 of the rate, at least eight for every lobe of a stop band.
std::vector<double> spectrum(const std::vector<double>& taps)
{
    int order = 3;
    while ((size_t{1} << (order - 3)) < taps.size())
        ++order;
    std::vector<float> padded(taps.begin(), taps.end());
    padded.resize(size_t{1} << order);
    std::vector<DCOMPLEX> bins(padded.size() / 2 + 1);
    CFFT fft;
    const bool made = fft.FFTInitAlloc(order) == 1;
    if (made)
        fft.FFTFwd_RToC(padded.data(), bins.data());
    fft.FFTFree();
    if (!made)
        throw std::bad_alloc();
    std::vector<double> magnitudes(bins.size());
    std::transform(bins.begin(), bins.end(), magnitudes.begin(),
                   [](DCOMPLEX bin) { return Cabs(bin); });
    return magnitudes;
}

// An output sums every L-th tap: the largest sum of magnitudes that there is.
double largest_sum(const std::vector<double>& taps, int up)
{
    std::vector<double> sums(static_cast<size_t>(up));
    for (size_t n = 0; n < taps.size(); ++n)
        sums[n % sums.size()] += std::fabs(taps[n]);
    return *std::max_element(sums.begin(), sums.end());
}

} // namespace

Stream open_stream(int channels, int in_rate, int out_rate, rsmpl_engine engine, unsigned flags)
{
    rsmpl_stream* stream = nullptr;
    const rsmpl_stream_status status =
        rsmpl_stream_open(&stream, channels, in_rate, out_rate, engine, flags);
    if (status != RSMPL_STREAM_OK)
        throw std::runtime_error(rsmpl_stream_message(status));
    return {stream, rsmpl_stream_close};
}

// The reply to an impulse at input j is out[n] = h[n M - j L].  As L and M have no common divisor,
// M impulses show all of h.
std::vector<double> impulse_response(rsmpl_stream* stream)
{
    const rsmpl_stream_info info = describe(stream);
    const auto up = static_cast<size_t>(info.up);
    const auto down = static_cast<size_t>(info.down);
    const size_t length =
        info.engine == RSMPL_ENGINE_IIR ? kDiesOut : static_cast<size_t>(std::max(info.taps, 1));
    std::vector<double> taps(length);
    std::vector<float> in((length / up / down + 2) * down);
    std::vector<float> out(in.size() / down * up);
    for (size_t j = 0; j < down; ++j) {
        in[j] = 1;
        rsmpl_stream_reset(stream);
        rsmpl_stream_run_float(stream, in.data(), in.size(), out.data());
        in[j] = 0;
        for (size_t n = (j * up + down - 1) / down; n * down < j * up + length; ++n)
            taps[n * down - j * up] = out[n];
    }
    rsmpl_stream_reset(stream);
    return taps;
}

// H = sum of h[n] z^n and its derivative D by Horner's scheme: z D / H is the mean n, the delay.
Response response_at(const std::vector<double>& taps, double frequency)
{
    const Number z = std::polar(1.0, -2 * kPi * frequency);
    Number value = 0;
    Number slope = 0;
    for (auto tap = taps.rbegin(); tap != taps.rend(); ++tap) {
        slope = slope * z + value;
        value = value * z + *tap;
    }
    const double delay = value == 0.0 ? std::nan("") : (z * slope / value).real();
    return {decibels(std::abs(value)), std::arg(value), delay};
}

Figures measure(const std::vector<double>& taps, int up, int down, double flat)
{
    const double nyquist = 0.5 / std::max(up, down);
    const std::vector<double> magnitudes = spectrum(taps);
    const double per_bin = 0.5 / static_cast<double>(magnitudes.size() - 1);
    const auto first_beyond = [&](double part) {
        return magnitudes.begin() + static_cast<std::ptrdiff_t>(part * nyquist / per_bin) + 1;
    };
    const auto flat_end = first_beyond(flat);
    const auto [weakest, strongest] = std::minmax_element(magnitudes.begin(), flat_end);
    const double peak = decibels(*strongest);
    const auto below_peak = [&](double part) {
        return peak - response_at(taps, part * nyquist).decibels;
    };
    double edge = flat; // from there on it falls steadily
    for (int halvings = 1; halvings < 16; ++halvings) {
        const double step = std::ldexp(1 - flat, -halvings);
        edge += below_peak(edge + step) < 1 ? step : 0;
    }
    const double beyond = *std::max_element(first_beyond(1), magnitudes.end());

    Figures figures{};
    figures.gain = response_at(taps, 0).decibels - decibels(up);
    figures.ripple = peak - decibels(*weakest);
    figures.edge = edge;
    figures.rejection = std::min(peak - decibels(beyond), below_peak(1));
    figures.delay = response_at(taps, 0).delay / down;
    figures.edge_delay = response_at(taps, edge * nyquist).delay / down;
    figures.overshoot = decibels(largest_sum(taps, up));
    return figures;
}
