#include "cli/selftest.h"

#include "api/resample_api.h"
#include "cli/families.h"
#include "cli/measure.h"
#include "fir/Resample_FIRFiltering.h"
#include "iir/Resample_IIRFilterDesign.h"
#include "iir/Resample_Rsmpl_IIR_api.h"

#include <cinttypes>
#include <memory>
#include <sys/utsname.h>
#include <utility>
#include <vector>

namespace
{

using Floats = std::vector<float>;
using Shorts = std::vector<short>;

// A tone at a zero of the filter, where all but the rounding of doubles vanishes from the outputs:
// whether multiply-adds are fused shows in their bits.
bool is_fused()
{
    constexpr std::uint32_t kNotFused = 0xb1a9dc11; // in plain double precision
    constexpr int kBlock = 960;
    Floats in(kBlock);
    Floats out(kBlock / 3);
    float ctx[9];
    RSMPL_InitContext(ctx);
    const double turn = -static_cast<double>(s_FiltCoeffs_3_1[3]); // 2 cos of the zero's angle
    double y[2] = {8192, 0};
    Checksum sum;
    for (int block = 0; block < 2; ++block) {
        for (float& sample : in) {
            sample = static_cast<float>(y[0]);
            y[1] = turn * y[0] - y[1];
            std::swap(y[0], y[1]);
        }
        RSMPL_Down(ctx, in.data(), out.data(), kBlock, RSMPL_RATIO_1_3);
        sum.add(out);
    }
    return sum.sum() != kNotFused;
}

double time_three_calls()
{
    constexpr int kBlock = 960;
    const Shorts in = noise(kBlock, 15);
    Shorts out(kBlock / 3);
    const std::unique_ptr<resample_handle, decltype(&resample_exit)> handle(
        resample_init(1, 48000, 16000, kBlock), resample_exit);
    return fastest([&] { resample_process(handle.get(), in.data(), out.data(), kBlock); }) / kBlock;
}

double time_fir_tap()
{
    constexpr int kBlock = 960;
    constexpr int kTaps = 64;
    const Floats in = float_noise(kBlock, 15);
    const Floats taps = float_noise(kTaps, 15, 15);
    Floats out(kBlock);
    Floats history(std::size_t{2} * kTaps);
    std::uint32_t position = 0;
    return fastest([&] {
               FIRFiltering_Direct(in.data(), out.data(), kBlock, taps.data(), kTaps,
                                   history.data(), &position);
           }) /
           (kBlock * kTaps);
}

double time_stream()
{
    constexpr int kFrames = 4410;
    const Shorts in = noise(kFrames, 15);
    Shorts out(1600);
    const Stream stream = open_stream(1, 44100, 16000, RSMPL_ENGINE_AUTO);
    return fastest([&] { rsmpl_stream_run_short(stream.get(), in.data(), kFrames, out.data()); }) /
           kFrames;
}

// Of all families; how many differ.
int compare(std::FILE* report)
{
    int differ = 0;
    for (const Family& family : families()) {
        const std::uint32_t sum = family.run();
        const bool same = sum == family.known;
        differ += same ? 0 : 1;
        std::fprintf(report, "%-18s %08" PRIx32 "  ", family.name, sum);
        if (same)
            std::fputs("ok\n", report);
        else
            std::fprintf(report, "DIFFERENT, should be %08" PRIx32 "\n", family.known);
    }
    return differ;
}

} // namespace

std::string kernels_in_use()
{
    utsname machine{};
    uname(&machine);
    return std::string(machine.machine) +
           (is_fused() ? ", with fused multiply-add" : ", without fused multiply-add");
}

int run_selftest(std::FILE* report)
{
    std::fprintf(report, "rsmpl " RSMPL_VERSION " on %s\n", kernels_in_use().c_str());
    const int differ = compare(report);
    std::fprintf(report,
                 "48 to 16 kHz, resample_process  %6.2f ns per input sample\n"
                 "44.1 to 16 kHz, stream          %6.2f ns per input sample\n"
                 "FIR filter of 64 taps           %6.3f ns per tap and sample\n",
                 time_three_calls(), time_stream(), time_fir_tap());
    if (differ == 0)
        std::fputs("All as it should be.\n", report);
    else
        std::fprintf(report,
                     "%d of %zu differ: please send all of this, with what lscpu and "
                     "`ldd --version` print, to the makers of rsmpl.\n",
                     differ, families().size());
    return differ == 0 ? 0 : 1;
}
