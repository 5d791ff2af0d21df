#include "cli/verbs.h"

#include "cli/file_error.h"
#include "cli/info.h"
#include "cli/response.h"
#include "cli/selftest.h"

#include <cerrno>
#include <cfloat>
#include <CLI/CLI.hpp>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

namespace
{

const char* const kInfoExamples = "Examples:\n"
                                  "  rsmpl info                      the ten stages\n"
                                  "  rsmpl info 44100                what takes 44.1 to 16 kHz\n"
                                  "  rsmpl info -r 48000 speech.wav  the file's rate to 48 kHz\n"
                                  "  rsmpl info --json 48000         the same figures for programs";

const char* const kResponseExamples =
    "Examples:\n"
    "  rsmpl response 1:3 --rate 48000             from 48 to 16 kHz, frequencies in Hz\n"
    "  rsmpl response 1:3 --engine fir --to 0.5    the FIR filter for it, all of it\n"
    "  rsmpl response --lowpass 64,0.25,hamming    a filter from the designer\n"
    "  rsmpl response --bandpass 129,0.1,0.2,none --points 2000 >band.csv";

const char* const kSelftestExamples = "Example:\n"
                                      "  rsmpl selftest || echo please report this";

CLI::Validator above_zero()
{
    const auto check = [](std::string& text) {
        const double value = std::strtod(text.c_str(), nullptr); // NaN is not
        return value > 0 && value <= DBL_MAX ? std::string() : text + " is not a number above 0";
    };
    return {check, "", "above zero"};
}

} // namespace

void finish_printing()
{
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
        return;
    if (errno == EPIPE)
        throw ClosedPipe();
    throw FileError("standard output", errno);
}

void add_info(CLI::App& app, int& status)
{
    CLI::App* verb = app.add_subcommand(
        "info", "Says what would serve a conversion and measures it, and the ten stages.");
    const auto request = std::make_shared<InfoRequest>();
    verb->add_option("-r,--rate", request->rate, "rate of the output in Hz, 16000 by default")
        ->check(CLI::Range(1, INT_MAX).description(""))
        ->type_name("RATE");
    verb->add_flag("--json", request->json, "print JSON");
    verb->add_option("INPUT", request->input, "a rate in Hz, or an audio file")->type_name("");
    verb->footer(kInfoExamples);
    verb->callback([request, &status] {
        print_info(*request);
        finish_printing();
        status = 0;
    });
}

void add_response(CLI::App& app, int& status)
{
    CLI::App* verb = app.add_subcommand(
        "response", "Prints a filter's frequency response as CSV: frequency, magnitude in dB, "
                    "phase in radians, group delay.");
    const auto request = std::make_shared<ResponseRequest>();
    verb->add_option("L:M", request->ratio, "the filter of that conversion, such as 1:3")
        ->type_name("");
    verb->add_option("--lowpass", request->lowpass,
                     "a design: edges are parts of the sampling rate, the window is none, "
                     "blackman, hamming or hanning")
        ->type_name("TAPS,EDGE,WINDOW");
    verb->add_option("--highpass", request->highpass)->type_name("TAPS,EDGE,WINDOW");
    verb->add_option("--bandpass", request->bandpass)->type_name("TAPS,LOW,HIGH,WINDOW");
    verb->add_option_function<std::string>(
            "--engine",
            [request](const std::string& name) {
                request->engine = name == "fir"   ? RSMPL_ENGINE_FIR
                                  : name == "iir" ? RSMPL_ENGINE_IIR
                                                  : RSMPL_ENGINE_AUTO;
            },
            "what converts; auto takes iir where it can")
        ->check(CLI::IsMember({"auto", "iir", "fir"}).description(""))
        ->type_name("auto|iir|fir");
    verb->add_option("--points", request->points, "how many frequencies, 512 by default")
        ->check(CLI::Range(1, 1000000).description(""))
        ->type_name("N");
    verb->add_option("--to", request->to,
                     "the last frequency; else half the filter's rate, or, for L:M, twice the "
                     "lower Nyquist frequency")
        ->check(above_zero())
        ->type_name("FREQUENCY");
    verb->add_option("--rate", request->rate,
                     "rate of the input: frequencies are in Hz then, delays in ms, else parts and "
                     "samples of the filter's rate, which for L:M is L times the input's")
        ->check(above_zero())
        ->type_name("HZ");
    verb->footer(kResponseExamples);
    verb->callback([request, &status] {
        try {
            print_response(*request);
        } catch (const BadRequest& bad) {
            throw CLI::ValidationError("response", bad.what());
        }
        finish_printing();
        status = 0;
    });
}

void add_selftest(CLI::App& app, int& status)
{
    CLI::App* verb = app.add_subcommand(
        "selftest", "Compares checksums of all that the library computes with known ones, and "
                    "says what runs and how fast.");
    verb->footer(kSelftestExamples);
    verb->callback([&status] {
        status = run_selftest(stdout);
        finish_printing();
    });
}
