/* Resample_Designs_internal.h - the ten stages, and their filters. */
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

// Decimators, then interpolators, each in the order of their ratio codes.
enum StageIndex : std::size_t {
    kDownsample2_3,
    kDownsample1_2,
    kDownsample1_3,
    kDownsample1_4,
    kDownsample1_6,
    kUpsample3_2,
    kUpsample2_1,
    kUpsample3_1,
    kUpsample4_1,
    kUpsample6_1,
    kStageCount
};

struct StageDesign {
    int insertion; // L: zeros are inserted up to that many times the rate
    int kept;      // M: every M-th step is kept
    const CoefficientTable& coefficients;
};

// The one place that says what a stage is.
inline constexpr StageDesign kStages[kStageCount] = {
    {2, 3, kDesign3}, {1, 2, kDesign2}, {1, 3, kDesign3}, {1, 4, kDesign4}, {1, 6, kDesign6},
    {3, 2, kDesign3}, {2, 1, kDesign2}, {3, 1, kDesign3}, {4, 1, kDesign4}, {6, 1, kDesign6},
};

} // namespace rsmpl

#endif
