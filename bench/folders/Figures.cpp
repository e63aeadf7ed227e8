#include "folders/Figures.hpp"

#include <orv/utility/MainQueue.hpp>

#include <algorithm>
#include <cstdio>

#include <fmt/format.h>
#include <poll.h>

namespace orv::bench {

double ms_since(Clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double processor_ms(clockid_t clock)
{
    timespec used{};
    ::clock_gettime(clock, &used);
    return static_cast<double>(used.tv_sec) * 1e3 + static_cast<double>(used.tv_nsec) / 1e6;
}

void print_row(const std::string& what, double figure, const char* unit, double aim)
{
    fmt::print("  {:64} {:>9.2f} {:<2}  aim {:g}{}\n", what, figure, unit, aim,
               figure <= aim ? "" : "  missed");
    std::fflush(stdout);
}

double busiest_turn_ms(FunctionRef<bool()> predicate)
{
    double busiest = 0;
    while (!predicate()) {
        pollfd event{MainQueue::instance().fd(), POLLIN, 0};
        ::poll(&event, 1, -1);
        const double before = processor_ms(CLOCK_THREAD_CPUTIME_ID);
        MainQueue::instance().drain();
        busiest = std::max(busiest, processor_ms(CLOCK_THREAD_CPUTIME_ID) - before);
    }
    return busiest;
}

} // namespace orv::bench
