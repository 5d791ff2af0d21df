// One block of 960 samples through the stages and the public calls.
#include "api/resample_api.h"
#include "bench/bench.h"
#include "bench/naive_stage.h"
#include "iir/Resample_IIRFilterDesign.h"
#include "iir/Resample_Rsmpl_IIR_api.h"
#include "kernels/Resample_Kernels_internal.h"

#include <chrono>
#include <cstdio>
#include <cstring>
#include <thread>

namespace
{

using benchmark::State;

const char* const kPublicCall = "resample_process";
const char* const kNaiveVectorised = "naive 1:3";
const char* const kNaiveScalar = "naive 1:3 scalar";
const char* const kCopy = "memcpy of a block";

using Stage = void(const float* in, float* out, float* ctx, int len);

struct NamedStage {
    const char* name;
    Stage* run;
    int inputs; // the longest block that every way of calling it admits
};

constexpr NamedStage kStages[] = {
    {"1:2", Downsample1_2, kBlock},   {"2:3", Downsample2_3, kBlock},
    {"1:3", Downsample1_3, kBlock},   {"1:4", Downsample1_4, kBlock},
    {"1:6", Downsample1_6, kBlock},   {"2:1", Upsample2_1, kBlock / 2},
    {"3:2", Upsample3_2, kBlock / 3}, {"3:1", Upsample3_1, kBlock / 3},
    {"4:1", Upsample4_1, kBlock / 4}, {"6:1", Upsample6_1, kBlock / 6},
};

// `convert` runs one block on float buffers with a context.
template <typename Convert>
void time_stage(State& state, Convert convert)
{
    const std::vector<float> in = noise<float>(kBlock);
    std::vector<float> out(kBlock);
    float ctx[9];
    RSMPL_InitContext(ctx);
    for (auto _ : state) {
        convert(in.data(), out.data(), ctx);
        benchmark::ClobberMemory();
    }
}

void time_public_call(State& state, int level, bool by_steps)
{
    rsmpl::force_level(level, by_steps);
    const std::vector<short> in = noise<short>(kBlock);
    std::vector<short> out(in.size() / 3);
    resample_handle* handle = resample_init(1, 48000, 16000, kBlock);
    for (auto _ : state) {
        resample_process(handle, in.data(), out.data(), kBlock);
        benchmark::ClobberMemory();
    }
    resample_exit(handle);
}

void time_copy(State& state)
{
    const std::vector<short> in = noise<short>(kBlock);
    std::vector<short> out(kBlock);
    for (auto _ : state) {
        std::size_t size = in.size() * sizeof in[0];
        benchmark::DoNotOptimize(size); // the library's memcpy, not one made for this size
        std::memcpy(out.data(), in.data(), size);
        benchmark::ClobberMemory();
    }
}

struct NaiveForms {
    NaiveStage* vectorised;
    NaiveStage* scalar;
};

const NaiveForms kNaive[] = {
    {naive_baseline, naive_baseline_scalar},
#ifdef RSMPL_HAVE_AVX2
    {naive_avx2, naive_avx2_scalar},
#endif
};

void register_naive(const char* name, int level, NaiveStage* naive)
{
    benchmark::RegisterBenchmark(label(name, level).c_str(), [=](State& state) {
        time_stage(state, [=](const float* in, float* out, float* ctx) {
            naive(s_FiltCoeffs_3_1, in, out, ctx, kBlock);
        });
    });
}

// The slowest call while noise fades, zeros coming in, against one on noise.
double worst_in_silence(const NamedStage& stage)
{
    using Clock = std::chrono::steady_clock;
    constexpr std::size_t kCalls = 60; // by then the memory rests
    const std::vector<float> sound = noise<float>(kBlock), silence(kBlock);
    std::vector<float> out(kBlock);
    std::vector<double> fastest(kCalls, 1e9); // of each call, the first two on noise
    for (int repetition = 0; repetition < 500; ++repetition) {
        float ctx[9];
        RSMPL_InitContext(ctx);
        for (std::size_t call = 0; call < kCalls; ++call) {
            const Clock::time_point start = Clock::now();
            stage.run(call < 2 ? sound.data() : silence.data(), out.data(), ctx, stage.inputs);
            const std::chrono::duration<double, std::nano> ns = Clock::now() - start;
            fastest[call] = std::min(fastest[call], ns.count());
        }
    }
    return *std::max_element(fastest.begin() + 2, fastest.end()) / fastest[1];
}

// The median of single blocks, 20 ms apart: of a host that sleeps between them.
double ns_after_sleep()
{
    using Clock = std::chrono::steady_clock;
    constexpr std::size_t kCalls = 101;
    const std::vector<short> in = noise<short>(kBlock);
    std::vector<short> out(in.size() / 3);
    std::vector<double> ns;
    resample_handle* handle = resample_init(1, 48000, 16000, kBlock);
    while (ns.size() < kCalls) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        const Clock::time_point start = Clock::now();
        resample_process(handle, in.data(), out.data(), kBlock);
        ns.push_back(std::chrono::duration<double, std::nano>(Clock::now() - start).count());
    }
    resample_exit(handle);
    std::nth_element(ns.begin(), ns.begin() + kCalls / 2, ns.end());
    return ns[kCalls / 2];
}

