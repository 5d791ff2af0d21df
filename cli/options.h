#ifndef RSMPL_CLI_OPTIONS_H
#define RSMPL_CLI_OPTIONS_H

#include <optional>
#include <string>
#include <vector>

// In the order of their names on the command line.
enum class Engine { kAuto, kIir, kFir, kDevice };
enum class Format { kWav, kFlac, kAiff, kAu, kRaw };
enum class Bits { k16, k24, kFloat };

// 16-bit little-endian samples without a header.
struct RawInput {
    int rate;
    int channels;
};

// What the user asked for, and what holds when nothing is said.
struct Options {
    int rate = 16000; // of the output, Hz
    Engine engine = Engine::kAuto;
    bool align = true;
    double gain_db = 0;
    bool safe = false;            // measure first, turn down by what is needed
    std::optional<Format> format; // else the suffix tells
    Bits bits = Bits::k16;
    std::optional<RawInput> raw; // else the header tells
    bool allow_truncated = false;
    bool no_clobber = false;
    bool quiet = false;
    bool json = false;
    std::string out_dir; // empty: files are IN and OUT
    std::string root;    // empty: the deepest folder that holds all inputs
    int jobs = 0;        // 0: as many as there are cores
    std::vector<std::string> files;
};

// One conversion.
struct Job {
    std::string in;            // "-" is standard input
    std::string out;           // "-" is standard output
    bool make_folders = false; // above `out`
};

#endif
