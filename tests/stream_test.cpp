// What a stream makes of tones, against what it says of itself; where signals come out; the limits
// of 16 bits.
#include "stream/rsmpl_stream.h"
#include "tests/common.h"

#include <complex>
#include <gtest/gtest.h>
#include <numeric>
#include <tuple>

namespace
{

constexpr double kPi = 3.141592653589793;

template <typename Signal>
Floats sampled(int frames, Signal signal)
{
    Floats samples;
    for (int i = 0; i < frames; ++i)
        samples.push_back(static_cast<float>(signal(i)));
    return samples;
}

struct Conversion {
    int in, out;
    bool fir = false; // though there is a stage
};

constexpr Conversion kConversions[] = {
    {48000, 32000},       {32000, 16000},       {48000, 16000},  {32000, 8000},
    {48000, 8000},        {32000, 48000},       {16000, 32000},  {16000, 48000},
    {8000, 32000},        {8000, 48000},        {44100, 48000},  {48000, 44100},
    {44100, 16000},       {22050, 16000},       {11025, 48000},  {96000, 16000, true},
    {16000, 48000, true}, {44100, 22050, true}, {192000, 16000}, {8000, 44100},
    {32000, 44100},       {44100, 8000},        {48000, 11025},  {44100, 96000},
    {1024, 1023},         {297, 335},
};

// Of one channel.
struct Stream {
    explicit Stream(const Conversion& c, unsigned flags = 0)
    {
        const rsmpl_engine engine = c.fir ? RSMPL_ENGINE_FIR : RSMPL_ENGINE_AUTO;
        EXPECT_EQ(rsmpl_stream_open(&stream, 1, c.in, c.out, engine, flags), RSMPL_STREAM_OK);
        rsmpl_stream_describe(stream, &info);
        EXPECT_EQ(info.taps > 0, c.fir || std::max(info.up, info.down) > 6);
    }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;
    ~Stream() { rsmpl_stream_close(stream); }

    // All that comes of it.
    Floats convert(const Floats& in) const
    {
        Floats out(rsmpl_stream_outputs(stream, in.size()));
        rsmpl_stream_run_float(stream, in.data(), in.size(), out.data());
        const std::size_t done = out.size();
        out.resize(done + rsmpl_stream_tail(stream));
        rsmpl_stream_finish_float(stream, out.data() + done);
        return out;
    }
    int lower() const { return std::min(info.up, info.down); }

