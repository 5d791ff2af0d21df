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

// The default is the lowest quality that reaches the bar, but for 44.1 to 16 kHz.
std::vector<Setting> speexdsp_settings(Rates rates)
{
    const Setting standard = {"quality 4 (default)", [=] { return open(rates, 4); }};
    if (rates.in == 44100 && rates.out < rates.in)
        return {standard, {"quality 6", [=] { return open(rates, 6); }}};
    return {{"quality 3", [=] { return open(rates, 3); }}, standard};
}

} // namespace peers