std::string stage_label(const char* name, int level, bool by_steps)
{
    return label(std::string(name) + (by_steps ? " by steps" : ""), level);
}

// How long a block takes, and against the filter step run for every sample.
double print_block(const Minima& minima, const char* name, int level, int units, const char* unit)
{
    const double ns = minima.ns(stage_label(name, level, false));
    const double by_steps = minima.ns(stage_label(name, level, true));
    std::printf("  %-18s %8.0f ns  %8.3f ns per %-12s %5.2f times as fast as by steps\n", name, ns,
                ns / units, unit, by_steps / ns);
    return ns;
}

} // namespace

void register_stages(int level)
{
    if (level == 0)
        benchmark::RegisterBenchmark(kCopy, time_copy);
    register_naive(kNaiveVectorised, level, kNaive[level].vectorised);
    register_naive(kNaiveScalar, level, kNaive[level].scalar);
    for (const bool by_steps : {false, true}) {
        for (const NamedStage& stage : kStages)
            benchmark::RegisterBenchmark(
                stage_label(stage.name, level, by_steps).c_str(), [=](State& state) {
                    rsmpl::force_level(level, by_steps);
                    time_stage(state, [=](const float* in, float* out, float* ctx) {
                        stage.run(in, out, ctx, stage.inputs);
                    });
                });
        benchmark::RegisterBenchmark(stage_label(kPublicCall, level, by_steps).c_str(),
                                     time_public_call, level, by_steps);
    }
}

void print_stages(const Minima& minima, int level)
{
    for (const char* naive : {kNaiveVectorised, kNaiveScalar}) {
        const double ns = minima.ns(label(naive, level));
        std::printf(
            "  %-18s %8.0f ns   %5.2f ns per filter step, stage 1:3 is %.2f times as fast\n", naive,
            ns, ns / kBlock, ns / minima.ns(label("1:3", level)));
    }
    for (const NamedStage& stage : kStages) {
        print_block(minima, stage.name, level, stage.inputs * (stage.name[0] - '0'), "filter step");
        std::printf("  %-18s %8.2f times as long, the worst call in silence\n", "",
                    worst_in_silence(stage));
    }
    const double call = print_block(minima, kPublicCall, level, kBlock, "input sample");
    const double copy = minima.ns(kCopy);
    std::printf("  %s takes %.0f times as long as a %s (%.0f ns)\n", kPublicCall, call / copy,
                kCopy, copy);
    std::printf("  %s after 20 ms of sleep: %.0f ns\n", kPublicCall, ns_after_sleep());
}
