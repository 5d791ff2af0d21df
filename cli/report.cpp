#include "cli/report.h"

#include "cli/file_error.h"

#include <cinttypes>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <numeric>

namespace
{

using Json = nlohmann::ordered_json;

template <typename... Values>
std::string text(const char* format, Values... values)
{
    char line[256];
    std::snprintf(line, sizeof line, format, values...);
    return line;
}

const char* engine_name(const Report& report)
{
    if (report.engine == Engine::kDevice)
        return "device";
    return report.stream.engine == RSMPL_ENGINE_IIR   ? "iir"
           : report.stream.engine == RSMPL_ENGINE_FIR ? "fir"
                                                      : "copy";
}

// "12 (3, 9)": of all channels, and of each where there are several.
std::string by_channel(const std::vector<std::int64_t>& counts)
{
    const std::int64_t sum = std::accumulate(counts.begin(), counts.end(), std::int64_t{0});
    std::string line = std::to_string(sum);
    if (sum == 0 || counts.size() == 1)
        return line;
    for (std::size_t c = 0; c < counts.size(); ++c)
        line += (c == 0 ? " (" : ", ") + std::to_string(counts[c]);
    return line + ")";
}

double times_real_time(const Report& report)
{
    const double seconds = static_cast<double>(report.frames_in) / report.stream.in_rate;
    return report.seconds > 0 ? seconds / report.seconds : 0;
}

// Names are bytes; JSON is UTF-8.
std::string line_of(const Json& json)
{
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

} // namespace

std::string summary(const Report& report)
{
    const rsmpl_stream_info& stream = report.stream;
    std::string line = text("frames in %" PRId64 " at %d Hz, frames out %" PRId64
                            " at %d Hz, channels %d, %s %d:%d",
                            report.frames_in, stream.in_rate, report.frames_out, stream.out_rate,
                            stream.channels, engine_name(report), stream.up, stream.down);
    if (report.gain_db != 0)
        line += text(", gain %.1f dB", report.gain_db);
    if (report.clipped_inputs > 0)
        line += text(", input samples clipped %" PRId64, report.clipped_inputs);
    if (report.engine == Engine::kDevice)
        line += text(", samples wrapped around %" PRId64, report.wrapped);
    else
        line += ", samples clipped " + by_channel(report.clipped);
    if (report.turn_down_db > 0)
        line += text(": turn the input down, %.1f dB is safe", report.turn_down_db);
    return line;
}

std::string summary_json(const Report& report)
{
    const rsmpl_stream_info& stream = report.stream;
    Json json = {{"in", report.job.in},
                 {"out", report.job.out},
                 {"in_rate", stream.in_rate},
                 {"out_rate", stream.out_rate},
                 {"channels", stream.channels},
                 {"frames_in", report.frames_in},
                 {"frames_out", report.frames_out},
                 {"engine", engine_name(report)},
                 {"L", stream.up},
                 {"M", stream.down},
                 {"aligned", report.aligned},
                 {"delay_samples", stream.delay},
                 {"delay_ms", 1000 * stream.delay / stream.out_rate},
                 {"gain_db", report.gain_db},
                 {"peak", report.peak}};
    if (report.engine == Engine::kDevice) {
        json["clipped_inputs"] = report.clipped_inputs;
        json["wrapped"] = report.wrapped;
    } else {
        json["clipped"] = report.clipped;
    }
    json["turn_down_db"] = report.turn_down_db;
    json["not_finite"] = report.not_finite;
    json["truncated"] = !report.truncation.empty();
    json["seconds"] = report.seconds;
    json["times_real_time"] = times_real_time(report);
    return line_of(json);
}

std::string failure_json(const Job& job, const std::string& reason)
{
    return line_of({{"in", job.in}, {"out", job.out}, {"error", reason}});
}

std::string skipped_json(const Job& job)
{
    return line_of({{"in", job.in}, {"out", job.out}, {"skipped", true}});
}

std::string warnings(const Report& report)
{
    const std::string name = report.job.in == "-" ? "standard input" : printable(report.job.in);
    const std::string start = "rsmpl: " + name + ": warning: ";
    std::string lines;
    if (!report.truncation.empty())
        lines += start + report.truncation + "; converted what is there\n";
    if (report.not_finite > 0)
        lines += start + std::to_string(report.not_finite) +
                 " samples are not finite, taken as silence\n";
    return lines;
}
