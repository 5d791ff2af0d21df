// The speed table: this library beside the resamplers that one would install, each at its default
// and at the quality of this library.
#include "bench/bench.h"
#include "bench/peers/peers.h"
#include "kernels/Resample_Kernels_internal.h"

#include <cstdio>

namespace
{

using peers::Rates;
using peers::Setting;

struct System {
    const char* name;
    peers::Settings* settings;
};

// This library first.
const System kSystems[] = {
    {"rsmpl", peers::rsmpl_settings},       {"swresample", peers::swresample_settings},
    {"soxr", peers::soxr_settings},         {"speexdsp", peers::speexdsp_settings},
    {"zita", peers::zita_settings},         {"libsamplerate", peers::samplerate_settings},
    {"liquid-dsp", peers::liquid_settings},
};
constexpr Rates kJobs[] = {
    {48000, 16000}, {16000, 48000}, {32000, 48000}, {48000, 32000}, {48000, 8000},
};

constexpr std::size_t kBlocks = 50; // of a run: one second at 48 kHz

std::vector<short> steady_noise()
{
    return noise<short>(kBlocks * kBlock);
}

// A loud block, then silence, in which the memory of a recursive filter fades.
std::vector<short> burst()
{
    std::vector<short> signal = noise<short>(kBlock);
    signal.resize(kBlocks * kBlock);
    return signal;
}

std::string job_name(Rates rates)
{
    return std::to_string(rates.in / 1000) + " to " + std::to_string(rates.out / 1000) + " kHz";
}

struct Row {
    Setting setting;
    std::string noise_run;
    std::string burst_run;
    double ns = 0; // per input sample
    double silent_ns = 0;
    peers::Quality quality = {};
    bool equal = false; // to this library in quality, with a little tolerance
};

// Not measured yet.
std::vector<Row> rows_of(Rates rates)
{
    std::vector<Row> rows;
    for (const System& system : kSystems) {
        if (system.settings == nullptr)
            continue;
        for (Setting& setting : system.settings(rates)) {
            setting.name = std::string(system.name) + " " + setting.name;
            const std::string run = job_name(rates) + ", " + setting.name;
            rows.push_back({setting, run, run + ", silence"});
        }
    }
    return rows;
}

void register_run(const std::string& name, const Setting& setting, const std::vector<short>& in)
{
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
        rsmpl::force_level(rsmpl::available_levels() - 1);
        const peers::Stream stream = setting.open();
        std::vector<short> out(peers::kRoom);
        for (auto _ : state) {
            for (std::size_t i = 0; i < in.size(); i += peers::kInputs)
                stream(in.data() + i, out.data());
            benchmark::ClobberMemory();
        }
    });
}

void print_row(const Row& row, double our_ns)
{
    std::printf("%c %-50s%7.2f %6.2f ", row.equal ? '=' : ' ', row.setting.name.c_str(), row.ns,
                row.ns / our_ns);
    if (std::isnan(row.silent_ns))
        std::printf("%7s", "");
    else
        std::printf("%7.2f", row.silent_ns);
    const peers::Quality& q = row.quality;
    std::printf(" %5.2f %5.3f %5.1f %6.2f\n", q.ripple, q.edge, q.rejection, q.delay);
}

std::vector<Row> measured_rows(Rates rates, const Minima& minima)
{
    std::vector<Row> rows;
    for (Row& row : rows_of(rates)) {
        row.ns = minima.ns(row.noise_run) / (kBlocks * kBlock);
        row.silent_ns = minima.ns(row.burst_run) / (kBlocks * kBlock);
        if (std::isnan(row.ns))
            continue; // left out by a filter on the command line
        const peers::Quality q = row.quality = peers::measure(rates, row.setting);
        row.equal = q.ripple <= 0.7 && q.edge >= 0.87 && q.rejection >= 57;
        rows.push_back(row);
    }
    return rows;
}

void print_job(Rates rates, std::vector<Row> rows)
{
    const Row ours = rows.front();
    std::sort(rows.begin(), rows.end(), [](const Row& a, const Row& b) { return a.ns < b.ns; });
    std::printf("\n  %-50s     ns  ratio silence    dB  edge   rej     ms\n",
                job_name(rates).c_str());
    for (const Row& row : rows)
        print_row(row, ours.ns);
    const auto fastest = std::find_if(rows.begin(), rows.end(), [&](const Row& row) {
        return row.equal && row.noise_run != ours.noise_run;
    });
    if (fastest != rows.end())
        std::printf("  fastest equal: %s, rsmpl is %.2f times as fast\n",
                    fastest->setting.name.c_str(), fastest->ns / ours.ns);
}

} // namespace

void register_peers()
{
    for (const Rates rates : kJobs)
        for (const Row& row : rows_of(rates)) {
            register_run(row.noise_run, row.setting, steady_noise());
            if (row.setting.recursive)
                register_run(row.burst_run, row.setting, burst());
        }
}

void print_peers(const Minima& minima)
{
    rsmpl::force_level(rsmpl::available_levels() - 1);
    std::printf("\nresamplers, mono int16 to int16 in blocks of %d, at the strongest level\n"
                "  ns     per input sample; ratio to rsmpl; silence: the same, after a loud block\n"
                "  dB     ripple up to 0.87 of the lower Nyquist frequency or to the edge\n"
                "  edge   -1 dB, as a part of the lower Nyquist frequency\n"
                "  rej    dB down to the strongest alias or image\n"
                "  ms     from a sample's arrival to its delivery, at 200 Hz\n"
                "  =      equal quality: ripple of at most 0.7 dB, edge from 0.87 on, 57 dB down\n",
                kBlock);
    for (const System& system : kSystems)
        if (system.settings == nullptr)
            std::printf("  missing: %s, not found when this was configured\n", system.name);
    for (const Rates rates : kJobs)
        if (!std::isnan(minima.ns(rows_of(rates).front().noise_run)))
            print_job(rates, measured_rows(rates, minima));
}
