#include "cli/response.h"

#include "cli/measure.h"
#include "design/Resample_FIRFilterDesign.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <new>
#include <sstream>
#include <vector>

namespace
{

constexpr double kPi = 3.14159265358979323846;

struct Filter {
    std::vector<double> taps;
    double level; // what they raise a tone by
    double rate;  // theirs, in rates of the input
    double shown; // the part of it up to which the response is shown when nothing else is said
};

// Reads the next field, of which nothing may be left over.
template <typename T>
bool read_field(std::istringstream& fields, char end, T& value)
{
    std::string field;
    std::getline(fields, field, end);
    std::istringstream text(field);
    return text >> value && text.peek() == std::istringstream::traits_type::eof();
}

bool read_edge(std::istringstream& fields, double& edge)
{
    return read_field(fields, ',', edge) && edge > 0 && edge < 0.5;
}

bool read_window(std::istringstream& fields, General_WindowType& window)
{
    constexpr const char* kNames[] = {"none", "blackman", "hamming", "hanning"};
    std::string name;
    std::getline(fields, name);
    const auto* const found = std::find(std::begin(kNames), std::end(kNames), name);
    window = static_cast<General_WindowType>(found - std::begin(kNames));
    return found != std::end(kNames);
}

// What GeneralFIRDesign takes, but for the centre.
struct Band {
    int taps = 0;
    double low = 0;
    double high = 1;
    General_WindowType window = WIN_NONE;
};

Band read_band(const std::string& option, const std::string& text, bool has_low, bool has_high)
{
    constexpr int kMostTaps = 1 << 20;
    Band band;
    std::istringstream fields(text);
    if (!read_field(fields, ',', band.taps) || band.taps < 1 || band.taps > kMostTaps ||
        (has_low && !read_edge(fields, band.low)) || (has_high && !read_edge(fields, band.high)) ||
        !(band.low < band.high) || !read_window(fields, band.window))
        throw BadRequest(option + " is not TAPS," + (has_low && has_high ? "LOW,HIGH" : "EDGE") +
                         ",WINDOW, of 1 to 1048576 taps, with rising edges between 0 and 0.5 "
                         "of the sampling rate, and the window none, blackman, hamming or hanning");
    return band;
}

Filter design(const Band& band)
{
    std::vector<float> taps(static_cast<std::size_t>(band.taps));
    if (GeneralFIRDesign(taps.data(), band.taps, band.window, static_cast<float>(band.low),
                         static_cast<float>(band.high), static_cast<float>(band.taps) * 0.5F) == 0)
        throw std::bad_alloc();
    return {{taps.begin(), taps.end()}, 1, 1, 0.5};
}

Filter convert(const std::string& ratio, rsmpl_engine engine)
{
    int up = 0;
    int down = 0;
    std::istringstream fields(ratio);
    if (!read_field(fields, ':', up) || !read_field(fields, '\n', down) || std::min(up, down) < 1 ||
        std::max(up, down) > RSMPL_STREAM_MOST_RATIO)
        throw BadRequest(ratio + " is not L:M, such as 1:3, of numbers from 1 to 1024");
    rsmpl_stream_info info;
    const Stream stream = open_stream(1, down, up, engine);
    rsmpl_stream_describe(stream.get(), &info);
    const double nyquist = 0.5 / std::max(info.up, info.down);
    return {impulse_response(stream.get()), static_cast<double>(info.up),
            static_cast<double>(info.up), std::min(2 * nyquist, 0.5)};
}

Filter find_filter(const ResponseRequest& request)
{
    const auto filters = {&request.ratio, &request.lowpass, &request.highpass, &request.bandpass};
    if (std::count_if(filters.begin(), filters.end(), [](auto* text) { return !text->empty(); }) !=
        1)
        throw BadRequest("one of L:M, --lowpass, --highpass and --bandpass is needed");
    if (!request.lowpass.empty())
        return design(read_band("--lowpass", request.lowpass, false, true));
    if (!request.highpass.empty())
        return design(read_band("--highpass", request.highpass, true, false));
    if (!request.bandpass.empty())
        return design(read_band("--bandpass", request.bandpass, true, true));
    return convert(request.ratio, request.engine);
}

// Where the energy of the impulse response lies: the mean delay of what passes.
double centre(const std::vector<double>& taps)
{
    double energy = 0;
    double moment = 0;
    for (std::size_t n = 0; n < taps.size(); ++n) {
        energy += taps[n] * taps[n];
        moment += taps[n] * taps[n] * static_cast<double>(n);
    }
    return energy > 0 ? moment / energy : 0;
}

// The one of all that differ by whole turns that is nearest to `last`.
double unwrap(double phase, double last)
{
    return phase + 2 * kPi * std::round((last - phase) / (2 * kPi));
}

} // namespace

// What the phase is beside that of a plain delay changes little from one point to the next.
void print_response(const ResponseRequest& request)
{
    const Filter filter = find_filter(request);
    const bool in_hertz = request.rate > 0;
    const double unit = in_hertz ? filter.rate * request.rate : 1;
    const double to = request.to > 0 ? request.to / unit : filter.shown;
    const double level = 20 * std::log10(filter.level);
    const double turns = 2 * kPi * centre(filter.taps);
    double beside = 0;
    std::puts(in_hertz ? "frequency_hz,magnitude_db,phase_rad,delay_ms"
                       : "frequency,magnitude_db,phase_rad,delay_samples");
    for (int i = 0; i < request.points; ++i) {
        const double frequency = to * i / std::max(request.points - 1, 1);
        const Response at = response_at(filter.taps, frequency);
        beside = unwrap(at.phase + turns * frequency, beside);
        if (std::printf("%.9g,%.6f,%.6f,%.6f\n", frequency * unit, at.decibels - level,
                        beside - turns * frequency,
                        in_hertz ? 1000 * at.delay / unit : at.delay) < 0)
            return; // nobody takes it
    }
}
