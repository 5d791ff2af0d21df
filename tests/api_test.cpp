#include "api/resample_api.h"
#include "fir/Resample_FIRFiltering.h"
#include "fir/Resample_GeneralResampler.h"
#include "iir/Resample_Rsmpl_IIR_api.h"
#include "spectral/Resample_CFFT.h"
#include "stream/rsmpl_stream.h"
#include "tests/common.h"

#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <thread>

namespace
{

#define AT(record, field, offset) (offsetof(record, field) == (offset))

// Hosts have been compiled against them.
TEST(PublicCalls, RecordsHoldTheirFieldsInOrderAndHandlesAGeneralResampler)
{
    using R = CGeneralResampler;
    using D = CGeneralFIRDesigner;
    using M = FIRMRState;
    EXPECT_TRUE(AT(FIRState, delay, 8) && AT(FIRState, length, 16) && AT(FIRState, index, 24));
    EXPECT_TRUE(AT(M, delay, 8) && AT(M, length, 16) && AT(M, up, 24) && AT(M, down, 32));
    EXPECT_TRUE(AT(R, m_frames, 12) && AT(R, m_inputLen, 16) && AT(R, m_outputLen, 20) &&
                AT(R, m_floatOut, 24) && AT(R, m_int16Out, 32) && AT(R, m_scratch, 40) &&
                AT(R, m_flags, 48));
    EXPECT_TRUE(AT(D, m_fftSize, 4) && AT(D, m_fftOrder, 8) && AT(D, m_numBins, 12) &&
                AT(D, m_timeBuf, 16) && AT(D, m_spectrum, 24) && AT(D, m_magnitude, 32) &&
                AT(D, m_phase, 40) && AT(D, m_window, 48));
    EXPECT_TRUE(AT(CFFT, pScratch, 16) && AT(CFFT, pTwiddle, 24) && AT(CFFT, pInBuf, 32) &&
                AT(CFFT, pOutBuf, 40) && AT(CFFT, nFFTLen, 48));
    using Words = std::vector<std::uint64_t>;
    for (const int out_rate : {16000, 1001, 100, -16000}) {
        resample_handle* handle = resample_init(3, 3 * out_rate, out_rate, 1000);
        const auto rate = static_cast<std::uint64_t>(out_rate); // sign-extended
        const auto* words = reinterpret_cast<const std::uint64_t*>(handle);
        EXPECT_EQ(Words(words + 1, words + 8), (Words{1000, 3 * rate, rate, 3, 333, 1, 3}));
        const CGeneralResampler& general = **reinterpret_cast<CGeneralResampler**>(handle);
        EXPECT_TRUE(general.m_channels == 3 && general.m_inputLen == 999);
        // 100 Hz to 200 Hz below the output's Nyquist frequency.
        const float high = static_cast<float>(rate) / 2 - 200;
        const Floats taps = resampler_taps(1, 3, 64, 3 * rate, 100, high);
        for (int c = 0; c < 3; ++c) {
            const FIRMRState* state = general.m_states[c];
            EXPECT_TRUE(state->length == 64 && std::equal(taps.begin(), taps.end(), state->taps));
        }
        resample_exit(handle);
    }
}

// A block through a handle and a filter of its own design, then down and up again by each code.
Floats converted(unsigned seed)
{
    const Floats in = noise(960, seed);
    Shorts pcm(in.begin(), in.end());
    resample_handle* handle = resample_init(1, 48000, 16000, 960);
    resample_process(handle, pcm.data(), pcm.data(), 960);
    resample_exit(handle);
    Floats block(pcm.begin(), pcm.end()), ctx(9), taps(64), history(128);
    std::uint32_t position = 0;
    GeneralFIRFractionalDelay(taps.data(), 64, WIN_HANNING, 30.5F);
    FIRFiltering_Direct(block.data(), block.data(), 960, taps.data(), 64, history.data(),
                        &position);
    for (unsigned code = 0; code < 5; ++code) {
        RSMPL_InitContext(ctx.data());
        RSMPL_Down(ctx.data(), block.data(), block.data(), 960, code);
        RSMPL_Reset(ctx.data());
        RSMPL_Up(ctx.data(), block.data(), block.data(), 160, code);
    }
    block.resize(960 + 720);
    for (const int rate : {16000, 36000}) { // a stage, a filter
        rsmpl_stream* stream = nullptr;
        rsmpl_stream_open(&stream, 2, 48000, rate, RSMPL_ENGINE_AUTO, 0);
        rsmpl_stream_run_float(stream, in.data(), 480, &block[rate == 16000 ? 640 : 960]);
        rsmpl_stream_close(stream);
    }
    return block;
}

// Opening a handle or a context rewrites the tables that others filter with; a thread sanitizer
// watches.
TEST(PublicCalls, GiveTheSameInSeveralThreadsAtOnce)
{
    std::vector<std::thread> threads;
    for (unsigned seed = 0; seed < 4; ++seed)
        threads.emplace_back([seed, expected = converted(seed)] {
            for (int i = 0; i < 200; ++i)
                EXPECT_EQ(converted(seed), expected);
        });
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace
