#ifndef RSMPL_CLI_RESPONSE_H
#define RSMPL_CLI_RESPONSE_H

#include "stream/rsmpl_stream.h"

#include <stdexcept>
#include <string>

// Of the first four one is not empty.
struct ResponseRequest {
    std::string ratio;    // "L:M", the filter of that conversion
    std::string lowpass;  // "TAPS,EDGE,WINDOW"
    std::string highpass; // the same
    std::string bandpass; // "TAPS,LOW,HIGH,WINDOW"
    rsmpl_engine engine = RSMPL_ENGINE_AUTO;
    int points = 512;
    double to = 0;   // the highest frequency; 0 for half the filter's rate, or what is of interest
    double rate = 0; // of the input, for frequencies in Hz; 0 for parts of the filter's rate
};

// A request that makes no sense.
class BadRequest : public std::runtime_error
{
    using std::runtime_error::runtime_error;
};

// Prints frequency, magnitude, phase and group delay as comma-separated values.  Throws BadRequest,
// or std::runtime_error when nothing serves the ratio.
void print_response(const ResponseRequest& request);

#endif
