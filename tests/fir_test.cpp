#include "fir/Resample_FIRFiltering.h"
#include "kernels/Resample_Kernels_internal.h"
#include "tests/common.h"

#include <gtest/gtest.h>
#include <new>

namespace
{

void expect_same(const Floats& values, const float* expected)
{
    for (std::size_t i = 0; i < values.size(); ++i)
        ASSERT_TRUE(same(values[i], expected[i])) << i << ": " << values[i] << " " << expected[i];
}

// Products and sums of these are ties and near ties, or vanish; the last four overflow or are not
// finite.
const float kSpecial[] = {1,         0x1.8p0F,    0x1.000002p0F,   -0x1.fffffep0F,   0x1p-12F,
                          0x1p-126F, 0x1.8p-149F, 0x1.fffffcp-25F, -0x1.000002p-24F, -0x1.4p-74F,
                          -0.0F,     0x1p127F,    -0x1p127F,       -INFINITY,        NAN};

// Noise, mixed with special values; for even seeds with those that stay finite.
Floats signal(std::size_t count, unsigned seed)
{
    std::mt19937 generator(seed);
    Floats values = noise(static_cast<int>(count), seed);
    for (float& value : values)
        if (const auto draw = generator() % 400; draw < 110)
            value = kSpecial[draw % 11];
        else if (seed % 2 == 1 && draw < 114)
            value = kSpecial[draw - 99];
    return values;
}

float fused(float a, float b, float c)
{
    const std::size_t start = 0;
    float sums[rsmpl::kFirOutputs] = {c}, window[rsmpl::kFirOutputs] = {b};
    rsmpl::active_kernels().fir.convolve(sums, 1, &a, &start, 1, window);
    return sums[0];
}

class FirTest : public testing::TestWithParam<std::tuple<int, std::size_t, unsigned>>
{
protected:
    FirTest() { rsmpl::force_level(std::get<0>(GetParam())); }

    // The sum as it is defined: over a stream with zeros inserted, fused by libm.
    Floats model_of(Floats stream, std::size_t L, std::size_t M) const
    {
        stream.resize(length_ + in_.size() * L);
        for (std::size_t i = 0; i < in_.size(); ++i)
            stream[length_ + i * L] = in_[i];
        Floats out(in_.size() * L / M);
        for (std::size_t k = 0; k < out.size(); ++k)
            for (std::size_t j = 0; j < length_; ++j)
                out[k] = std::fma(taps_[j], stream[length_ + k * M - j], out[k]);
        return out;
    }

    // Takes the input through filter(in, out, frames), cut into blocks at random, in place where
    // blocks do not grow.
    template <typename Filter>
    void expect_model(const Floats& past, std::size_t L, std::size_t M, Filter filter) const
    {
        std::mt19937 generator(1);
        Floats block = in_, out(in_.size() / M * L);
        for (std::size_t from = 0, frames; from < in_.size() / M; from += frames) {
            frames =
                std::min<std::size_t>(generator() % 40 * (generator() % 20), in_.size() / M - from);
            float* const to = L <= M ? &block[from * M] : &out[from * L];
            filter(&block[from * M], to, frames);
            std::copy_n(to, L <= M ? frames * L : 0, &out[from * L]);
        }
        expect_same(out, model_of(past, L, M).data());
    }

