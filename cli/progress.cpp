#include "cli/progress.h"

#include "cli/sound_file.h"

#include <climits>
#include <cmath>
#include <cstdio>
#include <sys/ioctl.h>
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
    char line[100];
    if (done_ > 0) {
        const long left = std::lround(elapsed * (1 - done_) / done_);
        std::snprintf(line, sizeof line, "%3.0f %%, %.0f times real time, %ld:%02ld left",
                      100 * done_, seconds_ / elapsed, left / 60, left % 60);
    } else {
        std::snprintf(line, sizeof line, "%.0f s of audio, %.0f times real time", seconds_,
                      seconds_ / elapsed);
    }
    winsize window{};
    ioctl(STDERR_FILENO, TIOCGWINSZ, &window);
    const int room = window.ws_col > 0 ? window.ws_col - 1 : INT_MAX; // a second line would stay
    std::fprintf(stderr, "\r%.*s\033[K", room, line);
    visible_ = true;
}

void Progress::clear()
{
    if (visible_)
        std::fputs("\r\033[K", stderr);
    visible_ = false;
}
