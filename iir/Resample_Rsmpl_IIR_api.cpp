#include "iir/Resample_Rsmpl_IIR_api.h"

#include "iir/Resample_Context_internal.h"
#include "iir/Resample_IIRFilterDesign.h"

#include <cstdint>

namespace
{

using Initialiser = float*(float* ctx);
using Stage = void(const float* in, float* out, float* ctx, int len);

constexpr unsigned kCodes = 5;

struct DownRule {
    Stage* stage;
    int minimum;
    int multiple;
};

// The cap bounds factor * len: no call writes more than 960 outputs.
struct UpRule {
    Stage* stage;
    int minimum;
    int factor;
    int cap;
};

constexpr DownRule kDown[kCodes] = {
    {Downsample2_3, 18, 6}, {Downsample1_2, 8, 4},  {Downsample1_3, 18, 6},
    {Downsample1_4, 16, 4}, {Downsample1_6, 36, 6},
};

constexpr UpRule kUp[kCodes] = {
    {Upsample3_2, 6, 3, 1920}, {Upsample2_1, 4, 2, 960}, {Upsample3_1, 6, 3, 960},
    {Upsample4_1, 4, 4, 960},  {Upsample6_1, 6, 6, 960},
};

constexpr Initialiser* kInitialisers[] = {
    InitUpsample3_2,   InitUpsample3_1,   InitUpsample6_1,   InitUpsample2_1,   InitUpsample4_1,
    InitDownsample2_3, InitDownsample1_3, InitDownsample1_6, InitDownsample1_2, InitDownsample1_4,
};

} // namespace

unsigned RSMPL_GetContextSize()
{
    return rsmpl::kContextWords * sizeof(std::uint32_t);
}

unsigned RSMPL_InitContext(void* ctx)
{
    if (RSMPL_Reset(ctx) != RSMPL_SUCCESS)
        return RSMPL_NULL_CONTEXT;
    // Each runs twice: the second call changes nothing, and is kept.
    for (Initialiser* initialise : kInitialisers)
        initialise(initialise(static_cast<float*>(ctx)));
    return RSMPL_SUCCESS;
}

unsigned RSMPL_Down(void* ctx, const float* in, float* out, int len, unsigned code)
{
    if (ctx == nullptr)
        return RSMPL_NULL_CONTEXT;
    if (code >= kCodes)
        return RSMPL_UNKNOWN_CODE;
    const DownRule& rule = kDown[code];
    if (len < rule.minimum || len % rule.multiple != 0)
        return RSMPL_BAD_LENGTH;
    rule.stage(in, out, static_cast<float*>(ctx), len);
    return RSMPL_SUCCESS;
}

unsigned RSMPL_Up(void* ctx, const float* in, float* out, int len, unsigned code)
{
    if (ctx == nullptr)
        return RSMPL_NULL_CONTEXT;
    if (code >= kCodes)
        return RSMPL_UNKNOWN_CODE;
    const UpRule& rule = kUp[code];
    if (len < rule.minimum || len > rule.cap / rule.factor)
        return RSMPL_BAD_LENGTH;
    rule.stage(in, out, static_cast<float*>(ctx), len);
    return RSMPL_SUCCESS;
}

unsigned RSMPL_Reset(void* ctx)
{
    if (ctx == nullptr)
        return RSMPL_NULL_CONTEXT;
    rsmpl::clear_context(static_cast<float*>(ctx));
    return RSMPL_SUCCESS;
}
