#ifndef RSMPL_CLI_SELFTEST_H
#define RSMPL_CLI_SELFTEST_H

#include <cstdio>
#include <string>

// Which kernels the library runs here, told from their results: "x86_64, with fused
// multiply-add".
std::string kernels_in_use();

// Sends known signals through every family of the library, and prints a line for each, what runs
// and how fast.  Returns the exit status: 0, or 1 when a checksum is not the known one.
int run_selftest(std::FILE* report);

#endif
