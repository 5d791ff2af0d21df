// Sample formats, FIR engines, filter design and the Fourier transform, beside naive loops and
// kissfft and FFTW; what opening a handle takes.
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
#include <cstring>
#include <fftw3.h>
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

struct Peer {
    std::string name;
    std::function<void()> run;
};

// A job and what stands beside it, if anything; all do `units` of work per run.
struct Job {
    std::string name;
    int units;
    const char* unit;
    std::function<void()> run;
    std::vector<Peer> peers;
};

struct Buffers {
    explicit Buffers(std::size_t samples)
        : shorts(noise<short>(samples)), floats(noise<float>(samples)), wides(samples),
          copied(samples), out_floats(samples), out_shorts(samples)
    {
    }

    std::vector<short> shorts;
    std::vector<float> floats;
    std::vector<long> wides, copied;
    std::vector<float> out_floats;
    std::vector<short> out_shorts;
};

std::vector<Job> converters(int level)
{
    const auto b = std::make_shared<Buffers>(kBlock);
    const NaiveBlocks* const naive = kNaive[level];
    const std::string peer = "scalar loop";
    return {
        {"short to float",
         kBlock,
         "sample",
         [=] { Convert_ShortToFloat(b->out_floats.data(), b->shorts.data(), kBlock); },
         {{peer, [=] { naive->short_to_float(b->out_floats.data(), b->shorts.data(), kBlock); }}}},
        {"float to short",
         kBlock,
         "sample",
         [=] { Convert_FloatToShort(b->out_shorts.data(), b->floats.data(), kBlock, 1); },
         {{peer, [=] { naive->float_to_short(b->out_shorts.data(), b->floats.data(), kBlock); }}}},
        {"short to wide",
         kBlock,
         "sample",
         [=] { Convert_Int16ToInt32(b->wides.data(), b->shorts.data(), kBlock); },
         {{peer, [=] { naive->short_to_wide(b->wides.data(), b->shorts.data(), kBlock); }}}},
        {"wide to short",
         kBlock,
         "sample",
         [=] { Convert_Int32ToInt16(b->out_shorts.data(), b->wides.data(), kBlock, 1); },
         {{peer, [=] { naive->wide_to_short(b->out_shorts.data(), b->wides.data(), kBlock); }}}},
    };
}

