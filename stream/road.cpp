#include "stream/road_internal.h"

#include "design/Resample_FIRFilterDesign.h"
#include "iir/Resample_IIRFilterDesign.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <new>
#include <numeric>

namespace rsmpl_streams
{

struct Stage {
    int up, down;
    float* (*init)(float* ctx);
    void (*run)(const float* in, float* out, float* ctx, int len);
    double edge, delay; // measured, as in rsmpl_stream_info
};

namespace
{

constexpr Stage kStages[] = {
    {2, 3, InitDownsample2_3, Downsample2_3, 0.8773, 1.4407},
    {1, 2, InitDownsample1_2, Downsample1_2, 0.8768, 1.2956},
    {1, 3, InitDownsample1_3, Downsample1_3, 0.8773, 1.4407},
    {1, 4, InitDownsample1_4, Downsample1_4, 0.8774, 1.4905},
    {1, 6, InitDownsample1_6, Downsample1_6, 0.8774, 1.5256},
    {3, 2, InitUpsample3_2, Upsample3_2, 0.8772, 2.1610},
    {2, 1, InitUpsample2_1, Upsample2_1, 0.8768, 2.5913},
    {3, 1, InitUpsample3_1, Upsample3_1, 0.8772, 4.3220},
    {4, 1, InitUpsample4_1, Upsample4_1, 0.8773, 5.9616},
    {6, 1, InitUpsample6_1, Upsample6_1, 0.8774, 9.1538},
};

// Null when no stage has this ratio.
const Stage* find_stage(int up, int down)
{
    const auto* const found =
        std::find_if(std::begin(kStages), std::end(kStages),
                     [=](const Stage& stage) { return stage.up == up && stage.down == down; });
    return found == std::end(kStages) ? nullptr : found;
}

void describe_stage(const Stage& stage, rsmpl_stream_info& info)
{
    info.engine = RSMPL_ENGINE_IIR;
    info.flat = 0.875;
    info.edge = stage.edge;
    info.ripple = 0.5;
    info.rejection = 60;
    info.delay = stage.delay;
}

void describe_copy(rsmpl_stream_info& info)
{
    info.engine = RSMPL_ENGINE_AUTO;
    info.flat = info.edge = 1;
    info.rejection = HUGE_VAL;
}

// A period of the lower rate is max(L, M) taps.  The filter reaches `kReach` of them, or a little
// more, to either side of its centre, which is where an output stands:
//
//     delay = ceil(kReach * max(L, M) / M) output frames,   centre = delay * M
//
// It is symmetric about that tap.  Zeros fill it up to whole phases, which the engine likes best;
// or its last tap is left out, which like the first is the end of the window, 0.
constexpr int kReach = 48;
constexpr float kCutoff = 0.93F; // of the lower Nyquist frequency

std::vector<float> design(int centre, int up, int longer)
{
    const auto phases = static_cast<std::size_t>(up);
    std::vector<float> taps(2 * static_cast<std::size_t>(centre) + 1);
    if (GeneralFIRDesign(taps.data(), 2 * centre + 1, WIN_BLACKMAN, 0,
                         kCutoff / 2 / static_cast<float>(longer), static_cast<float>(centre)) == 0)
        throw std::bad_alloc();
    taps.resize((taps.size() + phases - 2) / phases * phases);
    for (float& tap : taps)
        tap *= static_cast<float>(up);
    return taps;
}

FIRMRState* make_fir(rsmpl_stream_info& info)
{
    const int longer = std::max(info.up, info.down);
    const int delay = (kReach * longer + info.down - 1) / info.down;
    const std::vector<float> taps = design(delay * info.down, info.up, longer);
    FIRMRState* fir = nullptr;
    if (FIRMRInitAlloc(&fir, taps.data(), taps.size(), static_cast<std::uint64_t>(info.up),
                       static_cast<std::uint64_t>(info.down)) == 0) {
        FIRMRFree(fir);
        throw std::bad_alloc();
    }
    info.engine = RSMPL_ENGINE_FIR;
    info.taps = 2 * delay * info.down + 1;
    info.flat = 0.87;
    info.edge = 0.902;
    info.ripple = 0.01;
    info.rejection = 71; // 71.56 of 335:297, the least that was found
    info.delay = delay;
    return fir;
}

} // namespace

rsmpl_stream_status Road::choose(int in_rate, int out_rate, rsmpl_engine engine)
{
    if (in_rate < 1 || out_rate < 1)
        return RSMPL_STREAM_BAD_RATES;
    const int divisor = std::gcd(in_rate, out_rate);
    info.in_rate = in_rate;
    info.out_rate = out_rate;
    info.up = out_rate / divisor;
    info.down = in_rate / divisor;
    if (std::max(info.up, info.down) > RSMPL_STREAM_MOST_RATIO)
        return RSMPL_STREAM_BAD_RATES;
    stage = engine == RSMPL_ENGINE_FIR ? nullptr : find_stage(info.up, info.down);
    if (in_rate == out_rate)
        describe_copy(info);
    else if (stage != nullptr)
        describe_stage(*stage, info);
    else if (engine == RSMPL_ENGINE_IIR)
        return RSMPL_STREAM_BAD_RATES;
    else
        fir.reset(make_fir(info));
    return RSMPL_STREAM_OK;
}

Filter::Filter(const Road& road)
    : stage_(road.stage), down_(static_cast<std::size_t>(road.info.down))
{
    if (road.fir) {
        fir_ = *road.fir;
        line_.resize(fir_.length);
        fir_.delay = line_.data();
    }
    reset();
}

void Filter::reset()
{
    if (stage_ != nullptr)
        stage_->init(context_);
    std::fill(line_.begin(), line_.end(), 0.0F);
    fir_.index = 0;
}

void Filter::run(const float* in, float* out, std::size_t groups)
{
    if (stage_ != nullptr)
        stage_->run(in, out, context_, static_cast<int>(groups * down_));
    else if (!line_.empty())
        FIRMRFiltering(&fir_, in, out, groups);
    else
        std::copy_n(in, groups, out);
}

} // namespace rsmpl_streams
