#include "cli/output.h"

#include "cli/file_error.h"
#include "cli/level.h"
#include "cli/tags.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <filesystem>

#ifndef RSMPL_MOST_BYTES
    // What sizes of 32 bits can tell, less room for headers.
    #define RSMPL_MOST_BYTES (UINT32_MAX - 65536)
#endif

namespace
{

constexpr std::int64_t kMostBytes = RSMPL_MOST_BYTES;

struct Kind {
    const char* suffix;
    const char* name; // in messages
    Format format;
    int file_format;
};

// The first of a format is how its files are called.
constexpr Kind kKinds[] = {{"wav", "WAV", Format::kWav, SF_FORMAT_WAV},
                           {"flac", "FLAC", Format::kFlac, SF_FORMAT_FLAC},
                           {"aiff", "AIFF", Format::kAiff, SF_FORMAT_AIFF},
                           {"aif", "AIFF", Format::kAiff, SF_FORMAT_AIFF},
                           {"au", "AU", Format::kAu, SF_FORMAT_AU},
                           {"snd", "AU", Format::kAu, SF_FORMAT_AU},
                           {"raw", "raw", Format::kRaw, SF_FORMAT_RAW | SF_ENDIAN_LITTLE},
                           {"pcm", "raw", Format::kRaw, SF_FORMAT_RAW | SF_ENDIAN_LITTLE}};

const Kind& kind_of(Format format)
{
    return *std::find_if(std::begin(kKinds), std::end(kKinds),
                         [format](const Kind& kind) { return kind.format == format; });
}

int coding(Bits bits)
{
    return bits == Bits::k16   ? SF_FORMAT_PCM_16
           : bits == Bits::k24 ? SF_FORMAT_PCM_24
                               : SF_FORMAT_FLOAT;
}

std::int64_t bytes_of(const Shape& shape, std::int64_t frames)
{
    const int sample = shape.bits == Bits::k16 ? 2 : shape.bits == Bits::k24 ? 3 : 4;
    return frames * shape.channels * sample;
}

bool fits(const Shape& shape, std::int64_t frames)
{
    const bool limited = shape.format == Format::kAiff || shape.format == Format::kAu;
    return !limited || bytes_of(shape, frames) <= kMostBytes;
}

void check(const std::string& name, const Shape& shape, bool is_pipe)
{
    const std::string format = kind_of(shape.format).name;
    if (is_pipe && shape.format != Format::kRaw && shape.format != Format::kAu)
        throw FileError(name, format + " can't be written into a pipe; --format raw or au can");
    if (shape.format == Format::kFlac && shape.bits == Bits::kFloat)
        throw FileError(name, "FLAC holds no floats; --bits 24, or WAV");
    if (shape.format == Format::kFlac && shape.channels > 8)
        throw FileError(name, "FLAC holds 1 to 8 channels; WAV holds more");
    if (!is_pipe && !fits(shape, shape.frames))
        throw FileError(name, "more than the 4 GiB that " + format + " can hold; WAV holds more");
}

// Opening it would wait for a reader.
bool is_fifo(const std::string& path)
{
    std::error_code ignored;
    return std::filesystem::is_fifo(path, ignored);
}

// WAV files beyond 4 GiB are RF64.  Where the length is not known yet, libsndfile keeps room
// for that and makes it WAV in the end where it can.
int file_format(const Shape& shape)
{
    const bool large = shape.frames < 0 || bytes_of(shape, shape.frames) > kMostBytes;
    return coding(shape.bits) |
           (shape.format == Format::kWav && large ? static_cast<int>(SF_FORMAT_RF64)
                                                  : kind_of(shape.format).file_format);
}

} // namespace

Format format_of(const std::string& path, const Options& options)
{
    if (options.format)
        return *options.format;
    if (path == "-")
        return Format::kRaw;
    std::string suffix = std::filesystem::path(path).extension().string();
    std::transform(suffix.begin(), suffix.end(), suffix.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (suffix.size() <= 1)
        return Format::kWav;
    for (const Kind& kind : kKinds)
        if (suffix.substr(1) == kind.suffix)
            return kind.format;
    throw FileError(path, "no format is known by this suffix; "
                          "use .wav, .flac, .aiff, .au or .raw, or say --format");
}

const char* suffix_of(Format format)
{
    return kind_of(format).suffix;
}

Output::Output(const std::string& path, const Shape& shape)
    : shape_(shape), place_((check(path, shape, is_fifo(path)), path)), file_(nullptr, sf_close),
      clipped_(static_cast<std::size_t>(shape.channels))
{
    check(place_.name(), shape, place_.is_pipe());
    SF_INFO info{};
    info.channels = shape.channels;
    info.samplerate = shape.rate;
    info.format = file_format(shape);
    file_ = open_sound(place_.name(), "can't be written",
                       [&] { return sf_open_fd(place_.descriptor(), SFM_WRITE, &info, SF_FALSE); });
    sf_command(file_.get(), SFC_RF64_AUTO_DOWNGRADE, nullptr, shape.frames < 0);
    // It has the time in it, and the same input shall make the same bytes.
    sf_command(file_.get(), SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
}

void Output::copy_tags(SNDFILE* from, int up, int down)
{
    ::copy_tags(from, file_.get(), up, down);
}

// round(x 2^(bits - 16)), clipped, in the upper bits of an int.
void Output::to_integers(const std::vector<float>& samples, float peak)
{
    const bool wide = shape_.bits == Bits::k24;
    const float scale = wide ? 256 : 1;
    const int unit = wide ? 1 << 8 : 1 << 16;
    const Limits limits{-32768 * scale, 32768 * scale - 1};
    integers_.resize(samples.size());
    for (std::size_t i = 0; i < samples.size(); ++i)
        integers_[i] = limits.rounded(samples[i] * scale) * unit;
    if (peak * scale <= limits.highest)
        return;
    for (std::size_t i = 0; i < samples.size(); ++i)
        clipped_[i % clipped_.size()] += limits.clips(samples[i] * scale) ? 1 : 0;
}

void Output::write(const std::vector<float>& samples)
{
    const float peak = peak_of(samples.data(), samples.size(), 0);
    const auto frames = static_cast<sf_count_t>(samples.size() / clipped_.size());
    peak_ = std::max(peak_, peak);
    frames_ += frames;
    shape_.frames = std::max(shape_.frames, frames_);
    check(place_.name(), shape_, place_.is_pipe());
    errno = 0;
    sf_count_t written = 0;
    if (shape_.bits == Bits::kFloat) {
        floats_.resize(samples.size());
        std::transform(samples.begin(), samples.end(), floats_.begin(),
                       [](float value) { return value / 32768; });
        written = sf_writef_float(file_.get(), floats_.data(), frames);
    } else {
        to_integers(samples, peak);
        written = sf_writef_int(file_.get(), integers_.data(), frames);
    }
    if (written != frames)
        fail();
}

void Output::commit()
{
    errno = 0;
    // Closing says nothing of a header that no longer found room, so that comes first.
    if (!place_.is_pipe())
        sf_command(file_.get(), SFC_UPDATE_HEADER_NOW, nullptr, 0);
    if (sf_error(file_.get()) != SF_ERR_NO_ERROR)
        fail();
    if (sf_close(file_.release()) != 0)
        throw FileError(place_.name(), EIO);
    place_.commit();
}

void Output::fail()
{
    if (errno == EPIPE)
        throw ClosedPipe();
    if (errno != 0)
        throw FileError(place_.name(), errno);
    throw FileError(place_.name(), sf_strerror(file_.get()));
}
