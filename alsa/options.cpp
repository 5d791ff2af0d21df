#include "alsa/options_internal.h"

#include <cerrno>
#include <cmath>
#include <string_view>

namespace rsmpl_alsa
{
namespace
{

constexpr double kMostGain = 200; // dB, up or down, as the command takes it

bool read_engine(const snd_config_t* field, Options& options)
{
    const char* name = nullptr;
    if (snd_config_get_string(field, &name) < 0 || name == nullptr)
        return false;
    for (const rsmpl_engine engine : {RSMPL_ENGINE_AUTO, RSMPL_ENGINE_IIR, RSMPL_ENGINE_FIR}) {
        if (std::string_view(name) == name_of(engine)) {
            options.engine = engine;
            return true;
        }
    }
    return false;
}

bool read_gain(const snd_config_t* field, Options& options)
{
    return snd_config_get_ireal(field, &options.gain) == 0 && std::abs(options.gain) <= kMostGain;
}

int read_field(const snd_config_t* field, Options& options)
{
    const char* id = nullptr;
    snd_config_get_id(field, &id);
    const std::string_view name = id == nullptr ? "" : id;
    if (name == "engine" && !read_engine(field, options)) {
        SNDERR("rsmpl: engine is \"auto\", \"iir\" or \"fir\"");
        return -EINVAL;
    }
    if (name == "gain" && !read_gain(field, options)) {
        SNDERR("rsmpl: gain is a number of decibels from %g to %g", -kMostGain, kMostGain);
        return -EINVAL;
    }
    if (name != "name" && name != "engine" && name != "gain") {
        SNDERR("rsmpl: there is no field \"%s\", only engine and gain", id);
        return -EINVAL;
    }
    return 0;
}

} // namespace

int read_options(const snd_config_t* conf, Options& options)
{
    if (conf == nullptr || snd_config_get_type(conf) != SND_CONFIG_TYPE_COMPOUND)
        return 0;
    const snd_config_iterator_t end = snd_config_iterator_end(conf);
    for (auto* at = snd_config_iterator_first(conf); at != end; at = snd_config_iterator_next(at)) {
        const int error = read_field(snd_config_iterator_entry(at), options);
        if (error < 0)
            return error;
    }
    return 0;
}

const char* name_of(rsmpl_engine engine)
{
    switch (engine) {
    case RSMPL_ENGINE_IIR:
        return "iir";
    case RSMPL_ENGINE_FIR:
        return "fir";
    default:
        return "auto";
    }
}

} // namespace rsmpl_alsa
