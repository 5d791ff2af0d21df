// All tables of one level in one: what is to be said when a level or a family is added.
#include "kernels/Resample_Kernels_internal.h"

#define RSMPL_QUOTE(text) #text
#define RSMPL_NAME(macro) RSMPL_QUOTE(macro)

namespace rsmpl::RSMPL_LEVEL
{

extern const IirKernels iir, iir_by_steps;
extern const FirKernels fir;
extern const ConvertKernels convert;
extern const FftKernels fft;

// With the stages' maps, and with their steps.
extern const Kernels kernels[2];
const Kernels kernels[2] = {
    {RSMPL_NAME(RSMPL_LEVEL), iir, fir, convert, fft},
    {RSMPL_NAME(RSMPL_LEVEL), iir_by_steps, fir, convert, fft},
};

} // namespace rsmpl::RSMPL_LEVEL
