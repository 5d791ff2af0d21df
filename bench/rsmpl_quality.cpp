// Measures the response of the filters from their impulse responses, as the library gives
// them, and prints the figures that the documents quote.  See ./bench/run.
#include "fir/Resample_FIRFiltering.h"
#include "fir/Resample_GeneralResampler.h"
#include "iir/Resample_Rsmpl_IIR_api.h"
#include "kernels/Resample_Kernels_internal.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdio>
#include <functional>
#include <random>
#include <vector>

namespace
{

using Complex = std::complex<double>;

constexpr int kTaps = 4800; // by then every response has died out in single precision
constexpr double kPi = 3.14159265358979323846;

// The filter's response at its own rate: an impulse through the interpolator, whose outputs
// are all of its steps, raised by the insertion factor.
std::vector<double> impulse_response(unsigned code, int insertion)
{
    constexpr int kInputs = 40;
    float ctx[9];
    RSMPL_InitContext(ctx);
    std::vector<float> in(kInputs, 0.0F);
    std::vector<float> out(960);
    std::vector<double> taps;
    in[0] = 1;
    while (static_cast<int>(taps.size()) < kTaps) {
        RSMPL_Up(ctx, in.data(), out.data(), kInputs, code);
        for (int i = 0; i < kInputs * insertion; ++i)
            taps.push_back(static_cast<double>(out[static_cast<std::size_t>(i)]) / insertion);
        in[0] = 0;
    }
    return taps;
}

struct Response {
    double decibels;
    double delay; // group delay in samples of the filter's rate
};

// At `frequency`, a fraction of the filter's rate.
Response response_at(const std::vector<double>& taps, double frequency)
{
    Complex sum = 0;
    Complex weighted = 0;
    for (std::size_t n = 0; n < taps.size(); ++n) {
        const Complex term =
            taps[n] * std::polar(1.0, -2 * kPi * frequency * static_cast<double>(n));
        sum += term;
        weighted += static_cast<double>(n) * term;
    }
    return {20 * std::log10(std::abs(sum)), (weighted / sum).real()};
}

void print_design(const char* name, unsigned code, int ratio)
{
    const std::vector<double> taps = impulse_response(code, ratio);
    const double nyquist = 0.5 / ratio; // of the lower rate
    constexpr int kSteps = 800;
    double highest = -1000;
    double lowest = 1000;
    double stop = -1000;
    for (int i = 0; i <= kSteps * ratio; ++i) {
        const double decibels = response_at(taps, nyquist * i / kSteps).decibels;
        if (i <= 0.875 * kSteps) {
            highest = std::max(highest, decibels);
            lowest = std::min(lowest, decibels);
        }
        if (i >= kSteps)
            stop = std::max(stop, decibels);
    }
    double edge = 0.875;
    for (double step = 0.0625; step > 1e-5; step /= 2) // falls steadily from there to 1
        if (response_at(taps, nyquist * (edge + step)).decibels > -1)
            edge += step;
    double reach = 0;
    for (const double tap : taps)
        reach += std::fabs(tap);
    std::printf("%-9s %6.2f to %5.2f   %7.4f  %6.1f   %6.2f dB ", name, lowest, highest, edge, stop,
                20 * std::log10(reach));
    for (const double fraction : {0.0, 0.5, 0.75, 0.875})
        std::printf("  %6.2f", response_at(taps, nyquist * fraction).delay);
    std::putchar('\n');
}

// Where the band-pass of a general resampler that goes from 48 kHz down to up / down of that
// passes and stops; from 100 Hz where `low` says so.
void print_general(unsigned long up, unsigned long down, unsigned long taps, float low)
{
    int enabled = 1;
    CGeneralResampler resampler;
    resampler.Init(1, &enabled, up, down, 1, taps, 48000, low, 24000);
    std::vector<double> response;
    for (unsigned long n = 0; n < taps; ++n)
        response.push_back(static_cast<double>(resampler.m_states[0]->taps[n]) /
                           static_cast<double>(up));
    resampler.UnInit();
    const double rate = 48000.0 * static_cast<double>(up);
    const auto decibels = [&](double hertz) {
        return response_at(response, hertz / rate).decibels;
    };
    const auto falls_below = [&](double limit, double hertz) {
        while (decibels(hertz) > limit)
            hertz += 10;
        return hertz / 1000;
    };
    const double from = 4000; // within every pass band
    const double stop = falls_below(-50, from);
    double beyond = -1000;
    for (double hertz = 1000 * stop + 100; hertz < rate / 2; hertz += 10)
        beyond = std::max(beyond, decibels(hertz));
    std::printf("%lu:%lu, %3lu taps  %6.2f dB at DC, %6.2f at 300 Hz, -1 dB at %5.2f kHz, "
                "-50 dB at %5.2f kHz, %5.1f dB beyond, delay %.2f ms\n",
                up, down, taps, decibels(0), decibels(300), falls_below(-1, from), stop, beyond,
                1000 * response_at(response, from / rate).delay / rate);
}

struct Form {
    int level;
    bool by_steps;
};

// Outputs of the 1:3 stage that one form rounds otherwise than the other.
template <typename NextSample>
int count_differences(Form one, Form other, NextSample next_sample)
{
    constexpr int kBlocks = 3125; // a million outputs
    const Form forms[] = {one, other};
    float ctx[2][9] = {};
    std::vector<float> in(960);
    std::vector<float> out[2] = {std::vector<float>(320), std::vector<float>(320)};
    int differ = 0;
    for (int block = 0; block < kBlocks; ++block) {
        std::generate(in.begin(), in.end(), std::ref(next_sample));
        for (int i : {0, 1}) {
            rsmpl::force_level(forms[i].level, forms[i].by_steps);
            RSMPL_Down(ctx[i], in.data(), out[i].data(), 960, 2);
        }
        for (std::size_t j = 0; j < out[0].size(); ++j)
            differ += out[0][j] != out[1][j];
    }
    return differ;
}

template <typename NextSample>
void print_differences(const char* signal, NextSample next_sample)
{
    const int strongest = rsmpl::available_levels() - 1;
    std::printf("floats of a million that differ, %s: %d between blocks and steps, %d between the "
                "weakest and the strongest level\n",
                signal, count_differences({strongest, false}, {strongest, true}, next_sample),
                count_differences({0, false}, {strongest, false}, next_sample));
}

} // namespace