    rsmpl_stream* stream = nullptr;
    rsmpl_stream_info info = {};
};

// Amplitudes of the tone, and of the strongest of its images and aliases; of all where there are
// many.
struct Reply {
    std::complex<double> tone;
    double rest;
};

// To a tone of so many periods in `groups` groups, once it has settled.  All that becomes of it has
// periods that fit.
Reply reply(const Stream& s, int groups, int periods)
{
    const rsmpl_stream_info& info = s.info;
    const int settling = 1 + std::max(info.taps / (info.up * info.down), 1200 / s.lower());
    const int count = groups * info.up, from = settling * info.up;
    const Floats out = s.convert(sampled((settling + groups) * info.down, [&](int i) {
        return std::cos(2 * kPi * periods / groups / info.down * i);
    }));
    const auto amplitude = [&](int bin) {
        std::complex<double> sum = 0;
        for (int m = from; m < from + count; ++m)
            sum += std::polar<double>(out[static_cast<std::size_t>(m)], -2 * kPi * bin / count * m);
        return sum * 2.0 / static_cast<double>(count);
    };
    const double power = std::inner_product(out.begin() + from, out.end(), out.begin() + from, 0.0);
    Reply r = {amplitude(periods), 0};
    if (info.up > 6)
        r.rest = std::sqrt(std::max(2 * power / count - std::norm(r.tone), 0.0));
    for (int image = 1; image < info.up && info.up <= 6; ++image)
        r.rest = std::max(r.rest, std::abs(amplitude(periods + image * groups * info.down)));
    return r;
}

TEST(Stream, FiltersTonesAsItSays)
{
    const auto decibels = [](double ratio) { return 20 * std::log10(ratio); };
    for (const Conversion& c : kConversions) {
        SCOPED_TRACE(testing::Message() << c.in << " to " << c.out);
        const Stream s(c);
        const int groups = 300 / s.lower() / 2 * 2 + 3;
        const double nyquist = groups * s.lower() / 2.0; // the lower one, in periods
        const double unsure = s.info.taps > 0 ? 0.007 : 0.003;
        double highest = 0, lowest = 9, rest = 0;
        const int end = groups * s.info.down / 2, fine = 1 + static_cast<int>(nyquist) / 200;
        for (int k = 1; k < end; k += std::fabs(k / nyquist - 0.95) < 0.12 ? fine : 1 + k / 20) {
            const double at = k / nyquist;
            const auto [tone, others] =
                reply(s, groups, k % groups == 0 ? k + 1 : k); // no image of itself
            const double level = std::abs(tone), fall = decibels(highest / level);
            if (at <= s.info.flat)
                highest = std::max(highest, level), lowest = std::min(lowest, level);
            EXPECT_TRUE(fall < 1 ? at < s.info.edge + unsure : at > s.info.edge - unsure) << at;
            rest = std::max({rest, others, at > 1 ? level : 0});
        }
        const int tenth = static_cast<int>(nyquist / 10);
        const double turn = 2 * kPi * tenth / groups / s.info.up; // per output frame
        const std::complex<double> late =
            reply(s, groups, tenth).tone * std::polar(1.0, turn * rsmpl_stream_delay(s.stream));
        EXPECT_NEAR(std::arg(late) / turn, 0, 0.01);
        EXPECT_NEAR(decibels(highest), 0, 0.01);
        EXPECT_NEAR(decibels(highest / lowest), s.info.ripple, 0.01);
        EXPECT_GE(decibels(highest / rest), s.info.rejection - 0.05);
        EXPECT_LE(decibels(highest / rest), s.info.rejection + 12);
    }
}

// A tone that rises to a fifth of the lower Nyquist frequency, and impulses.
TEST(Stream, PutsThingsInPlaceWhenAligned)
{
    for (const Conversion& c : kConversions) {
        SCOPED_TRACE(testing::Message() << c.in << " to " << c.out);
        const Stream s(c, RSMPL_STREAM_ALIGNED);
        const auto [up, down, delay, fir] =
            std::tuple(s.info.up, s.info.down, s.info.delay, s.info.taps > 0);
        const int frames = (300 / s.lower() + 2) * down + 1; // up to the end of a group
        const double period = 1.0 * down / s.lower(), length = frames / period; // of the lower rate
        const auto sweep = [=](double frame) {
            const double t = frame / period,
                         fade = std::clamp(std::min(t, length - t) / 12, 0.0, 1.0);
            return std::sin(kPi * 0.1 * t * t / length) * fade * fade * (3 - 2 * fade);
        };
        double m = std::round(delay) - delay, difference = 0;
        for (const float y : s.convert(sampled(frames, sweep)))
            difference =
                std::max(difference, std::fabs(y - (fir ? 1 : 0.97) * sweep(m++ * down / up)));
        EXPECT_LT(difference, fir ? 0.001 : 0.055);
        for (const int at : {0, down, frames - 1}) {
            const Floats out = s.convert(sampled(frames, [=](int i) { return i == at; }));
            const auto peak = std::max_element(out.begin(), out.end()) - out.begin();
            EXPECT_GE(peak, at / down * up);
            EXPECT_LE(peak, at / down * up + (fir ? 0 : std::max(1, up / down)));
        }
    }
}

// At the greatest output for an impulse, which is a little above a half: of floats as large as
// these it makes all the others.
TEST(Stream, RoundsClipsAndCountsAtTheLimits)
{
    const Stream s({13000, 7000});
    const Floats response = s.convert(sampled(2000, [](int i) { return i == 0; }));
    const auto peak = std::max_element(response.begin(), response.end());
    const float cases[][3] = // value, rounded, clipped
        {{32767.5F, 32767, 1},     {32767.498F, 32767, 0},  {-32768.5F, -32768, 1},
         {-32768.496F, -32768, 0}, {32766.5F, 32767, 0},    {32766.498F, 32766, 0},
         {-32767.5F, -32768, 0},   {-32767.498F, -32767, 0}};
    for (const auto [value, rounded, clipped] : cases) {
        float height = value / *peak;
        for (int i = 0; i < 9 && height * *peak != value; ++i)
            height = std::nextafter(height, height * *peak < value ? INFINITY : -INFINITY);
        Shorts out(response.size());
        rsmpl_stream_run_float(s.stream, &height, 1, nullptr); // makes no group
        rsmpl_stream_run_short(s.stream, nullptr, 2000 - 1, out.data());
        EXPECT_EQ(out[static_cast<std::size_t>(peak - response.begin())], rounded) << value;
        EXPECT_EQ(rsmpl_stream_clipped(s.stream), clipped) << value;
        rsmpl_stream_reset(s.stream);
    }
}

} // namespace
