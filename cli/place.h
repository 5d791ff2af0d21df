#ifndef RSMPL_CLI_PLACE_H
#define RSMPL_CLI_PLACE_H

#include "cli/interrupt.h"

#include <optional>
#include <string>

// Where an output goes.  A file appears, or replaces an older one, only when it is complete: it
// is written beside its place and renamed by commit().  Without commit(), or when a signal ends
// the process, nothing is left and an older file stays as it was.  The new file has the mode of
// the old one.  Devices, pipes and standard output ("-") are written directly.  Throws FileError.
class Place
{
public:
    explicit Place(const std::string& path);
    ~Place();
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;

    // As messages call it.
    const std::string& name() const { return name_; }

    int descriptor() const { return descriptor_; }

    // What is written there is gone at once.
    bool is_pipe() const { return is_pipe_; }

    void commit();

private:
    void open_beside();
    void open_directly(const std::string& path);

    std::string name_;
    std::string target_; // with links resolved
    std::optional<Unfinished> beside_;
    int descriptor_ = -1;
    bool is_pipe_ = false;
};

// What the user's umask leaves of a new file's mode; to be called before there are threads.
unsigned new_file_mode();

#endif
