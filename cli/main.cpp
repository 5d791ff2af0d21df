// rsmpl: recordings to another sample rate.
#include "cli/batch.h"
#include "cli/file_error.h"
#include "cli/interrupt.h"
#include "cli/recording.h"
#include "cli/verbs.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <CLI/CLI.hpp>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <new>
#include <string>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace
{

enum ExitStatus { kDone = 0, kFailed = 1, kWrongUsage = 2 };

constexpr char kExamples[] =
    R"(Examples:
  rsmpl talk.wav talk16.wav                        to 16 kHz, in its place in time
  rsmpl -r 48000 talk16.wav talk48.wav             and up again
  rsmpl -r 44100 --bits 24 master.wav cd.flac      another format
  rsmpl --safe loud.wav out.wav                    turned down so that nothing clips
  rsmpl --engine device mic.wav board.wav          as resample_process does it on a device
  arecord -t raw -f S16_LE -r 48000 | rsmpl --raw 48000,1 - - | recogniser
  rsmpl --out-dir out -j 4 corpus/*/*.wav          many files, by four threads
  rsmpl --json talk.wav talk16.wav                 a report for programs
  rsmpl info 44100                                 what serves a conversion, and how well)";

class Formatter : public CLI::Formatter
{
public:
    std::string make_usage(const CLI::App* app, std::string name) const override
    {
        if (app->get_parent() != nullptr)
            return CLI::Formatter::make_usage(app, name);
        return "Usage: rsmpl [OPTIONS] IN OUT\n"
               "       rsmpl [OPTIONS] --out-dir DIR IN...\n"
               "       rsmpl info | response | selftest ...\n"
               "\"-\" as IN or OUT is standard input or output.\n";
    }

    std::string make_option_opts(const CLI::Option* option) const override
    {
        return option->get_type_size() == 0 ? "" : " " + option->get_type_name();
    }
};

// "48000,1"
RawInput parse_raw(const std::string& text)
{
    RawInput raw{};
    const char* const end = text.data() + text.size();
    const auto rate = std::from_chars(text.data(), end, raw.rate);
    const bool comma = rate.ec == std::errc() && rate.ptr != end && *rate.ptr == ',';
    if (!comma || std::from_chars(rate.ptr + 1, end, raw.channels).ptr != end || raw.rate < 1 ||
        raw.channels < 1 || raw.channels > Recording::kMaxChannels)
        throw CLI::ValidationError("--raw", "RATE,CHANNELS is as 48000,1, with 1 to 16 channels");
    return raw;
}

// Turns one of the names into its number, which is its place.
CLI::Validator one_of(const std::vector<std::string>& names)
{
    const auto find = [names](std::string& text) {
        const auto found = std::find(names.begin(), names.end(), text);
        if (found == names.end())
            return text + " is not one of " + CLI::detail::join(names, ", ");
        text = std::to_string(found - names.begin());
        return std::string();
    };
    return {find, "", "one of"};
}

// CLI11's own range has room for NaN.
CLI::Validator decibels(double most)
{
    const auto check = [most](std::string& text) {
        const double value = std::strtod(text.c_str(), nullptr);
        return value >= -most && value <= most ? std::string()
                                               : text + " is not between -200 and 200";
    };
    return {check, "", "decibels"};
}

void add_sound_options(CLI::App& app, Options& options)
{
    constexpr const char* group = "Sound";
    app.add_option("-r,--rate", options.rate, "sample rate of the output in Hz, 16000 by default")
        ->check(CLI::Range(1, INT_MAX).description(""))
        ->type_name("RATE")
        ->group(group);
    app.add_option("--engine", options.engine,
                   "what converts; auto takes iir where it can; device is 3:1 as "
                   "resample_process does it")
        ->transform(one_of({"auto", "iir", "fir", "device"}))
        ->type_name("auto|iir|fir|device")
        ->group(group);
    app.add_flag_callback(
           "--no-align", [&options] { options.align = false; }, "leave the filter's delay in")
        ->group(group);
    app.add_option("--gain", options.gain_db, "turn the input up, or down when negative")
        ->check(decibels(200))
        ->type_name("DB")
        ->group(group);
    app.add_flag("--safe", options.safe,
                 "read the input twice, and turn it down by what keeps it from clipping")
        ->group(group);
}

void add_file_options(CLI::App& app, Options& options)
{
    constexpr const char* group = "Files";
    app.add_option("--format", options.format, "format of the output; by default its suffix tells")
        ->transform(one_of({"wav", "flac", "aiff", "au", "raw"}))
        ->type_name("wav|flac|aiff|au|raw")
        ->group(group);
    app.add_option("--bits", options.bits, "samples of the output, 16 by default")
        ->transform(one_of({"16", "24", "float"}))
        ->type_name("16|24|float")
        ->group(group);
    app.add_option_function<std::string>(
           "--raw", [&options](const std::string& text) { options.raw = parse_raw(text); },
           "the input is 16-bit little-endian samples without a header")
        ->type_name("RATE,CHANNELS")
        ->group(group);
    app.add_flag("--allow-truncated", options.allow_truncated,
                 "convert what there is of a file that ends too early, and warn")
        ->group(group);
    app.add_flag("--no-clobber", options.no_clobber, "skip what exists")->group(group);
}

void add_batch_options(CLI::App& app, Options& options)
{
    constexpr const char* group = "Many files";
    auto* out_dir = app.add_option("--out-dir", options.out_dir,
                                   "convert all files into this folder, each to its own name")
                        ->type_name("DIR")
                        ->group(group);
    app.add_option("-j,--jobs", options.jobs, "so many at once; by default one per core")
        ->check(CLI::Range(1, Unfinished::kMost).description(""))
        ->type_name("N")
        ->needs(out_dir)
        ->group(group);
    app.add_option(
           "--root", options.root,
           "the folder whose structure is kept; by default the deepest that holds all inputs")
        ->type_name("DIR")
        ->needs(out_dir)
        ->group(group);
}

void add_options(CLI::App& app, Options& options)
{
    app.add_option("FILES", options.files, "IN and OUT, or what is to go to --out-dir")
        ->type_name("")
        ->group("");
    add_sound_options(app, options);
    add_file_options(app, options);
    add_batch_options(app, options);
    app.add_flag("--json", options.json, "report as JSON, one object per file")->group("Report");
    app.add_flag("-q,--quiet", options.quiet, "no report and no progress; warnings and errors only")
        ->group("Report");
    app.set_version_flag("--version", "rsmpl " RSMPL_VERSION);
}

// What CLI11 can't know: how many files there must be.
void check_files(const Options& options)
{
    if (options.files.empty())
        throw CLI::RequiredError("IN");
    if (!options.out_dir.empty())
        return;
    if (options.files.size() == 1)
        throw CLI::RequiredError("OUT");
    if (options.files.size() > 2)
        throw CLI::ValidationError("more than IN and OUT; --out-dir DIR converts many files");
}

// A verb is one only as the first word; anywhere else it is a file's name.
void add_verbs(CLI::App& app, const std::string& first_word, int& status)
{
    add_info(app, status);
    add_response(app, status);
    add_selftest(app, status);
    for (CLI::App* verb : app.get_subcommands({}))
        verb->disabled(verb->get_name() != first_word);
}

int wrong_usage(const CLI::ParseError& error)
{
    const bool unexpected = dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr;
    std::fprintf(stderr, "rsmpl: %s%s; see rsmpl --help\n", printable(error.what()).c_str(),
                 unexpected ? "; a file name that starts with - goes behind --" : "");
    return kWrongUsage;
}

int run(int argc, char** argv)
{
    CLI::App app("Converts recordings to another sample rate.", "rsmpl");
    app.formatter(std::make_shared<Formatter>());
    app.get_formatter()->column_width(26);
    app.footer(kExamples);
    Options options;
    add_options(app, options);
    int status = kDone;
    add_verbs(app, argc > 1 ? argv[1] : "", status);
    try {
        app.parse(argc, argv);
        if (!app.get_subcommands().empty())
            return status;
        check_files(options);
    } catch (const CLI::Success& wanted_help_or_version) {
        app.exit(wanted_help_or_version);
        finish_printing();
        return kDone;
    } catch (const CLI::ParseError& error) {
        return wrong_usage(error);
    }
    catch_signals();
    return (options.out_dir.empty() ? convert_one(options) : convert_many(options)) ? kDone
                                                                                    : kFailed;
}

// What is written to standard output or error must not go into a file that took the place of one
// that was closed.  These fail as closed ones do.
void keep_closed_descriptors_taken()
{
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(descriptor, F_GETFD) < 0)
            open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

} // namespace

int main(int argc, char** argv)
{
    keep_closed_descriptors_taken();
    try {
        return run(argc, argv);
    } catch (const ClosedPipe&) { // a signal that is ignored
        return kFailed;
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "rsmpl: %s\n", std::strerror(ENOMEM));
        return kFailed;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "rsmpl: %s\n", error.what());
        return kFailed;
    }
}
