#include "convert/Resample_Truncate_internal.h"

#include <climits>
#include <cmath>
#include <gtest/gtest.h>

namespace
{

TEST(Truncate, GoesTowardZeroAndSaturates)
{
    const struct {
        float from;
        int to;
    } table[] = {
        {0.0F, 0},
        {0.999F, 0},
        {-0.999F, 0},
        {1.5F, 1},
        {-1.5F, -1},
        {40000.7F, 40000},
        {2147483520.0F, 2147483520},
        {2147483648.0F, INT_MAX},
        {-2147483648.0F, INT_MIN},
        {-2147483904.0F, INT_MIN},
        {INFINITY, INT_MAX},
        {-INFINITY, INT_MIN},
        {NAN, 0},
    };
    for (const auto& row : table)
        EXPECT_EQ(rsmpl::truncate_saturating(row.from), row.to) << row.from;
}

} // namespace
