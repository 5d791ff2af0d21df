#include "bench/peers/peers.h"

#include <zita-resampler/resampler.h>

namespace peers
{
namespace
{

// band: where the filter's slope lies, as a part of the lower Nyquist frequency.
Stream open(Rates rates, unsigned length, double band)
{
    const auto resampler = std::make_shared<Resampler>();
    resampler->setup(static_cast<unsigned>(rates.in), static_cast<unsigned>(rates.out), 1, length,
                     band);
    return with_int16(rates, [=](float* in, float* out) {
        resampler->inp_count = rates.inputs;
        resampler->inp_data = in;
        resampler->out_count = kRoom;
        resampler->out_data = out;
        resampler->process();
        return kRoom - resampler->out_count;
    });
}

} // namespace

// It has no default length; this is the band that it chooses for 32, the least that reaches the
// bar downwards.
std::vector<Setting> zita_settings(Rates rates)
{
    std::vector<Setting> settings = {{"hlen 32", [=] { return open(rates, 32, 1 - 2.6 / 32); }}};
    if (rates.in == 44100)
        settings.push_back({"hlen 48, band 0.93", [=] { return open(rates, 48, 0.93); }});
    else if (rates.out > rates.in)
        settings.push_back({"hlen 14, band 0.965", [=] { return open(rates, 14, 0.965); }});
    return settings;
}

} // namespace peers
