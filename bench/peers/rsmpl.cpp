// This library: the handle for 48 to 16 kHz; between conversions of samples a stage for its other
// ratios, a FIR filter for any.
#include "api/resample_api.h"
#include "bench/peers/peers.h"
#include "convert/Resample_DatTypeConvert.h"
#include "design/Resample_FIRFilterDesign.h"
#include "fir/Resample_FIRFiltering.h"
#include "iir/Resample_IIRFilterDesign.h"
#include "iir/Resample_Rsmpl_IIR_api.h"

namespace peers
{
namespace
{

using Stage = void(const float* in, float* out, float* ctx, int len);

Stage* stage_for(Rates rates)
{
    if (rates.up() == 3)
        return rates.down() == 1 ? Upsample3_1 : Upsample3_2;
    return rates.up() == 2 ? Downsample2_3 : Downsample1_6;
}

Stream open_handle(Rates rates)
{
    const int inputs = static_cast<int>(rates.inputs);
    const std::shared_ptr<resample_handle> handle(resample_init(1, rates.in, rates.out, inputs),
                                                  resample_exit);
    return [=](const short* in, short* out) {
        resample_process(handle.get(), in, out, inputs);
        return rates.inputs / 3;
    };
}

// convert(in, out) between conversions of a call's samples.
template <typename Convert>
Stream between_conversions(Rates rates, Convert convert)
{
    struct Memory {
        float in[kMostInputs];
        float out[3 * kMostInputs];
    };
    const unsigned outputs = rates.inputs / rates.down() * rates.up();
    return [=, memory = std::make_shared<Memory>()](const short* in, short* out) {
        Convert_ShortToFloat(memory->in, in, static_cast<int>(rates.inputs));
        convert(memory->in, memory->out);
        Convert_FloatToShort(out, memory->out, static_cast<int>(outputs), 1);
        return outputs;
    };
}

Stream open_stage(Rates rates)
{
    const auto ctx = std::make_shared<std::array<float, 9>>();
    RSMPL_InitContext(ctx->data());
    return between_conversions(rates, [=, stage = stage_for(rates)](const float* in, float* out) {
        stage(in, out, ctx->data(), static_cast<int>(rates.inputs));
    });
}

// Of 96 periods of the lower rate under a Blackman window: 0.01 dB up to 0.85, 69 dB down.
Stream open_fir(Rates rates)
{
    const unsigned ratio = std::max(rates.up(), rates.down());
    std::vector<float> taps(std::size_t{96} * ratio);
    GeneralFIRLowpass(taps.data(), static_cast<int>(taps.size()), WIN_BLACKMAN,
                      0.93F / 2 / static_cast<float>(ratio));
    for (float& tap : taps)
        tap *= static_cast<float>(rates.up());
    FIRMRState* state = nullptr;
    FIRMRInitAlloc(&state, taps.data(), taps.size(), rates.up(), rates.down());
    const std::shared_ptr<FIRMRState> owner(state, FIRMRFree);
    return between_conversions(rates, [=](const float* in, float* out) {
        FIRMRFiltering(owner.get(), in, out, rates.inputs / rates.down());
    });
}

} // namespace

std::vector<Setting> rsmpl_settings(Rates rates)
{
    if (rates.in == 3 * rates.out)
        return {{"handle", [=] { return open_handle(rates); }, true}};
    if (std::max(rates.up(), rates.down()) > 6)
        return {{"FIR, 96 periods, between conversions", [=] { return open_fir(rates); }}};
    return {{"stage between conversions", [=] { return open_stage(rates); }, true}};
}

} // namespace peers
