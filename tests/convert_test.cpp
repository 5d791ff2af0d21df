#include "convert/Resample_DatTypeConvert.h"
#include "kernels/Resample_Kernels_internal.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

namespace
{

constexpr float kInf = std::numeric_limits<float>::infinity();

// The rules for one sample, in double and in 128 bits.
short rounded(float y, int mode)
{
    if (mode == 1)
        y = static_cast<float>(y + (y >= 0 ? 0.5 : -0.5));
    return static_cast<short>(std::fmax(std::fmin(y, 32767.0F), -32768.0F));
}

short narrowed(long x, int mode)
{
    __extension__ using Wide = __int128;
    const Wide offset = mode != 1 ? 0 : x >= 0 ? 32768 : -32768;
    const long wrapped = static_cast<long>(x + offset);
    const double floor = std::floor(static_cast<double>(wrapped) / 65536);
    return static_cast<short>(std::clamp(floor, -32768.0, 32767.0));
}

// convert(dst, src, n) gives each(sample), for all lengths to 70 and a long one, at all offsets.
template <typename Dst, typename Src, typename Convert, typename Each>
void expect_each(const std::vector<Src>& src, Convert convert, Each each)
{
    for (std::size_t offset = 0; offset < 9; ++offset) {
        for (std::size_t n = 0; n <= src.size() - offset; n += n < 70 ? 1 : 65466) {
            std::vector<Dst> dst(n + offset + 9, 77), expected = dst;
            std::transform(&src[offset], &src[offset] + n, &expected[offset], each);
            convert(&dst[offset], &src[offset], static_cast<int>(n));
            ASSERT_EQ(dst, expected) << n << " samples from offset " << offset;
        }
    }
}

TEST(Convert, EveryLengthAndOffsetGivesWhatOneSampleGives)
{
    std::mt19937_64 generator(1);
    std::vector<float> floats = {std::nanf(""), kInf,      -kInf, -0.0F, 0.49999997F / 4,
                                 65535.5F,      -32769.5F, 3e9F,  -3e9F};
    std::vector<long> wides = {LONG_MAX, LONG_MIN, LONG_MAX - 32767, LONG_MIN + 32767, -32768};
    std::vector<short> shorts;
    for (int i = 0; i < 65536; ++i) {
        const auto random = static_cast<long>(generator());
        floats.push_back(static_cast<float>(random % 320000) / 32);
        wides.push_back(random >> (random & 63));
        shorts.push_back(static_cast<short>(i * 12345)); // all of them
    }
    std::shuffle(floats.begin(), floats.begin() + 79, generator);
    for (int level = 0; level < rsmpl::available_levels(); ++level) { // the best stays in use
        rsmpl::force_level(level);
        expect_each<float>(shorts, Convert_ShortToFloat, [](short x) { return x; });
        expect_each<float>(
            shorts, [](auto... a) { Convert_ShortToFloat_Sf(a..., 15); },
            [](short x) { return static_cast<float>(x / 32768.0); });
        expect_each<long>(shorts, Convert_Int16ToInt32, [](short x) { return x * 65536L; });
        for (const int mode : {0, 1, 2}) {
            expect_each<short>(
                floats, [=](auto... a) { Convert_FloatToShort_Sf(a..., mode, -2); },
                [=](float x) { return rounded(x * 4, mode); });
            expect_each<short>(
                floats, [=](auto... a) { Convert_FloatToShort(a..., mode); },
                [=](float x) { return rounded(x, mode); });
            expect_each<short>(
                wides, [=](auto... a) { Convert_Int32ToInt16(a..., mode); },
                [=](long x) { return narrowed(x, mode); });
        }
        expect_each<short>(
            floats, rsmpl::active_kernels().convert.float_to_short_wrapping, [](double x) {
                const double cut = std::clamp(x, -0x1p31, 0x1p31 - 1);
                return static_cast<short>(std::isnan(x) ? 0L : static_cast<long>(cut));
            });
    }
}

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
         {std::pair{-127, 0x1p127F}, {INT_MIN, kInf}, {149, 0x1p-149F}, {INT_MAX, 0}}) {
        float y = 7;
        Convert_ShortToFloat_Sf(&y, &out[4], 1, sf);
        EXPECT_EQ(y, factor) << sf;
    }
}

} // namespace
