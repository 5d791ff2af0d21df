#include "cli/info.h"

#include "cli/families.h"
#include "cli/measure.h"
#include "cli/options.h"
#include "cli/rates.h"
#include "cli/recording.h"
#include "cli/selftest.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <vector>

namespace
{

// A conversion by one engine, as measured; frequencies in Hz.
struct Row {
    rsmpl_stream_info served;
    double nyquist; // the lower one
    Figures figures;
    double ns; // per input frame of one channel
};

// In calls of the whole groups in 960 frames, or of one where that is longer.
double time_stream(rsmpl_stream* stream, int down)
{
    const int frames = std::max(960 / down, 1) * down;
    const std::vector<float> in = float_noise(static_cast<std::size_t>(frames), 15);
    std::vector<float> out(rsmpl_stream_outputs(stream, in.size()));
    return fastest([&] { rsmpl_stream_run_float(stream, in.data(), in.size(), out.data()); }) /
           frames;
}

Row measure_conversion(int in_rate, int out_rate, rsmpl_engine engine)
{
    const Stream stream = open_stream(1, in_rate, out_rate, engine);
    Row row{};
    rsmpl_stream_describe(stream.get(), &row.served);
    const rsmpl_stream_info& served = row.served;
    row.nyquist = std::min(in_rate, out_rate) / 2.0;
    row.figures = measure(impulse_response(stream.get()), served.up, served.down, served.flat);
    row.ns = time_stream(stream.get(), served.down);
    return row;
}

std::vector<Row> measure_stages()
{
    constexpr int kRates[][2] = {{48000, 32000}, {48000, 24000}, {48000, 16000}, {48000, 12000},
                                 {48000, 8000},  {32000, 48000}, {24000, 48000}, {16000, 48000},
                                 {12000, 48000}, {8000, 48000}};
    std::vector<Row> rows;
    for (const auto& [in_rate, out_rate] : kRates)
        rows.push_back(measure_conversion(in_rate, out_rate, RSMPL_ENGINE_IIR));
    return rows;
}

void check_served(int in_rate, int out_rate)
{
    if (in_rate < 1 || out_rate < 1)
        throw std::runtime_error(conversion_name(in_rate, out_rate) + ": rates are from 1 Hz up");
    if (!is_served(in_rate, out_rate))
        throw std::runtime_error(why_not_served(in_rate, out_rate));
}

// First the one that is taken when nothing else is asked for; none for a copy.
std::vector<Row> measure_engines(int in_rate, int out_rate)
{
    std::vector<Row> rows;
    if (in_rate == out_rate)
        return rows;
    rows.push_back(measure_conversion(in_rate, out_rate, RSMPL_ENGINE_AUTO));
    if (rows.front().served.engine == RSMPL_ENGINE_IIR)
        rows.push_back(measure_conversion(in_rate, out_rate, RSMPL_ENGINE_FIR));
    return rows;
}

int rate_of(const std::string& input)
{
    if (input.size() < 10 && input.find_first_not_of("0123456789") == std::string::npos)
        return std::stoi(input);
    Options options;
    options.allow_truncated = true;
    return Recording(input, options).rate();
}

const char* name_of(rsmpl_engine engine)
{
    return engine == RSMPL_ENGINE_IIR ? "iir" : "fir";
}

double milliseconds(const Row& row, double frames)
{
    return 1000 * frames / row.served.out_rate;
}

nlohmann::ordered_json to_json(const Row& row)
{
    const Figures& f = row.figures;
    return {
        {"engine", name_of(row.served.engine)},
        {"in_rate", row.served.in_rate},
        {"out_rate", row.served.out_rate},
        {"L", row.served.up},
        {"M", row.served.down},
        {"taps", row.served.taps},
        {"gain_db", f.gain},
        {"ripple_db", f.ripple},
        {"flat_hz", row.served.flat * row.nyquist},
        {"edge_hz", f.edge * row.nyquist},
        {"rejection_db", f.rejection},
        {"delay_samples", f.delay},
        {"delay_ms", milliseconds(row, f.delay)},
        {"edge_delay_samples", f.edge_delay},
        {"edge_delay_ms", milliseconds(row, f.edge_delay)},
        {"safe_db", -f.overshoot},
        {"ns_per_sample", row.ns},
    };
}

nlohmann::ordered_json to_json(const std::vector<Row>& rows)
{
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const Row& row : rows)
        list.push_back(to_json(row));
    return list;
}

