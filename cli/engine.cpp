#include "cli/engine.h"

#include "cli/device.h"
#include "cli/file_error.h"
#include "cli/rates.h"

#include <cerrno>
#include <new>

namespace
{

using Stream = std::unique_ptr<rsmpl_stream, void (*)(rsmpl_stream*)>;

class StreamResampler : public Resampler
{
public:
    explicit StreamResampler(Stream stream) : stream_(std::move(stream))
    {
        rsmpl_stream_describe(stream_.get(), &info_);
    }

    void run(const float* in, std::size_t frames, std::vector<float>& out) override
    {
        out.resize(rsmpl_stream_outputs(stream_.get(), frames) * channels());
        rsmpl_stream_run_float(stream_.get(), in, frames, out.data());
    }

    void finish(std::vector<float>& out) override
    {
        out.resize(rsmpl_stream_tail(stream_.get()) * channels());
        rsmpl_stream_finish_float(stream_.get(), out.data());
    }

private:
    std::size_t channels() const { return static_cast<std::size_t>(info_.channels); }

    Stream stream_;
};

// Why they are refused, and what else could be tried.
std::string rates_message(int in_rate, const Options& options)
{
    if (!is_served(in_rate, options.rate))
        return why_not_served(in_rate, options.rate);
    return "no stage serves " + conversion_name(in_rate, options.rate) +
           "; leave --engine out, or say --engine fir";
}

rsmpl_engine engine_for(Engine engine)
{
    switch (engine) {
    case Engine::kAuto:
        return RSMPL_ENGINE_AUTO;
    case Engine::kFir:
        return RSMPL_ENGINE_FIR;
    default:
        return RSMPL_ENGINE_IIR; // of which a device has one
    }
}

} // namespace

std::unique_ptr<Resampler> open_resampler(const std::string& name, int channels, int in_rate,
                                          const Options& options)
{
    const bool device = options.engine == Engine::kDevice;
    if (device && std::int64_t{options.rate} * 3 != in_rate)
        throw FileError(name, "a device converts 3 to 1 only, not " +
                                  conversion_name(in_rate, options.rate) + "; leave --engine out");
    rsmpl_stream* opened = nullptr;
    const rsmpl_stream_status status =
        rsmpl_stream_open(&opened, channels, in_rate, options.rate, engine_for(options.engine),
                          options.align && !device ? RSMPL_STREAM_ALIGNED : 0);
    if (status == RSMPL_STREAM_NO_MEMORY)
        throw std::bad_alloc();
    if (status == RSMPL_STREAM_BAD_RATES)
        throw FileError(name, rates_message(in_rate, options));
    if (status != RSMPL_STREAM_OK)
        throw FileError(name, rsmpl_stream_message(status));
    auto stream = std::make_unique<StreamResampler>(Stream(opened, rsmpl_stream_close));
    return device ? open_device(stream->info()) : std::move(stream);
}
