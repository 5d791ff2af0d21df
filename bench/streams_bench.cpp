// Streams beside the bare stage that they use, in blocks of 960 frames, and what opening one takes.
#include "bench/bench.h"
#include "convert/Resample_DatTypeConvert.h"
#include "iir/Resample_IIRFilterDesign.h"
#include "iir/Resample_Rsmpl_IIR_api.h"
#include "kernels/Resample_Kernels_internal.h"
#include "stream/rsmpl_stream.h"

#include <cstdio>

namespace
{

using Stage = void(const float* in, float* out, float* ctx, int len);

struct Ratio {
    const char* name;
    int in_rate, out_rate;
    Stage* stage;
};

constexpr Ratio kRatios[] = {
    {"1:3", 48000, 16000, Downsample1_3},
    {"3:1", 16000, 48000, Upsample3_1},
    {"2:3", 48000, 32000, Downsample2_3},
};

// A stream of one or two channels, the contexts of bare stages, and blocks for both.
struct Bench {
    Bench(const Ratio& r, int count)
        : ratio(r), channels(count),
          outputs(kBlock / (ratio.in_rate / 8000) * (ratio.out_rate / 8000)),
          floats(noise<float>(room(kBlock))), shorts(noise<short>(room(kBlock))),
          out_floats(room(outputs)), out_shorts(room(outputs))
    {
        rsmpl_stream_open(&stream, channels, ratio.in_rate, ratio.out_rate, RSMPL_ENGINE_AUTO, 0);
        RSMPL_InitContext(context);
    }
    Bench(const Bench&) = delete;
    Bench& operator=(const Bench&) = delete;
    ~Bench() { rsmpl_stream_close(stream); }

    std::size_t room(int frames) const { return static_cast<std::size_t>(frames * channels); }

    void run_rows()
    {
        const float* const in = floats.data();
        float* const out = out_floats.data();
        rsmpl_stream_run_rows(stream, &in, kBlock, &out);
    }
    void run_float() { rsmpl_stream_run_float(stream, floats.data(), kBlock, out_floats.data()); }
    void run_short() { rsmpl_stream_run_short(stream, shorts.data(), kBlock, out_shorts.data()); }
    void run_stage() { ratio.stage(floats.data(), out_floats.data(), context, kBlock); }
    void run_stage_between_conversions()
    {
        Convert_ShortToFloat(floats.data(), shorts.data(), kBlock);
        run_stage();
        Convert_FloatToShort(out_shorts.data(), out_floats.data(), outputs, 1);
    }

    Ratio ratio;
    int channels, outputs;
    std::vector<float> floats;
    std::vector<short> shorts;
    std::vector<float> out_floats;
    std::vector<short> out_shorts;
    rsmpl_stream* stream = nullptr;
    float context[9];
};

struct Job {
    const char* name;
    int channels;
    void (Bench::*run)();
    const char* bare; // what it stands beside, per channel; none for what others stand beside
};

constexpr Job kJobs[] = {
    {"stage", 1, &Bench::run_stage, nullptr},
    {"stage between conversions", 1, &Bench::run_stage_between_conversions, nullptr},
    {"run_rows, mono", 1, &Bench::run_rows, "stage"},
    {"run_float, mono", 1, &Bench::run_float, "stage"},
    {"run_float, stereo", 2, &Bench::run_float, "stage"},
    {"run_short, mono", 1, &Bench::run_short, "stage between conversions"},
    {"run_short, stereo", 2, &Bench::run_short, "stage between conversions"},
};

std::string job_label(const Ratio& ratio, const char* job, int level)
{
    return label(std::string(job) + " " + ratio.name + " of streams", level);
}

const char* const kOpening = "open and close a stream, 44.1 to 16 kHz";

void time_opening(benchmark::State& state, int level)
{
    rsmpl::force_level(level);
    for (auto _ : state) {
        rsmpl_stream* stream = nullptr;
        rsmpl_stream_open(&stream, 1, 44100, 16000, RSMPL_ENGINE_AUTO, 0);
        rsmpl_stream_close(stream);
    }
}

void time_job(benchmark::State& state, const Ratio& ratio, const Job& job, int level)
{
    rsmpl::force_level(level);
    Bench bench(ratio, job.channels);
    for (auto _ : state) {
        (bench.*job.run)();
        benchmark::ClobberMemory();
    }
}

} // namespace

void register_streams(int level)
{
    for (const Ratio& ratio : kRatios)
        for (const Job& job : kJobs)
            benchmark::RegisterBenchmark(
                job_label(ratio, job.name, level).c_str(),
                [=](benchmark::State& state) { time_job(state, ratio, job, level); });
    benchmark::RegisterBenchmark(label(kOpening, level).c_str(), time_opening, level);
}

void print_streams(const Minima& minima, int level)
{
    for (const Ratio& ratio : kRatios)
        for (const Job& job : kJobs) {
            const double ns = minima.ns(job_label(ratio, job.name, level));
            std::printf("  %s %-27s %7.0f ns  %8.3f ns per input", ratio.name, job.name, ns,
                        ns / job.channels / kBlock);
            if (job.bare != nullptr)
                std::printf("  %5.2f times the %s",
                            ns / job.channels / minima.ns(job_label(ratio, job.bare, level)),
                            job.bare);
            std::printf("\n");
        }
    std::printf("  %s: %.0f us\n", kOpening, minima.ns(label(kOpening, level)) / 1000);
}
