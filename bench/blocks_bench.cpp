// Sample formats, FIR engines, filter design and the Fourier transform, beside naive loops and
// kissfft; what opening a handle takes.
#include "api/resample_api.h"
#include "bench/bench.h"
#include "bench/naive_blocks.h"
#include "convert/Resample_DatTypeConvert.h"
#include "design/Resample_FIRFilterDesign.h"
#include "fir/Resample_FIRFiltering.h"
#include "fir/Resample_GeneralResampler.h"
#include "kernels/Resample_Kernels_internal.h"
#include "spectral/Resample_CFFT.h"

#include <cstdio>
#include <functional>
#include <kiss_fft.h>
#include <memory>

namespace
{

const NaiveBlocks* const kNaive[] = {
    &naive_blocks_baseline,
#ifdef RSMPL_HAVE_AVX2
    &naive_blocks_avx2,
#endif
};

// A job and what stands beside it, if anything; both do `units` of work per run.
struct Job {
    std::string name;
    std::string peer;
    int units;
    const char* unit;
    std::function<void()> run;
    std::function<void()> run_peer;
};

struct Buffers {
    std::vector<short> shorts = noise<short>(kBlock);
    std::vector<float> floats = noise<float>(kBlock);
    std::vector<long> wides = std::vector<long>(kBlock);
    std::vector<float> out_floats = std::vector<float>(kBlock);
    std::vector<short> out_shorts = std::vector<short>(kBlock);
};

std::vector<Job> converters(int level)
{
    const auto b = std::make_shared<Buffers>();
    const NaiveBlocks* const naive = kNaive[level];
    const std::string peer = "scalar loop";
    return {
        {"short to float", peer, kBlock, "sample",
         [=] { Convert_ShortToFloat(b->out_floats.data(), b->shorts.data(), kBlock); },
         [=] { naive->short_to_float(b->out_floats.data(), b->shorts.data(), kBlock); }},
        {"float to short", peer, kBlock, "sample",
         [=] { Convert_FloatToShort(b->out_shorts.data(), b->floats.data(), kBlock, 1); },
         [=] { naive->float_to_short(b->out_shorts.data(), b->floats.data(), kBlock); }},
        {"short to wide", peer, kBlock, "sample",
         [=] { Convert_Int16ToInt32(b->wides.data(), b->shorts.data(), kBlock); },
         [=] { naive->short_to_wide(b->wides.data(), b->shorts.data(), kBlock); }},
        {"wide to short", peer, kBlock, "sample",
         [=] { Convert_Int32ToInt16(b->out_shorts.data(), b->wides.data(), kBlock, 1); },
         [=] { naive->wide_to_short(b->out_shorts.data(), b->wides.data(), kBlock); }},
    };
}

struct Fir {
    explicit Fir(std::size_t length) : taps(noise<float>(length)), delay(length)
    {
        for (float& tap : taps)
            tap /= 30000; // all bits of a float in use
        FIRInitAlloc(&state, taps.data(), length, nullptr);
        FIRMRInitAlloc(&rates, taps.data(), length, 1, 3);
    }
    Fir(const Fir&) = delete;
    Fir& operator=(const Fir&) = delete;
    ~Fir()
    {
        FIRFree(state);
        FIRMRFree(rates);
    }

    FIRState* state = nullptr;
    FIRMRState* rates = nullptr;
    std::vector<float> taps, delay, in = noise<float>(kBlock), out = std::vector<float>(kBlock);
    std::vector<float> history = std::vector<float>(2 * taps.size());
    std::uint32_t position = 0;
    std::size_t index = 0;
};

// The naive filter over n samples, in `f`.
auto naive_filter(const std::shared_ptr<Fir>& f, int level)
{
    return [f, filter = kNaive[level]->filter](std::size_t n) {
        filter(f->taps.data(), f->delay.data(), f->taps.size(), f->index, f->in.data(),
               f->out.data(), n);
    };
}

std::vector<Job> filters(int level)
{
    constexpr int kTaps = 64;
    const auto f = std::make_shared<Fir>(kTaps);
    const std::string peer = "a modulo per tap";
    const auto naive = naive_filter(f, level);
    return {
        {"FIRFiltering", peer, kBlock * kTaps, "tap",
         [=] { FIRFiltering(f->state, f->in.data(), f->out.data(), kBlock); },
         [=] { naive(kBlock); }},
        {"FIRMRFiltering 1:3", peer, kBlock / 3 * kTaps, "tap",
         [=] { FIRMRFiltering(f->rates, f->in.data(), f->out.data(), kBlock / 3); },
         [=] { naive(kBlock / 3); }},
        {"FIRFiltering_Direct", peer, kBlock * kTaps, "tap",
         [=] {
             FIRFiltering_Direct(f->in.data(), f->out.data(), kBlock, f->taps.data(), kTaps,
                                 f->history.data(), &f->position);
         },
         [=] { naive(kBlock); }},
    };
}

struct General {
    General() { resampler.Init(1, &enabled, 1, 3, kBlock / 3, 64, 48000, 100, 7800); }
    General(const General&) = delete;
    General& operator=(const General&) = delete;
    ~General() { resampler.UnInit(); }

