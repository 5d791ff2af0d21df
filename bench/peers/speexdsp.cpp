#include "bench/peers/peers.h"

#include <speex/speex_resampler.h>

namespace peers
{
namespace
{

Stream open(Rates rates, int quality)
{
    const std::shared_ptr<SpeexResamplerState> state(
        speex_resampler_init(1, static_cast<unsigned>(rates.in), static_cast<unsigned>(rates.out),
                             quality, nullptr),
        speex_resampler_destroy);
    return [=](const short* in, short* out) {
        unsigned taken = rates.inputs;
        unsigned count = kRoom;
        speex_resampler_process_int(state.get(), 0, in, &taken, out, &count);
        return count;
    };
}

} // namespace

// The default is the lowest quality that reaches the bar.
std::vector<Setting> speexdsp_settings(Rates rates)
{
    return {{"quality 3", [=] { return open(rates, 3); }},
            {"quality 4 (default)", [=] { return open(rates, 4); }},
            {"quality 5", [=] { return open(rates, 5); }}};
}

} // namespace peers
