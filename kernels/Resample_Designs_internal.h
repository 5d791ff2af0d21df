/* Resample_Designs_internal.h - the filters of the ten stages. */
#ifndef RSMPL_RESAMPLE_DESIGNS_INTERNAL_H
#define RSMPL_RESAMPLE_DESIGNS_INTERNAL_H

#include <cstddef>

namespace rsmpl
{

inline constexpr int kSections = 4;

// The gain, then (A, B, C) of each section.
inline constexpr int kTableSize = 1 + 3 * kSections;
using CoefficientTable = float[kTableSize];

// Elliptic lowpass designs, 0.5 dB and 60 dB, edge at 0.875 of the Nyquist frequency that is
// 1/2, 1/3, 1/4 and 1/6 of the filter's own.
inline constexpr CoefficientTable kDesign2 = {
    0.0162536353F,                               //
    2.76478887F,   0.613161802F,  1.6773026F,    //
    1.28175259F,   0.344965637F,  0.544606984F,  //
    0.496916443F,  0.138482273F,  0.0199244693F, //
    0.233318582F,  0.0350889564F, -0.143958345F,
};
inline constexpr CoefficientTable kDesign3 = {
    0.00524580106F,                               //
    2.64367771F,    0.444006026F,  1.21793962F,   //
    0.861321449F,   0.264215529F,  -0.452014118F, //
    0.300504446F,   0.110772371F,  -0.923235416F, //
    0.148770571F,   0.0285160542F, -1.04741025F,
};
inline constexpr CoefficientTable kDesign4 = {
    0.00296916976F,                              //
    2.31360292F,    0.34878099F,   0.736623228F, //
    0.544581056F,   0.209803522F,  -1.00222635F, //
    0.17427671F,    0.0887094736F, -1.35033464F, //
    0.0910006762F,  0.0228797197F, -1.43477893F,
};
inline constexpr CoefficientTable kDesign6 = {
    0.00172231556F,                              //
    1.63779688F,    0.244769037F,  -0.08348272F, //
    0.236133575F,   0.147256494F,  -1.50528741F, //
    0.0653232336F,  0.0622310042F, -1.69567609F, //
    0.0394040346F,  0.0160131454F, -1.73873293F,
};

// That of the stage which inserts zeros up to L times the rate and keeps every M-th step.
template <std::size_t L, std::size_t M>
[[gnu::always_inline]] constexpr const CoefficientTable& design()
{
    constexpr std::size_t kRatio = L > M ? L : M;
    if constexpr (kRatio == 2)
        return kDesign2;
    else if constexpr (kRatio == 3)
        return kDesign3;
    else if constexpr (kRatio == 4)
        return kDesign4;
    else {
        static_assert(kRatio == 6);
        return kDesign6;
    }
}

} // namespace rsmpl

#endif
