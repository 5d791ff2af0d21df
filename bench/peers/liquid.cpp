#include "bench/peers/peers.h"

#include <complex>
#include <liquid/liquid.h>

namespace peers
{
namespace
{

// `create` makes a filter of this library's design, for the ratio that is its first argument.
template <typename Create>
auto elliptic(Create create, unsigned ratio)
{
    constexpr unsigned kOrder = 8;
    constexpr float kRipple = 0.5F; // dB
    constexpr float kStop = 60;     // dB
    const float edge = 0.875F / 2 / static_cast<float>(ratio);
    return create(ratio, LIQUID_IIRDES_ELLIP, LIQUID_IIRDES_LOWPASS, LIQUID_IIRDES_SOS, kOrder,
                  edge, 0, kRipple, kStop);
}

Stream open_decimator(Rates rates)
{
    const unsigned ratio = rates.down();
    const std::shared_ptr<iirdecim_rrrf_s> filter(elliptic(iirdecim_rrrf_create_prototype, ratio),
                                                  iirdecim_rrrf_destroy);
    return with_int16(rates, [=](float* in, float* out) {
        iirdecim_rrrf_execute_block(filter.get(), in, rates.inputs / ratio, out);
        return rates.inputs / ratio;
    });
}

Stream open_interpolator(Rates rates)
{
    const unsigned ratio = rates.up();
    const std::shared_ptr<iirinterp_rrrf_s> filter(elliptic(iirinterp_rrrf_create_prototype, ratio),
                                                   iirinterp_rrrf_destroy);
    return with_int16(rates, [=](float* in, float* out) {
        for (unsigned i = 0; i < rates.inputs; ++i)
            in[i] *= static_cast<float>(ratio); // what the inserted zeros take away
        iirinterp_rrrf_execute_block(filter.get(), in, rates.inputs, out);
        return rates.inputs * ratio;
    });
}

// Takes the resampler over.
Stream open_rational(rresamp_rrrf resampler, Rates rates)
{
    const std::shared_ptr<rresamp_rrrf_s> owner(resampler, rresamp_rrrf_destroy);
    const unsigned groups = rates.inputs / rates.down();
    return with_int16(rates, [=](float* in, float* out) {
        rresamp_rrrf_execute_block(owner.get(), in, groups, out);
        return groups * rates.up();
    });
}

// The shortest filter that reaches the bar.  Upwards, only the images of the pass band have to go.
rresamp_rrrf equiripple(Rates rates)
{
    const bool rises = rates.out > rates.in;
    const unsigned half_length = rises ? 9 : 27; // in input samples
    const double nyquist = rates.lower_nyquist() / rates.in / rates.up();
    float bands[] = {0, static_cast<float>(0.865 * nyquist),
                     static_cast<float>((rises ? 1.13 : 1.0) * nyquist), 0.5F};
    float gains[] = {1, 0};
    float weights[] = {1, 30};
    std::vector<float> taps(2 * half_length * rates.up());
    firdespm_run(static_cast<unsigned>(taps.size()), 2, bands, gains, weights, nullptr,
                 LIQUID_FIRDESPM_BANDPASS, taps.data());
    const rresamp_rrrf resampler =
        rresamp_rrrf_create(rates.up(), rates.down(), half_length, taps.data());
    rresamp_rrrf_set_scale(resampler, static_cast<float>(rates.up()));
    return resampler;
}

rresamp_rrrf standard(Rates rates)
{
    const rresamp_rrrf resampler = rresamp_rrrf_create_default(rates.up(), rates.down());
    float scale = 0; // preserves energy, not the level
    rresamp_rrrf_get_scale(resampler, &scale);
    rresamp_rrrf_set_scale(
        resampler, scale * std::sqrt(static_cast<float>(rates.out) / static_cast<float>(rates.in)));
    return resampler;
}

} // namespace

std::vector<Setting> liquid_settings(Rates rates)
{
    const char* const iir = "elliptic IIR, order 8";
    const Setting plain = {"rresamp (default)",
                           [=] { return open_rational(standard(rates), rates); }};
    const Setting fir = {"rresamp, equiripple FIR",
                         [=] { return open_rational(equiripple(rates), rates); }};
    if (rates.up() == 1)
        return {plain, {iir, [=] { return open_decimator(rates); }, true}};
    if (rates.down() == 1)
        return {plain, fir, {iir, [=] { return open_interpolator(rates); }, true}};
    if (std::max(rates.up(), rates.down()) > 6)
        return {plain}; // longer filters than the exchange can design
    return {plain, fir};
}

} // namespace peers
