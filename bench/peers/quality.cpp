#include "bench/peers/peers.h"

#include <algorithm>
#include <cmath>
#include <complex>

namespace peers
{
namespace
{

using Complex = std::complex<double>;

constexpr double kTurn = 6.283185307179586;
constexpr double kAmplitude = 16000;

// What comes out when a tone goes in.
struct Reply {
    std::vector<short> samples;
    double pending = 0; // seconds by which they were at most fewer than what went in
};

Reply send_tone(Rates rates, const Setting& setting, double hertz)
{
    constexpr double kSeconds = 0.4;
    const Stream stream = setting.open();
    Reply reply;
    std::vector<short> in(rates.inputs);
    std::vector<short> out(kRoom);
    for (int sent = 0; sent < kSeconds * rates.in;) {
        for (short& sample : in)
            sample = static_cast<short>(
                std::lrint(kAmplitude * std::cos(kTurn * hertz / rates.in * sent++)));
        const std::size_t count = stream(in.data(), out.data());
        reply.samples.insert(reply.samples.end(), out.data(), out.data() + count);
        const double received = static_cast<double>(reply.samples.size()) / rates.out;
        reply.pending = std::max(reply.pending, static_cast<double>(sent) / rates.in - received);
    }
    return reply;
}

// The gain A for which the real part of A e^(i w n) is nearest to the end of the reply, where all
// has settled: in least squares, with Hann's window as weights to keep other tones out.  With
//     P = sum of weights, Q = sum of weight e^(-2 i w n), S = sum of weight y e^(-i w n)
// the normal equation is 2 S = P A + Q conj(A).
Complex gain(const Reply& reply, Rates rates, double hertz)
{
    const int count = rates.out / 5;
    const int end = static_cast<int>(reply.samples.size());
    const double w = kTurn * hertz / rates.out;
    double p = 0;
    Complex q = 0;
    Complex s = 0;
    for (int n = end - count; n < end; ++n) {
        const double weight = 1 - std::cos(kTurn * (end - n - 0.5) / count);
        const Complex turn(std::cos(w * n), -std::sin(w * n));
        p += weight;
        q += weight * turn * turn;
        s += weight * reply.samples[static_cast<std::size_t>(n)] * turn;
    }
    return 2.0 * (p * s - q * std::conj(s)) / (p * p - std::norm(q)) / kAmplitude;
}

double decibels(Complex gain)
{
    return 20 * std::log10(std::max(std::abs(gain), 1e-6));
}

// Tones that a periodic system can make of one lie at multiples of this beside it and beside its
// mirror image.
double grid(Rates rates)
{
    return std::gcd(rates.in, rates.out);
}

// Moved away from its own aliases, where these are close together.
double apart_from_aliases(Rates rates, double hertz)
{
    const double half = grid(rates) / 2;
    return half > 1000 ? hertz : (std::floor(hertz / half) + 0.5) * half;
}

// The strongest of these tones; where there are many, of those from the nearest images of the
// input's spectrum and of some in between.
double spurious(const Reply& reply, Rates rates, double hertz)
{
    double strongest = -1000;
    const unsigned up = rates.up();
    const unsigned first = hertz < rates.lower_nyquist() ? 1 : 0;
    for (unsigned k = first; k < up; k += k < 8 || k + 8 >= up ? 1 : std::max(1U, up / 16))
        strongest = std::max(
            strongest, decibels(gain(reply, rates, hertz + static_cast<double>(k) * rates.in)));
    return strongest;
}

// From the lower Nyquist frequency to the input's, closest at the lower end; but not quite, because
// a tone there cannot be told from its mirror image.  None for interpolators.
std::vector<double> stop_band(Rates rates)
{
    constexpr int kTones = 80;
    const double low = rates.lower_nyquist() * 1.002;
    const double high = rates.in / 2.0 / 1.002;
    std::vector<double> tones;
    for (int i = 0; low < high && i <= kTones; ++i)
        tones.push_back(low + (high - low) * i * i / (kTones * kTones));
    return tones;
}

// Where an interpolator lets the input through by parts, and images by parts too.  None for
// decimators.
std::vector<double> slope(Rates rates)
{
    constexpr int kTones = 16;
    const double nyquist = rates.lower_nyquist();
    std::vector<double> tones;
    for (int i = 1; rates.in < rates.out && i <= kTones; ++i)
        tones.push_back((0.87 + (0.998 - 0.87) * i / kTones) * nyquist);
    return tones;
}

} // namespace

// Group delay of the output as a stream, and what is held back of it.
double delay(Rates rates, const Setting& setting)
{
    constexpr double kLow = 200;
    constexpr double kStep = 20;
    const Reply low = send_tone(rates, setting, kLow);
    const Reply high = send_tone(rates, setting, kLow + kStep);
    const Complex turn = gain(high, rates, kLow + kStep) / gain(low, rates, kLow);
    return 1000 * (low.pending - std::arg(turn) / (kTurn * kStep));
}

Quality measure(Rates rates, const Setting& setting)
{
    constexpr int kTones = 44;
    constexpr double kSpacing = 0.87 / kTones;
    std::vector<double> levels;
    double strongest_spurious = -1000;
    const auto send = [&](double wanted) {
        const double hertz = apart_from_aliases(rates, wanted);
        const Reply reply = send_tone(rates, setting, hertz);
        strongest_spurious = std::max(strongest_spurious, spurious(reply, rates, hertz));
        return decibels(gain(reply, rates, hertz));
    };
    for (int i = 1; i <= kTones; ++i)
        levels.push_back(send(i * kSpacing * rates.lower_nyquist()));
    for (const double hertz : stop_band(rates))
        send(hertz);
    const double highest = *std::max_element(levels.begin(), levels.end());
    const double rejection = highest - strongest_spurious;
    for (const double hertz : slope(rates))
        send(hertz);
    const double rejection_of_all = highest - strongest_spurious;

    const auto fallen = std::find_if(levels.begin(), levels.end(),
                                     [&](double level) { return level < highest - 1; });
    const double lowest = *std::min_element(levels.begin(), fallen);
    double edge = static_cast<double>(fallen - levels.begin()) * kSpacing;
    double beyond = fallen == levels.end() ? 0.998 : edge + kSpacing;
    const double resolution = std::max(0.0005, grid(rates) < 1000 ? grid(rates) / rates.in : 0);
    while (beyond - edge > resolution) {
        const double middle = (edge + beyond) / 2;
        (send(middle * rates.lower_nyquist()) < highest - 1 ? beyond : edge) = middle;
    }
    return {highest - lowest, edge, rejection, rejection_of_all, delay(rates, setting)};
}

} // namespace peers
