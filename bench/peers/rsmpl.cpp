// This library: the handle for 48 to 16 kHz, a stage between conversions of samples otherwise.
#include "api/resample_api.h"
#include "bench/peers/peers.h"
#include "convert/Resample_DatTypeConvert.h"
#include "iir/Resample_IIRFilterDesign.h"
#include "iir/Resample_Rsmpl_IIR_api.h"

namespace peers
{
namespace
{

constexpr int kBlock = kInputs;

using Stage = void(const float* in, float* out, float* ctx, int len);

Stage* stage_for(Rates rates)
{
    if (rates.up() == 3)
        return rates.down() == 1 ? Upsample3_1 : Upsample3_2;
    return rates.up() == 2 ? Downsample2_3 : Downsample1_6;
}

Stream open_handle(Rates rates)
{
    const std::shared_ptr<resample_handle> handle(resample_init(1, rates.in, rates.out, kBlock),
                                                  resample_exit);
    return [=](const short* in, short* out) {
        resample_process(handle.get(), in, out, kBlock);
        return kInputs / 3;
    };
}

Stream open_stage(Rates rates)
{
    struct Memory {
        float ctx[9];
        float in[kInputs];
        float out[3 * kInputs];
    };
    const auto memory = std::make_shared<Memory>();
    RSMPL_InitContext(memory->ctx);
    const unsigned outputs = kInputs * rates.up() / rates.down();
    return [=, stage = stage_for(rates)](const short* in, short* out) {
        Convert_ShortToFloat(memory->in, in, kBlock);
        stage(memory->in, memory->out, memory->ctx, kBlock);
        Convert_FloatToShort(out, memory->out, static_cast<int>(outputs), 1);
        return outputs;
    };
}

} // namespace

std::vector<Setting> rsmpl_settings(Rates rates)
{
    if (rates.in == 3 * rates.out)
        return {{"handle", [=] { return open_handle(rates); }, true}};
    return {{"stage between conversions", [=] { return open_stage(rates); }, true}};
}

} // namespace peers
