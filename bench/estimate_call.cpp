// One call of the 1:3 stage, for ./bench/estimate to follow; with an argument, step by step.
#include "iir/Resample_IIRFilterDesign.h"
#include "kernels/Resample_Kernels_internal.h"

int main(int argc, char** /*argv*/)
{
    static float in[960], out[320];
    float ctx[9];
    for (int i = 0; i < 960; ++i)
        in[i] = static_cast<float>(i * 7919 % 1000);
    rsmpl::force_level(0, argc > 1);
    Downsample1_3(in, out, InitDownsample1_3(ctx), 960);
    return 0;
}
