// Written values, the same on every machine, level and compiler, of what no definition pins to the
// bit.  The stages' values are of their 16-bit outputs, and at levels with fused multiply-add of
// the floats too.
#include "convert/Resample_DatTypeConvert.h"
#include "kernels/Resample_Kernels_internal.h"
#include "tests/common.h"

#include <cstdint>
#include <gtest/gtest.h>

namespace
{

constexpr int kBlock = 960;

// The first level with fused multiply-add.
#ifdef __aarch64__
constexpr int kFused = 0;
#else
constexpr int kFused = 1;
#endif

// Ten blocks each of noise, pulses through a resonance, impulses, silence.
Shorts stream()
{
    std::uint32_t random = 1;
    double resonance[2] = {};
    Shorts samples;
    for (int i = 0; i < 40 * kBlock; ++i) {
        random = random * 1664525 + 1013904223;
        const double pulse = i % 160 == 0 ? 4000 : 0;
        const double voice = pulse + 1.9375 * resonance[0] - 0.953125 * resonance[1];
        resonance[1] = resonance[0];
        resonance[0] = voice;
        const double values[] = {random / 262144.0 - 8192, voice, i % 997 == 0 ? 30000.0 : 0, 0};
        samples.push_back(static_cast<short>(values[i / (10 * kBlock)]));
    }
    return samples;
}

// FNV-1a, continued.
template <typename T>
void hash(const std::vector<T>& values, std::uint64_t& sum)
{
    const auto* bytes = reinterpret_cast<const unsigned char*>(values.data());
    for (std::size_t i = 0; i < values.size() * sizeof(T); ++i)
        sum = (sum ^ bytes[i]) * 1099511628211U;
}

TEST(Checksums, OfTheStages)
{
    using Sums = std::uint64_t[10];
    const Sums floats = {
        0x4d471f4d0541b82cU, 0xf442b169ee98c09cU, 0x2b5674d647980b27U, 0x530cfc2881baef19U,
        0xfdc196279d2f3f62U, 0x11d5d5d9d357c9c4U, 0xff86c7dab2773f7bU, 0xb2a5088deedb6593U,
        0xab4e70a622d664a8U, 0xeaf7b52c4cfcaa30U,
    };
    const Sums shorts = {
        0x1be021a2160b1f0dU, 0x4da7f00ce631e32aU, 0x0c44fbfe2b50d28bU, 0xf10d658bf5fe9a9aU,
        0xba1d86c42403e2c0U, 0x8970aa4e24d89344U, 0x2b80473cb8592171U, 0x3e475671517513c0U,
        0xe38669610d9fc470U, 0x2db4ee421e01b04aU,
    };
    const Shorts samples = stream();
    for (int form = 0; form < 2 * rsmpl::available_levels(); ++form) {
        const int level = form / 2;
        rsmpl::force_level(level, form % 2 == 1); // by blocks and by steps
        for (std::size_t row = 0; row < 10; ++row) {
            const Stage& stage = kStages[row];
            Floats out(static_cast<std::size_t>(stage.outputs(kBlock))), ctx(9);
            Shorts narrow(out.size());
            std::uint64_t sum = 14695981039346656037U, narrow_sum = sum;
            stage.init(ctx.data());
            for (auto from = samples.begin(); from != samples.end(); from += kBlock) {
                stage.run(Floats(from, from + kBlock).data(), out.data(), ctx.data(), kBlock);
                Convert_FloatToShort(narrow.data(), out.data(), stage.outputs(kBlock), 1);
                hash(out, sum), hash(narrow, narrow_sum);
            }
            EXPECT_EQ(narrow_sum, shorts[row]) << row;
            EXPECT_TRUE(sum == floats[row] || level < kFused) << row << ": " << sum;
        }
    }
    rsmpl::force_level(rsmpl::available_levels() - 1);
}

} // namespace
