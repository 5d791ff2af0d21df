// A stream opened with any arguments and fed in any pieces, formats and orders, against the bare
// stage, or one channel that is filtered at once.
#include "fuzz/input.h"
#include "stream/rsmpl_stream.h"

#include <numeric>

namespace
{

using std::size_t;

struct Case {
    int channels, in_rate, out_rate, engine;
    unsigned flags;
    size_t L = 1, M = 1;
    const Stage* stage = nullptr; // that serves it
    size_t lead = 0;              // outputs that it leaves out

    size_t delivered(size_t n) const { return n / M * L - std::min(n / M * L, lead); }
    size_t sum(size_t n) const { return (n * L + M - 1) / M; }
};

// Of a stage, of a FIR filter short or long, or refused.
Case any_case(Input& input)
{
    const int most[] = {6, 12, 60, 1024}, limits[] = {0, 1, 64, 65};
    const int kind = input.once_in(8) ? 3 : input.between(0, 2), odd = input.once_in(6) ? 1 : 0;
    const int unit = input.once_in(9) ? input.any<int>() % 2000000 : input.between(1, 900);
    const auto part = [&, low = odd * kind == 3 ? 1020 : 1] {
        return input.between(low, std::max(low + 5, most[kind]));
    };
    const int in = unit * part(), out = unit * part(),
              many = kind == 0 && input.once_in(9) ? 64 : 3;
    return {odd == 1 ? limits[input.between(0, 3)] : input.between(1, many), in,
            input.once_in(9) ? in : out, input.between(0, 1 + odd) * (2 - odd),
            input.any<unsigned>() % (2U << odd)};
}

// What opening it results in; sets what it has to be like.
rsmpl_stream_status status_of(Case& c)
{
    if (c.channels < 1 || c.channels > 64 || c.engine > 2 || c.flags > 1)
        return RSMPL_STREAM_BAD_ARGUMENT;
    if (c.in_rate < 1 || c.out_rate < 1)
        return RSMPL_STREAM_BAD_RATES;
    const int divisor = std::gcd(c.in_rate, c.out_rate);
    const int L = c.out_rate / divisor, M = c.in_rate / divisor;
    c.L = static_cast<size_t>(L), c.M = static_cast<size_t>(M);
    for (const Stage& stage : kStages)
        if (stage.insertion == L && stage.kept == M && c.engine != RSMPL_ENGINE_FIR)
            c.stage = &stage;
    const bool none = c.engine == RSMPL_ENGINE_IIR && c.stage == nullptr && L != M;
    return none || std::max(L, M) > 1024 ? RSMPL_STREAM_BAD_RATES : RSMPL_STREAM_OK;
}

rsmpl_stream* opened(Case c, int channels, unsigned flags)
{
    auto* stream = reinterpret_cast<rsmpl_stream*>(&c);
    const auto engine = static_cast<rsmpl_engine>(c.engine);
    const auto status = rsmpl_stream_open(&stream, channels, c.in_rate, c.out_rate, engine, flags);
    check(status == status_of(c) && (stream != nullptr) == (status == RSMPL_STREAM_OK));
    check(std::strlen(rsmpl_stream_message(status)) > 7);
    return stream;
}

// So many outputs of one channel, silence coming after the input.
Floats filtered_at_once(const Case& c, Floats in, size_t outputs)
{
    in.resize((outputs + c.L - 1) / c.L * c.M);
    Floats out(c.L == c.M ? in : Floats(in.size() / c.M * c.L)), ctx(9);
    const float* const row = in.data();
    float* const to = out.data();
    if (c.stage != nullptr) {
        c.stage->run(row, to, ctx.data(), static_cast<int>(in.size()));
    } else if (c.L != c.M) {
        rsmpl_stream* const stream = opened(c, 1, 0);
        check(rsmpl_stream_run_rows(stream, &row, in.size(), &to) == out.size());
        rsmpl_stream_close(stream);
    }
    return out;
}

// Frames between guards, interleaved or in rows; null where there are none, and for silence.
template <typename Sample>
struct Block {
    static constexpr Sample kMark = static_cast<Sample>(-12345);
    static constexpr size_t kGuards = 16;

    Block(size_t channels, size_t length, bool in_rows, bool silent = false)
        : frames(length), across(in_rows ? frames + kGuards : 1), along(in_rows ? 1 : channels),
          all(kGuards + channels * (frames + kGuards), kMark), rows(channels)
    {
        for (size_t c = 0; c < channels && frames > 0 && !silent; ++c)
            rows[c] = &at(c, 0);
        table = rows[0] == nullptr ? nullptr : rows.data();
    }
    Sample& at(size_t c, size_t i) { return all[kGuards + c * across + i * along]; }

