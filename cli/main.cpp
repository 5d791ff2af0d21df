// rsmpl IN OUT: a 48 kHz recording to a 16 kHz WAV file.
#include "cli/convert.h"
#include "cli/file_error.h"

#include <cerrno>
#include <cinttypes>
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <string>

namespace
{

enum ExitStatus { kDone = 0, kFailed = 1, kWrongUsage = 2 };

void print_summary(const Conversion& done)
{
    std::printf("frames in %" PRId64 " at 48000 Hz, frames out %" PRId64
                " at 16000 Hz, channels %d, samples wrapped around %" PRId64,
                done.frames_in, done.frames_out, done.channels, done.wrapped);
    if (done.wrapped > 0)
        std::printf(": turn the input down, %.1f dB is safe", done.turn_down_db);
    std::putchar('\n');
    if (std::fflush(stdout) != 0)
        throw FileError("standard output", errno);
}

int run(int argc, char** argv)
{
    CLI::App app("Converts a recording from 48 kHz to a 16-bit WAV file at 16 kHz.", "rsmpl");
    std::string in;
    std::string out;
    app.add_option("IN", in, "any audio file at 48 kHz with 1 to 16 channels")->required();
    app.add_option("OUT", out, "the WAV file to write")->required();
    app.set_version_flag("--version", "rsmpl " RSMPL_VERSION);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& wanted_help_or_version) {
        return app.exit(wanted_help_or_version);
    } catch (const CLI::ParseError& error) {
        std::fprintf(stderr, "rsmpl: %s; see rsmpl --help\n", error.what());
        return kWrongUsage;
    }
    print_summary(convert(in, out));
    return kDone;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "rsmpl: %s\n", error.what());
        return kFailed;
    }
}
