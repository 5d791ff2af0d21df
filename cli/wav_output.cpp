#include "cli/wav_output.h"

#include "cli/file_error.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;

// The file to remove when a signal ends the process; empty when there is none.
char unfinished[PATH_MAX];

extern "C" void remove_unfinished(int signal)
{
    unlink(unfinished);
    _exit(128 + signal);
}

void guard(const std::string& part)
{
    if (part.size() < sizeof unfinished)
        part.copy(unfinished, part.size());
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        if (std::signal(signal, remove_unfinished) == SIG_IGN)
            std::signal(signal, SIG_IGN);
    // Too large a file and a closed pipe are then errors like others.
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
}

void unguard()
{
    std::fill(std::begin(unfinished), std::end(unfinished), '\0');
}

int open_for_writing(const std::string& path, int flags)
{
    constexpr mode_t kReadWriteForAll = 0666; // less the user's umask
    return open(path.c_str(), O_RDWR | O_CLOEXEC | flags, kReadWriteForAll);
}

} // namespace

WavOutput::WavOutput(const std::string& path, int channels, int rate)
    : path_(path), target_(path), file_(nullptr, sf_close)
{
    std::error_code ignored;
    const bool exists = fs::exists(path, ignored);
    if (fs::is_directory(path, ignored))
        throw FileError(path, EISDIR);
    if (exists && access(path.c_str(), W_OK) != 0)
        throw FileError(path, errno);
    if (exists)
        target_ = fs::canonical(path, ignored).string();
    if (!exists || fs::is_regular_file(path, ignored))
        part_ = target_ + ".part-" + std::to_string(getpid());

    const int descriptor =
        part_.empty() ? open_for_writing(target_, 0) : open_for_writing(part_, O_CREAT | O_EXCL);
    if (descriptor < 0)
        throw FileError(path, errno);
    guard(part_);
    SF_INFO info{};
    info.channels = channels;
    info.samplerate = rate;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    file_.reset(sf_open_fd(descriptor, SFM_WRITE, &info, SF_TRUE));
    if (!file_) {
        unlink(part_.c_str());
        throw FileError(path, sf_strerror(nullptr));
    }
}

WavOutput::~WavOutput()
{
    file_.reset();
    if (!part_.empty())
        unlink(part_.c_str());
    unguard();
}

void WavOutput::write(const short* samples, int frames)
{
    if (sf_writef_short(file_.get(), samples, frames) != frames)
        throw FileError(path_, sf_strerror(file_.get()));
}

void WavOutput::commit()
{
    // Closing says nothing of a header that no longer found room, so that comes first.
    sf_command(file_.get(), SFC_UPDATE_HEADER_NOW, nullptr, 0);
    if (sf_error(file_.get()) != SF_ERR_NO_ERROR)
        throw FileError(path_, sf_strerror(file_.get()));
    if (sf_close(file_.release()) != 0)
        throw FileError(path_, EIO);
    if (!part_.empty() && std::rename(part_.c_str(), target_.c_str()) != 0)
        throw FileError(path_, errno);
    part_.clear();
}
