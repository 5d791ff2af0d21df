#include "fir/Resample_FIRFiltering.h"
#include "kernels/Resample_Kernels_internal.h"
#include "tests/bits.h"
#include "tests/stages.h"

#include <gtest/gtest.h>
#include <new>

namespace
{

using Floats = std::vector<float>;

void expect_same(const Floats& values, const float* expected, const char* what)
{
    for (std::size_t i = 0; i < values.size(); ++i)
        ASSERT_TRUE(same(values[i], expected[i]))
            << what << "[" << i << "] " << values[i] << " is not " << expected[i];
}

// The sum as it is defined: over a stream with zeros inserted, fused by libm.
Floats model_of(const Floats& taps, Floats stream, const Floats& in, std::size_t L, std::size_t M)
{
    std::size_t t = stream.size();
    for (const float x : in) {
        stream.push_back(x);
        stream.resize(stream.size() + L - 1);
    }
    Floats out;
    for (; t < stream.size(); t += M) {
        float sum = 0;
        for (std::size_t j = 0; j < taps.size(); ++j)
            sum = std::fma(taps[j], stream[t - j], sum);
        out.push_back(sum);
    }
    return out;
}

// Noise, mixed with values whose products and sums are ties and near ties, vanish, overflow,
// or (for odd seeds, rarely) are not finite.
Floats signal(std::size_t count, unsigned seed)
{
    const float special[] = {1,        0x1.000002p0F,    -0x1.fffffep0F,   0x1.8p0F,  0x1p-12F,
                             0x1p-24F, -0x1.000002p-24F, -0x1.4p-74F,      0x1p-126F, 0x1.8p-149F,
                             -0.0F,    0x1p127F,         -0x1.fffffep127F, -INFINITY, NAN};
    std::mt19937 generator(seed);
    Floats values = noise(static_cast<int>(count), seed);
    for (float& value : values)
        if (const auto draw = generator() % 40; draw < 12 || (seed % 2 == 1 && draw < 15))
            value = special[draw];
    return values;
}

// Takes a stream through filter(in, out, frames), cut into blocks at random, in place where the
// blocks do not grow, and compares with the model.
template <typename Filter>
void expect_fused_sum(const Floats& taps, const Floats& past, const Floats& in, std::size_t L,
                      std::size_t M, Filter filter)
{
    std::mt19937 generator(1);
    Floats block = in, out(in.size() / M * L);
    for (std::size_t from = 0, frames; from < in.size() / M; from += frames) {
        frames = std::min<std::size_t>(generator() % 40, in.size() / M - from);
        float* const to = L <= M ? &block[from * M] : &out[from * L];
        filter(&block[from * M], to, frames);
        std::copy_n(to, L <= M ? frames * L : 0, &out[from * L]);
    }
    expect_same(out, model_of(taps, past, in, L, M).data(), "out");
}

constexpr std::size_t kLengths[] = {1, 2, 3, 7, 8, 9, 64, 65};
constexpr std::pair<std::size_t, std::size_t> kRates[] = {{1, 1}, {1, 3}, {3, 1}, {2, 3},
                                                          {3, 2}, {4, 6}, {5, 5}};

class FirTest : public testing::TestWithParam<std::tuple<int, std::size_t, unsigned>>
{
protected:
    FirTest() { rsmpl::force_level(std::get<0>(GetParam())); }

