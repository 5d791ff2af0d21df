#include "cli/device.h"

#include "api/resample_api.h"
#include "cli/level.h"
#include "iir/Resample_Rsmpl_IIR_api.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <new>
#include <stdexcept>

namespace
{

constexpr std::size_t kRatio = 3;
constexpr std::size_t kBlock = 960;
constexpr std::size_t kOutBlock = kBlock / kRatio;
constexpr unsigned kDecimate1_3 = 2; // ratio code

// The public calls deliver 16 bits, from which a wrapped sample can't be told.  So the same
// filter runs beside them once more, on floats, and shows what they cut.
class WrapWatch
{
public:
    explicit WrapWatch(std::size_t channels) : contexts_(channels)
    {
        for (Context& context : contexts_)
            RSMPL_InitContext(context.data());
    }

    // One block of input; `kept` of its outputs per channel are delivered.
    void watch(const short* planar, std::size_t kept)
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

    float peak() const { return peak_; }

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

class Device : public Resampler
{
public:
    explicit Device(const rsmpl_stream_info& info)
        : channels_(static_cast<std::size_t>(info.channels)), watch_(channels_),
          handle_(resample_init(info.channels, info.in_rate, info.out_rate, kBlock), resample_exit),
          planar_(channels_ * kBlock), filtered_(channels_ * kOutBlock)
    {
        info_ = info;
        if (!handle_)
            throw std::bad_alloc();
    }

    void run(const float* in, std::size_t frames, std::vector<float>& out) override
    {
        out.clear();
        for (std::size_t i = 0; i < frames; ++i) {
            for (std::size_t c = 0; c < channels_; ++c)
                planar_[c * kBlock + waiting_] = to_short(in[i * channels_ + c]);
            if (++waiting_ == kBlock)
                convert(kOutBlock, out);
        }
    }

    void finish(std::vector<float>& out) override
    {
        out.clear();
        for (std::size_t c = 0; c < channels_; ++c)
            std::fill_n(&planar_[c * kBlock + waiting_], kBlock - waiting_, short{0});
        if (waiting_ > 0)
            convert((waiting_ + kRatio - 1) / kRatio, out);
    }

    std::int64_t clipped_inputs() const override { return clipped_; }

    std::int64_t wrapped() const override { return watch_.wrapped(); }

    float filtered_peak() const override { return watch_.peak(); }

private:
    using Handle = std::unique_ptr<resample_handle, void (*)(resample_handle*)>;

    short to_short(float value)
    {
        constexpr Limits k16Bits{-32768, 32767};
        clipped_ += k16Bits.clips(value) ? 1 : 0;
        return static_cast<short>(k16Bits.rounded(value));
    }

    // The block in planar_, of whose outputs `kept` per channel go behind `out`.
    void convert(std::size_t kept, std::vector<float>& out)
    {
        if (resample_process(handle_.get(), planar_.data(), filtered_.data(),
                             static_cast<int>(planar_.size())) != 0)
            throw std::logic_error("a block was refused");
        watch_.watch(planar_.data(), kept);
        for (std::size_t i = 0; i < kept; ++i)
            for (std::size_t c = 0; c < channels_; ++c)
                out.push_back(filtered_[c * kOutBlock + i]);
        waiting_ = 0;
    }

    std::size_t channels_;
    WrapWatch watch_;
    Handle handle_;
    std::vector<short> planar_, filtered_; // a block of each channel
    std::size_t waiting_ = 0;              // frames in planar_
    std::int64_t clipped_ = 0;
};

} // namespace

std::unique_ptr<Resampler> open_device(const rsmpl_stream_info& info)
{
    return std::make_unique<Device>(info);
}
