// One block: widen every channel to float, run each through the 1:3 stage, narrow what the
// output buffers hold.  The stage's own length rule decides whether it runs; what it does not fill
// stays zero.
#include "api/resample_api.h"

#include "api/resample_handle_internal.h"
#include "fir/Resample_GeneralResampler.h"
#include "iir/Resample_Rsmpl_IIR_api.h"
#include "kernels/Resample_Kernels_internal.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <new>

namespace
{

using std::int64_t;
using std::uint64_t;

constexpr int kMaxChannels = 16;

uint64_t sign_extend(int value)
{
    return static_cast<uint64_t>(static_cast<int64_t>(value));
}

// As the target's divide instruction: 0 for a zero divisor, INT_MIN / -1 wraps to INT_MIN.
int divide(int dividend, int divisor)
{
    if (divisor == 0)
        return 0;
    if (divisor == -1 && dividend == std::numeric_limits<int>::min())
        return dividend;
    return dividend / divisor;
}

// Inputs per channel and block: samples_per_ch rounded down to a multiple of ratio.
uint64_t inputs_per_channel(const resample_handle& handle)
{
    return handle.out_per_ch * handle.ratio;
}

// Every handle has one, for its rates and channels, though resample_process does without: where
// memory is short it stays empty, or null, and the handle is no worse for it.
CGeneralResampler* open_general(const resample_handle& handle)
{
    constexpr unsigned kTaps = 64;
    constexpr float kLowEdge = 100; // Hz
    const float high_edge = std::fma(static_cast<float>(handle.out_rate), 0.5F, -200.0F);
    int enabled[kMaxChannels] = {};
    std::fill_n(enabled, handle.ch_num, 1);
    auto* general = new (std::nothrow) CGeneralResampler;
    if (general != nullptr)
        general->Init(handle.ch_num, enabled, handle.interp, handle.ratio, handle.out_per_ch, kTaps,
                      handle.in_rate, kLowEdge, high_edge);
    return general;
}

// At least one element, so that null always means out of memory.
template <typename T>
T* allocate(uint64_t count)
{
    return static_cast<T*>(std::calloc(std::max<uint64_t>(count, 1), sizeof(T)));
}

// Sets the channel's three pointers, null where memory is short.
bool open_channel(resample_handle& handle, uint64_t channel)
{
    // The 1:3 stage writes W / 3 values, more than out_per_ch when the ratio is above 3.
    const uint64_t outputs = std::max(handle.out_per_ch, inputs_per_channel(handle) / 3);
    auto* ctx = static_cast<float*>(std::malloc(RSMPL_GetContextSize()));
    RSMPL_InitContext(ctx);
    handle.rsmpl_ctx[channel] = ctx;
    handle.in_buf[channel] = allocate<float>(handle.samples_per_ch);
    handle.out_buf[channel] = allocate<float>(outputs);
    return ctx != nullptr && handle.in_buf[channel] != nullptr &&
           handle.out_buf[channel] != nullptr;
}

// Releases the handle, of whose channels the first `channels` have been opened.
void release(resample_handle* handle, uint64_t channels)
{
    if (handle->general != nullptr)
        handle->general->UnInit();
    delete handle->general;
    for (uint64_t c = 0; c < channels; ++c) {
        std::free(handle->in_buf[c]);
        std::free(handle->out_buf[c]);
        std::free(handle->rsmpl_ctx[c]);
    }
    std::free(handle->in_buf);
    std::free(handle->out_buf);
    std::free(handle);
}

// What a handle owns, once its numbers are set.  False, with the handle released, when memory is
// short.
bool open_all(resample_handle* handle)
{
    handle->general = open_general(*handle);
    handle->in_buf = allocate<float*>(handle->ch_num);
    handle->out_buf = allocate<float*>(handle->ch_num);
    uint64_t opened = 0;
    bool ok = handle->in_buf != nullptr && handle->out_buf != nullptr;
    while (ok && opened < handle->ch_num)
        ok = open_channel(*handle, opened++);
    if (!ok)
        release(handle, opened);
    return ok;
}

} // namespace

resample_handle* resample_init(int ch_num, int in_rate, int out_rate, int samples_per_ch)
{
    auto* handle = static_cast<resample_handle*>(std::malloc(sizeof(resample_handle)));
    if (handle == nullptr)
        return nullptr;
    handle->samples_per_ch = sign_extend(samples_per_ch);
    handle->in_rate = sign_extend(in_rate);
    handle->out_rate = sign_extend(out_rate);
    handle->ch_num = sign_extend(ch_num);
    handle->interp = 1;
    handle->ratio = sign_extend(divide(in_rate, out_rate));
    if (handle->ratio * handle->out_rate != handle->in_rate) {
        // The record stays allocated, on purpose.  NOLINTNEXTLINE(clang-analyzer-unix.Malloc)
        std::puts("ILLEAGLE FREQUENCY");
        return nullptr;
    }
    if (ch_num < 0 || ch_num > kMaxChannels || samples_per_ch < 0) {
        std::free(handle);
        return nullptr;
    }
    handle->out_per_ch = handle->ratio == 0 ? 0 : handle->samples_per_ch / handle->ratio;
    return open_all(handle) ? handle : nullptr;
}

int resample_process(resample_handle* handle, const short* in, short* out, int len)
{
    if (handle == nullptr) {
        std::puts("resample not init!");
        return -1;
    }
    const uint64_t inputs = inputs_per_channel(*handle);
    const uint64_t outputs = handle->out_per_ch;
    if (handle->ch_num * inputs != sign_extend(len)) {
        std::puts("input data length = ch_num * samples_per_ch");
        return -1;
    }
    if (len > 0 && (in == nullptr || out == nullptr))
        return -1;
    const rsmpl::ConvertKernels& convert = rsmpl::active_kernels().convert;
    for (uint64_t c = 0; c < handle->ch_num; ++c)
        convert.short_to_float(handle->in_buf[c], in + c * inputs, static_cast<int>(inputs), 1);
    for (uint64_t c = 0; c < handle->ch_num; ++c)
        RSMPL_Down(handle->rsmpl_ctx[c], handle->in_buf[c], handle->out_buf[c],
                   static_cast<int>(inputs), RSMPL_RATIO_1_3);
    for (uint64_t c = 0; c < handle->ch_num; ++c)
        convert.float_to_short_wrapping(out + c * outputs, handle->out_buf[c],
                                        static_cast<int>(outputs));
    return 0;
}

void resample_exit(resample_handle* handle)
{
    if (handle != nullptr)
        release(handle, handle->ch_num);
}
