// The three public calls with any arguments, beside a context of the 1:3 stage per channel.
#include "api/resample_api.h"
#include "fuzz/input.h"
#include "iir/Resample_Rsmpl_IIR_api.h"

#include <string>

namespace
{

std::string printed;

// Cut to 16 bits, by arithmetic.
short cut(float value)
{
    const double whole = std::trunc(std::isnan(value) ? 0 : static_cast<double>(value));
    return static_cast<short>(whole - 65536 * std::floor((whole + 32768) / 65536));
}

struct Shape {
    int channels, in_rate, out_rate, samples_per_ch;

    // As the processor divides: without an overflow, and by 0.
    int ratio() const
    {
        return out_rate == 0 ? 0 : static_cast<int>(std::int64_t{in_rate} / out_rate);
    }
    bool fits() const { return channels >= 0 && channels <= 16 && samples_per_ch >= 0; }
    bool is_multiple() const { return std::int64_t{ratio()} * out_rate == in_rate; }
    int outputs() const { return ratio() > 0 ? samples_per_ch / ratio() : 0; }
    int inputs() const { return outputs() * ratio(); }
};

// Likely ones, and any that do not take much memory.
Shape shape(Input& input)
{
    const int rates[] = {0, 1, -1, 100, 300, 8000, 16000, -16000, 1 << 30, input.any<int>()};
    const int out_rate = rates[input.between(0, 9)];
    const auto in_rate = static_cast<int>(std::int64_t{out_rate} * input.between(-2, 7));
    Shape s = {input.between(0, 16), in_rate, out_rate, input.between(0, 1010)};
    if (input.once_in(10))
        s.channels = input.once_in(2) ? input.between(-1, 17) : input.any<int>();
    if (input.once_in(10))
        s.in_rate = input.once_in(2) ? INT_MIN : input.any<int>();
    if (input.once_in(10))
        s.samples_per_ch = -input.between(1, 3);
    return s;
}

// The record of a refused rate stays for good, so there is an end to them.
[[gnu::noinline]] int check_refused_rate(const Shape& s)
{
    static int left = 100000;
    if (left-- > 0) {
        check(resample_init(s.channels, s.in_rate, s.out_rate, s.samples_per_ch) == nullptr);
        check(printed == "ILLEAGLE FREQUENCY");
    }
    return 0;
}

// A block that does not fit leaves everything as it was.
void check_refusal(Input& input, resample_handle* handle, int fitting)
{
    const int lens[] = {fitting, fitting, 0, -fitting, fitting + 1, input.any<int>()};
    const int len = lens[input.between(0, 5)];
    const bool no_handle = input.once_in(4), no_in = input.once_in(2);
    short block[] = {77};
    const int result = resample_process(no_handle ? nullptr : handle, no_in ? nullptr : block,
                                        no_in ? block : nullptr, len);
    check(result == (no_handle || len != 0 || fitting != 0 ? -1 : 0) && block[0] == 77);
    check(printed == (no_handle        ? "resample not init!"
                      : len != fitting ? "input data length = ch_num * samples_per_ch"
                                       : ""));
    printed.clear();
}

void check_blocks(Input& input, resample_handle* handle, const Shape& s)
{
    const int inputs = s.inputs(), outputs = s.outputs();
    float contexts[16][9] = {}, held[16][1010] = {};
    for (int calls = input.between(0, 5); calls > 0; --calls) {
        if (input.once_in(3))
            check_refusal(input, handle, s.channels * inputs);
        // The output may overlap the input, and nothing is written beyond it.
        auto block =
            input.several<short>(static_cast<std::size_t>(s.channels * (inputs + outputs) + 1));
        const auto before = block;
        const int at = input.between(0, s.channels * inputs);
        check(resample_process(handle, block.data(), block.data() + at, s.channels * inputs) == 0);
        auto expected = before;
        auto next = expected.begin() + at;
        for (int c = 0; c < s.channels; ++c) {
            const Floats samples(before.begin() + c * inputs, before.begin() + (c + 1) * inputs);
            RSMPL_Down(contexts[c], samples.data(), held[c], inputs, 2);
            next = std::transform(held[c], held[c] + outputs, next, cut);
        }
        check(block == expected && printed.empty());
    }
}

} // namespace

// The library's, there being no other in this program.
extern "C" int puts(const char* line)
{
    printed += line;
    return 0;
}

// What check_refused_rate leaves behind.
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:check_refused_rate\n";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    const Shape s = shape(input);
    printed.clear();
    if (!s.is_multiple()) // whatever the shape
        return check_refused_rate(s);
    resample_handle* handle = resample_init(s.channels, s.in_rate, s.out_rate, s.samples_per_ch);
    check((handle != nullptr) == s.fits() && printed.empty());
    if (handle != nullptr)
        check_blocks(input, handle, s);
    resample_exit(handle);
    return 0;
}
