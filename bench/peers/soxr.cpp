#include "bench/peers/peers.h"

#include <soxr.h>

namespace peers
{
namespace
{

Stream open(Rates rates, const soxr_quality_spec_t& quality, unsigned long dither,
            unsigned log2_transform)
{
    soxr_io_spec_t io = soxr_io_spec(SOXR_INT16_I, SOXR_INT16_I);
    io.flags = dither;
    soxr_runtime_spec_t runtime = soxr_runtime_spec(1);
    runtime.log2_min_dft_size = log2_transform;
    const std::shared_ptr<soxr> owner(
        soxr_create(rates.in, rates.out, 1, nullptr, &io, &quality, &runtime), soxr_delete);
    return [=](const short* in, short* out) {
        std::size_t count = 0;
        soxr_process(owner.get(), in, rates.inputs, nullptr, out, kRoom, &count);
        return count;
    };
}

} // namespace

// Longer transforms are a little faster, but keep more back.
std::vector<Setting> soxr_settings(Rates rates)
{
    const soxr_quality_spec_t high = soxr_quality_spec(SOXR_HQ, 0);
    soxr_quality_spec_t low = soxr_quality_spec(SOXR_LQ, 0);
    low.passband_end = 0.84; // there the slope begins; it reaches -1 dB at 0.89
    std::string name = "LQ to 0.84, no dither";
    if (rates.in == 44100) {
        low.passband_end = 0.86; // -1 dB at 0.904
        low.flags = SOXR_ROLLOFF_SMALL;
        name = "LQ to 0.86, flat, no dither";
    }
    return {{"HQ (default)", [=] { return open(rates, high, SOXR_TPDF, 10); }},
            {"HQ, no dither", [=] { return open(rates, high, SOXR_NO_DITHER, 10); }},
            {name, [=] { return open(rates, low, SOXR_NO_DITHER, 10); }},
            {name + ", DFT 4096", [=] { return open(rates, low, SOXR_NO_DITHER, 12); }}};
}

} // namespace peers
