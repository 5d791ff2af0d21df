// What the parts of the benchmark share: each registers its runs for a level and prints them
// from the minima.
#ifndef RSMPL_BENCH_BENCH_H
#define RSMPL_BENCH_BENCH_H

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cmath>
#include <map>
#include <random>
#include <string>
#include <vector>

constexpr int kBlock = 960;

// Keeps the fastest repetition of each benchmark.
class Minima : public benchmark::ConsoleReporter
{
public:
    bool ReportContext(const Context&) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration)
                continue;
            const double ns = run.GetAdjustedCPUTime();
            const auto found = ns_.emplace(run.run_name.function_name, ns).first;
            found->second = std::min(found->second, ns);
        }
    }

    // NaN for what a filter on the command line left out.
    double ns(const std::string& name) const
    {
        const auto found = ns_.find(name);
        return found != ns_.end() ? found->second : std::nan("");
    }

private:
    std::map<std::string, double> ns_;
};

inline std::string label(const std::string& what, int level)
{
    return what + ", level " + std::to_string(level);
}

template <typename T>
std::vector<T> noise(std::size_t count)
{
    std::mt19937 generator(1);
    std::uniform_int_distribution<int> sample(-8000, 8000);
    std::vector<T> values(count);
    std::generate(values.begin(), values.end(), [&] { return static_cast<T>(sample(generator)); });
    return values;
}

// The ten stages and resample_process.
void register_stages(int level);
void print_stages(const Minima& minima, int level);

// Sample formats, FIR engines, the general resampler, filter design, the Fourier transform, and
// the opening of a handle.
void register_blocks(int level);
void print_blocks(const Minima& minima, int level);

// Streams, beside the stages that they use.
void register_streams(int level);
void print_streams(const Minima& minima, int level);

// Whole conversions beside other resamplers, at the strongest level.
void register_peers();
void print_peers(const Minima& minima);

#endif
