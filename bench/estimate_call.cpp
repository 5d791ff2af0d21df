// One call for ./bench/estimate to follow: of the stage "L:M", step by step if there is a second
// argument, or of an engine of FIR filters.  Prints how many filter steps or taps it takes.
#include "fir/Resample_FIRFiltering.h"
#include "iir/Resample_IIRFilterDesign.h"
#include "kernels/Resample_Kernels_internal.h"

#include <cstdio>
#include <cstring>
#include <numeric>

namespace
{

constexpr int kSteps = 960, kTaps = 64;

float in[kSteps], out[kSteps], taps[kTaps];

struct Stage {
    const char* name;
    float* (*init)(float*);
    void (*run)(const float*, float*, float*, int);
    int insertion;
};

constexpr Stage kStages[] = {
    {"1:2", InitDownsample1_2, Downsample1_2, 1}, {"2:3", InitDownsample2_3, Downsample2_3, 2},
    {"1:3", InitDownsample1_3, Downsample1_3, 1}, {"1:4", InitDownsample1_4, Downsample1_4, 1},
    {"1:6", InitDownsample1_6, Downsample1_6, 1}, {"2:1", InitUpsample2_1, Upsample2_1, 2},
    {"3:2", InitUpsample3_2, Upsample3_2, 3},     {"3:1", InitUpsample3_1, Upsample3_1, 3},
    {"4:1", InitUpsample4_1, Upsample4_1, 4},     {"6:1", InitUpsample6_1, Upsample6_1, 6},
};

volatile bool done;

// What is followed; it must end here, not in what it calls.
template <typename Call>
[[gnu::noinline]] void followed(const Call& call)
{
    call();
    done = true;
}

int run(const Stage& stage)
{
    float ctx[9];
    stage.init(ctx);
    followed([&] { stage.run(in, out, ctx, kSteps / stage.insertion); });
    return kSteps;
}

int run_fir()
{
    FIRState* state;
    if (FIRInitAlloc(&state, taps, kTaps, nullptr) == 1)
        followed([&] { FIRFiltering(state, in, out, kSteps); });
    FIRFree(state);
    return kSteps * kTaps;
}

int run_fir_1_3()
{
    FIRMRState* state;
    if (FIRMRInitAlloc(&state, taps, kTaps, 1, 3) == 1)
        followed([&] { FIRMRFiltering(state, in, out, kSteps / 3); });
    FIRMRFree(state);
    return kSteps / 3 * kTaps;
}

} // namespace

int main(int argc, char** argv)
{
    std::iota(in, in + kSteps, -200.0F);
    std::iota(taps, taps + kTaps, 1.0F);
    const char* const name = argc > 1 ? argv[1] : "";
    rsmpl::force_level(0, argc > 2);
    int work = 0;
    if (std::strcmp(name, "FIR") == 0)
        work = run_fir();
    if (std::strcmp(name, "FIR-1:3") == 0)
        work = run_fir_1_3();
    for (const Stage& stage : kStages)
        if (std::strcmp(name, stage.name) == 0)
            work = run(stage);
    std::printf("%d\n", work);
    return work == 0 ? 1 : 0;
}
