/* Resample_Rsmpl_IIR_api.h - fixed-ratio conversion of float blocks, one channel per context.
 *
 *     uint32_t ctx[9];
 *     RSMPL_InitContext(ctx);                          once per channel
 *     RSMPL_Up(ctx, in, out, 320, RSMPL_RATIO_3_1);    per block of 20 ms, 16 to 48 kHz
 *
 * The caller owns one context per channel: nine 32-bit words, aligned to 4 bytes,
 *     word 0      reserved, zero
 *     words 1..8  filter memory, IEEE single
 * Use one ratio per context: the words do not say which stage wrote them.  Consecutive blocks
 * of one stream join without a seam.  For the response see Resample_IIRFilterDesign.h.
 *
 *     code   RSMPL_Down   len               outputs      RSMPL_Up   len          outputs
 *     0      2:3          >= 18, 6 k        2 * len / 3  3:2        6 to 640     3 * len / 2
 *     1      1:2          >= 8,  4 k        len / 2      2:1        4 to 480     2 * len
 *     2      1:3          >= 18, 6 k        len / 3      3:1        6 to 320     3 * len
 *     3      1:4          >= 16, 4 k        len / 4      4:1        4 to 240     4 * len
 *     4      1:6          >= 36, 6 k        len / 6      6:1        6 to 160     6 * len
 *
 * (An odd length of 3:2 drops the half output; feed even lengths to keep a stream in phase.)
 *
 * Results are the RSMPL_* of enum RSMPL_Status, checked in this order; nothing is written unless
 * the result is 0.
 *
 * A context must not be used by two threads at once; distinct ones are independent, also while
 * another thread initialises one.  All calls are [rt]: they neither allocate, lock, print nor
 * touch files. */
#ifndef RSMPL_RESAMPLE_RSMPL_IIR_API_H
#define RSMPL_RESAMPLE_RSMPL_IIR_API_H

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

/* Codes for RSMPL_Down, by its ratios, and for RSMPL_Up, by their inverses. */
enum RSMPL_Ratio {
    RSMPL_RATIO_2_3 = 0, /* down, as 48 to 32 kHz */
    RSMPL_RATIO_1_2 = 1, /* 32 to 16 */
    RSMPL_RATIO_1_3 = 2, /* 48 to 16 */
    RSMPL_RATIO_1_4 = 3, /* 32 to 8 */
    RSMPL_RATIO_1_6 = 4, /* 48 to 8 */
    RSMPL_RATIO_3_2 = 0, /* up, as 32 to 48 kHz */
    RSMPL_RATIO_2_1 = 1, /* 16 to 32 */
    RSMPL_RATIO_3_1 = 2, /* 16 to 48 */
    RSMPL_RATIO_4_1 = 3, /* 8 to 32 */
    RSMPL_RATIO_6_1 = 4  /* 8 to 48 */
};

/* Results. */
enum RSMPL_Status {
    RSMPL_SUCCESS = 0,      /* done */
    RSMPL_NULL_CONTEXT = 1, /* ctx is null */
    RSMPL_UNKNOWN_CODE = 2, /* code is above 4 */
    RSMPL_BAD_LENGTH = 3    /* len is not one of the table above */
};

/* The size of a context in bytes: 36.  [rt] */
unsigned RSMPL_GetContextSize(void);

/* Zeroes the context and fills the coefficient tables of all stages.  Must have run once in
 * the process before any other call converts.  Returns 0, or 1 for a null context.  [rt] */
unsigned RSMPL_InitContext(void* ctx);

/* Decimates, out[0 .. outputs) = stage(in[0 .. len)).  in and out must not be null; out may
 * equal in.  [rt] */
unsigned RSMPL_Down(void* ctx, const float* in, float* out, int len, unsigned code);

/* Interpolates, likewise; at most 960 outputs per call; out may equal in.  [rt] */
unsigned RSMPL_Up(void* ctx, const float* in, float* out, int len, unsigned code);

/* Zeroes the context: the stream starts anew, as after RSMPL_InitContext.  The coefficient
 * tables stay as they are.  Returns 0, or 1 for a null context.  [rt] */
unsigned RSMPL_Reset(void* ctx);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif
