#include "kernels/Resample_Kernels_internal.h"

namespace rsmpl
{

namespace baseline
{
extern const Kernels kernels[2];
}

namespace avx2
{
extern const Kernels kernels[2];
}

namespace
{

constexpr const Kernels* kLevels[] = {
    baseline::kernels,
#ifdef RSMPL_HAVE_AVX2
    avx2::kernels,
#endif
};

// Valid from the start: a host's own constructors may convert before ours has run.
const Kernels* active = kLevels[0];

[[gnu::constructor]] void choose_level()
{
    force_level(available_levels() - 1);
}

} // namespace

const Kernels& active_kernels()
{
    return *active;
}

int available_levels()
{
#ifdef RSMPL_HAVE_AVX2
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") ? 2 : 1;
#else
    return 1;
#endif
}

void force_level(int level, bool by_steps)
{
    active = kLevels[level] + (by_steps ? 1 : 0);
}

} // namespace rsmpl
