#include "cli/convert.h"

#include "cli/engine.h"
#include "cli/file_error.h"
#include "cli/level.h"
#include "cli/output.h"
#include "cli/recording.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

// Of a block, frames of the higher rate; FIR filters like them long, a few MB of memory do not.
constexpr int kBlock = 8192;

// The largest sample that never clips, whatever it is rounded to, and the largest that a device's
// filter may make of unrounded input: rounding changes that by one unit at most, which the filter
// can raise by 3.2.
constexpr double kMost = 32767, kMostOfDevice = 32767 - 4;

double decibels(double ratio)
{
    return 20 * std::log10(ratio);
}

// To a tenth of a decibel, upwards; 0 for what is not too loud.
double turn_down(double excess)
{
    return excess > 1 ? std::ceil(10 * decibels(excess)) / 10 : 0;
}

void check_apart(const Job& job)
{
    const auto look = [](const std::string& name, int standard, struct stat& status) {
        return (name == "-" ? fstat(standard, &status) : stat(name.c_str(), &status)) == 0;
    };
    struct stat in, out;
    if (look(job.in, STDIN_FILENO, in) && look(job.out, STDOUT_FILENO, out) &&
        S_ISREG(in.st_mode) && in.st_dev == out.st_dev && in.st_ino == out.st_ino)
        throw FileError(job.out == "-" ? "standard output" : job.out,
                        "output and input are the same file");
}

std::size_t block_frames(const rsmpl_stream_info& info)
{
    return static_cast<std::size_t>(
        info.up <= info.down ? kBlock : std::max(1, kBlock * info.down / info.up));
}

// Everything from `in` through `resampler` to `take`.
template <typename Take>
std::int64_t run_all(Recording& in, Resampler& resampler, Progress& progress, double share,
                     const Take& take)
{
    const std::size_t block = block_frames(resampler.info());
    std::vector<float> samples(block * static_cast<std::size_t>(in.channels())), out;
    std::int64_t frames = 0;
    while (const std::size_t count = in.read(samples.data(), block)) {
        resampler.run(samples.data(), count, out);
        take(out);
        frames += static_cast<std::int64_t>(count);
        const auto done = static_cast<double>(count);
        progress.add(in.frames() > 0 ? share * done / static_cast<double>(in.frames()) : 0,
                     done / in.rate());
    }
    resampler.finish(out);
    take(out);
    return frames;
}

// By how many decibels the input must be turned down so that nothing clips nor wraps.
double measure(const Job& job, const Options& options, double gain, Progress& progress,
               double share)
{
    const bool device = options.engine == Engine::kDevice;
    Options filter = options;
    filter.engine = device ? Engine::kIir : options.engine;
    Recording in(job.in, options);
    if (in.is_live())
        throw FileError(in.name(), "--safe reads the input twice, which a pipe can't; "
                                   "write it to a file first");
    in.set_gain(gain);
    const auto resampler = open_resampler(in.name(), in.channels(), in.rate(), filter);
    float peak = 0;
    run_all(in, *resampler, progress, share,
            [&](const std::vector<float>& out) { peak = peak_of(out.data(), out.size(), peak); });
    return turn_down(
        std::max(peak / (device ? kMostOfDevice : kMost), device ? in.peak() / kMost : 0));
}

// What clipped on its way into a device says nothing of its filtered peak; then the filter's worst
// case counts, a raise by 3.18 or 10.04 dB.
double advice(const Report& report, const Resampler& resampler, float in_peak, float out_peak)
{
    constexpr double kWorstCase = 3.18;
    const auto clips = [](std::int64_t count) { return count > 0; };
    if (std::any_of(report.clipped.begin(), report.clipped.end(), clips))
        return turn_down(out_peak / kMost);
    if (report.clipped_inputs > 0)
        return turn_down(in_peak / kMost * kWorstCase);
    return report.wrapped > 0 ? turn_down(resampler.filtered_peak() / kMostOfDevice) : 0;
}

// ceil(frames L / M), or -1 when they are not known.
std::int64_t expected_frames(std::int64_t frames, const rsmpl_stream_info& info)
{
    const std::int64_t whole = frames / info.down, part = frames % info.down;
    return frames < 0 ? -1 : whole * info.up + (part * info.up + info.down - 1) / info.down;
}

// When there is something to put there; what can't be made is said of the file in it.
void make_folders(const Job& job)
{
    std::error_code ignored;
    if (job.make_folders)
        std::filesystem::create_directories(std::filesystem::path(job.out).parent_path(), ignored);
}

double gain_for(double decibels)
{
    return std::pow(10, decibels / 20);
}

void convert(Report& report, const Options& options, Progress& progress, double share)
{
    const Job& job = report.job;
    const Format format = format_of(job.out, options);
    Recording in(job.in, options);
    in.set_gain(gain_for(report.gain_db));
    const auto resampler = open_resampler(in.name(), in.channels(), in.rate(), options);
    report.stream = resampler->info();
    make_folders(job);
    Output out(job.out, {format, options.bits, in.channels(), options.rate,
                         expected_frames(in.frames(), report.stream)});
    if (in.file() != nullptr)
        out.copy_tags(in.file(), report.stream.up, report.stream.down);
    report.frames_in = run_all(in, *resampler, progress, share,
                               [&out](const std::vector<float>& samples) { out.write(samples); });
    out.commit();
    report.frames_out = out.frames();
    report.peak = out.peak() / Recording::kFullScale;
    report.clipped = out.clipped();
    report.clipped_inputs = resampler->clipped_inputs();
    report.wrapped = resampler->wrapped();
    report.turn_down_db = advice(report, *resampler, in.peak(), out.peak());
    report.not_finite = in.not_finite();
    report.truncation = in.truncation();
}

} // namespace

Report convert(const Job& job, const Options& options, Progress& progress, double share)
{
    const auto began = std::chrono::steady_clock::now();
    Report report;
    report.job = job;
    report.engine = options.engine;
    report.aligned = options.align && options.engine != Engine::kDevice;
    report.gain_db = options.gain_db;
    check_apart(job);
    if (options.safe && options.bits != Bits::kFloat) {
        share /= 2;
        report.gain_db -= measure(job, options, gain_for(options.gain_db), progress, share);
    }
    convert(report, options, progress, share);
    report.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count();
    return report;
}
