// Times what the library does beside what one would do without it, interleaved in one process,
// and prints minima and the ratios between them.  See ./bench/run.
#include "bench/bench.h"
#include "kernels/Resample_Kernels_internal.h"

#include <cstdio>

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    for (int level = 0; level < rsmpl::available_levels(); ++level) {
        register_stages(level);
        register_blocks(level);
        register_streams(level);
    }
    register_peers();
    Minima minima;
    benchmark::RunSpecifiedBenchmarks(&minima);
    for (int level = 0; level < rsmpl::available_levels(); ++level) {
        rsmpl::force_level(level);
        std::printf("\nlevel %s\n", rsmpl::active_kernels().level);
        print_stages(minima, level);
        print_blocks(minima, level);
        print_streams(minima, level);
    }
    print_peers(minima);
    return 0;
}
