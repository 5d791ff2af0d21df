#ifndef RSMPL_RESAMPLE_HANDLE_INTERNAL_H
#define RSMPL_RESAMPLE_HANDLE_INTERNAL_H

#include <cstddef>
#include <cstdint>

class CGeneralResampler;

// 26 words of 64 bits.  The integers are sign-extended from 32 bits.
struct resample_handle {
    CGeneralResampler* general;   // owned; idle
    std::uint64_t samples_per_ch; // block length asked for
    std::uint64_t in_rate;        // Hz
    std::uint64_t out_rate;       // Hz
    std::uint64_t ch_num;
    std::uint64_t out_per_ch; // outputs per channel and block
    std::uint64_t interp;     // always 1
    std::uint64_t ratio;      // in_rate / out_rate
    float* rsmpl_ctx[16];     // owned, per channel; slots from ch_num on are never set
    float** in_buf;           // owned, per channel: samples_per_ch floats
    float** out_buf;          // owned, per channel: room for out_per_ch and for W / 3 floats
};

static_assert(offsetof(resample_handle, rsmpl_ctx) == 8 * sizeof(std::uint64_t));
static_assert(offsetof(resample_handle, in_buf) == 24 * sizeof(std::uint64_t));
static_assert(offsetof(resample_handle, out_buf) == 25 * sizeof(std::uint64_t));
static_assert(sizeof(resample_handle) == 26 * sizeof(std::uint64_t));

#endif
