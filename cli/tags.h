#ifndef RSMPL_CLI_TAGS_H
#define RSMPL_CLI_TAGS_H

#include <sndfile.h>

// Copies what a file holds beside samples into one that nothing has been written to yet, as far as
// its format takes it: texts, a broadcast extension and marks, their times at `up` / `down` of the
// rate.
void copy_tags(SNDFILE* from, SNDFILE* to, int up, int down);

#endif
