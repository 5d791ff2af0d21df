#ifndef RSMPL_CLI_BATCH_H
#define RSMPL_CLI_BATCH_H

#include "cli/options.h"

// IN to OUT, as options.files names them.  True when it succeeded.
bool convert_one(const Options& options);

// All files into options.out_dir, by several threads.  A file that fails does not keep others from
// being converted.  True when all succeeded.  Throws FileError when nothing can begin.
bool convert_many(const Options& options);

#endif
