// host RESULT OURS THEIRS [first]: a process with both libraries, linked or loaded now; theirs
// first, and for all to see, if asked.  RESULT is what a linked resample_process gives for a null
// handle: -1 from us, 42 from them, 0 where none is linked.  Prints which claims hold: of us,
// inside and by name; of them.
#include "api/resample_api.h"
#include "design/Resample_FIRFilterDesign.h"
#include "spectral/Resample_Complex.h"
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <numeric>

extern "C" [[gnu::weak]] decltype(resample_process) resample_process;
extern "C" int theirs_calls();
extern "C" bool theirs_inside();

#define FROM(library, name) reinterpret_cast<decltype(&name)>(dlsym(library, #name))

// A design is made by the classes, a mean by Cadd.
static bool ours_inside(void* ours)
{
    float taps[64];
    DCOMPLEX values[] = {{1, 2}, {3, 6}};
    return FROM(ours, GeneralFIRLowpass)(taps, 64, WIN_HAMMING, 0.25F) == 1 &&
           std::abs(std::accumulate(taps, taps + 64, 0.0) - 1) < 0.01 &&
           FROM(ours, Cavg_vec)(values, 2).im == 4;
}

int main(int argc, char** argv)
{
    if (argc == 5)
        dlopen(argv[3], RTLD_NOW | RTLD_GLOBAL);
    void *ours = dlopen(argv[2], RTLD_NOW), *theirs = dlopen(argv[3], RTLD_NOW);
    const bool claims[] = {ours_inside(ours), FROM(ours, Cadd)({1, 2}, {3, 4}).im == 6,
                           FROM(theirs, theirs_calls)() == 0, FROM(theirs, theirs_inside)(),
                           (resample_process ? resample_process(nullptr, nullptr, nullptr, 0)
                                             : 0) == std::atoi(argv[1])};
    for (const bool holds : claims)
        std::putchar(holds ? '+' : '-');
    return std::accumulate(claims, claims + 5, 0) == 5 ? 0 : 1;
}
