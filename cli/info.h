#ifndef RSMPL_CLI_INFO_H
#define RSMPL_CLI_INFO_H

#include <string>

struct InfoRequest {
    std::string input; // a rate in Hz, or a file that has one; empty for the stages alone
    int rate = 16000;  // of the output
    bool json = false;
};

// Prints what would serve the conversion, and the ten stages, as measured at this moment.  Throws
// std::runtime_error when nothing serves it, or the file can't be read.
void print_info(const InfoRequest& request);

#endif
