#include "cli/recording.h"

#include "cli/file_error.h"
#include "cli/level.h"

#include <cerrno>
#include <climits>
#include <cmath>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

constexpr int kRawFormat = SF_FORMAT_RAW | SF_FORMAT_PCM_16 | SF_ENDIAN_LITTLE;

int open_input(const std::string& name, bool standard_input)
{
    const int descriptor = standard_input ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3)
                                          : open(name.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        throw FileError(name, errno);
    return descriptor;
}

struct stat look_at(const std::string& name, int descriptor)
{
    struct stat status;
    if (fstat(descriptor, &status) != 0)
        throw FileError(name, errno);
    if (S_ISDIR(status.st_mode))
        throw FileError(name, EISDIR);
    if (S_ISREG(status.st_mode) && status.st_size == 0)
        throw FileError(name, "the file is empty");
    return status;
}

// A file of a length that would be a placeholder elsewhere may well have it; a file without samples
// is one when all of it is told.
bool length_is_known(const Header& header, std::int64_t file_bytes)
{
    if (header.audio_bytes <= 0)
        return header.audio_bytes == 0 && header.whole_bytes == file_bytes;
    return !header.placeholder || header.audio_at + header.audio_bytes <= file_bytes;
}

std::string after(std::int64_t read, std::int64_t said)
{
    const std::string frames = "after " + std::to_string(read);
    return said < 0 ? frames + " frames"
                    : frames + " of the " + std::to_string(said) + " frames that its header says";
}

} // namespace

struct Recording::Longer {
    static Recording& of(void* user) { return *static_cast<Recording*>(user); }

    static sf_count_t length(void* user) { return of(user).audio_end_; }

    static sf_count_t seek(sf_count_t offset, int whence, void* user)
    {
        const int descriptor = of(user).descriptor_.value;
        return whence == SEEK_END ? lseek(descriptor, of(user).audio_end_ + offset, SEEK_SET)
                                  : lseek(descriptor, offset, whence);
    }

    static sf_count_t tell(void* user) { return seek(0, SEEK_CUR, user); }

    static sf_count_t read(void* to, sf_count_t count, void* user)
    {
        return ::read(of(user).descriptor_.value, to, static_cast<std::size_t>(count));
    }
};

Recording::Descriptor::~Descriptor()
{
    close(value);
}

Recording::Recording(const std::string& name, const Options& options)
    : standard_input_(name == "-"), name_(standard_input_ ? "standard input" : name),
      allow_truncated_(options.allow_truncated), descriptor_(open_input(name_, standard_input_))
{
    const struct stat status = look_at(name, descriptor_.value);
    std::optional<Header> header;
    if (!options.raw)
        header = read_header(descriptor_.value);
    if (header && header->rate >= 0)
        check_shape(header->rate, header->channels);
    is_live_ = !S_ISREG(status.st_mode);
    const bool known = header && length_is_known(*header, is_live_ ? 0 : status.st_size);
    if (header && !known)
        header->audio_bytes = -1;
    if (known && !is_live_)
        check_length(*header, status.st_size);
    // libsndfile would believe a writer who did not know the length and wrote 0.
    if (is_live_ || (header && header->format != 0 && !known)) {
        open_pipe(header ? &*header : nullptr, options);
    } else {
        lseek(descriptor_.value, 0, SEEK_SET);
        open_file(options, !truncation_.empty() && header->kind == std::string("CAF"));
    }
    check_shape(rate_, channels_);
}

void Recording::check_length(const Header& header, std::int64_t file_bytes)
{
    if (header.audio_bytes == 0)
        throw FileError(name_, "the file holds no audio");
    audio_end_ = header.audio_at + header.audio_bytes;
    if (audio_end_ > file_bytes)
        found_truncated(std::to_string(audio_end_ - file_bytes) + " bytes before its header says");
}

void Recording::open_file(const Options& options, bool longer)
{
    SF_INFO info{};
    if (options.raw) {
        info.format = kRawFormat;
        info.channels = options.raw->channels;
        info.samplerate = options.raw->rate;
    }
    file_ = open_sound(name_, "not a readable audio file", [&] {
        static SF_VIRTUAL_IO io{Longer::length, Longer::seek, Longer::read, nullptr, Longer::tell};
        if (longer)
            return sf_open_virtual(&io, SFM_READ, &info, this);
        // By name, because the suffix tells what some files are.
        return standard_input_ ? sf_open_fd(descriptor_.value, SFM_READ, &info, SF_FALSE)
                               : sf_open(name_.c_str(), SFM_READ, &info);
    });
    channels_ = info.channels;
    rate_ = info.samplerate;
    frames_ = info.frames > INT64_MAX / 4096 ? -1 : info.frames;
    estimated_ = (info.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_MPEG;
}

void Recording::open_pipe(const Header* header, const Options& options)
{
    Header plain;
    if (options.raw) {
        plain.format = kRawFormat;
        plain.channels = options.raw->channels;
        plain.rate = options.raw->rate;
    } else if (header == nullptr) {
        throw FileError(name_, "no header of WAV or AU came, as a pipe has to bring it; "
                               "--raw takes samples without one");
    } else if (header->format == 0) {
        throw FileError(name_, std::string(header->kind) +
                                   " can't be read from a pipe, only plain WAV, AU and --raw; "
                                   "write it to a file first");
    } else {
        plain = *header;
    }
    pipe_ = std::make_unique<Pipe>(name_, descriptor_.value, plain.format, plain.channels,
                                   plain.audio_bytes);
    channels_ = plain.channels;
    rate_ = static_cast<int>(plain.rate);
    frames_ = pipe_->frames();
}

void Recording::check_shape(std::int64_t rate, int channels) const
{
    if (rate < 1 || rate > INT_MAX)
        throw FileError(name_, "the sample rate is " + std::to_string(rate) + " Hz");
    if (channels < 1 || channels > kMaxChannels)
        throw FileError(name_, "there are " + std::to_string(channels) +
                                   " channels; 1 to 16 are accepted");
}

void Recording::found_truncated(const std::string& how)
{
    if (!allow_truncated_)
        throw FileError(name_,
                        "the file ends " + how + "; --allow-truncated converts what is there");
    truncation_ = "the file ends " + how;
}

// Where a header told the number of frames, and not as an estimate, they should have come.
void Recording::end()
{
    if (read_ == 0)
        throw FileError(name_, "the file holds no audio");
    if (frames_ >= 0 && read_ < frames_ && truncation_.empty()) {
        if (estimated_)
            truncation_ = "the file ends " + after(read_, frames_);
        else
            found_truncated(after(read_, frames_));
    }
}

std::size_t Recording::read(float* samples, std::size_t frames)
{
    const sf_count_t wanted = static_cast<sf_count_t>(frames);
    const std::size_t count =
        pipe_ ? pipe_->read(samples, frames)
              : static_cast<std::size_t>(sf_readf_float(file_.get(), samples, wanted));
    read_ += static_cast<std::int64_t>(count);
    if (file_ && count < frames && sf_error(file_.get()) != SF_ERR_NO_ERROR)
        found_truncated(after(read_, frames_));
    if (count == 0)
        end();
    scale(samples, count * static_cast<std::size_t>(channels_));
    return count;
}

void Recording::scale(float* samples, std::size_t count)
{
    const float factor = gain_ * kFullScale;
    int silenced = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const float value = samples[i] * factor;
        const bool sane = std::fabs(value) <= 1e30F; // NaN is not
        samples[i] = sane ? value : 0;
        silenced += sane ? 0 : 1;
    }
    not_finite_ += silenced;
    peak_ = peak_of(samples, count, peak_);
}
