#ifndef RSMPL_CLI_DEVICE_H
#define RSMPL_CLI_DEVICE_H

#include "cli/engine.h"

// The three public calls at 3:1, in blocks of 960 samples, as a device makes them: input rounded to
// 16 bits, output truncated toward zero and wrapped around, no delay made up for. Throws
// std::bad_alloc.
std::unique_ptr<Resampler> open_device(const rsmpl_stream_info& info);

#endif
