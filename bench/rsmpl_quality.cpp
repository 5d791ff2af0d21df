// Measures the response of the filters from their impulse responses, as the library gives
// them, and prints the figures that the documents quote.  See ./bench/run.
#include "cli/measure.h"
#include "fir/Resample_FIRFiltering.h"
#include "fir/Resample_GeneralResampler.h"
#include "iir/Resample_Rsmpl_IIR_api.h"
#include "kernels/Resample_Kernels_internal.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <random>
#include <vector>

namespace
{

constexpr double kPi = 3.14159265358979323846;

// The stage that decimates by `ratio`.
void print_design(const char* name, int ratio)
{
    constexpr double kFlat = 0.875;
    const Stream stream = open_stream(1, ratio, 1, RSMPL_ENGINE_IIR);
    const std::vector<double> taps = impulse_response(stream.get());
    const Figures f = measure(taps, 1, ratio, kFlat);
    std::printf("%-9s %6.2f           %7.4f  %6.1f   %6.2f dB ", name, f.ripple, f.edge,
                -f.rejection, f.overshoot);
    for (const double fraction : {0.0, 0.5, 0.75, kFlat})
        std::printf("  %6.2f", response_at(taps, fraction * 0.5 / ratio).delay);
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
    print_design("1:2, 2:1", 2);
    print_design("1:3, 3:1", 3); // and, at the inserted rate, 2:3 and 3:2
    print_design("1:4, 4:1", 4);
    print_design("1:6, 6:1", 6);
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
