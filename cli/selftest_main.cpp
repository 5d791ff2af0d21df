// rsmpl-selftest: `rsmpl selftest` by itself, without the command's libraries, for a board.
#include "cli/selftest.h"

int main()
{
    return run_selftest(stdout);
}
