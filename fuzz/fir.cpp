// The three FIR engines, at random cuts into blocks, against the sum as it is defined.
#include "fir/Resample_FIRFiltering.h"
#include "fuzz/input.h"

#include <tuple>

namespace
{

using std::size_t;

struct Case {
    Floats taps, in;
    size_t L, M;
};

Floats rotated(Floats values, size_t by)
{
    std::rotate(values.begin(), values.begin() + static_cast<long>(by), values.end());
    return values;
}

// The past, then the input with zeros inserted.
Floats stream_of(const Case& c, Floats past)
{
    const size_t start = past.size();
    past.resize(start + c.in.size() * c.L);
    for (size_t i = 0; i < c.in.size(); ++i)
        past[start + i * c.L] = c.in[i];
    return past;
}

// Fused by libm, tap after tap, and every M-th kept.
Floats sums_of(const Case& c, const Floats& stream)
{
    Floats out(c.in.empty() ? 0 : c.in.size() / c.M * c.L);
    const size_t start = stream.size() - c.in.size() * c.L;
    for (size_t k = 0; k < out.size(); ++k)
        for (size_t j = 0; j < c.taps.size(); ++j)
            out[k] = std::fma(c.taps[j], stream[start + k * c.M - j], out[k]);
    return out;
}

// Takes the input through filter(in, out, frames), cut into blocks at random, in place where
// blocks do not grow.
template <typename Filter>
Floats run(Input& input, const Case& c, const Filter& filter)
{
    Floats out;
    size_t frames;
    for (size_t from = 0; from < c.in.size(); from += frames * c.M) {
        frames = std::min(input.size(input.once_in(3) ? 2000 : 40), (c.in.size() - from) / c.M);
        Floats block(&c.in[from], &c.in[from] + frames * c.M), to(frames * c.L);
        const bool in_place = c.L <= c.M && input.once_in(2);
        filter(block.data(), in_place ? block.data() : to.data(), frames);
        const Floats& filtered = in_place ? block : to;
        out.insert(out.end(), filtered.data(), filtered.data() + to.size());
    }
    return out;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size)
{
    Input input(data, size);
    const int engine = input.between(0, 2);
    size_t length = input.size(input.once_in(8) ? input.once_in(20) ? 9000 : 400 : 40);
    Case c = {input.samples(length), {}, 1, 1};
    if (engine == 1) {
        const std::tuple<size_t, size_t> great[] = {{160, 441}, {441, 160}, {1024, 341}, {600, 601},
                                                    {3, 1250},  {2, 95},    {2, 760}};
        const int most = input.once_in(4) ? 50 : 8;
        c.L = input.size(most),
        c.M = input.size(input.once_in(8) ? input.once_in(2) ? 130 : 2500 : most);
        if (input.once_in(10)) {
            std::tie(c.L, c.M) = great[input.size(6)];
            if (input.once_in(2)) // more than windows hold at once
                c.taps = input.samples(length = input.size(4000));
        }
    }
    const bool runs = c.L * c.M > 0, silent = engine == 1 || input.once_in(3);
    const size_t cost = (length + 20) * (c.L + 1) / (c.M + 1) + 1;
    const size_t streams = input.once_in(4) ? 12 * c.M : 0; // enough for all of them
    const auto longest = static_cast<int>(std::clamp<size_t>(60000 / cost, streams, 30000));
    if (runs)
        c.in = input.samples(input.size(longest) / c.M * c.M);
    if (input.once_in(6)) { // sums vanish, from either side
        for (float& tap : c.taps)
            tap = std::copysign(input.once_in(4) ? 0 : 0.25F, tap);
        for (float& sample : c.in)
            sample = std::copysign(input.once_in(2) ? 0 : 0x1p-149F, sample);
    }

    // The past, oldest first; for the last engine in its store, which wraps around at `position`.
    Floats past = input.samples(engine == 2 ? 2 * length : length);
    if (silent)
        past.assign(past.size(), 0);
    const std::uint32_t start = engine == 2 ? input.any<std::uint32_t>() : 0;
    const size_t stored = std::max<size_t>(past.size(), 1);
    Floats history = rotated(past, (stored - start % stored) % stored);
    std::uint32_t position = start;
    FIRState* one = nullptr;
    FIRMRState* several = nullptr;
    check(FIRInitAlloc(&one, c.taps.data(), length, silent ? nullptr : past.data()) == 1);
    check(FIRMRInitAlloc(&several, c.taps.data(), length, c.L, c.M) == 1);
    FIRMRFiltering(several, nullptr, nullptr, runs ? 0 : 9); // nothing
    FIRFiltering_Direct(nullptr, nullptr, -input.between(0, 9), nullptr, 1, nullptr, &position);
    const Floats stream = stream_of(c, past);
    const Floats out = run(input, c, [&](float* in, float* to, size_t n) {
        if (engine == 0)
            FIRFiltering(one, in, to, n);
        else if (engine == 1)
            FIRMRFiltering(several, in, to, n);
        else
            FIRFiltering_Direct(in, to, static_cast<int>(n), c.taps.data(),
                                length > 0 ? static_cast<int>(length) : -input.between(0, 9),
                                history.data(), &position);
    });
    check(std::equal(out.begin(), out.end(), sums_of(c, stream).begin(), same));

    // What is left is the end of the stream.
    const std::uint64_t index = engine == 0 ? one->index : engine == 1 ? several->index : position;
    if (engine < 2)
        std::copy_n(engine == 0 ? one->delay : several->delay, length, history.begin());
    check(index == (length * out.size() > 0 ? (start + c.in.size() * c.L) % stored : start));
    check(std::equal(stream.end() - static_cast<long>(past.size()), stream.end(),
                     rotated(history, index % stored).begin(), same));
    FIRGetDlyLine(one, history.data());
    check(engine != 0 || std::equal(history.begin(), history.end(),
                                    stream.end() - static_cast<long>(length), same));
    FIRFree(one);
    FIRMRFree(several);
    return 0;
}
