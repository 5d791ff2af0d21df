// The command's self test on every instruction level, and where arithmetic is not what it should
// be.
#include "cli/selftest.h"
#include "kernels/Resample_Kernels_internal.h"

#include <cfenv>
#include <gtest/gtest.h>

namespace
{

#ifdef __aarch64__
constexpr bool kFusedBaseline = true;
#else
constexpr bool kFusedBaseline = false;
#endif

TEST(Selftest, KnowsWhatRunsAndSeesWhatIsWrong)
{
    for (int level = 0; level < rsmpl::available_levels(); ++level) {
        rsmpl::force_level(level);
        EXPECT_EQ(run_selftest(stdout), 0);
        EXPECT_EQ(kernels_in_use().find("without") == std::string::npos,
                  level > 0 || kFusedBaseline);
    }
    std::fesetround(FE_UPWARD);
    EXPECT_EQ(run_selftest(stdout), 1);
    std::fesetround(FE_TONEAREST);
}

} // namespace
