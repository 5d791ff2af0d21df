/* Resample_GeneralResampler.h - several channels to up / down times their rate through one FIR
 * band-pass, for C++.
 *
 *     int enabled[] = {1, 1};
 *     CGeneralResampler resampler; // 48 to 32 kHz, 20 ms: 320 frames of 3 samples in, 2 out
 *     resampler.Init(2, enabled, 2, 3, 320, 192, 48000, 0, 48000);
 *     resampler.ResampleOneBlock(rows);
 *     float** out = resampler.GetFloatOutput();
 *     ...
 *     resampler.UnInit();
 *
 * A block is `frames` frames per channel, of `down` samples in and `up` samples out.  Blocks of a
 * stream go through one object in order, and join without a seam.
 *
 * The filter is GeneralFIRBandpass with a Hamming window, times `up`.  Its edges are fractions of
 * the input rate, but the taps act at `up` times that rate: an edge of f Hz comes to lie at
 * up * f.  For 3.4 kHz at 2:1, ask for 1.7.  A low edge of 0 is none.  The high edge is capped to
 * lie at 0.45 times the lower of input and output rate; NaN means that cap.  There the
 * response is down to half the amplitude, -6 dB; -1 dB lies about 0.9 / tap_count of the taps' rate
 * below, -50 dB 1.5 to 2 / tap_count above.  At half the lower rate, where images and aliases
 * begin, 64 taps at 1:3 or 3:1 have fallen by 23 dB, 192 taps by 62.  The delay is half the taps,
 * at the rate of the taps.
 *
 * Full scale is 1 for rows of floats and for 16-bit output, but 32768 for 16-bit input, which
 * becomes floats of the same value.  16 bits in with 16 bits out therefore clips nearly everything:
 * all outputs beyond one step of the input.  Take floats on one side, as
 * examples/7_general_resampler.cpp does.
 *
 * An object must not be used by two threads at once; distinct ones are independent.  [rt]:
 * neither allocates, locks, prints nor touches files. */
#ifndef RSMPL_RESAMPLE_GENERALRESAMPLER_H
#define RSMPL_RESAMPLE_GENERALRESAMPLER_H

#pragma GCC visibility push(default)

struct FIRMRState;

/* A filter, its channels and their last block. */
class CGeneralResampler
{
public:
    /* Owns nothing: blocks do nothing before Init. */
    CGeneralResampler() = default;
    CGeneralResampler(const CGeneralResampler&) = delete;
    CGeneralResampler& operator=(const CGeneralResampler&) = delete;

    /* Designs the filter and makes all channels silent; an earlier Init is undone.
     *   channels   count of channels
     *   flags      `channels` of them, copied: 1 enables a channel, any other value disables it
     *   up, down   the ratio
     *   frames     block length
     *   tap_count  of the filter, typically 64 * max(up, down)
     *   rate       of the input in Hz
     *   low, high  band edges in Hz
     * Returns 1, always.  When memory is short, channels, frames or a block's samples do not fit an
     * int, or tap_count exceeds 2^30, the object owns nothing and all its pointers are null:
     * GetFloatOutput and GetInt16Output return null, blocks do nothing, and the counts below say
     * nothing. */
    int Init(unsigned long channels, int* flags, unsigned long up, unsigned long down,
             unsigned long frames, unsigned long tap_count, unsigned long rate, float low,
             float high);

    /* Releases everything; Init may follow.  Due after Init, since there is no destructor that
     * does it.  Returns 1. */
    int UnInit();

    /* Filters a block of every enabled channel.  in[c] points to m_inputLen samples, full scale
     * being 1, which are not among the outputs; it is not looked at for disabled channels.
     * Returns 0.  [rt] */
    int ResampleOneBlock(float** in);

    /* The same for planar 16-bit samples, channel c at c * m_inputLen, full scale being 32768.
     * Returns 0.  [rt] but for the first call, which allocates; when memory is short it does
     * nothing. */
    int ResampleOneBlock(short* in);

    /* The last block, a row of m_outputLen samples per channel; zeros before the first, and for
     * disabled channels.  The rows stay in place, and are written by blocks, until UnInit or
     * another Init.  [rt] */
    float** GetFloatOutput();

    /* The last block as planar 16-bit samples, channel c at c * m_outputLen: times 32768, rounded
     * to nearest, halves away from zero, and clipped; NaN gives 32767.  Those of disabled channels
     * are zero.  The array stays in place too; each call writes it anew.  [rt] */
    short* GetInt16Output();

    /* To look at, not to write.  The arrays are owned by the object. */
    FIRMRState** m_states = nullptr; /* per channel; null for disabled ones */
    int m_channels = 0;              /* count of channels */
    int m_frames = 0;                /* per block */
    int m_inputLen = 0;              /* samples per channel and block, m_frames * down */
    int m_outputLen = 0;             /* the same, m_frames * up */
    float** m_floatOut = nullptr;    /* [m_channels][m_outputLen] */
    short* m_int16Out = nullptr;     /* m_channels * m_outputLen */
    float* m_scratch = nullptr;      /* m_inputLen; null until 16-bit samples come in */
    int* m_flags = nullptr;          /* per channel */
};

#pragma GCC visibility pop

#endif
