#include "fir/Resample_FIRFiltering.h"

#include <gtest/gtest.h>
#include <new>

namespace
{

// What the engines compute is held against the definition by their fuzz target.
TEST(Fir, ImpossibleAndEmptyFiltersAndCallsTouchNothing)
{
    const float tap = 2;
    float block[] = {9, 9, 9}, history[] = {5, 6};
    FIRState* state = nullptr;
    EXPECT_THROW(FIRInitAlloc(&state, &tap, (1UL << 61U) - 1, nullptr), std::bad_array_new_length);
    FIRFree(state);
    FIRFree(nullptr);
    FIRMRFree(nullptr);
    FIRInitAlloc(&state, nullptr, 0, nullptr);
    FIRFiltering(state, block, block, 1);
    FIRGetDlyLine(state, nullptr);
    EXPECT_TRUE(block[0] == 0 && block[1] == 9 && state->index == 0);
    FIRFree(state);
    std::uint32_t position = 3; // beyond the history of 2
    for (const int none : {0, -5}) {
        block[2] = 9;
        FIRFiltering_Direct(block, block + 2, 1, &tap, none, nullptr, &position);
        FIRFiltering_Direct(block, block, none, &tap, 1, history, &position);
    }
    EXPECT_TRUE(block[2] == 0 && position == 3 && history[1] == 6);
}

} // namespace
