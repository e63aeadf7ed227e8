#include "faults/Sweep.hpp"

#include "faults/Checker.hpp"

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace orv::test {
namespace {

class Sweeping {
public:
    Sweeping(const std::function<std::function<Trial(long)>()>& make_trial, long step)
        : make_trial_(make_trial), step_(step)
    {
    }

    Tally run()
    {
        std::vector<std::jthread> workers;
        const unsigned count = std::max(1U, std::thread::hardware_concurrency());
        for (unsigned i = 0; i < count; ++i)
            workers.emplace_back([this] { work(); });
        workers.clear();
        return tally_;
    }

private:
    void work()
    {
        const auto trial = make_trial_();
        while (!is_at_end_) {
            const long at = 1 + step_ * next_++;
            const Trial result = trial(at);
            if (!result.hit)
                is_at_end_ = true;
            else
                count(at, result);
        }
    }

    void count(long at, const Trial& trial)
    {
        const std::lock_guard lock(mutex_);
        ++tally_.injected;
        if (trial.problems.empty())
            return;
        ++tally_.lost;
        for (const std::string& problem : trial.problems)
            tally_.problems.push_back("call " + std::to_string(at) + " (" + trial.call +
                                      "): " + problem);
    }

    const std::function<std::function<Trial(long)>()>& make_trial_;
    const long step_;
    std::atomic<long> next_ = 0;
    std::atomic<bool> is_at_end_ = false;
    std::mutex mutex_;
    Tally tally_;
};

} // namespace

SiteOfCase::SiteOfCase(const FaultCase& case_)
    : request(case_), site(request.first.empty() ? request.before : request.start)
{
    site.lack(request.lacking);
    site.give_input(request.input);
    if (request.needs_volume)
        for (const char* place : {"volume", "home/disk"})
            volumes.push_back(Mount::tmpfs(site.root().appending(place), request.tight_volume));
}

void SiteOfCase::reset()
{
    site.reset();
    if (!request.first.empty() && site.run(request.first).exit_code != 0)
        throw std::runtime_error("the first request doesn't work");
}

Tally& Tally::operator+=(const Tally& other)
{
    injected += other.injected;
    lost += other.lost;
    problems.insert(problems.end(), other.problems.begin(), other.problems.end());
    return *this;
}

Tally sweep(const std::function<std::function<Trial(long at)>()>& make_trial, long step)
{
    return Sweeping(make_trial, step).run();
}

Tally sweep(const FaultCase& request, Fault::Kind kind, int code, long step)
{
    const auto make_trial = [&]() -> std::function<Trial(long)> {
        return [&, place = std::make_shared<SiteOfCase>(request)](long at) {
            place->reset();
            const Fault fault{.kind = kind, .at = at, .code = code};
            const Supervision ending = place->site.run(request.arguments, fault);
            return Trial{!ending.hit.empty(), ending.hit,
                         wrong_after(request, place->site, fault, ending)};
        };
    };
    return sweep(make_trial, step);
}

} // namespace orv::test