    const std::size_t length_ = std::get<1>(GetParam());
    const unsigned seed_ = std::get<2>(GetParam());
    const Floats taps_ = signal(length_, seed_), in_ = signal(240, seed_ + 2),
                 none_ = Floats(length_);
};

TEST_P(FirTest, OneRateGivesTheFusedSum)
{
    const Floats past = signal(length_, seed_ + 4);
    Floats line(length_);
    FIRState* state = nullptr;
    ASSERT_EQ(FIRInitAlloc(&state, taps_.data(), length_, past.data()), 1);
    FIRGetDlyLine(state, line.data());
    expect_same(line, past.data(), "past");
    expect_fused_sum(taps_, past, in_, 1, 1, [&](float* in, float* out, std::size_t n) {
        const std::size_t index = state->index;
        FIRFiltering(state, in, out, n);
        EXPECT_EQ(state->index, (index + n) % length_);
    });
    FIRGetDlyLine(state, line.data());
    expect_same(line, &in_[240 - length_], "line");
    EXPECT_TRUE(same(state->delay[239 % length_], in_[239]));
    FIRFree(state);
}

TEST_P(FirTest, SeveralRatesGiveTheFusedSumOverInsertedZeros)
{
    for (const auto& [L, M] : kRates) {
        FIRMRState* state = nullptr;
        ASSERT_EQ(FIRMRInitAlloc(&state, taps_.data(), length_, L, M), 1);
        expect_fused_sum(taps_, none_, in_, L, M, [&](float* in, float* out, std::size_t n) {
            FIRMRFiltering(state, in, out, n);
        });
        EXPECT_EQ(state->index, 240 * L % length_);
        const float newest = L == 1 ? in_.back() : 0;
        EXPECT_TRUE(same(state->delay[(state->index + length_ - 1) % length_], newest));
        FIRMRFree(state);
    }
}

TEST_P(FirTest, DirectGivesTheFusedSumOnTheCallersHistory)
{
    Floats history(2 * length_);
    std::uint32_t position = 0;
    expect_fused_sum(taps_, none_, in_, 1, 1, [&](float* in, float* out, std::size_t n) {
        FIRFiltering_Direct(in, out, static_cast<int>(n), taps_.data(), static_cast<int>(length_),
                            history.data(), &position);
    });
    EXPECT_EQ(position, 240 % (2 * length_));
    std::rotate(history.begin(), history.begin() + static_cast<long>(position), history.end());
    expect_same(history, &in_[240 - 2 * length_], "history");
}

INSTANTIATE_TEST_SUITE_P(LevelsAndLengths, FirTest,
                         testing::Combine(testing::Range(0, rsmpl::available_levels()),
                                          testing::ValuesIn(kLengths), testing::Range(0U, 2U)));

TEST(Fir, EmptyFiltersAndCallsTouchNothing)
{
    const float tap = 2;
    float block[] = {1, 2, 3}, history[] = {5, 6};
    FIRState* state = nullptr;
    ASSERT_EQ(FIRInitAlloc(&state, nullptr, 0, nullptr), 1);
    FIRFiltering(state, block, block, 2);
    FIRGetDlyLine(state, nullptr);
    EXPECT_TRUE(block[0] == 0 && block[2] == 3 && state->index == 0);
    FIRFree(state);
    FIRFree(nullptr);
    for (const unsigned zero : {0U, 1U, 2U, 3U}) {
        FIRMRState* rates = nullptr;
        ASSERT_EQ(FIRMRInitAlloc(&rates, &tap, zero != 0, zero != 1, zero != 2), 1);
        block[0] = 9;
        FIRMRFiltering(rates, block, block, zero != 3);
        EXPECT_TRUE(block[0] == (zero == 0 ? 0.0F : 9.0F) && rates->index == 0) << zero;
        FIRMRFree(rates);
    }
    FIRMRFree(nullptr);

    std::uint32_t position = 3; // beyond the history of 2
    for (const int N : {0, -1})
        FIRFiltering_Direct(block, block, 2, &tap, N, nullptr, &position);
    for (const int n : {0, -5})
        FIRFiltering_Direct(block, block, n, &tap, 1, history, &position);
    EXPECT_TRUE(block[0] == 0 && block[2] == 3 && position == 3 && history[1] == 6);
    FIRFiltering_Direct(block + 2, block, 1, &tap, 1, history, &position);
    EXPECT_TRUE(block[0] == 6 && position == 0 && history[0] == 5 && history[1] == 3);

    EXPECT_THROW(FIRInitAlloc(&state, &tap, (1UL << 61U) - 1, nullptr), std::bad_array_new_length);
    FIRFiltering(state, block, block, 1);
    EXPECT_EQ(block[0], 0);
    FIRFree(state);
}

} // namespace