// Far beyond the caches, beside memcpy of the wider of the two buffers.
std::vector<Job> large_converters(int /*level*/)
{
    constexpr int kSamples = 1 << 23;
    const auto b = std::make_shared<Buffers>(kSamples);
    const auto copy = [=](std::size_t bytes_per_sample) {
        return Peer{"memcpy", [=] {
                        std::memcpy(b->wides.data(), b->copied.data(), bytes_per_sample * kSamples);
                    }};
    };
    return {
        {"short to float, 16 MiB",
         kSamples,
         "sample",
         [=] { Convert_ShortToFloat(b->out_floats.data(), b->shorts.data(), kSamples); },
         {copy(sizeof(float))}},
        {"float to short, 32 MiB",
         kSamples,
         "sample",
         [=] { Convert_FloatToShort(b->out_shorts.data(), b->floats.data(), kSamples, 1); },
         {copy(sizeof(float))}},
        {"short to wide, 16 MiB",
         kSamples,
         "sample",
         [=] { Convert_Int16ToInt32(b->wides.data(), b->shorts.data(), kSamples); },
         {copy(sizeof(long))}},
        {"wide to short, 64 MiB",
         kSamples,
         "sample",
         [=] { Convert_Int32ToInt16(b->out_shorts.data(), b->wides.data(), kSamples, 1); },
         {copy(sizeof(long))}},
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
    const std::string peer = "two scalar runs";
    const auto naive = naive_filter(f, level);
    const auto silent = std::make_shared<Fir>(kTaps);
    std::fill(silent->in.begin(), silent->in.end(), 0.0F);
    return {
        {"FIRFiltering, silence",
         kBlock * kTaps,
         "tap",
         [=] { FIRFiltering(silent->state, silent->in.data(), silent->out.data(), kBlock); },
         {}},
        {"FIRFiltering",
         kBlock * kTaps,
         "tap",
         [=] { FIRFiltering(f->state, f->in.data(), f->out.data(), kBlock); },
         {{peer, [=] { naive(kBlock); }}}},
        {"FIRMRFiltering 1:3",
         kBlock / 3 * kTaps,
         "tap",
         [=] { FIRMRFiltering(f->rates, f->in.data(), f->out.data(), kBlock / 3); },
         {{peer, [=] { naive(kBlock / 3); }}}},
        {"FIRFiltering_Direct",
         kBlock * kTaps,
         "tap",
         [=] {
             FIRFiltering_Direct(f->in.data(), f->out.data(), kBlock, f->taps.data(), kTaps,
                                 f->history.data(), &f->position);
         },
         {{peer, [=] { naive(kBlock); }}}},
    };
}

// Up by L, down by M through 64 taps for every tick of the slower rate.
struct Rates {
    Rates(std::size_t L, std::size_t M, std::size_t frames)
        : in(noise<float>(M * frames)), out(L * frames)
    {
        std::vector<float> taps = noise<float>(64 * std::max(L, M));
        for (float& tap : taps)
            tap /= 30000;
        FIRMRInitAlloc(&state, taps.data(), taps.size(), L, M);
    }
    Rates(const Rates&) = delete;
    Rates& operator=(const Rates&) = delete;
    ~Rates() { FIRMRFree(state); }

    FIRMRState* state = nullptr;
    std::vector<float> in, out;
};

Job rate_job(int L, int M, int frames, bool silent = false)
{
    const auto count = static_cast<std::size_t>(frames);
    const auto r =
        std::make_shared<Rates>(static_cast<std::size_t>(L), static_cast<std::size_t>(M), count);
    if (silent)
        std::fill(r->in.begin(), r->in.end(), 0.0F);
    return {std::to_string(L) + ":" + std::to_string(M) + ", calls of " +
                std::to_string(frames * M) + (silent ? ", silence" : ""),
            frames * M,
            "input",
            [=] { FIRMRFiltering(r->state, r->in.data(), r->out.data(), count); },
            {}};
}

std::vector<Job> rates(int /*level*/)
{
    const auto opened = [] {
        int enabled = 1;
        CGeneralResampler resampler;
        resampler.Init(1, &enabled, 160, 441, 1, 64 * 441, 44100, 0, 8000);
        resampler.UnInit();
    };
    return {rate_job(160, 441, 1),
            rate_job(160, 441, 10),
            rate_job(160, 441, 100),
            rate_job(160, 441, 10, true),
            rate_job(160, 147, 3),
            rate_job(160, 147, 30),
            rate_job(147, 160, 30),
            rate_job(2, 3, 320),
            rate_job(3, 2, 160),
            rate_job(1024, 341, 10),
            {"open general, 160:441", 1, "opening", opened, {}}};
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
        {"general, 1:3",
         kBlock / 3 * kTaps,
         "tap",
         [=] { g->resampler.ResampleOneBlock(g->in.data()); },
         {{"two scalar runs", [=] { naive(kBlock / 3); }}}},
        {"design",
         kTaps,
         "tap",
         [=] { GeneralFIRLowpass(f->taps.data(), kTaps, WIN_HAMMING, 0.15F); },
         {{"a windowed sinc",
           [=, design = kNaive[level]->design] { design(f->taps.data(), kTaps, 0.15); }}}},
        {"open and close",
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
            fftw_data[n][0] = signal[2 * n];
            fftw_data[n][1] = signal[2 * n + 1];
            in[n] = {signal[2 * n], signal[2 * n + 1]};
            kiss_in[n] = {signal[2 * n], signal[2 * n + 1]};
        }
    }
    Transform(const Transform&) = delete;
    Transform& operator=(const Transform&) = delete;
    ~Transform()
    {
        fft.FFTFree();
        kiss_fft_free(kiss);
        fftwf_destroy_plan(fftw);
        fftwf_free(fftw_data);
    }

    int points;
    CFFT fft;
    kiss_fft_cfg kiss = kiss_fft_alloc(points, 0, nullptr, nullptr);
    fftwf_complex* fftw_data = fftwf_alloc_complex(2 * static_cast<std::size_t>(points));
    fftwf_plan fftw =
        fftwf_plan_dft_1d(points, fftw_data, fftw_data + points, FFTW_FORWARD, FFTW_MEASURE);
    std::vector<DCOMPLEX> in = std::vector<DCOMPLEX>(static_cast<std::size_t>(points)), out = in;
    std::vector<kiss_fft_cpx> kiss_in = std::vector<kiss_fft_cpx>(in.size()), kiss_out = kiss_in;
};

Job transform(int order)
{
    const auto t = std::make_shared<Transform>(order);
    return {"FFT of " + std::to_string(t->points),
            t->points,
            "point",
            [=] { t->fft.FFTFwd_CToC(t->in.data(), t->out.data()); },
            {{"kissfft", [=] { kiss_fft(t->kiss, t->kiss_in.data(), t->kiss_out.data()); }},
             {"FFTW", [=] { fftwf_execute(t->fftw); }}}};
}

std::vector<Job> jobs(int level)
{
    std::vector<Job> all = converters(level);
    for (auto* more : {large_converters, filters, rates, general})
        for (Job& job : more(level))
            all.push_back(std::move(job));
    for (const int order : {10, 14})
        all.push_back(transform(order));
    return all;
}

std::string peer_label(const Peer& peer, const Job& job, int level)
{
    return label(peer.name + " for " + job.name, level);
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
        for (const Peer& peer : job.peers)
            register_run(peer_label(peer, job, level), level, peer.run);
    }
}

void print_blocks(const Minima& minima, int level)
{
    for (const Job& job : jobs(level)) {
        const double ns = minima.ns(label(job.name, level));
        std::printf("  %-27s %9.0f ns  %8.3f ns per %-7s", job.name.c_str(), ns, ns / job.units,
                    job.unit);
        for (const Peer& peer : job.peers)
            std::printf("  %5.2f times as fast as %s", minima.ns(peer_label(peer, job, level)) / ns,
                        peer.name.c_str());
        std::printf("\n");
    }
}
