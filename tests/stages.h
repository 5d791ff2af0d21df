// The ten stages for tests to walk, and an independent model of what they compute.
#ifndef RSMPL_TESTS_STAGES_H
#define RSMPL_TESTS_STAGES_H

#include "iir/Resample_IIRFilterDesign.h"

#include <algorithm>
#include <random>
#include <string>
#include <vector>

struct Stage {
    const char* name;
    float* (*init)(float* ctx);
    void (*run)(const float* in, float* out, float* ctx, int len);
    int insertion;      // L
    int kept;           // M
    const float* table; // as the library has it
    int design;         // index into kDesigns

    int outputs(int len) const { return len * insertion / kept; }
};

// Published designs: gain, then A, B, C of four sections.
constexpr float kDesigns[4][13] = {
    {0.0162536353F, 2.76478887F, 0.613161802F, 1.6773026F, 1.28175259F, 0.344965637F, 0.544606984F,
     0.496916443F, 0.138482273F, 0.0199244693F, 0.233318582F, 0.0350889564F, -0.143958345F},
    {0.00524580106F, 2.64367771F, 0.444006026F, 1.21793962F, 0.861321449F, 0.264215529F,
     -0.452014118F, 0.300504446F, 0.110772371F, -0.923235416F, 0.148770571F, 0.0285160542F,
     -1.04741025F},
    {0.00296916976F, 2.31360292F, 0.34878099F, 0.736623228F, 0.544581056F, 0.209803522F,
     -1.00222635F, 0.17427671F, 0.0887094736F, -1.35033464F, 0.0910006762F, 0.0228797197F,
     -1.43477893F},
    {0.00172231556F, 1.63779688F, 0.244769037F, -0.08348272F, 0.236133575F, 0.147256494F,
     -1.50528741F, 0.0653232336F, 0.0622310042F, -1.69567609F, 0.0394040346F, 0.0160131454F,
     -1.73873293F},
};

// Decimators, then interpolators, each in the order of the ratio codes 0 to 4.
constexpr Stage kStages[] = {
    {"2:3", InitDownsample2_3, Downsample2_3, 2, 3, s_FiltCoeffs_3_2, 1},
    {"1:2", InitDownsample1_2, Downsample1_2, 1, 2, s_FiltCoeffs_2_1, 0},
    {"1:3", InitDownsample1_3, Downsample1_3, 1, 3, s_FiltCoeffs_3_1, 1},
    {"1:4", InitDownsample1_4, Downsample1_4, 1, 4, s_FiltCoeffs_4_1, 2},
    {"1:6", InitDownsample1_6, Downsample1_6, 1, 6, s_FiltCoeffs_6_1, 3},
    {"3:2", InitUpsample3_2, Upsample3_2, 3, 2, s_FiltCoeffs_3_2, 1},
    {"2:1", InitUpsample2_1, Upsample2_1, 2, 1, s_FiltCoeffs_2_1, 0},
    {"3:1", InitUpsample3_1, Upsample3_1, 3, 1, s_FiltCoeffs_3_1, 1},
    {"4:1", InitUpsample4_1, Upsample4_1, 4, 1, s_FiltCoeffs_4_1, 2},
    {"6:1", InitUpsample6_1, Upsample6_1, 6, 1, s_FiltCoeffs_6_1, 3},
};

// A second-order section in transposed direct form II: other states than the library's.
class Biquad
{
public:
    Biquad(double a, double b, double c) : a1_(a - c), a2_(b - 1), b1_(c) {}

    double step(double x)
    {
        const double y = x + s1_;
        s1_ = b1_ * x + a1_ * y + s2_;
        s2_ = x + a2_ * y;
        return y;
    }

private:
    double a1_, a2_, b1_, s1_ = 0, s2_ = 0;
};

// What a stage makes of a whole stream, in double precision throughout.
inline std::vector<double> model_of(const Stage& stage, const std::vector<float>& in)
{
    const float* design = kDesigns[stage.design];
    std::vector<Biquad> cascade;
    for (int k = 1; k < 13; k += 3)
        cascade.emplace_back(design[k], design[k + 1], design[k + 2]);
    const int steps = static_cast<int>(in.size()) * stage.insertion;
    std::vector<double> out;
    for (int t = 0; t < steps; ++t) {
        double w = t % stage.insertion == 0 ? in[static_cast<std::size_t>(t / stage.insertion)] : 0;
        for (Biquad& section : cascade)
            w = section.step(w);
        if (t % stage.kept == 0)
            out.push_back(static_cast<float>(stage.insertion) * design[0] * w);
    }
    out.resize(static_cast<std::size_t>(stage.outputs(static_cast<int>(in.size()))));
    return out;
}

inline std::vector<float> noise(int len, unsigned seed = 1)
{
    std::mt19937 generator(seed);
    std::uniform_real_distribution<float> sample(-8000, 8000);
    std::vector<float> values(static_cast<std::size_t>(len));
    std::generate(values.begin(), values.end(), [&] { return sample(generator); });
    return values;
}

// A block between guard values, which show what a call writes around it.
class Guarded
{
public:
    static constexpr float kMark = 54321;

    explicit Guarded(int len) : all_(static_cast<std::size_t>(len) + 2 * kGuards, kMark) {}

    float* data() { return all_.data() + kGuards; }
    std::vector<float> block() const { return {all_.begin() + kGuards, all_.end() - kGuards}; }

    bool guards_intact() const
    {
        const auto marked = [](float value) { return value == kMark; };
        return std::all_of(all_.begin(), all_.begin() + kGuards, marked) &&
               std::all_of(all_.end() - kGuards, all_.end(), marked);
    }

private:
    static constexpr int kGuards = 16;
    std::vector<float> all_;
};

#endif
