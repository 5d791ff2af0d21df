// This library: the handle for 48 to 16 kHz; between conversions of samples a stage for its other
// ratios, a stream for any.
#include "api/resample_api.h"
#include "bench/peers/peers.h"
#include "convert/Resample_DatTypeConvert.h"
#include "iir/Resample_IIRFilterDesign.h"
#include "iir/Resample_Rsmpl_IIR_api.h"
#include "stream/rsmpl_stream.h"

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

Stream open_stream(Rates rates, rsmpl_engine engine)
{
    rsmpl_stream* stream = nullptr;
    rsmpl_stream_open(&stream, 1, rates.in, rates.out, engine, 0);
    return [=, owner = std::shared_ptr<rsmpl_stream>(stream, rsmpl_stream_close)](const short* in,
                                                                                  short* out) {
        return rsmpl_stream_run_short(owner.get(), in, rates.inputs, out);
    };
}

} // namespace

std::vector<Setting> rsmpl_settings(Rates rates)
{
    const Setting filter = {"FIR stream", [=] { return open_stream(rates, RSMPL_ENGINE_FIR); }};
    if (rates.in == 3 * rates.out)
        return {{"handle", [=] { return open_handle(rates); }, true}, filter};
    if (std::max(rates.up(), rates.down()) > 6)
        return {{"stream", [=] { return open_stream(rates, RSMPL_ENGINE_AUTO); }}};
    return {{"stage between conversions", [=] { return open_stage(rates); }, true}, filter};
}

} // namespace peers
