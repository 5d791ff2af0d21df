#include "kernels/Resample_Kernels_internal.h"

namespace rsmpl
{

namespace baseline
{
extern const Kernels kernels;
}
namespace avx2
{
extern const Kernels kernels;
}

namespace
{

#ifdef RSMPL_HAVE_AVX2
constexpr const Kernels* kLevels[] = {&baseline::kernels, &avx2::kernels};
#else
constexpr const Kernels* kLevels[] = {&baseline::kernels};
#endif

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

void force_level(int level)
{
    active = kLevels[level];
}

} // namespace rsmpl
