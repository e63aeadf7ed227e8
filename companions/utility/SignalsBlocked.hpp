#pragma once

#include <initializer_list>

#include <signal.h>

namespace orv {

/// Blocks the signals sent from outside while it lives: a thread started meanwhile never runs the
/// application's handlers for them. Those of a fault in the thread itself stay with it, for the
/// application's crash reports.
class SignalsBlocked {
public:
    SignalsBlocked()
    {
        sigset_t blocked;
        ::sigfillset(&blocked);
        for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS})
            ::sigdelset(&blocked, fault);
        ::pthread_sigmask(SIG_SETMASK, &blocked, &before_);
    }
    ~SignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t before_{};
};

} // namespace orv
