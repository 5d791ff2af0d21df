#ifndef RSMPL_CLI_INTERRUPT_H
#define RSMPL_CLI_INTERRUPT_H

#include <string>

// A signal that ends the process first removes what is unfinished; a signal that was ignored
// stays ignored.  Too large a file is an error like others.  To be called once.
void catch_signals();

// A new file beside the place that it is meant for, which goes away again unless it is renamed;
// when a signal ends the process, too.
class Unfinished
{
public:
    static constexpr int kMost = 256; // at once

    Unfinished();
    ~Unfinished();
    Unfinished(const Unfinished&) = delete;
    Unfinished& operator=(const Unfinished&) = delete;

    // A descriptor, open for writing and closed by the caller, or -1 and errno.
    int create(const std::string& folder);

    // 0, or -1 and errno.
    int rename_to(const std::string& target);

private:
    int slot_;
};

#endif
