#include "cli/place.h"

#include "cli/file_error.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;

// The mode of the file to replace, or of a new one.
mode_t mode_for(const std::string& target)
{
    struct stat old;
    return stat(target.c_str(), &old) == 0 ? old.st_mode & 0777U : new_file_mode();
}

void check_writable(const std::string& path)
{
    std::error_code error, ignored;
    if (fs::is_directory(path, ignored))
        throw FileError(path, EISDIR);
    const bool exists = fs::exists(path, error);
    if (error) // such as a name too long
        throw FileError(path, error.value());
    if (exists) {
        if (access(path.c_str(), W_OK) != 0)
            throw FileError(path, errno);
    } else if (fs::is_symlink(path, ignored)) {
        throw FileError(path, "a symbolic link that leads nowhere");
    }
}

} // namespace

unsigned new_file_mode()
{
    static const mode_t mask = [] {
        const mode_t users = umask(0);
        umask(users);
        return users;
    }();
    return 0666U & ~mask;
}

Place::Place(const std::string& path) : name_(path == "-" ? "standard output" : path), target_(path)
{
    if (path == "-") {
        open_directly(path);
        return;
    }
    check_writable(path);
    std::error_code error;
    const bool exists = fs::exists(path, error);
    if (exists && !fs::is_regular_file(path, error)) {
        open_directly(path);
        return;
    }
    if (exists)
        target_ = fs::canonical(path, error).string();
    if (exists && error)
        throw FileError(path, error.message());
    open_beside();
}

Place::~Place()
{
    if (descriptor_ >= 0)
        close(descriptor_);
}

void Place::open_beside()
{
    beside_.emplace();
    descriptor_ = beside_->create(fs::path(target_).parent_path().string());
    if (descriptor_ < 0 && errno == ENOENT)
        throw FileError(name_, "its folder does not exist; create it first");
    if (descriptor_ < 0)
        throw FileError(name_, errno);
    fchmod(descriptor_, mode_for(target_));
}

void Place::open_directly(const std::string& path)
{
    descriptor_ = path == "-" ? fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3)
                              : open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (descriptor_ < 0)
        throw FileError(name_, errno);
    is_pipe_ = lseek(descriptor_, 0, SEEK_CUR) < 0;
}

void Place::commit()
{
    const int descriptor = descriptor_;
    descriptor_ = -1;
    if (close(descriptor) != 0)
        throw FileError(name_, errno);
    if (beside_ && beside_->rename_to(target_) != 0)
        throw FileError(name_, errno);
}
