// The converters against the rules for one sample, in double and in 128 bits.
#include "convert/Resample_DatTypeConvert.h"
#include "fuzz/input.h"

namespace
{

float factor(int sf)
{
    return static_cast<float>(std::ldexp(1.0, -std::clamp(sf, -2000, 2000)));
}

short rounded(float y, int mode)
{
    if (mode == 1)
        y = static_cast<float>(y + (y >= 0 ? 0.5 : -0.5));
    return static_cast<short>(std::isnan(y) ? 32767 : std::clamp(y, -32768.0F, 32767.0F));
}

short narrowed(long x, int mode)
{
    __extension__ using Wide = __int128;
    const Wide offset = mode != 1 ? 0 : x >= 0 ? 32768 : -32768;
    const long wrapped = static_cast<long>(x + offset);
    const double floor = std::floor(static_cast<double>(wrapped) / 65536);
    return static_cast<short>(std::clamp(floor, -32768.0, 32767.0));
}

short cut(double x)
{
    return static_cast<short>(
        std::isnan(x) ? 0L : static_cast<long>(std::clamp(x, -0x1p31, 0x1p31 - 1)));
}

// convert(dst, src, n) gives each(src[i * step]), at any alignment, and touches nothing else.
template <typename Dst, typename Src, typename Convert, typename Each>
void check_each(Input& input, const std::vector<Src>& src, Convert convert, Each each, int step = 1)
{
    const auto size = static_cast<int>(src.size());
    const int offset = input.between(0, 8), room = size - offset;
    const int most = room / std::max(std::abs(step), 1),
              n = input.once_in(20) ? -input.between(0, 99) : most;
    const Src* const first = step < 0 ? src.data() + size - 1 - offset : src.data() + size - room;
    std::vector<Dst> dst(static_cast<std::size_t>(most + 2 * offset), 77), expected = dst;
    for (int i = 0; i < n; ++i)
        expected[static_cast<std::size_t>(offset + i)] = each(first[i * step]);
    convert(dst.data() + offset, first, n);
    check(std::equal(dst.begin(), dst.end(), expected.begin(), [](Dst a, Dst b) {
        return a == b || same(static_cast<float>(a), static_cast<float>(b));
    }));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    const std::size_t count = 9 + input.size(input.once_in(8) ? 1500 : 80);
    const int extreme[] = {INT_MIN, INT_MAX, input.any<int>()};
    const int sf = input.once_in(8) ? extreme[input.between(0, 2)] : input.between(-160, 160);
    const int mode = input.once_in(4) ? input.any<int>() : input.between(-1, 3);
    const int step = input.between(-5, 5);
    const float scale = factor(sf);
    const auto shorts = input.several<short>(count);
    Floats floats = input.samples(count);
    std::vector<long> wides = input.several<long>(count);
    for (long& wide : wides) // up to the ends of the 64 bits
        wide = (wide >> input.between(0, 63)) ^ (input.once_in(9) ? LONG_MIN : 0);
    check_each<float>(input, shorts, Convert_ShortToFloat, [](short x) { return x; });
    check_each<float>(
        input, shorts, [=](auto... a) { Convert_ShortToFloat_Sf(a..., sf); },
        [=](short x) { return x * scale; });
    check_each<long>(input, shorts, Convert_Int16ToInt32, [](short x) { return x * 65536L; });
    check_each<long>(
        input, shorts, [=](auto... a) { Convert_Int16ToInt32_Step(a..., step); },
        [](short x) { return x * 65536L; }, step);
    check_each<short>(
        input, wides, [=](auto... a) { Convert_Int32ToInt16(a..., mode); },
        [=](long x) { return narrowed(x, mode); });
    check_each<short>(
        input, floats, [=](auto... a) { Convert_FloatToShort(a..., mode); },
        [=](float x) { return rounded(x, mode); });
    check_each<short>(
        input, floats, [=](auto... a) { Convert_FloatToShort_Sf(a..., mode, sf); },
        [=](float x) { return rounded(x * scale, mode); });
    check_each<short>(input, floats, rsmpl::active_kernels().convert.float_to_short_wrapping, cut);
    return 0;
}