    const std::size_t length_ = std::get<1>(GetParam());
    const unsigned seed_ = std::get<2>(GetParam());
    const Floats taps_ = signal(length_, seed_), in_ = signal(2160, seed_ + 2),
                 none_ = Floats(length_);
};

TEST_P(FirTest, OneRateGivesTheFusedSum)
{
    for (const float a : kSpecial)
        for (const float b : kSpecial)
            for (const float c : kSpecial)
                ASSERT_PRED2(same, fused(a, b, c), std::fma(a, b, c));
    const Floats past = seed_ == 0 ? none_ : signal(length_, seed_ + 4);
    Floats line(length_);
    FIRState* state = nullptr;
    ASSERT_EQ(FIRInitAlloc(&state, taps_.data(), length_, seed_ == 0 ? nullptr : past.data()), 1);
    FIRGetDlyLine(state, line.data());
    expect_same(line, past.data());
    expect_model(past, 1, 1, [&](auto... block) { FIRFiltering(state, block...); });
    EXPECT_EQ(state->index, in_.size() % length_);
    FIRGetDlyLine(state, line.data());
    expect_same(line, &in_[in_.size() - length_]);
    EXPECT_TRUE(same(state->delay[(in_.size() - 1) % length_], in_.back()));
    FIRFree(state);
}

TEST_P(FirTest, SeveralRatesGiveTheFusedSumOverInsertedZeros)
{
    const std::pair<std::size_t, std::size_t> rates[] = {{1, 1}, {1, 3}, {3, 1},   {2, 3},   {3, 2},
                                                         {4, 6}, {5, 5}, {1, 240}, {7, 2160}};
    for (const auto& [L, M] : rates) {
        FIRMRState* state = nullptr;
        EXPECT_EQ(FIRMRInitAlloc(&state, taps_.data(), length_, L, M), 1);
        expect_model(none_, L, M, [&](auto... block) { FIRMRFiltering(state, block...); });
        EXPECT_EQ(state->index, in_.size() * L % length_);
        const float newest = L == 1 ? in_.back() : 0;
        EXPECT_TRUE(same(state->delay[(state->index + length_ - 1) % length_], newest));
        FIRMRFree(state);
    }
}

TEST_P(FirTest, DirectGivesTheFusedSumOnTheCallersHistory)
{
    Floats history(2 * length_);
    std::uint32_t position = 0;
    expect_model(none_, 1, 1, [&](float* in, float* out, std::size_t n) {
        FIRFiltering_Direct(in, out, static_cast<int>(n), taps_.data(), static_cast<int>(length_),
                            history.data(), &position);
    });
    EXPECT_EQ(position, in_.size() % history.size());
    std::rotate(history.begin(), history.begin() + static_cast<long>(position), history.end());
    expect_same(history, &in_[in_.size() - history.size()]);
}

INSTANTIATE_TEST_SUITE_P(LevelsLengthsAndSeeds, FirTest,
                         testing::Combine(testing::Range(0, rsmpl::available_levels()),
                                          testing::Values(1, 2, 3, 7, 8, 9, 65, 128, 129, 300),
                                          testing::Range(0U, 2U)));

TEST(Fir, EmptyFiltersAndCallsTouchNothing)
{
    const float tap = 2, taps[] = {2, 2, 2};
    float block[] = {9, 9, 9}, history[] = {5, 6};
    FIRState* state = nullptr;
    EXPECT_THROW(FIRInitAlloc(&state, &tap, (1UL << 61U) - 1, nullptr), std::bad_array_new_length);
    FIRFree(state);
    FIRFree(nullptr);
    FIRInitAlloc(&state, nullptr, 0, nullptr);
    FIRFiltering(state, block, block, 1);
    FIRGetDlyLine(state, nullptr);
    EXPECT_TRUE(block[0] == 0 && block[1] == 9 && state->index == 0);
    FIRFree(state);
    const unsigned cases[][4] = {{0, 3, 2, 1}, {0, 0, 2, 1}, {0, 3, 0, 1}, {0, 3, 2, 0},
                                 {3, 0, 2, 1}, {3, 3, 0, 1}, {3, 3, 2, 0}}; // the first gives zeros
    for (const auto& [length, L, M, n] : cases) {
        float out[] = {9, 9, 9, 9};
        FIRMRState* rates = nullptr;
        FIRMRInitAlloc(&rates, taps, length, L, M);
        FIRMRFiltering(rates, block, out, n);
        EXPECT_EQ(std::count(out, out + 4, 0), length == 0 && L * M * n > 0 ? 3 : 0);
        EXPECT_TRUE(out[3] == 9 && rates->index == 0);
        FIRMRFree(rates);
    }
    std::uint32_t position = 3; // beyond the history of 2
    for (const int none : {0, -5}) {
        block[2] = 9;
        FIRFiltering_Direct(block, block + 2, 1, &tap, none, nullptr, &position);
        FIRFiltering_Direct(block, block, none, &tap, 1, history, &position);
    }
    EXPECT_TRUE(block[2] == 0 && position == 3 && history[1] == 6);
    FIRFiltering_Direct(&tap, block, 1, &tap, 1, history, &position);
    EXPECT_TRUE(block[0] == 4 && position == 0 && history[0] == 5 && history[1] == 2);
}

} // namespace
