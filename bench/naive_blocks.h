// Sample formats, a FIR filter and its design as naively written, compiled without vectorisation.
#ifndef RSMPL_BENCH_NAIVE_BLOCKS_H
#define RSMPL_BENCH_NAIVE_BLOCKS_H

#include <cstddef>

struct NaiveBlocks {
    void (*short_to_float)(float* dst, const short* src, int n);
    void (*float_to_short)(short* dst, const float* src, int n); // rounds
    void (*wide_to_short)(short* dst, const long* src, int n);   // rounds
    void (*short_to_wide)(long* dst, const short* src, int n);
    // In a circular delay line, in two runs: back to its start, and on from its end.
    void (*filter)(const float* taps, float* delay, std::size_t length, std::size_t& index,
                   const float* in, float* out, std::size_t n);
    // A low-pass: the ideal response, cut off by a Hamming window.
    void (*design)(float* taps, int length, double edge);
};

extern const NaiveBlocks naive_blocks_baseline;
extern const NaiveBlocks naive_blocks_avx2;

#endif
