#include "cli/pipe.h"

#include "cli/file_error.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <unistd.h>

// What libsndfile takes for a file: the window's bytes, in a file without end.
struct Window {
    static sf_count_t length(void* /*pipe*/) { return std::numeric_limits<sf_count_t>::max() / 2; }

    static sf_count_t seek(sf_count_t offset, int /*whence*/, void* /*pipe*/) { return offset; }

    static sf_count_t tell(void* /*pipe*/) { return 0; }

    static sf_count_t read(void* to, sf_count_t count, void* user)
    {
        Pipe& pipe = *static_cast<Pipe*>(user);
        const std::size_t given = std::min(static_cast<std::size_t>(count), pipe.end_ - pipe.next_);
        std::memcpy(to, pipe.window_.data() + pipe.next_, given);
        pipe.next_ += given;
        return static_cast<sf_count_t>(given);
    }
};

namespace
{

std::size_t sample_bytes(int format)
{
    switch (format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_16:
        return 2;
    case SF_FORMAT_PCM_24:
        return 3;
    case SF_FORMAT_PCM_32:
    case SF_FORMAT_FLOAT:
        return 4;
    case SF_FORMAT_DOUBLE:
        return 8;
    default:
        return 1;
    }
}

} // namespace

Pipe::Pipe(const std::string& name, int descriptor, int format, int channels, std::int64_t bytes)
    : name_(name), descriptor_(descriptor),
      frame_bytes_(sample_bytes(format) * static_cast<std::size_t>(channels)), bytes_(bytes),
      left_(bytes < 0 ? std::numeric_limits<std::int64_t>::max() : bytes),
      decoder_(open_sound(name, "can't be decoded", [this, format, channels] {
          static SF_VIRTUAL_IO io{Window::length, Window::seek, Window::read, nullptr,
                                  Window::tell};
          SF_INFO info{};
          info.format = format;
          info.channels = channels;
          info.samplerate = 1; // not looked at
          return sf_open_virtual(&io, SFM_READ, &info, this);
      }))
{
}

std::int64_t Pipe::frames() const
{
    return bytes_ < 0 ? -1 : bytes_ / static_cast<std::int64_t>(frame_bytes_);
}

// What one read brings, and the rest of its last frame.
std::size_t Pipe::fetch(std::size_t most)
{
    std::size_t got = 0;
    while (got == 0 || got % frame_bytes_ != 0) {
        const std::size_t wanted = got == 0 ? most : frame_bytes_ - got % frame_bytes_;
        const ssize_t count = ::read(descriptor_, window_.data() + got, wanted);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            throw FileError(name_, errno);
        if (count == 0)
            break;
        got += static_cast<std::size_t>(count);
    }
    return got - got % frame_bytes_;
}

std::size_t Pipe::read(float* samples, std::size_t frames)
{
    window_.resize(frames * frame_bytes_);
    const auto most = std::min<std::int64_t>(left_, static_cast<std::int64_t>(window_.size()));
    end_ =
        most < static_cast<std::int64_t>(frame_bytes_) ? 0 : fetch(static_cast<std::size_t>(most));
    next_ = 0;
    left_ -= static_cast<std::int64_t>(end_);
    const auto count = static_cast<sf_count_t>(end_ / frame_bytes_);
    if (sf_readf_float(decoder_.get(), samples, count) != count)
        throw FileError(name_, sf_strerror(decoder_.get()));
    return static_cast<std::size_t>(count);
}
