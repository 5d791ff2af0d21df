// Filters of any length, edges, centre and window: those within the ranges against the closed form,
// all others for what they must not do.
#include "design/Resample_FIRFilterDesign.h"
#include "fuzz/input.h"

namespace
{

// The definition in double precision.  Every bin within the band, weighted by the part of it that
// is within, is a cosine whose peak is at L/2 and the fraction; these are summed, windowed, and
// shifted until the peak is at the centre.
std::vector<double> closed_form(int L, int M, int type, double low, double high, double centre)
{
    if (high >= 0.5)
        high = 1; // absent
    const double whole = std::trunc(centre), fraction = std::max(centre - whole, 0.0);
    const bool bare = low < 0 && high == 1 && fraction == 0;
    std::vector<double> taps(static_cast<std::size_t>(L));
    for (int n = 0; n < L; ++n) {
        const int at = n + static_cast<int>(whole) - L / 2;
        if (at < 0 || at >= L)
            continue;
        double sum = 0;
        for (int k = 0; k <= M / 2; ++k) {
            const double within = std::clamp(high * M - (k - 0.5), 0.0, 1.0) *
                                  std::clamp(k + 0.5 - low * M, 0.0, 1.0);
            const double mirrored = k == 0 || 2 * k == M ? 1 : 2;
            if (within > 0)
                sum += within * mirrored / M * std::cos(2 * M_PI * k * (n - L / 2 - fraction) / M);
        }
        const double x = L > 1 ? 2 * M_PI * n / (L - 1) : 0;
        const double windows[] = {1, 0.42 - 0.5 * std::cos(x) + 0.08 * std::cos(2 * x),
                                  0.54 - 0.46 * std::cos(x), 0.5 - 0.5 * std::cos(x)};
        taps[static_cast<std::size_t>(at)] = sum * windows[bare ? 0 : type];
    }
    return taps;
}

// Edges that are absent, within a bin, on its centre, between two, or outside the spectrum; centres
// on samples and between, also beyond the taps.
void check_band(Input& input, CGeneralFIRDesigner& designer, int type)
{
    const int L = designer.m_filterLen, M = designer.m_fftSize;
    check(L <= M && M < 2 * L && M == 1 << designer.m_fftOrder);
    const int steps = input.once_in(2) ? 1000 : 2 * M;
    const auto edge = [&] {
        return static_cast<float>(input.between(1, 4 * steps)) / (4 * static_cast<float>(steps));
    };
    const float low = input.once_in(3) ? -1 : edge();
    const float high = input.once_in(9) ? -2 : edge();
    const float centre =
        static_cast<float>(input.between(-64, 16 * L + 64)) / (input.once_in(3) ? 1 : 16);
    Guarded taps(L);
    check(designer.GenericDesign(low, high, centre, taps.data()) == 1);
    const auto expected = closed_form(L, M, type, low, high, centre);
    for (std::size_t n = 0; n < expected.size(); ++n)
        check(std::fabs(static_cast<double>(taps.block()[n]) - expected[n]) < 2e-6);
    check(centre <= std::trunc(centre) || M == 1 || designer.m_spectrum[M / 2].im == 0);
}

// Nothing but the taps is written, and the same as by a designer of its own.
void check_any(Input& input, CGeneralFIRDesigner& designer, int len, General_WindowType type)
{
    const float low = input.any<float>(), high = input.any<float>(), centre = input.any<float>();
    Guarded taps(std::max(len, 0)), again = taps;
    check(designer.GenericDesign(low, high, centre, taps.data()) == 1);
    check(GeneralFIRDesign(again.data(), len, type, low, high, centre) == 1);
    check(taps.all == again.all);
    check(designer.GenericDesign(low, high, NAN, taps.data()) == 1);
    check(designer.GenericDesign(low, high, 0, again.data()) == 1 && taps.all == again.all);
    check(std::all_of(taps.all.begin(), taps.all.end(),
                      [](float tap) { return std::isfinite(tap); }));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    CGeneralFIRDesigner designer;
    check(designer.GenericDesign(0, 1, 0, nullptr) == 0);
    for (int uses = input.between(1, 3); uses > 0; --uses) { // the last Init counts
        const int kind = input.once_in(8) ? input.any<int>() : input.between(0, 3);
        const auto type = static_cast<General_WindowType>(kind);
        const int any = input.any<int>(), likely = input.between(1, input.once_in(8) ? 5000 : 140);
        const int len = any % 20 == 0 && any < 5000 ? any : likely;
        check(designer.Init(len, type) == 1);
        if (len > 0 && len <= 140)
            check_band(input, designer, kind >= 0 && kind <= 3 ? kind : 0);
        check_any(input, designer, len, type);
        if (any > 1 << 30) {
            float untouched = 77;
            check(GeneralFIRDesign(&untouched, any, type, 0, 1, 0) == 0 && untouched == 77);
            check(designer.Init(any, type) == 0 && designer.LowpassDesign(0.1F, &untouched) == 0);
        }
    }
    return 0;
}
