// The general resampler with any flags and ratio, in either format, beside the engine and the
// designer that it is made of.
#include "convert/Resample_DatTypeConvert.h"
#include "fir/Resample_FIRFiltering.h"
#include "fir/Resample_GeneralResampler.h"
#include "fuzz/input.h"

namespace
{

using ulong = unsigned long;

struct Setup {
    std::vector<int> flags;
    ulong channels, up, down, frames, taps, rate;
    float low, high; // Hz

    bool fits() const
    {
        constexpr ulong kMost = INT_MAX;
        return channels <= kMost && frames <= kMost && taps <= 1UL << 30U &&
               (frames == 0 || std::max(up, down) <= kMost / frames);
    }
};

// What fits is small, or takes no memory.
Setup setup(Input& input)
{
    Setup s = {input.several<int>(6), input.size(5),   input.size(8), input.size(8),
               input.size(60),        input.size(200), 48000,         input.any<float>(),
               input.any<float>()};
    for (int& flag : s.flags)
        flag = input.once_in(4) ? flag : flag & 1;
    if (input.once_in(2))
        s.low = 1000, s.high = static_cast<float>(input.between(0, 30000));
    if (input.once_in(8))
        s.rate = input.once_in(2) ? input.any<ulong>() : 0;
    ulong* const numbers[] = {&s.channels, &s.up, &s.down, &s.frames, &s.taps};
    if (input.once_in(8))
        *numbers[input.size(4)] = input.any<ulong>() >> input.size(32) | 1UL << 31U;
    return s;
}

// Blocks in either format, beside one engine per enabled channel.
void check_blocks(Input& input, CGeneralResampler& resampler, const Setup& s)
{
    const std::size_t inputs = s.frames * s.down, outputs = s.frames * s.up;
    const Floats taps = resampler_taps(s.up, s.down, s.taps, s.rate, s.low, s.high);
    std::vector<FIRMRState*> engines(s.channels);
    for (std::size_t c = 0; c < s.channels; ++c)
        if (s.flags[c] == 1)
            FIRMRInitAlloc(&engines[c], taps.data(), s.taps, s.up, s.down);
    for (int blocks = input.between(0, 3); blocks > 0; --blocks) {
        auto planar = input.several<short>(s.channels * inputs);
        Floats samples(planar.begin(), planar.end()), expected(s.channels * outputs);
        const bool as_floats = input.once_in(2);
        if (as_floats)
            samples = input.samples(samples.size());
        std::vector<float*> rows(s.channels);
        std::vector<short> pcm(expected.size());
        for (std::size_t c = 0; c < s.channels; ++c)
            if (engines[c] != nullptr)
                FIRMRFiltering(engines[c], rows[c] = samples.data() + c * inputs,
                               expected.data() + c * outputs, s.frames);
        check((as_floats ? resampler.ResampleOneBlock(rows.data())
                         : resampler.ResampleOneBlock(planar.data())) == 0);
        Convert_FloatToShort_Sf(pcm.data(), expected.data(), static_cast<int>(pcm.size()), 1, -15);
        check(std::equal(pcm.begin(), pcm.end(), resampler.GetInt16Output()));
        for (std::size_t i = 0; i < expected.size(); ++i)
            check(same(expected[i], resampler.GetFloatOutput()[i / outputs][i % outputs]));
    }
    std::for_each(engines.begin(), engines.end(), FIRMRFree);
}

void check_empty(CGeneralResampler& resampler)
{
    float** const no_rows = nullptr;
    short* const no_samples = nullptr;
    check(resampler.ResampleOneBlock(no_rows) + resampler.ResampleOneBlock(no_samples) == 0);
    check(resampler.GetInt16Output() == nullptr && resampler.GetFloatOutput() == nullptr);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    CGeneralResampler resampler;
    check_empty(resampler);
    for (int uses = input.between(1, 2); uses > 0; --uses) { // an earlier Init is undone
        Setup s = setup(input);
        check(resampler.Init(s.channels, s.flags.data(), s.up, s.down, s.frames, s.taps, s.rate,
                             s.low, s.high) == 1);
        s.fits() ? check_blocks(input, resampler, s) : check_empty(resampler);
    }
    check(resampler.UnInit() == 1);
    check_empty(resampler);
    return 0;
}
