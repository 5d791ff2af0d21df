// The 1:3 decimator with its filter step as naively written: arrays, a loop over sections.
#ifndef RSMPL_BENCH_NAIVE_STAGE_H
#define RSMPL_BENCH_NAIVE_STAGE_H

using NaiveStage = void(const float* table, const float* in, float* out, float* ctx, int len);

NaiveStage naive_baseline;
NaiveStage naive_baseline_scalar;
NaiveStage naive_avx2;
NaiveStage naive_avx2_scalar;

#endif
