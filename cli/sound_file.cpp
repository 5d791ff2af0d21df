#include "cli/sound_file.h"

#include "cli/file_error.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace
{

// Standard error leads nowhere for as long as this lives.
class Silence
{
public:
    Silence() : kept_(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3))
    {
        const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (kept_ >= 0 && nowhere >= 0)
            dup2(nowhere, STDERR_FILENO);
        if (nowhere >= 0)
            close(nowhere);
    }
    ~Silence()
    {
        if (kept_ < 0)
            return;
        dup2(kept_, STDERR_FILENO);
        close(kept_);
    }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;

private:
    int kept_;
};

// libsndfile's error 7 is what it makes of any failure of the MPEG decoder.
std::string reason(const char* failure, int code, int errno_value)
{
    constexpr int kDecoderFailed = 7;
    if (code == SF_ERR_SYSTEM || errno_value == EMFILE || errno_value == ENFILE ||
        errno_value == ENOMEM)
        return std::strerror(errno_value != 0 ? errno_value : EIO);
    return failure + (code == kDecoderFailed ? "" : std::string(": ") + sf_strerror(nullptr));
}

} // namespace

std::mutex& terminal()
{
    static std::mutex mutex;
    return mutex;
}

SoundFile open_sound(const std::string& name, const char* failure,
                     const std::function<SNDFILE*()>& open)
{
    const std::lock_guard<std::mutex> lock(terminal());
    const Silence silence;
    errno = 0;
    SoundFile file(open(), sf_close);
    if (!file)
        throw FileError(name, reason(failure, sf_error(nullptr), errno));
    return file;
}
