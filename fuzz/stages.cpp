// RSMPL_* on one context: which calls it takes, and what it makes of any samples and memory, by
// blocks or by steps, against the definition.
#include "fuzz/input.h"
#include "iir/Resample_Rsmpl_IIR_api.h"

#include <cfenv>
#ifdef __x86_64__
    #include <immintrin.h>
#endif

namespace
{

// Whether the processor has met numbers below the normal ones since it was asked last.
bool met_small_numbers()
{
#ifdef __x86_64__
    const unsigned state = _mm_getcsr(), denormal = 0x02, underflow = 0x10;
    _mm_setcsr(state & ~0x3FU);
    return (state & (denormal | underflow)) != 0;
#else
    const int underflow = std::fetestexcept(FE_UNDERFLOW);
    return std::feclearexcept(FE_ALL_EXCEPT) == 0 && underflow != 0;
#endif
}

// What the definition gives, unrounded, and how loud memory and input have been of late.
struct Value {
    double exact, loudness;
};

// The definition: zeros inserted, the first of M steps kept.  Then the nine words.
std::vector<Value> plain(const Stage& stage, const float* in, int len, Floats ctx)
{
    Model model = {stage.table};
    const int L = stage.insertion;
    const double gain = stage.table[0] * static_cast<float>(L);
    double loudness = 0;
    std::vector<Value> out;
    std::copy(ctx.begin() + 1, ctx.end(), model.memory);
    for (int t = 0; t < len * L; ++t) {
        if (stage.longest < INT_MAX && t % (960 * L) == 0) // a new piece
            std::transform(model.memory, model.memory + 8, model.memory,
                           [](double word) { return static_cast<float>(word); });
        const double x = t % L == 0 ? in[t / L] : 0;
        for (const double word : model.memory)
            loudness = std::max({loudness, std::fabs(word), std::fabs(x)});
        const double w = model.step(x);
        if (t % stage.kept == 0)
            out.push_back({gain * w, loudness});
        loudness *= 0.97;
    }
    out.resize(static_cast<std::size_t>(stage.outputs(len))); // an odd length of 3:2 drops a half
    out.push_back({ctx[0], 0});
    for (const double word : model.memory)
        out.push_back({word, loudness});
    return out;
}

// To the last bit of a float, or of a double that is as loud, and to the sign of a zero that is not
// left to chance.  The order of sums is free, and with it which values that are not finite come
// out.
void check_close(const Value& expected, float a)
{
    const auto b = static_cast<float>(expected.exact);
    const double chance = 1e-11 * expected.loudness;
    check((!std::isfinite(a) && !std::isfinite(b)) || std::fabs(double{a} - double{b}) <= chance ||
          (b >= std::nextafter(a, -INFINITY) && b <= std::nextafter(a, INFINITY)));
    check(a != 0 || b != 0 || std::signbit(a) == std::signbit(b) || chance < 1e-300 ||
          std::fabs(expected.exact) <= chance);
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
    const int likely = input.between(-9, input.once_in(99) ? 60000 : input.once_in(8) ? 4000 : 700);
    const int wrapping[] = {INT_MAX, 1 << 30, 1 << 29, 715827883, 1431655768, input.any<int>()};
    const int any = input.once_in(8) ? wrapping[input.between(0, 5)] : likely;
    const bool long_one = any > 60000 && stage.longest == INT_MAX;
    return input.once_in(4) && !long_one ? any : likely / stage.multiple * stage.multiple;
}

// One call of the dispatch or of the stage itself, out of place or in place, at any alignment.
void convert(Input& input, Floats& ctx, bool up, unsigned code, bool designed)
{
    const Stage& stage = kStages[code % 5 + (up ? 5U : 0U)];
    const int len = length(input, stage);
    const bool null = input.once_in(20), direct = !null && len <= 60000 && input.once_in(4);
    const unsigned expected_status = direct ? 0 : status(stage, code, len, null);
    const int inputs = expected_status == 0 ? std::max(len, 0) : 0, outputs = stage.outputs(inputs);
    const bool in_place = inputs <= 960 && input.once_in(2);
    const std::size_t offset = input.size(7);
    Floats in = input.samples(offset + static_cast<std::size_t>(inputs));
    const float faint[] = {0, -0.0F, 0x1p-135F, 0x1p-143F}, factor = faint[input.between(0, 3)];
    if (input.once_in(2))
        std::for_each(in.begin(), in.end(), [factor](float& x) { x *= factor; });
    // Then the processor meets no number below the normal ones, which it may take long for.
    const int kind = in.empty() ? FP_NORMAL : std::fpclassify(in[0]);
    const bool quick =
        designed && (kind == FP_ZERO || kind == FP_SUBNORMAL) &&
        std::all_of(in.begin(), in.end(), [kind](float x) { return std::fpclassify(x) == kind; });
    const auto expected = plain(stage, in.data() + offset, inputs, ctx);

    Guarded before(static_cast<int>(offset) + std::max(outputs, in_place ? inputs : 0));
    if (in_place)
        std::copy(in.begin(), in.end(), before.data());
    Guarded after = before;
    float* const out = after.data() + offset;
    const float* const from = in_place ? out : in.data() + offset;
    const auto rsmpl = up ? RSMPL_Up : RSMPL_Down;
    met_small_numbers();
    if (direct)
        stage.run(from, out, ctx.data(), len);
    else
        check(rsmpl(null ? nullptr : ctx.data(), from, out, len, code) == expected_status);
    check(!met_small_numbers() || !quick);
    for (int i = 0; i < outputs; ++i)
        check_close(expected[static_cast<std::size_t>(i)], out[i]);
    for (std::size_t i = 0; i < 9; ++i)
        check_close(expected[expected.size() - 9 + i], ctx[i]);
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
        const bool designed = !input.once_in(10); // stages take what the table holds
        coefficient += designed ? 0 : 0.125F;
        if (input.once_in(10))
            convert(input, ctx, input.once_in(2), input.once_in(2) ? input.any<unsigned>() : 5,
                    designed);
        else
            convert(input, ctx, row > 4, static_cast<unsigned>(row % 5), designed);
        kStages[row].init(Floats(9).data()); // restores it
    }
    return 0;
}
