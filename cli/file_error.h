#ifndef RSMPL_CLI_FILE_ERROR_H
#define RSMPL_CLI_FILE_ERROR_H

#include <cstring>
#include <stdexcept>
#include <string>

// A text without control characters, which are written as \n or \x1b: it stays one line, whatever
// a file is called.
inline std::string printable(const std::string& text)
{
    static const char* const digits = "0123456789abcdef";
    std::string line;
    for (const char c : text) {
        const auto code = static_cast<unsigned char>(c);
        if (c == '\n')
            line += "\\n";
        else if (code < 0x20 || code == 0x7F)
            line += {'\\', 'x', digits[code >> 4U], digits[code & 0xFU]};
        else
            line += c;
    }
    return line;
}

// What went wrong with which file, as "FILE: reason".
class FileError : public std::runtime_error
{
public:
    FileError(const std::string& file, const std::string& reason)
        : std::runtime_error(printable(file) + ": " + reason), reason_(reason)
    {
    }

    FileError(const std::string& file, int errno_value)
        : FileError(file, std::string(std::strerror(errno_value)))
    {
    }

    const std::string& reason() const { return reason_; }

private:
    std::string reason_;
};

// The reader of our output has gone.  There is nobody to tell.
struct ClosedPipe {
};

#endif
