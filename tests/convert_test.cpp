#include "convert/Resample_DatTypeConvert.h"

#include <climits>
#include <cmath>
#include <gtest/gtest.h>
#include <vector>

namespace
{

TEST(Convert, GivesTheStatedValues)
{
    const long wides[] = {98304, -98304, -65536, -16384, 32768, LONG_MAX};
    std::vector<short> out(6);
    Convert_Int32ToInt16(out.data(), wides, 6, 1);
    EXPECT_EQ(out, (std::vector<short>{2, -2, -2, -1, 1, -32768}));
    std::vector<long> strided(3, 7);
    Convert_Int16ToInt32_Step(strided.data(), out.data() + 5, 2, -5);
    EXPECT_EQ(strided, (std::vector<long>{-32768 * 65536L, 2 * 65536, 7}));
    for (const int none : {0, -1, INT_MIN}) { // nothing to read or write
        Convert_ShortToFloat(nullptr, nullptr, none);
        Convert_FloatToShort(nullptr, nullptr, none, 1);
        Convert_Int32ToInt16(nullptr, nullptr, none, 1);
        Convert_Int16ToInt32(nullptr, nullptr, none);
        Convert_Int16ToInt32_Step(nullptr, nullptr, none, 1);
    }
    for (const auto& [sf, factor] :
         {std::pair{-127, 0x1p127F}, {INT_MIN, INFINITY}, {149, 0x1p-149F}, {INT_MAX, 0}}) {
        float y = 7;
        Convert_ShortToFloat_Sf(&y, &out[4], 1, sf);
        EXPECT_EQ(y, factor) << sf;
    }
}

} // namespace
