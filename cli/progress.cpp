#include "cli/progress.h"

#include "cli/sound_file.h"

#include <cmath>
#include <cstdio>
#include <unistd.h>

Progress::Progress(bool wanted) : shown_(wanted && isatty(STDERR_FILENO) != 0) {}

Progress::~Progress()
{
    clear();
}

void Progress::add(double part, double seconds)
{
    if (!shown_)
        return;
    const std::lock_guard<std::mutex> lock(mutex_);
    done_ += part;
    seconds_ += seconds;
    const Clock::time_point now = Clock::now();
    if (now < next_)
        return;
    next_ = now + std::chrono::milliseconds(200);
    show(now);
}

void Progress::show(Clock::time_point now)
{
    const double elapsed = std::chrono::duration<double>(now - began_).count();
    const std::lock_guard<std::mutex> lock(terminal());
    if (done_ > 0) {
        const long left = std::lround(elapsed * (1 - done_) / done_);
        std::fprintf(stderr, "\r%3.0f %%, %.0f times real time, %ld:%02ld left\033[K", 100 * done_,
                     seconds_ / elapsed, left / 60, left % 60);
    } else {
        std::fprintf(stderr, "\r%.0f s of audio, %.0f times real time\033[K", seconds_,
                     seconds_ / elapsed);
    }
    visible_ = true;
}

void Progress::clear()
{
    if (visible_)
        std::fputs("\r\033[K", stderr);
    visible_ = false;
}
