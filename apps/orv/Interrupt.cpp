#include "Interrupt.hpp"

#include "Terminal.hpp"

#include <orv/utility/MainQueue.hpp>

#include <atomic>
#include <thread>
#include <utility>

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

namespace orv::app {
namespace {

std::atomic<bool> is_request_under_way = false;
std::atomic<bool> is_stop_asked = false;

// Main thread only. Never destroyed: an interrupt may come while the process ends.
std::function<void()>& stop_request()
{
    static auto* stop = new std::function<void()>;
    return *stop;
}

[[noreturn]] void end_process()
{
    end_last_line();
    ::_exit(interrupted_exit);
}

void take_interrupt()
{
    if (!is_request_under_way || is_stop_asked.exchange(true))
        end_process();
    main_async([] {
        if (stop_request())
            stop_request()();
    });
}

/// The signals to answer. A signal the process was started to ignore stays ignored.
sigset_t interrupting_signals()
{
    sigset_t signals;
    ::sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action {};
        if (::sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN)
            ::sigaddset(&signals, signal);
    }
    return signals;
}

} // namespace

void handle_interrupts()
{
    const sigset_t signals = interrupting_signals();
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::thread([signals] {
        ::pthread_setname_np(::pthread_self(), "orv-signals");
        for (int signal = 0;;)
            if (::sigwait(&signals, &signal) == 0)
                take_interrupt();
    }).detach();
}

bool was_interrupted()
{
    return is_stop_asked;
}

Stoppable::Stoppable(std::function<void()> stop)
{
    stop_request() = std::move(stop);
    is_request_under_way = true;
}

Stoppable::~Stoppable()
{
    is_request_under_way = false;
    stop_request() = nullptr;
}

} // namespace orv::app
