#ifndef RSMPL_CLI_RATES_H
#define RSMPL_CLI_RATES_H

#include <string>

// "48000 to 16000 Hz"
std::string conversion_name(int in_rate, int out_rate);

// Whether a stream serves these rates, of 1 Hz at least, with one engine or another.
bool is_served(int in_rate, int out_rate);

// Why not, and what near it would be served.
std::string why_not_served(int in_rate, int out_rate);

#endif