// Downwards, so that what is said to be safe is.
double tenth_below(double decibels)
{
    return std::floor(10 * decibels) / 10;
}

// Nothing that would show as -0.00.
double hundredths(double value)
{
    return std::round(100 * value) / 100 + 0.0;
}

void print_row(const char* name, const Row& row)
{
    const Figures& f = row.figures;
    std::printf("%-11s %5g %5g %6.2f %6.3f %6.2f %7.3f %6.1f %7.2f %5.2f %7.2f %5.2f %6.1f %7.2f\n",
                name, row.served.in_rate / 1000.0, row.served.out_rate / 1000.0, hundredths(f.gain),
                f.ripple, row.served.flat * row.nyquist / 1000, f.edge * row.nyquist / 1000,
                f.rejection, f.delay, milliseconds(row, f.delay), f.edge_delay,
                milliseconds(row, f.edge_delay), tenth_below(-f.overshoot), row.ns);
}

void print_header()
{
    const auto print_line = [](auto... words) {
        std::printf("%-11s %5s %5s %6s %6s %6s %7s %6s %7s %5s %7s %5s %6s %7s\n", words...);
    };
    print_line("", "in", "out", "gain", "ripple", "up to", "-1 dB", "reject", "delay", "", "at -1",
               "dB", "safe", "ns per");
    print_line("", "kHz", "kHz", "dB", "dB", "kHz", "kHz", "dB", "frames", "ms", "frames", "ms",
               "dBFS", "sample");
}

std::string ratio_of(const rsmpl_stream_info& info)
{
    return std::to_string(info.up) + ":" + std::to_string(info.down);
}

void print_conversion(int in_rate, int out_rate, const std::vector<Row>& rows)
{
    std::printf("\n%s: ", conversion_name(in_rate, out_rate).c_str());
    if (rows.empty()) {
        std::puts("equal rates are copied.");
        return;
    }
    const rsmpl_stream_info& taken = rows.front().served;
    const int taps = rows.back().served.taps;
    std::printf("%s, served by %s%s, whose filter has %d taps.\n", ratio_of(taken).c_str(),
                name_of(taken.engine), rows.size() > 1 ? ", or when asked for by fir" : "", taps);
    print_header();
    for (const Row& row : rows)
        print_row(name_of(row.served.engine), row);
}

void print_stages(const std::vector<Row>& rows)
{
    std::puts("\nThe ten stages, engine iir, at common rates:");
    print_header();
    for (const Row& row : rows)
        print_row(ratio_of(row.served).c_str(), row);
    std::puts("\nThe gain is at DC, like the first delay; below `up to` tones differ by the "
              "ripple; aliases and\nimages are down by what is rejected; input below the safe "
              "level never clips; times are of one\nchannel in calls of about 960 frames.");
}

} // namespace

void print_info(const InfoRequest& request)
{
    const int in_rate = request.input.empty() ? request.rate : rate_of(request.input);
    check_served(in_rate, request.rate);
    const std::vector<Row> engines = measure_engines(in_rate, request.rate);
    const std::vector<Row> stages = measure_stages();
    if (request.json) {
        nlohmann::ordered_json all = {{"version", RSMPL_VERSION}, {"machine", kernels_in_use()}};
        if (!request.input.empty())
            all["conversion"] = to_json(engines);
        all["stages"] = to_json(stages);
        std::puts(all.dump(2).c_str());
    } else {
        std::printf("rsmpl " RSMPL_VERSION " on %s\n", kernels_in_use().c_str());
        if (!request.input.empty())
            print_conversion(in_rate, request.rate, engines);
        print_stages(stages);
    }
}