    int enabled = 1;
    CGeneralResampler resampler;
    std::vector<short> in = noise<short>(kBlock);
};

std::vector<Job> general(int level)
{
    constexpr int kTaps = 64;
    const auto g = std::make_shared<General>();
    const auto f = std::make_shared<Fir>(kTaps);
    const auto naive = naive_filter(f, level);
    return {
        {"general, 1:3", "a modulo per tap", kBlock / 3 * kTaps, "tap",
         [=] { g->resampler.ResampleOneBlock(g->in.data()); }, [=] { naive(kBlock / 3); }},
        {"design", "a windowed sinc", kTaps, "tap",
         [=] { GeneralFIRLowpass(f->taps.data(), kTaps, WIN_HAMMING, 0.15F); },
         [=, design = kNaive[level]->design] { design(f->taps.data(), kTaps, 0.15); }},
        {"open and close",
         "",
         1,
         "handle",
         [=] { resample_exit(resample_init(1, 48000, 16000, kBlock)); },
         {}},
    };
}

struct Transform {
    explicit Transform(int order) : points(1 << order)
    {
        fft.FFTInitAlloc(order);
        const std::vector<float> signal = noise<float>(2 * in.size());
        for (std::size_t n = 0; n < in.size(); ++n) {
            in[n] = {signal[2 * n], signal[2 * n + 1]};
            peer_in[n] = {signal[2 * n], signal[2 * n + 1]};
        }
    }
    Transform(const Transform&) = delete;
    Transform& operator=(const Transform&) = delete;
    ~Transform()
    {
        fft.FFTFree();
        kiss_fft_free(peer);
    }

    int points;
    CFFT fft;
    kiss_fft_cfg peer = kiss_fft_alloc(points, 0, nullptr, nullptr);
    std::vector<DCOMPLEX> in = std::vector<DCOMPLEX>(static_cast<std::size_t>(points)), out = in;
    std::vector<kiss_fft_cpx> peer_in = std::vector<kiss_fft_cpx>(in.size()), peer_out = peer_in;
};

Job transform(int order)
{
    const auto t = std::make_shared<Transform>(order);
    return {"FFT of " + std::to_string(t->points),
            "kissfft",
            t->points,
            "point",
            [=] { t->fft.FFTFwd_CToC(t->in.data(), t->out.data()); },
            [=] { kiss_fft(t->peer, t->peer_in.data(), t->peer_out.data()); }};
}

std::vector<Job> jobs(int level)
{
    std::vector<Job> all = converters(level);
    for (auto* more : {filters, general})
        for (Job& job : more(level))
            all.push_back(std::move(job));
    for (const int order : {10, 14})
        all.push_back(transform(order));
    return all;
}

std::string peer_label(const Job& job, int level)
{
    return label(job.peer + " for " + job.name, level);
}

void register_run(const std::string& name, int level, const std::function<void()>& run)
{
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
        rsmpl::force_level(level);
        for (auto _ : state) {
            run();
            benchmark::ClobberMemory();
        }
    });
}

} // namespace

void register_blocks(int level)
{
    for (const Job& job : jobs(level)) {
        register_run(label(job.name, level), level, job.run);
        if (job.run_peer)
            register_run(peer_label(job, level), level, job.run_peer);
    }
}

void print_blocks(const Minima& minima, int level)
{
    for (const Job& job : jobs(level)) {
        const double ns = minima.ns(label(job.name, level));
        std::printf("  %-18s %9.0f ns  %8.3f ns per %-6s", job.name.c_str(), ns, ns / job.units,
                    job.unit);
        if (job.run_peer)
            std::printf("  %5.2f times as fast as %s", minima.ns(peer_label(job, level)) / ns,
                        job.peer.c_str());
        std::printf("\n");
    }
}
