#include "bench/peers/peers.h"

#include <cstdint>
extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

namespace peers
{
namespace
{

Stream open(Rates rates, const std::string& options)
{
    AVChannelLayout mono;
    av_channel_layout_default(&mono, 1);
    SwrContext* context = nullptr;
    swr_alloc_set_opts2(&context, &mono, AV_SAMPLE_FMT_S16P, rates.out, &mono, AV_SAMPLE_FMT_S16P,
                        rates.in, 0, nullptr);
    av_opt_set_from_string(context, options.c_str(), nullptr, "=", ":");
    swr_init(context);
    const std::shared_ptr<SwrContext> owner(context, [](SwrContext* last) { swr_free(&last); });
    return [=](const short* in, short* out) {
        const auto* from = reinterpret_cast<const std::uint8_t*>(in);
        auto* to = reinterpret_cast<std::uint8_t*>(out);
        return static_cast<std::size_t>(
            swr_convert(owner.get(), &to, kRoom, &from, static_cast<int>(rates.inputs)));
    };
}

} // namespace

// The fastest that were found to reach the bar.  Upwards too a cutoff is a part of the output's
// rate.
std::vector<Setting> swresample_settings(Rates rates)
{
    const Setting standard = {"(default)", [=] { return open(rates, ""); }};
    const auto tuned = [=](const char* name, const char* options) -> std::vector<Setting> {
        return {standard, {name, [=] { return open(rates, options); }}};
    };
    if (rates.in == 44100 && rates.out > rates.in) {
        // Once for the pass band alone, once for images of any tone.
        auto settings = tuned("size 34, beta 7, flt, cutoff 0.94",
                              "filter_size=34:kaiser_beta=7:internal_sample_fmt=fltp:cutoff=0.94");
        settings.push_back(
            tuned("size 64, beta 7, flt, cutoff 0.86",
                  "filter_size=64:kaiser_beta=7:internal_sample_fmt=fltp:cutoff=0.86")
                .back());
        return settings;
    }
    if (rates.in == 44100)
        return tuned("size 68, beta 7, cutoff 0.93", "filter_size=68:kaiser_beta=7:cutoff=0.93");
    if (rates.out == 3 * rates.in)
        return tuned("size 22, beta 5.5, flt, cutoff 0.325",
                     "filter_size=22:kaiser_beta=5.5:internal_sample_fmt=fltp:cutoff=0.325");
    if (rates.out > rates.in)
        return tuned("size 22, beta 5.5, flt, cutoff 0.65",
                     "filter_size=22:kaiser_beta=5.5:internal_sample_fmt=fltp:cutoff=0.65");
    return tuned("size 40, beta 5.5, cutoff 0.92", "filter_size=40:kaiser_beta=5.5:cutoff=0.92");
}

} // namespace peers
