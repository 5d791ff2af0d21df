// The common face of the resamplers in the speed table, their settings, and their quality.
#ifndef RSMPL_BENCH_PEERS_PEERS_H
#define RSMPL_BENCH_PEERS_PEERS_H

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <functional>
#include <memory>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

namespace peers
{

// In Hz.
struct Rates {
    int in;
    int out;
    unsigned inputs = 960; // of one call

    unsigned up() const { return static_cast<unsigned>(out / std::gcd(in, out)); }
    unsigned down() const { return static_cast<unsigned>(in / std::gcd(in, out)); }
    double lower_nyquist() const { return (in < out ? in : out) / 2.0; }
};

// At most, of one call; and room for its outputs: some keep several blocks back and deliver them at
// once.
constexpr unsigned kMostInputs = 44100;
constexpr unsigned kRoom = 131072;

// One channel on its way through a resampler: takes the inputs of one call, returns the number of
// outputs.
using Stream = std::function<std::size_t(const short* in, short* out)>;
using FloatStream = std::function<std::size_t(float* in, float* out)>;

// For those that know only floats; in loops that compilers vectorise.
inline Stream with_int16(Rates rates, const FloatStream& convert)
{
    using Buffers = std::pair<std::array<float, kMostInputs>, std::array<float, kRoom>>;
    return [=, buffers = std::make_shared<Buffers>()](const short* in, short* out) {
        auto& [floats_in, floats_out] = *buffers;
        std::copy(in, in + rates.inputs, floats_in.data());
        const std::size_t count = convert(floats_in.data(), floats_out.data());
        for (std::size_t i = 0; i < count; ++i) {
            const float limited = std::min(std::max(floats_out[i], -32768.0F), 32767.0F);
            out[i] = static_cast<short>(static_cast<int>(limited + std::copysign(0.5F, limited)));
        }
        return count;
    };
}

struct Setting {
    std::string name;
    std::function<Stream()> open;
    bool recursive = false; // has a memory that fades for ever, and may become denormal
};

// Those of a peer are null where its library was not found when the benchmark was configured.
using Settings = std::vector<Setting>(Rates rates);
Settings rsmpl_settings;
[[gnu::weak]] Settings swresample_settings, soxr_settings, speexdsp_settings, zita_settings,
    samplerate_settings, liquid_settings;

struct System {
    const char* name;
    Settings* settings;
};

// This library first.
inline const System kSystems[] = {
    {"rsmpl", rsmpl_settings},       {"swresample", swresample_settings},
    {"soxr", soxr_settings},         {"speexdsp", speexdsp_settings},
    {"zita", zita_settings},         {"libsamplerate", samplerate_settings},
    {"liquid-dsp", liquid_settings},
};

// Of all that were found, each named after its system, too.
inline std::vector<Setting> all_settings(Rates rates)
{
    std::vector<Setting> all;
    for (const System& system : kSystems) {
        if (system.settings == nullptr)
            continue;
        for (Setting& setting : system.settings(rates)) {
            setting.name = std::string(system.name) + " " + setting.name;
            all.push_back(setting);
        }
    }
    return all;
}

struct Quality {
    double ripple;    // dB, peak to peak, up to 0.87 of the lower Nyquist frequency or to the edge
    double edge;      // where it is 1 dB below its maximum, as a part of that frequency
    double rejection; // dB from the maximum down to the strongest alias, or image of a tone up to
                      // 0.87 of that frequency
    double rejection_of_all; // or image of any tone
    double delay; // ms from a sample's arrival to its delivery, in calls of that many inputs
};

// Measured from what becomes of tones.
Quality measure(Rates rates, const Setting& setting);

// The last of these alone.
double delay(Rates rates, const Setting& setting);

} // namespace peers

#endif
