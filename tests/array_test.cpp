#include "fir/Resample_FIRFiltering.h"
#include "fir/Resample_iMalloc.h"
#include "spectral/Resample_Complex.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <new>
#include <utility>

namespace
{

template <typename T>
class Arrays : public testing::Test
{
};
using ElementTypes = testing::Types<float, int, short, bool, DCOMPLEX>;
TYPED_TEST_SUITE(Arrays, ElementTypes, );

template <typename T>
void expect_zeroed(T* start, unsigned long count)
{
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(start) % 64, 0);
    auto* bytes = reinterpret_cast<char*>(start);
    for (unsigned long i = 0; i < count * sizeof(T); ++i)
        EXPECT_EQ(std::exchange(bytes[i], 'x'), 0); // all of it is ours
}

TYPED_TEST(Arrays, AreZeroedAlignedAndReleased)
{
    TypeParam *p, **pp, ***ppp;
    for (const unsigned long a : {0UL, 1UL, 3UL}) {
        for (const unsigned long b : {0UL, 5UL, 64UL}) {
            ASSERT_TRUE(iCalloc(p, a * b) && iCalloc(pp, a, b) && iCalloc(ppp, 2, a, b));
            expect_zeroed(p, a * b);
            for (TypeParam** rows : {pp, ppp[0], ppp[1]}) {
                for (unsigned long i = 1; i < a; ++i)
                    EXPECT_EQ(rows[i], rows[0] + i * b);
                expect_zeroed(rows[0], a * b); // a table of no rows has one all the same
            }
            for (int twice = 0; twice < 2; ++twice) {
                iFree(p);
                iFree(pp, 1000); // the count is not looked at
                iFree(ppp, 2, a);
                EXPECT_TRUE(p == nullptr && pp == nullptr && ppp == nullptr);
            }
        }
    }
    ASSERT_TRUE(iCalloc(pp, 2, 3) && iCalloc(ppp, 0, ~0UL, 3));
    iFree(pp[0]);
    iFree(pp, 2); // the table alone
    iFree(ppp, 0, ~0UL);
}

TYPED_TEST(Arrays, SizesBeyondMemoryAreRefused)
{
    constexpr unsigned long kTooMany = 1UL << 60U;
    TypeParam block, *p = &block, **pp = &p, ***ppp = &pp;
    EXPECT_FALSE(iCalloc(p, ~0UL - 63) || p != nullptr);
    EXPECT_FALSE(iCalloc(pp, 4, 1UL << 62U) || pp != nullptr); // a product of 2^64
    EXPECT_FALSE(iCalloc(ppp, 2, 4, 1UL << 62U) || ppp != nullptr);
    EXPECT_THROW(iCalloc(pp, kTooMany, 1), std::bad_array_new_length);
    EXPECT_THROW(iCalloc(ppp, kTooMany, 1, 1), std::bad_array_new_length);
    EXPECT_THROW(iCalloc(ppp, 1, kTooMany, 1), std::bad_array_new_length);
}

// A block that is cut to 32 bits ends before it leaves memory.
TEST(Filters, OfImpossibleLengthCanBeReleasedAndBlocksCanNotBeFiltered)
{
    float block[2] = {};
    FIRState* state = nullptr;
    EXPECT_THROW(FIRInitAlloc(&state, nullptr, (1UL << 61U) - 1, nullptr),
                 std::bad_array_new_length);
    EXPECT_NE(state, nullptr);
    FIRFree(state);
    FIRInitAlloc(&state, block, 2, block);
    EXPECT_DEATH(FIRFiltering(state, block, block, (1UL << 32U) + 2), "");
    FIRFree(state);
    FIRFree(nullptr);
    FIRMRFree(nullptr);
}

} // namespace
