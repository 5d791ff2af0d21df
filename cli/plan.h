#ifndef RSMPL_CLI_PLAN_H
#define RSMPL_CLI_PLAN_H

#include "cli/options.h"

// What to convert to what: each input's path below the common folder becomes one below out_dir,
// with the suffix of its format.  Throws FileError when the folder is not there, an input lies
// outside of
// --root, two would be written to one place, or one over an input.
std::vector<Job> plan(const Options& options);

#endif