    size_t frames, across, along;
    std::vector<Sample> all;
    std::vector<Sample*> rows;
    Sample** table;
};

// Runs, or finishes when there is no input.
size_t call(rsmpl_stream* s, bool planar, const Block<float>* in, const Block<float>& out)
{
    if (in == nullptr)
        return planar ? rsmpl_stream_finish_rows(s, out.table)
                      : rsmpl_stream_finish_float(s, out.rows[0]);
    return planar ? rsmpl_stream_run_rows(s, in->table, in->frames, out.table)
                  : rsmpl_stream_run_float(s, in->rows[0], in->frames, out.rows[0]);
}

size_t call(rsmpl_stream* s, bool /*planar*/, const Block<short>* in, const Block<short>& out)
{
    return in == nullptr ? rsmpl_stream_finish_short(s, out.rows[0])
                         : rsmpl_stream_run_short(s, in->rows[0], in->frames, out.rows[0]);
}

// A stream, and what has gone in and come out since it was as just opened, channel by channel.
struct Session {
    const Case& c;
    rsmpl_stream* stream;
    std::vector<Floats> in = std::vector<Floats>(static_cast<size_t>(c.channels)), out = in;
    std::vector<bool> narrow = {}; // the outputs that came in 16 bits
    double loudest = 0;

    // Takes so many frames, or finishes when these are fewer than none.  A stage gets no more than
    // its memory can hold.
    template <typename Sample>
    void step(Input& input, bool planar, int frames)
    {
        const bool last = frames < 0, silent = input.once_in(9), narrow_in = sizeof(Sample) == 2;
        const float most = narrow_in ? 32767 : 1e30F, volume = input.once_in(3) ? 4 : 1;
        const size_t before = in[0].size(), length = last ? 0 : static_cast<size_t>(frames);
        Block<Sample> from(in.size(), length, planar, silent);
        const Floats samples = input.samples(in.size() * length);
        for (size_t k = 0; k < in.size() * length; ++k) {
            const float x = silent ? 0 : volume * samples[k];
            const bool fits = std::fabs(x) <= most || (c.stage == nullptr && !narrow_in);
            Sample& sample = from.at(k / length, k % length);
            sample = static_cast<Sample>(fits ? x : -most);
            in[k / length].push_back(sample);
            loudest = std::max<double>(loudest, std::fabs(sample));
        }
        const size_t after = last ? c.sum(before) : c.delivered(before + length);
        const size_t count = after - c.delivered(before);
        Block<Sample> to(in.size(), count, planar);
        check((last ? rsmpl_stream_tail(stream) : rsmpl_stream_outputs(stream, length)) == count);
        check(call(stream, planar, last ? nullptr : &from, to) == count);
        for (size_t k = 0; k < in.size() * count; ++k)
            out[k / count].push_back(std::exchange(to.at(k / count, k % count), to.kMark));
        narrow.resize(out[0].size(), narrow_in);
        check(to.all == std::vector<Sample>(to.all.size(), to.kMark));
    }

    void step(Input& input, int frames)
    {
        const int kind = input.between(0, 2);
        kind == 0 ? step<short>(input, false, frames) : step<float>(input, kind == 1, frames);
    }

    // Returns how many of the outputs were clipped.
    std::uint64_t compare() const
    {
        std::uint64_t clipped = 0;
        const double chance = c.stage == nullptr ? 0 : 1e-6 * loudest;
        for (size_t k = 0; k < in.size(); ++k) {
            const Floats all = filtered_at_once(c, in[k], c.lead + c.sum(in[k].size()));
            for (size_t i = 0; i < out[k].size(); ++i) {
                const float a = all[c.lead + i], b = out[k][i];
                const float limited = narrow[i] ? std::clamp(a, -32768.0F, 32767.0F) : a;
                const double error = std::fabs(double{limited} - double{b});
                clipped += narrow[i] && std::max(a - 32767.5, -32768.5 - a) >= 0;
                check(same(a, b) || error <= chance + (narrow[i] ? 0.5000001 : 0) ||
                      (narrow[i] && std::isnan(a)));
            }
        }
        return clipped;
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size)
{
    Input input(data, size);
    Case c = any_case(input);
    rsmpl_stream* const stream = opened(c, c.channels, c.flags);
    check(rsmpl_stream_open(nullptr, 1, 1, 1, RSMPL_ENGINE_AUTO, 0) == RSMPL_STREAM_BAD_ARGUMENT);
    if (status_of(c) != RSMPL_STREAM_OK)
        return 0;
    c.lead = c.flags == 0 ? 0 : static_cast<size_t>(std::lround(rsmpl_stream_delay(stream)));
    const size_t cost = c.stage == nullptr ? 100 * std::max(c.L, c.M) / c.M : 30;
    auto left = static_cast<int>(400000 / cost) / c.channels + 2;
    std::uint64_t clipped = 0;
    for (int parts = input.between(1, 3); parts > 0; --parts) {
        Session session = {c, stream};
        const bool small = input.once_in(6), ends = !input.once_in(4);
        for (int calls = input.between(0, small ? 200 : 9); calls > 0; --calls) {
            const int frames = input.between(0, small || input.once_in(3) ? 20 : 5000);
            session.step(input, std::min(frames, left));
            left -= std::min(frames, left);
        }
        if (ends)
            session.step(input, -1);
        clipped += session.compare();
        check(c.stage != nullptr || clipped == rsmpl_stream_clipped(stream));
        if (!ends)
            rsmpl_stream_reset(stream), clipped = 0;
    }
    rsmpl_stream_close(stream);
    return 0;
}
