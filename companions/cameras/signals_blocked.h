// Threads of a library are no place for the host's signals.
#pragma once

#include <csignal>

namespace vexcap::cameras {

/// While it lives, threads that are started from this one are born with all signals blocked: they are the host's.
class SignalsBlocked final {
public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t before;
};

}  // namespace vexcap::cameras
