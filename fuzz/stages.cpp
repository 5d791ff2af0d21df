// RSMPL_* on one context: which calls it takes, and what it makes of any samples and memory, by
// blocks or by steps, against the definition.
#include "fuzz/input.h"
#include "iir/Resample_Rsmpl_IIR_api.h"

namespace
{

float loudest(const Floats& values)
{
    float peak = 0;
    for (const float value : values)
        peak = std::max(peak, std::isfinite(value) ? std::fabs(value) : 0);
    return peak;
}

// The definition: zeros inserted, the first of M steps kept.
Floats plain(const Stage& stage, const float* in, int len, Floats& ctx)
{
    Model model = {stage.table};
    const int L = stage.insertion;
    const double gain = stage.table[0] * static_cast<float>(L);
    Floats out;
    for (int t = 0; t < len * L; ++t) {
        if (t == 0 || (stage.longest < INT_MAX && t % (960 * L) == 0)) // a new piece
            std::copy(ctx.begin() + 1, ctx.end(), model.memory);
        const double w = model.step(t % L == 0 ? in[t / L] : 0);
        std::copy_n(model.memory, 8, ctx.begin() + 1);
        if (t % stage.kept == 0)
            out.push_back(static_cast<float>(gain * w));
    }
    out.resize(static_cast<std::size_t>(stage.outputs(len))); // an odd length of 3:2 drops a half
    return out;
}

// To the last bit of a float, or of a double that is as large as what went in.  The order of sums
// is free, and with it which values that are not finite come out.
void check_close(const float* values, const Floats& expected, float peak)
{
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const float a = values[i], b = expected[i];
        check((!std::isfinite(a) && !std::isfinite(b)) ||
              std::fabs(double{a} - double{b}) <= 1e-11 * double{peak} ||
              (b >= std::nextafter(a, -INFINITY) && b <= std::nextafter(a, INFINITY)));
    }
}

unsigned status(const Stage& stage, unsigned code, int len, bool null)
{
    const bool allowed = len >= stage.minimum && len <= stage.longest && len % stage.multiple == 0;
    return null ? 1 : code > 4 ? 2 : allowed ? 0 : 3;
}

// Those of the rule, any that are short, and such as overflow when multiplied by a factor.  What a
// decimator takes of the long ones would only take time.
int length(Input& input, const Stage& stage)
{
    const int likely = input.between(-9, input.once_in(8) ? 4000 : 700);
    const int wrapping[] = {INT_MAX, 1 << 30, 1 << 29, 715827883, 1431655768, input.any<int>()};
    const int any = input.once_in(8) ? wrapping[input.between(0, 5)] : likely;
    const bool long_one = any > 4000 && stage.longest == INT_MAX;
    return input.once_in(4) && !long_one ? any : likely / stage.multiple * stage.multiple;
}

// One call of the dispatch or of the stage itself, out of place or in place, at any alignment.
void convert(Input& input, Floats& ctx, bool up, unsigned code)
{
    const Stage& stage = kStages[code % 5 + (up ? 5U : 0U)];
    const int len = length(input, stage);
    const bool null = input.once_in(20), direct = !null && len <= 4000 && input.once_in(4);
    const unsigned expected_status = direct ? 0 : status(stage, code, len, null);
    const int inputs = expected_status == 0 ? std::max(len, 0) : 0, outputs = stage.outputs(inputs);
    const bool in_place = inputs <= 960 && input.once_in(2);
    const std::size_t offset = input.size(7);
    const Floats in = input.samples(offset + static_cast<std::size_t>(inputs));
    const float peak = std::max(loudest(in), loudest(ctx));
    Floats expected_ctx = ctx, expected = plain(stage, in.data() + offset, inputs, expected_ctx);

    Guarded before(static_cast<int>(offset) + std::max(outputs, in_place ? inputs : 0));
    if (in_place)
        std::copy(in.begin(), in.end(), before.data());
    Guarded after = before;
    float* const out = after.data() + offset;
    const float* const from = in_place ? out : in.data() + offset;
    const auto rsmpl = up ? RSMPL_Up : RSMPL_Down;
    if (direct)
        stage.run(from, out, ctx.data(), len);
    else
        check(rsmpl(null ? nullptr : ctx.data(), from, out, len, code) == expected_status);
    check_close(out, expected, peak);
    check_close(ctx.data(), expected_ctx, peak);
    std::copy_n(out, outputs, before.data() + offset);
    check(std::equal(after.all.begin(), after.all.end(), before.all.begin(), same));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    rsmpl::force_level(input.level, input.once_in(2));
    const int row = input.between(0, 9);
    Floats ctx(9, 7);
    check(RSMPL_GetContextSize() == 36 && RSMPL_InitContext(nullptr) + RSMPL_Reset(nullptr) == 2);
    check(RSMPL_InitContext(ctx.data()) == 0 && ctx == Floats(9));
    check(std::all_of(kStages, kStages + 10, [](const Stage& s) { return s.table[12] != 0; }));
    for (int calls = input.between(1, 8); calls > 0; --calls) {
        if (input.once_in(10))
            check(RSMPL_Reset(ctx.data()) == 0 && ctx == Floats(9));
        if (input.once_in(10))
            ctx[input.size(8)] = input.any<float>();
        float& coefficient = const_cast<float&>(kStages[row].table[input.once_in(2) ? 0 : 12]);
        if (input.once_in(10)) // stages take what the table holds
            coefficient += 0.125F;
        if (input.once_in(10))
            convert(input, ctx, input.once_in(2), input.once_in(2) ? input.any<unsigned>() : 5);
        else
            convert(input, ctx, row > 4, static_cast<unsigned>(row % 5));
        kStages[row].init(Floats(9).data()); // restores it
    }
    return 0;
}
