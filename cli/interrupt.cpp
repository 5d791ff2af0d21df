#include "cli/interrupt.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <unistd.h>

namespace
{

enum State { kFree, kTaken, kCreating, kExists };

// For the signal handler, which may look at any time.
struct Slot {
    std::atomic<int> state{kFree};
    char name[PATH_MAX];
};

Slot slots[Unfinished::kMost];
std::atomic<bool> ending{false};

constexpr int kDeadly[] = {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM, SIGXCPU};

// Other threads go on meanwhile.  From here on none creates another file, and for one that is just
// being created we wait.
extern "C" void remove_unfinished(int signal)
{
    ending = true;
    for (Slot& slot : slots) {
        while (slot.state == kCreating) {
        }
        if (slot.state == kExists)
            unlink(slot.name);
    }
    std::signal(signal, SIG_DFL);
    raise(signal);
}

// The handler would wait for its own thread.
class SignalsHeld
{
public:
    SignalsHeld()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~SignalsHeld() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsHeld(const SignalsHeld&) = delete;
    SignalsHeld& operator=(const SignalsHeld&) = delete;

private:
    sigset_t before_;
};

} // namespace

void catch_signals()
{
    struct sigaction action {
    };
    action.sa_handler = remove_unfinished;
    sigfillset(&action.sa_mask);
    for (const int signal : kDeadly) {
        struct sigaction before;
        if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
            sigaction(signal, &action, nullptr);
    }
    std::signal(SIGXFSZ, SIG_IGN);
}

Unfinished::Unfinished() : slot_(0)
{
    for (int expected = kFree; !slots[slot_].state.compare_exchange_strong(expected, kTaken);
         expected = kFree)
        if (++slot_ == kMost)
            throw std::length_error("too many files are being written");
}

Unfinished::~Unfinished()
{
    if (slots[slot_].state == kExists)
        unlink(slots[slot_].name);
    slots[slot_].state = kFree;
}

int Unfinished::create(const std::string& folder)
{
    const std::string name = folder + (folder.empty() ? "" : "/") + ".rsmpl-XXXXXX";
    Slot& slot = slots[slot_];
    if (name.size() >= sizeof slot.name) {
        errno = ENAMETOOLONG;
        return -1;
    }
    const SignalsHeld held;
    std::memcpy(slot.name, name.c_str(), name.size() + 1);
    slot.state = kCreating;
    const int descriptor = ending ? -1 : mkstemp(slot.name);
    slot.state = descriptor < 0 ? kTaken : kExists;
    while (ending)
        pause();
    return descriptor;
}

int Unfinished::rename_to(const std::string& target)
{
    const int result = std::rename(slots[slot_].name, target.c_str());
    if (result == 0)
        slots[slot_].state = kTaken;
    return result;
}
