#include "support/Supervisor.hpp"

#include "support/SupervisedProcess.hpp"
#include "support/WatchedCalls.hpp"

#include <cerrno>
#include <chrono>
#include <regex>

#include <linux/seccomp.h>
#include <poll.h>
#include <sys/ioctl.h>

namespace orv::test {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto time_allowed = std::chrono::seconds(30);

int milliseconds_until(Clock::time_point end)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
    return left > 0 ? static_cast<int>(left) : 0;
}

/// Answers the calls of one process as they come.
class Listening {
public:
    Listening(SupervisedProcess& process, const std::string& root, const Fault& fault,
              const Lacking& lacking, Supervision& result)
        : process_(process), root_(root), fault_(fault), lacking_(lacking), result_(result)
    {
    }

    void run()
    {
        const Clock::time_point end = Clock::now() + time_allowed;
        for (;;) {
            pollfd calls{process_.listener(), POLLIN, 0};
            const int ready = ::poll(&calls, 1, milliseconds_until(end));
            if (ready == 0 && !result_.hung) {
                result_.hung = true;
                kill();
            } else if ((calls.revents & POLLIN) != 0) {
                take_call();
            } else if ((calls.revents & POLLHUP) != 0) {
                return;
            }
        }
    }

private:
    void take_call()
    {
        seccomp_notif call{};
        if (::ioctl(process_.listener(), SECCOMP_IOCTL_NOTIF_RECV, &call) != 0)
            return; // its thread has ended
        if (is_killed_)
            return; // a call that is answered now would still happen
        seccomp_notif_resp answer{};
        answer.id = call.id;
        answer.flags = SECCOMP_USER_NOTIF_FLAG_CONTINUE;
        if (const int code = code_of_lacking(lacking_, call))
            refuse(answer, code);
        else
            count(call, answer);
        if (!is_killed_)
            ::ioctl(process_.listener(), SECCOMP_IOCTL_NOTIF_SEND, &answer);
    }

    void count(const seccomp_notif& call, seccomp_notif_resp& answer)
    {
        const std::string text = call_below(root_, call);
        if (text.empty())
            return;
        result_.calls.push_back(text);
        if (std::regex_search(text, counted_) && ++count_ == fault_.at)
            meet(text, answer);
    }

    void kill()
    {
        is_killed_ = true;
        process_.kill();
    }

    static void refuse(seccomp_notif_resp& answer, int code)
    {
        answer.flags = 0;
        answer.error = -code;
    }

    void meet(const std::string& text, seccomp_notif_resp& answer)
    {
        result_.hit = text;
        switch (fault_.kind) {
        case Fault::Kind::none:
            break;
        case Fault::Kind::kill:
            if (fault_.hook)
                fault_.hook();
            kill();
            break;
        case Fault::Kind::error:
            refuse(answer, fault_.code);
            break;
        case Fault::Kind::pause:
            fault_.hook();
            break;
        }
    }

    SupervisedProcess& process_;
    const std::string& root_;
    const Fault& fault_;
    const Lacking& lacking_;
    Supervision& result_;
    const std::regex counted_{fault_.only};
    long count_ = 0;
    bool is_killed_ = false;
};

} // namespace

Supervision supervise(const std::vector<std::string>& command, const std::string& root,
                      const Fault& fault, const Lacking& lacking)
{
    Supervision result;
    SupervisedProcess process(command);
    Listening(process, root, fault, lacking, result).run();
    const auto ending = process.wait();
    result.exit_code = ending.exit_code;
    result.signal = ending.signal;
    result.errors = process.errors();
    return result;
}

} // namespace orv::test
