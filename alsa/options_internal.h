/* options_internal.h - what the configuration says of a converter. */
#ifndef RSMPL_ALSA_OPTIONS_INTERNAL_H
#define RSMPL_ALSA_OPTIONS_INTERNAL_H

#include "alsa/converter_internal.h"

namespace rsmpl_alsa
{

/* Reads converter { name "rsmpl" engine "auto|iir|fir" gain DECIBELS }, gain from -200 to 200.  A
 * null `conf` leaves the options as they are.  Returns 0, or -EINVAL after a line about the field
 * that is wrong. */
int read_options(const snd_config_t* conf, Options& options);

/* "auto", "iir", "fir". */
const char* name_of(rsmpl_engine engine);

} // namespace rsmpl_alsa

#endif
