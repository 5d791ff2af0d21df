// What the protocol of ALSA's rate converters asks for: two entry points, which make a record and
// fill a table of calls on it.
//
// The host converts whole periods only, at the end of a playback too, where it leaves out what is
// beyond it.  The pitch needs no adjusting: the ratio is that of the periods.
#include "alsa/converter_internal.h"
#include "alsa/options_internal.h"

#include <alsa/pcm_rate.h>

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstring>
#include <memory>
#include <new>
#include <numeric>
#include <string>

using rsmpl_alsa::Converter;
using rsmpl_alsa::name_of;
using rsmpl_alsa::Options;
using rsmpl_alsa::Periods;

namespace
{

struct Device {
    Options options;
    std::unique_ptr<Converter> converter; // from init to free
    unsigned in_rate = 0, out_rate = 0;   // Hz
};

Device& device(void* obj)
{
    return *static_cast<Device*>(obj);
}

// Frames of the faster side, at most, that are named as a period: 20 ms at 48 kHz.  A card whose
// periods come in steps, or as powers of two, has that one or another that is short enough.
constexpr unsigned kShort = 960;

// Short periods that have a filter: of the rates' ratio or, where its terms are too large, about
// it, rounded down as the host rounds.  Returns whether there are any.
bool find_periods(const snd_pcm_rate_info_t& info, const Options& options, Periods& served)
{
    const unsigned divisor = std::gcd(info.in.rate, info.out.rate);
    served = {1, info.in.rate / divisor, info.out.rate / divisor};
    const bool down = served.in > served.out;
    snd_pcm_uframes_t& fast = down ? served.in : served.out;
    snd_pcm_uframes_t& slow = down ? served.out : served.in;
    if (fast > RSMPL_STREAM_MOST_RATIO) {
        const snd_pcm_uframes_t fast_term = fast;
        const snd_pcm_uframes_t slow_term = slow;
        slow = RSMPL_STREAM_MOST_RATIO * slow_term / fast_term;
        fast = slow * fast_term / slow_term;
    } else {
        const snd_pcm_uframes_t groups = std::max(1UL, kShort / fast);
        fast *= groups;
        slow *= groups;
    }
    std::unique_ptr<Converter> converter;
    return Converter::open(served, options, converter) == RSMPL_STREAM_OK;
}

std::string advice(const snd_pcm_rate_info_t& info, const Options& options)
{
    Periods served{};
    if (find_periods(info, options, served))
        return std::to_string(served.out) + " of " + std::to_string(served.in) + " would be served";
    return options.engine == RSMPL_ENGINE_IIR
               ? "these rates have no stage; engine \"auto\" takes more"
               : "these rates are too far apart";
}

int refuse(const snd_pcm_rate_info_t& info, const Options& options, rsmpl_stream_status status)
{
    if (status == RSMPL_STREAM_NO_MEMORY)
        return -ENOMEM;
    if (status == RSMPL_STREAM_BAD_RATES && info.in.rate > 0 && info.out.rate > 0)
        SNDERR("rsmpl: no filter of engine \"%s\" makes %lu frames at %u Hz of %lu at %u Hz; %s",
               name_of(options.engine), info.out.period_size, info.out.rate, info.in.period_size,
               info.in.rate, advice(info, options).c_str());
    else
        SNDERR("rsmpl: %u channels: %s", info.channels, rsmpl_stream_message(status));
    return -EINVAL;
}

void close_device(void* obj)
{
    delete static_cast<Device*>(obj);
}

void free_converter(void* obj)
{
    device(obj).converter.reset();
}

int init(void* obj, snd_pcm_rate_info_t* info)
{
    Device& d = device(obj);
    free_converter(obj);
    if (info->in.format != SND_PCM_FORMAT_S16 || info->out.format != SND_PCM_FORMAT_S16) {
        SNDERR("rsmpl: only %s is converted", snd_pcm_format_name(SND_PCM_FORMAT_S16));
        return -EINVAL;
    }
    try {
        const Periods periods{info->channels, info->in.period_size, info->out.period_size};
        const rsmpl_stream_status status = Converter::open(periods, d.options, d.converter);
        if (status != RSMPL_STREAM_OK)
            return refuse(*info, d.options, status);
    } catch (const std::bad_alloc&) {
        return -ENOMEM;
    }
    d.in_rate = info->in.rate;
    d.out_rate = info->out.rate;
    return 0;
}

void reset(void* obj)
{
    if (device(obj).converter)
        device(obj).converter->reset();
}

void convert(void* obj, const snd_pcm_channel_area_t* dst_areas, snd_pcm_uframes_t dst_offset,
             unsigned dst_frames, const snd_pcm_channel_area_t* src_areas,
             snd_pcm_uframes_t src_offset, unsigned src_frames)
{
    device(obj).converter->convert({dst_areas, dst_offset, dst_frames},
                                   {src_areas, src_offset, src_frames});
}

// The host passes delays through these, as they are when negative too.
snd_pcm_uframes_t input_frames(void* obj, snd_pcm_uframes_t frames)
{
    return static_cast<snd_pcm_uframes_t>(
        device(obj).converter->inputs(static_cast<snd_pcm_sframes_t>(frames)));
}

snd_pcm_uframes_t output_frames(void* obj, snd_pcm_uframes_t frames)
{
    return static_cast<snd_pcm_uframes_t>(
        device(obj).converter->outputs(static_cast<snd_pcm_sframes_t>(frames)));
}

// 0 stands for any.
int get_supported_rates(void* /*obj*/, unsigned* rate_min, unsigned* rate_max)
{
    *rate_min = *rate_max = 0;
    return 0;
}

int get_supported_formats(void* /*obj*/, std::uint64_t* in_formats, std::uint64_t* out_formats,
                          unsigned* flags)
{
    *in_formats = *out_formats = std::uint64_t{1} << SND_PCM_FORMAT_S16;
    *flags = 0;
    return 0;
}

void dump(void* obj, snd_output_t* out)
{
    const Device& d = device(obj);
    snd_output_printf(out, "Converter: rsmpl, engine \"%s\", gain %g dB\n",
                      name_of(d.options.engine), d.options.gain);
    if (!d.converter)
        return;
    const rsmpl_stream_info info = d.converter->describe();
    const char* const filter = info.engine == RSMPL_ENGINE_IIR   ? "IIR stage"
                               : info.engine == RSMPL_ENGINE_FIR ? "FIR filter"
                                                                 : "copy";
    snd_output_printf(out,
                      "  %u to %u Hz by %s %d:%d, %.2f ms of delay, %" PRIu64 " samples clipped\n",
                      d.in_rate, d.out_rate, filter, info.up, info.down,
                      1000 * info.delay / d.out_rate, d.converter->clipped());
}

constexpr unsigned kOldest = 0x010001;

// A host's table has what its version knows and no more; each version's begins like the one before.
int open_device(unsigned version, void** objp, snd_pcm_rate_ops_t* ops, const snd_config_t* conf)
{
    if (version < kOldest || version >> 16 != kOldest >> 16)
        return -EINVAL;
    Options options;
    const int error = rsmpl_alsa::read_options(conf, options);
    if (error < 0)
        return error;
    auto* const opened = new (std::nothrow) Device;
    if (opened == nullptr)
        return -ENOMEM;
    opened->options = options;
    const snd_pcm_rate_ops_t table = {close_device,
                                      init,
                                      free_converter,
                                      reset,
                                      nullptr,
                                      convert,
                                      nullptr,
                                      input_frames,
                                      output_frames,
                                      std::min<unsigned>(version, SND_PCM_RATE_PLUGIN_VERSION),
                                      get_supported_rates,
                                      dump,
                                      get_supported_formats};
    const size_t size = version == 0x010001   ? sizeof(snd_pcm_rate_old_ops_t)
                        : version == 0x010002 ? sizeof(snd_pcm_rate_v2_ops_t)
                                              : sizeof table;
    std::memcpy(ops, &table, size);
    *objp = opened;
    return 0;
}

} // namespace

#pragma GCC visibility push(default)
extern "C" {

// SND_PCM_RATE_PLUGIN_ENTRY(rsmpl) and SND_PCM_RATE_PLUGIN_CONF_ENTRY(rsmpl), which ALSA looks up.
int _snd_pcm_rate_rsmpl_open(unsigned version, void** objp, snd_pcm_rate_ops_t* ops)
{
    return open_device(version, objp, ops, nullptr);
}

int _snd_pcm_rate_rsmpl_open_conf(unsigned version, void** objp, snd_pcm_rate_ops_t* ops,
                                  const snd_config_t* conf)
{
    return open_device(version, objp, ops, conf);
}
} // extern "C"
#pragma GCC visibility pop
