#include "bench/peers/peers.h"

#include <samplerate.h>

namespace peers
{
namespace
{

Stream open(Rates rates, int converter)
{
    const std::shared_ptr<SRC_STATE> state(src_new(converter, 1, nullptr), src_delete);
    const double ratio = static_cast<double>(rates.out) / rates.in;
    return with_int16(rates, [=](float* in, float* out) {
        SRC_DATA data = {in, out, rates.inputs, kRoom, 0, 0, 0, ratio};
        src_process(state.get(), &data);
        return static_cast<std::size_t>(data.output_frames_gen);
    });
}

} // namespace

// It has no default.
std::vector<Setting> samplerate_settings(Rates rates)
{
    return {{"sinc, fastest", [=] { return open(rates, SRC_SINC_FASTEST); }},
            {"sinc, medium", [=] { return open(rates, SRC_SINC_MEDIUM_QUALITY); }},
            {"sinc, best", [=] { return open(rates, SRC_SINC_BEST_QUALITY); }}};
}

} // namespace peers
