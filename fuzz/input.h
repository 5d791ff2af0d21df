// What a fuzzer's bytes stand for.  What they do not say, a generator says that they seed: a few
// bytes make a whole case, and a counter makes a random test of every target.
#ifndef RSMPL_FUZZ_INPUT_H
#define RSMPL_FUZZ_INPUT_H

#include "kernels/Resample_Kernels_internal.h"
#include "tests/common.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// What holds for every input; a fuzzer reports the end of the program.
inline void check(bool holds, const char* file = __builtin_FILE(), int line = __builtin_LINE())
{
    if (holds)
        return;
    std::fprintf(stderr, "%s:%d: does not hold\n", file, line);
    std::abort();
}

// Products and sums of these are ties and near ties, or vanish; a half makes integers of the next
// four, and an int can't hold the fifth; the last four overflow or are not finite.
constexpr float kSpecial[] = {
    1,         0x1.8p0F,       0x1.000002p0F,   -0x1.fffffep0F,   0x1p-12F,
    0x1p-126F, 0x1.8p-149F,    0x1.fffffcp-25F, -0x1.000002p-24F, -0x1.4p-74F,
    -0.0F,     0x1.fffffep-2F, -0x1.fffffep-2F, 32766.5F,         -32767.5F,
    0x1p31F,   0x1p127F,       -0x1p127F,       -INFINITY,        NAN};

class Input
{
public:
    // The first bytes choose the instruction level.
    Input(const std::uint8_t* data, std::size_t size) : next_(data), end_(data + size)
    {
        std::seed_seq seed(next_, end_);
        generator_.seed(seed);
        level = between(0, rsmpl::available_levels() - 1);
        rsmpl::force_level(level);
    }

    // Any bits.
    template <typename T>
    T any()
    {
        const std::uint64_t random = generator_();
        T value;
        const bool said = sizeof value <= static_cast<std::size_t>(end_ - next_);
        std::memcpy(&value, said ? static_cast<const void*>(next_) : &random, sizeof value);
        next_ += said ? sizeof value : 0;
        return value;
    }

    int between(int low, int high) { return low + any<std::uint16_t>() % (high - low + 1); }

    std::size_t size(int most) { return static_cast<std::size_t>(between(0, most)); }

    bool once_in(int times) { return between(1, times) == 1; }

    template <typename T>
    std::vector<T> several(std::size_t count)
    {
        std::vector<T> values(count);
        std::generate(values.begin(), values.end(), [this] { return any<T>(); });
        return values;
    }

    // Noise; mixed with special values, or with those that are not finite too; any bits; silence
    // with impulses; quarters of integers; or noise with a single value that is not finite.
    Floats samples(std::size_t count)
    {
        const int kind = between(0, 6);
        if (kind == 3)
            return several<float>(count);
        Floats values(count);
        for (float& value : values) {
            const int draw = between(0, 399), specials = kind == 1 ? 16 : 20;
            value = static_cast<float>(any<int>()) * 0x1p-18F;
            if ((kind == 1 || kind == 2) && draw < 10 * specials)
                value = kSpecial[draw % specials];
            else if (kind == 4 && draw > 0)
                value = 0;
            else if (kind == 5)
                value = std::trunc(value * 32) / 4;
        }
        if (kind == 6 && count > 0)
            values[size(static_cast<int>(count) - 1)] = once_in(2) ? NAN : INFINITY;
        return values;
    }

    int level;

private:
    const std::uint8_t *next_, *end_;
    std::mt19937_64 generator_;
};

#endif
