// The speed table: this library beside the resamplers that one would install, each at its default
// and at the quality of this library.
#include "bench/bench.h"
#include "bench/peers/peers.h"
#include "kernels/Resample_Kernels_internal.h"

#include <cstdio>
#include <map>

namespace
{

using peers::Rates;
using peers::Setting;

constexpr Rates kJobs[] = {
    {48000, 16000},        {16000, 48000},      {32000, 48000},
    {48000, 32000},        {48000, 8000},       {44100, 16000, 441},
    {44100, 16000, 44100}, {44100, 48000, 441}, {44100, 48000, 44100},
};

// Of a run, about one second at 48 kHz.
std::size_t inputs_of_run(Rates rates)
{
    return 48000 / rates.inputs * rates.inputs;
}

// A loud block, then silence, in which the memory of a recursive filter fades.
std::vector<short> burst(Rates rates)
{
    std::vector<short> signal = noise<short>(rates.inputs);
    signal.resize(inputs_of_run(rates));
    return signal;
}

std::string kilohertz(int rate)
{
    const std::string tenths = rate % 1000 == 0 ? "" : "." + std::to_string(rate % 1000 / 100);
    return std::to_string(rate / 1000) + tenths;
}

std::string job_name(Rates rates)
{
    return kilohertz(rates.in) + " to " + kilohertz(rates.out) + " kHz, calls of " +
           std::to_string(rates.inputs);
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

// With a stage, or with the filter of streams.
bool is_equal(const peers::Quality& q, Rates rates)
{
    if (std::max(rates.up(), rates.down()) <= 6)
        return q.ripple <= 0.7 && q.edge >= 0.87 && q.rejection >= 57;
    return q.ripple <= 0.02 && q.edge >= 0.897 && q.rejection_of_all >= 73;
}

// Measured once, but for the delay: the length of calls changes nothing else.
peers::Quality quality(Rates rates, const Setting& setting)
{
    static std::map<std::string, peers::Quality> known;
    const std::string key = setting.name + kilohertz(rates.in) + kilohertz(rates.out);
    const auto found = known.find(key);
    if (found == known.end())
        return known[key] = peers::measure(rates, setting);
    found->second.delay = peers::delay(rates, setting);
    return found->second;
}

// Not measured yet.
std::vector<Row> rows_of(Rates rates)
{
    std::vector<Row> rows;
    for (const Setting& setting : peers::all_settings(rates)) {
        const std::string run = job_name(rates) + ", " + setting.name;
        rows.push_back({setting, run, run + ", silence"});
    }
    return rows;
}

void register_run(const std::string& name, const Setting& setting, Rates rates,
                  const std::vector<short>& in)
{
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
        rsmpl::force_level(rsmpl::available_levels() - 1);
        const peers::Stream stream = setting.open();
        std::vector<short> out(peers::kRoom);
        for (auto _ : state) {
            for (std::size_t i = 0; i < in.size(); i += rates.inputs)
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
    std::printf(" %5.2f %5.3f %5.1f %5.1f %6.2f\n", q.ripple, q.edge, q.rejection,
                q.rejection_of_all, q.delay);
}

std::vector<Row> measured_rows(Rates rates, const Minima& minima)
{
    std::vector<Row> rows;
    const auto inputs = static_cast<double>(inputs_of_run(rates));
    for (Row& row : rows_of(rates)) {
        row.ns = minima.ns(row.noise_run) / inputs;
        row.silent_ns = minima.ns(row.burst_run) / inputs;
        if (std::isnan(row.ns))
            continue; // left out by a filter on the command line
        row.quality = quality(rates, row.setting);
        row.equal = is_equal(row.quality, rates);
        rows.push_back(row);
    }
    return rows;
}

void print_job(Rates rates, std::vector<Row> rows)
{
    const Row ours = rows.front();
    std::sort(rows.begin(), rows.end(), [](const Row& a, const Row& b) { return a.ns < b.ns; });
    std::printf("\n  %-50s     ns  ratio silence    dB  edge   rej   all     ms\n",
                job_name(rates).c_str());
    for (const Row& row : rows)
        print_row(row, ours.ns);
    const auto fastest = std::find_if(rows.begin(), rows.end(), [&](const Row& row) {
        return row.equal && row.setting.name.rfind("rsmpl", 0) != 0;
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
            register_run(row.noise_run, row.setting, rates, noise<short>(inputs_of_run(rates)));
            if (row.setting.recursive)
                register_run(row.burst_run, row.setting, rates, burst(rates));
        }
}

void print_peers(const Minima& minima)
{
    rsmpl::force_level(rsmpl::available_levels() - 1);
    std::printf(
        "\nresamplers, mono int16 to int16, at the strongest level\n"
        "  ns     per input sample; ratio to rsmpl; silence: the same, after a loud block\n"
        "  dB     ripple up to 0.87 of the lower Nyquist frequency or to the edge\n"
        "  edge   -1 dB, as a part of the lower Nyquist frequency\n"
        "  rej    dB down to the strongest alias, or image of a tone up to 0.87\n"
        "  all    dB down to the strongest alias, or image of any tone\n"
        "  ms     from a sample's arrival to its delivery, at 200 Hz\n"
        "  =      equal quality: ripple of at most 0.7 dB, edge from 0.87 on, 57 dB down; from\n"
        "         44.1 kHz at most 0.02 dB, edge from 0.897 on, all 73 dB down\n");
    for (const peers::System& system : peers::kSystems)
        if (system.settings == nullptr)
            std::printf("  missing: %s, not found when this was configured\n", system.name);
    for (const Rates rates : kJobs)
        if (!std::isnan(minima.ns(rows_of(rates).front().noise_run)))
            print_job(rates, measured_rows(rates, minima));
}
