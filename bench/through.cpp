// Takes samples through a resampler of the speed table, as it is set there: 16-bit mono without a
// header from standard input to standard output, in calls of 960; what fills no call is left out.
// Usage: rsmpl_through IN_RATE OUT_RATE NAME, such as rsmpl_through 48000 16000 "soxr HQ
// (default)"; without a name it prints those that there are.
#include "bench/peers/peers.h"

#include <cstdio>
#include <cstdlib>

namespace
{

bool pass_through(const peers::Stream& stream, unsigned inputs)
{
    std::vector<short> in(inputs);
    std::vector<short> out(peers::kRoom);
    while (std::fread(in.data(), sizeof in[0], in.size(), stdin) == in.size()) {
        const std::size_t count = stream(in.data(), out.data());
        if (std::fwrite(out.data(), sizeof out[0], count, stdout) != count)
            return false;
    }
    return std::fflush(stdout) == 0;
}

} // namespace

int main(int argc, char** argv)
{
    const peers::Rates rates = {argc > 1 ? std::atoi(argv[1]) : 0,
                                argc > 2 ? std::atoi(argv[2]) : 0};
    if (argc > 4 || std::min(rates.in, rates.out) < 1) {
        std::fputs("usage: rsmpl_through IN_RATE OUT_RATE [NAME]\n", stderr);
        return 2;
    }
    for (const peers::Setting& setting : peers::all_settings(rates)) {
        if (argc == 3)
            std::puts(setting.name.c_str());
        else if (setting.name == argv[3])
            return pass_through(setting.open(), rates.inputs) ? 0 : 1;
    }
    if (argc == 3)
        return 0;
    std::fprintf(stderr, "no resampler \"%s\"\n", argv[3]);
    return 1;
}
