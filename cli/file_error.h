#ifndef RSMPL_CLI_FILE_ERROR_H
#define RSMPL_CLI_FILE_ERROR_H

#include <cstring>
#include <stdexcept>
#include <string>

// What went wrong with which file, as "FILE: reason".
class FileError : public std::runtime_error
{
public:
    FileError(const std::string& file, const std::string& reason)
        : std::runtime_error(file + ": " + reason)
    {
    }

    FileError(const std::string& file, int errno_value)
        : FileError(file, std::strerror(errno_value))
    {
    }
};

#endif
