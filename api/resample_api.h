/* resample_api.h - blocks of planar 16-bit PCM to a lower rate, in three calls.
 *
 *     resample_handle *rs = resample_init(1, 48000, 16000, 960);    once
 *     resample_process(rs, in, out, 960);                           per block of 20 ms
 *     resample_exit(rs);                                            once
 *
 * Lengths count samples per channel unless said otherwise.  Planar means that channel c starts
 * at c times the length.  The samples of one stream go through one handle, in order; blocks
 * join without a seam.
 *
 * Lengths of a block: with ratio = in_rate / out_rate, out_per_ch = samples_per_ch / ratio
 * outputs and W = out_per_ch * ratio inputs per channel.  Whatever the ratio, the filter is the
 * 1:3 decimator, which runs when W is a multiple of 6 and at least 18:
 *     ratio 3       out_per_ch filtered outputs
 *     ratio 1 or 2  W / 3 filtered outputs, then zeros
 *     above 3       the first out_per_ch of W / 3 filtered outputs
 *     any other W   zeros only; the calls succeed all the same
 * So samples_per_ch is best a multiple of 6: 480, 768, 960 or 1536 for 10, 16, 20 or 32 ms.
 *
 * Response of 48000 to 16000 Hz: 0 to -0.5 dB up to 7 kHz, -60 dB from 8 kHz on.  Outputs are
 * truncated toward zero, which takes 0.2 dB from a tone at -60 dBFS, 0.8 dB at -72 dBFS and all
 * that stays below one step.  They are then cut to 16 bits, not clipped: loud input can overshoot
 * (3.2 times the largest sample at worst) and wrap around; an input 10.1 dB below full scale never
 * does.
 *
 * A handle must not be used by two threads at once; distinct ones are independent, also while
 * another thread opens or closes handles.  [rt]: neither allocates, locks, nor touches files,
 * and prints only where said. */
#ifndef RSMPL_RESAMPLE_API_H
#define RSMPL_RESAMPLE_API_H

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

/* One stream of blocks, of up to 16 channels. */
typedef struct resample_handle resample_handle;

/* Opens a handle.
 *   ch_num          0 to 16 channels
 *   in_rate         Hz, an integer multiple of out_rate
 *   out_rate        Hz; rates that are zero, or of opposite signs, may pass for multiples and
 *                   then give a handle that takes blocks of length 0 only
 *   samples_per_ch  the input block per channel, 0 or more, typically 960
 * Returns the handle, owned by the caller until resample_exit.  Null when
 *   - in_rate is not a multiple of out_rate, whatever the other two are; prints
 *     "ILLEAGLE FREQUENCY" on standard output and keeps one small record for good, so do not probe
 *     rates in a loop;
 *   - ch_num or samples_per_ch is out of range, or memory is short for what blocks need; prints
 *     and keeps nothing. */
resample_handle* resample_init(int ch_num, int in_rate, int out_rate, int samples_per_ch);

/* Converts one block.
 *   handle  of resample_init
 *   in      ch_num * W samples, planar
 *   out     ch_num * out_per_ch samples, planar; may overlap in
 *   len     ch_num * W, samples over all channels
 * Returns 0.  Returns -1, with out and the filters untouched, when
 *   - handle is null; prints "resample not init!" on standard output;
 *   - len is not ch_num * W, which is less than ch_num * samples_per_ch where ratio does not
 *     divide samples_per_ch; prints "input data length = ch_num * samples_per_ch" all the same;
 *   - in or out is null and len is not 0; prints nothing.
 * [rt] for a handle and a length that fit. */
int resample_process(resample_handle* handle, const short* in, short* out, int len);

/* Closes a handle and releases all it owns.  Null is allowed. */
void resample_exit(resample_handle* handle);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif
