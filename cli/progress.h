#ifndef RSMPL_CLI_PROGRESS_H
#define RSMPL_CLI_PROGRESS_H

#include <chrono>
#include <mutex>

// One line on standard error about all that is being converted: per cent, times real time, time
// left. Only on a terminal, and only of what takes longer than a second.  For any number of
// threads.
class Progress
{
public:
    explicit Progress(bool wanted);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // `part` of the whole is done, which is 1 and may never be reached, and so many seconds of
    // audio.
    void add(double part, double seconds);

    // Takes the line away; whoever prints to the terminal holds terminal() and calls it first.
    void clear();

private:
    using Clock = std::chrono::steady_clock;

    void show(Clock::time_point now);

    const bool shown_;
    const Clock::time_point began_ = Clock::now();
    std::mutex mutex_;
    Clock::time_point next_ = began_ + std::chrono::seconds(1);
    double done_ = 0, seconds_ = 0;
    bool visible_ = false;
};

#endif
