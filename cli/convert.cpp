#include "cli/convert.h"

#include "api/resample_api.h"
#include "cli/file_error.h"
#include "cli/recording.h"
#include "cli/wav_output.h"
#include "iir/Resample_Rsmpl_IIR_api.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <filesystem>
#include <memory>
#include <vector>

namespace
{

constexpr int kRatio = 3;
constexpr int kOutRate = Recording::kRate / kRatio;
constexpr int kBlock = 960;
constexpr int kOutBlock = kBlock / kRatio;
constexpr unsigned kDecimate1_3 = 2; // ratio code

using Handle = std::unique_ptr<resample_handle, void (*)(resample_handle*)>;

std::size_t block_size(int channels, int frames)
{
    return static_cast<std::size_t>(channels) * static_cast<std::size_t>(frames);
}

double decibels(double ratio)
{
    return 20 * std::log10(ratio);
}

// The public calls deliver 16 bits, from which a wrapped sample can't be told.  So the same
// filter runs beside them once more, on floats, and shows what they cut.
class WrapWatch
{
public:
    explicit WrapWatch(int channels) : contexts_(static_cast<std::size_t>(channels))
    {
        for (Context& context : contexts_)
            RSMPL_InitContext(context.data());
    }

    // One block of input; `kept` of its outputs per channel are delivered.
    void watch(const short* planar, int kept)
    {
        std::array<float, kBlock> samples;
        for (Context& context : contexts_) {
            std::copy_n(planar, kBlock, samples.begin());
            RSMPL_Down(context.data(), samples.data(), samples.data(), kBlock, kDecimate1_3);
            std::for_each_n(samples.begin(), kept, [this](float value) { count(value); });
            planar += kBlock;
        }
    }

    std::int64_t wrapped() const { return wrapped_; }

    // How much quieter the input must be.  The margin is for its rounding, at most one unit,
    // which the filter can raise by 3.2.
    double excess_db() const { return decibels(peak_ / (32767 - 4)); }

private:
    using Context = std::array<float, 9>;

    void count(float value)
    {
        peak_ = std::max(peak_, std::fabs(value));
        if (value >= 32768.0F || value <= -32769.0F) // truncation happens toward zero
            ++wrapped_;
    }

    std::vector<Context> contexts_;
    std::int64_t wrapped_ = 0;
    float peak_ = 0;
};

// To a tenth of a decibel, upwards.  What clipped on the way in says nothing of its filtered
// peak; then the filter's worst case counts, a raise by 3.18 or 10.04 dB.
double turn_down_db(const Recording& recording, const WrapWatch& watch)
{
    constexpr double kWorstCase = 3.18;
    const double excess =
        recording.peak() > 1 ? decibels(recording.peak() * kWorstCase) : watch.excess_db();
    return watch.wrapped() == 0 ? 0 : std::ceil(10 * excess) / 10;
}

void check_apart(const std::string& in, const std::string& out)
{
    std::error_code not_there;
    if (std::filesystem::equivalent(in, out, not_there))
        throw FileError(out, "output and input are the same file");
}

// planar[c][i] = interleaved[i][c], zeros from `frames` to the end of the block.
void to_planar(const std::vector<short>& interleaved, std::vector<short>& planar, int frames)
{
    const std::size_t channels = planar.size() / kBlock;
    std::fill(planar.begin(), planar.end(), short{0});
    for (std::size_t i = 0; i < static_cast<std::size_t>(frames); ++i)
        for (std::size_t c = 0; c < channels; ++c)
            planar[c * kBlock + i] = interleaved[i * channels + c];
}

void to_interleaved(const std::vector<short>& planar, std::vector<short>& interleaved)
{
    const std::size_t channels = planar.size() / kOutBlock;
    for (std::size_t c = 0; c < channels; ++c)
        for (std::size_t i = 0; i < kOutBlock; ++i)
            interleaved[i * channels + c] = planar[c * kOutBlock + i];
}

} // namespace

Conversion convert(const std::string& in, const std::string& out)
{
    Recording recording(in);
    check_apart(in, out);
    WavOutput output(out, recording.channels(), kOutRate);

    Conversion done;
    done.channels = recording.channels();
    const int block = done.channels * kBlock;
    const Handle handle(resample_init(done.channels, Recording::kRate, kOutRate, kBlock),
                        resample_exit);
    if (!handle)
        throw FileError(in, ENOMEM);
    WrapWatch watch(done.channels);
    std::vector<short> interleaved(block_size(done.channels, kBlock));
    std::vector<short> planar(interleaved.size());
    std::vector<short> filtered(block_size(done.channels, kOutBlock));

    int frames = kBlock;
    while (frames == kBlock && (frames = recording.read(interleaved.data(), kBlock)) > 0) {
        const int kept = (frames + kRatio - 1) / kRatio;
        to_planar(interleaved, planar, frames);
        if (resample_process(handle.get(), planar.data(), filtered.data(), block) != 0)
            throw FileError(in, EINVAL);
        watch.watch(planar.data(), kept);
        to_interleaved(filtered, interleaved);
        output.write(interleaved.data(), kept);
        done.frames_in += frames;
        done.frames_out += kept;
    }
    if (done.frames_in == 0)
        throw FileError(in, "the file holds no audio");
    output.commit();
    done.wrapped = watch.wrapped();
    done.turn_down_db = turn_down_db(recording, watch);
    return done;
}
