// levels.cpp - how far filters overshoot: one line per conversion, in dB above the input's largest
// sample.
//
//     c++ -std=c++17 levels.cpp $(pkg-config --cflags --libs rsmpl-stream) -o levels
//
// y[j] = sum over k of h[r + L k] x[n - k], where r = 0 .. L - 1 is the output's phase and h the
// impulse response at L times the input's rate.  So, for an input that stays within 1, no output
// exceeds the largest, over r, of the sums of |h[r + L k]|.  A tone of f parts of the input's rate
// that begins at once stays within the largest |partial sum| of h[r + L k] e^(-2 pi i f k), over r
// and the last k; when it has lasted, within the largest |whole sum|.  A step is a tone with an f
// of 0.
#include "stream/rsmpl_stream.h"
#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdio>
#include <vector>

namespace
{

constexpr size_t kInputs = 3072; // until every filter has died away
constexpr int kFrequencies = 256;

// h, from impulses at each of the M places in a group: output j and input i are M j - L i apart.
std::vector<float> impulse_response(rsmpl_stream* stream, size_t up, size_t down)
{
    const size_t inputs = kInputs / down * down;
    std::vector<float> h(inputs * up), in(inputs), out(inputs / down * up);
    for (size_t i = 0; i < down; ++i) {
        rsmpl_stream_reset(stream);
        std::fill(in.begin(), in.end(), 0.0F);
        in[i] = 1;
        rsmpl_stream_run_float(stream, in.data(), inputs, out.data());
        for (size_t j = 0; j < out.size(); ++j)
            if (down * j >= up * i)
                h[down * j - up * i] = out[j];
    }
    return h;
}

double decibels(double gain)
{
    return 20 * std::log10(gain);
}

void print_levels(int in_rate, int out_rate, rsmpl_engine engine)
{
    rsmpl_stream* stream = nullptr;
    if (rsmpl_stream_open(&stream, 1, in_rate, out_rate, engine, 0) != RSMPL_STREAM_OK)
        return;
    rsmpl_stream_info info;
    rsmpl_stream_describe(stream, &info);
    const auto up = static_cast<size_t>(info.up);
    const std::vector<float> h = impulse_response(stream, up, static_cast<size_t>(info.down));
    rsmpl_stream_close(stream);

    double any = 0, step = 0, onset = 0, steady = 0;
    for (size_t r = 0; r < up; ++r) {
        double sum = 0;
        for (size_t n = r; n < h.size(); n += up)
            sum += std::fabs(static_cast<double>(h[n]));
        any = std::max(any, sum);
        for (int f = 0; f <= kFrequencies; ++f) {
            const std::complex<double> turn = std::polar(1.0, -M_PI * f / kFrequencies);
            std::complex<double> phase = 1, total = 0;
            double highest = 0;
            for (size_t n = r; n < h.size(); n += up, phase *= turn)
                highest = std::max(highest, std::norm(total += static_cast<double>(h[n]) * phase));
            onset = std::max(onset, std::sqrt(highest));
            steady = std::max(steady, std::abs(total));
            if (f == 0)
                step = std::max(step, std::sqrt(highest));
        }
    }
    std::printf(
        "%d:%d %s  any input %5.2f  a tone's beginning %5.2f  a step %5.2f  a steady tone %5.2f\n",
        info.up, info.down, info.taps == 0 ? "IIR" : "FIR", decibels(any), decibels(onset),
        decibels(step), decibels(steady));
}

} // namespace

int main()
{
    for (const int ratio : {2, 3, 4, 6}) {
        print_levels(48000, 48000 / ratio, RSMPL_ENGINE_IIR);
        print_levels(48000 / ratio, 48000, RSMPL_ENGINE_IIR);
    }
    print_levels(48000, 32000, RSMPL_ENGINE_IIR);
    print_levels(32000, 48000, RSMPL_ENGINE_IIR);
    print_levels(48000, 16000, RSMPL_ENGINE_FIR);
    print_levels(44100, 48000, RSMPL_ENGINE_FIR);
    return 0;
}
