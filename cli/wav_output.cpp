#include "cli/wav_output.h"

#include "cli/file_error.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;

// The file that is being written beside its place, for the signal handler; else empty.
char unfinished[PATH_MAX];

extern "C" void remove_unfinished(int signal)
{
    unlink(unfinished);
    std::signal(signal, SIG_DFL);
    raise(signal);
}

void catch_signals()
{
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGXCPU})
        if (std::signal(signal, remove_unfinished) == SIG_IGN)
            std::signal(signal, SIG_IGN);
    // Too large a file and a closed pipe are then errors like others.
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
}

// The mode of the file to replace, or what the user's umask gives a new one.
mode_t mode_for(const std::string& target)
{
    struct stat old;
    if (stat(target.c_str(), &old) == 0)
        return old.st_mode & 0777U;
    const mode_t mask = umask(0);
    umask(mask);
    return 0666U & ~mask;
}

// A new file in the target's folder, its name in `unfinished` from the moment it exists.
int open_beside(const std::string& target)
{
    const std::string name = (fs::path(target).parent_path() / ".rsmpl-XXXXXX").string();
    if (name.size() >= sizeof unfinished) {
        errno = ENAMETOOLONG;
        return -1;
    }
    std::memcpy(unfinished, name.c_str(), name.size() + 1);
    const int descriptor = mkstemp(unfinished);
    if (descriptor < 0)
        unfinished[0] = '\0';
    else
        fchmod(descriptor, mode_for(target));
    return descriptor;
}

void check_writable(const std::string& path)
{
    std::error_code ignored;
    if (fs::is_directory(path, ignored))
        throw FileError(path, EISDIR);
    if (fs::exists(path, ignored)) {
        if (access(path.c_str(), W_OK) != 0)
            throw FileError(path, errno);
    } else if (fs::is_symlink(path, ignored)) {
        throw FileError(path, "a symbolic link that leads nowhere");
    }
}

} // namespace

WavOutput::WavOutput(const std::string& path, int channels, int rate)
    : path_(path), target_(path), channels_(channels), file_(nullptr, sf_close)
{
    check_writable(path);
    std::error_code error;
    const bool exists = fs::exists(path, error);
    beside_ = !exists || fs::is_regular_file(path, error);
    if (exists && beside_)
        target_ = fs::canonical(path, error).string();
    if (error && exists)
        throw FileError(path, error.message());

    catch_signals();
    const int descriptor = beside_ ? open_beside(target_) : open(path.c_str(), O_RDWR | O_CLOEXEC);
    if (descriptor < 0)
        throw FileError(path, errno);
    SF_INFO info{};
    info.channels = channels;
    info.samplerate = rate;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    file_.reset(sf_open_fd(descriptor, SFM_WRITE, &info, SF_TRUE));
    if (!file_) {
        unlink(unfinished);
        throw FileError(path, sf_strerror(nullptr));
    }
}

WavOutput::~WavOutput()
{
    file_.reset();
    unlink(unfinished);
    unfinished[0] = '\0';
}

void WavOutput::write(const short* samples, int frames)
{
    // The size fields have 32 bits, and libsndfile lets them wrap around.
    constexpr std::int64_t kMostBytes = UINT32_MAX - 1024;
    bytes_ += std::int64_t{frames} * channels_ * static_cast<std::int64_t>(sizeof *samples);
    if (bytes_ > kMostBytes)
        throw FileError(path_, "more than the 4 GiB that a WAV file can hold");
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
    if (beside_ && std::rename(unfinished, target_.c_str()) != 0)
        throw FileError(path_, errno);
    unfinished[0] = '\0';
}