int main()
{
    std::puts("Frequencies as fractions of the lower rate's Nyquist frequency, delays in samples\n"
              "of the higher rate (48 per ms at 48 kHz; for 2:3 and 3:2 of twice and thrice the\n"
              "input rate).  Overshoot: the largest output for inputs within full scale.\n\n"
              "filter    ripple to 0.875   -1 dB    beyond   overshoot    delay at 0, 0.5, 0.75, "
              "0.875\n"
              "              dB            at       1, dB");
    print_design("1:2, 2:1", 1, 2);
    print_design("1:3, 3:1", 2, 3); // and, at the inserted rate, 2:3 and 3:2
    print_design("1:4, 4:1", 3, 4);
    print_design("1:6, 6:1", 4, 6);
    std::puts("\nGeneral resampler, from 48 kHz:");
    print_general(1, 3, 64, 100); // what every handle carries
    print_general(1, 3, 64, 0);
    print_general(2, 3, 192, 0);
    std::putchar('\n');
    print_differences("noise", [generator = std::mt19937(1)]() mutable {
        return std::uniform_real_distribution<float>(-20000, 20000)(generator);
    });
    print_differences("a 10 kHz tone", [n = 0]() mutable {
        return static_cast<float>(20000 * std::sin(2 * kPi * n++ * 10 / 48));
    });
    return 0;
}
