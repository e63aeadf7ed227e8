#include "Operations/frame/UrlLocker.hpp"
#include "support/Engine.hpp"
#include "support/Statuses.hpp"
#include "support/WatchedCalls.hpp"
#include "utility/FileDescriptor.hpp"

#include <atomic>
#include <cstddef>
#include <functional>
#include <future>
#include <memory>
#include <span>
#include <thread>

#include <poll.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

namespace orv::test {
namespace {

using Start = std::function<std::function<bool()>(OrvFileManager&, const Url& folder)>;

/// A request, and the items that it holds while it changes anything: names in the test's folder.
struct Locking {
    const char* name;
    std::vector<std::string> before;
    std::vector<std::string> written;
    Start start; ///< returns a test for whether the request is busy
};

/// Lets the thread that calls it, and those that it starts, wait for answers before each call that
/// gives or takes a name. Other calls may happen under locks that the answering thread needs.
FileDescriptor watch_this_thread()
{
    std::vector<sock_filter> filter{BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
    for (const int call :
         {SYS_renameat, SYS_renameat2, SYS_linkat, SYS_unlinkat, SYS_mkdirat, SYS_symlinkat}) {
        filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(call), 0, 1));
        filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_USER_NOTIF));
    }
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    return FileDescriptor(static_cast<int>(::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER,
                                                     SECCOMP_FILTER_FLAG_NEW_LISTENER, &program)));
}

/// Starts requests in threads whose calls it sees, on the main thread.
class Watcher {
public:
    explicit Watcher(const Url& folder) : folder_(folder) {}

    /// Calls `on_change` before each call by which the request gives or takes a name below the
    /// folder.
    void run(const Start& start, const Url& place,
             const std::function<void(const std::string& call)>& on_change)
    {
        std::promise<FileDescriptor> listener;
        std::function<bool()> is_busy;
        std::thread starter([&] {
            listener.set_value(watch_this_thread());
            is_busy = start(OrvFileManager::singleton(), place);
            is_started_ = true;
        });
        // A worker that stays idle may serve the next request, and is still seen by this listener.
        listeners_.push_back(listener.get_future().get());
        while (!is_started_ || is_busy()) {
            answer_calls(on_change);
            MainQueue::instance().drain();
        }
        starter.join();
        is_started_ = false;
    }

private:
    void answer_calls(const std::function<void(const std::string& call)>& on_change)
    {
        std::vector<pollfd> waiting{{MainQueue::instance().fd(), POLLIN, 0}};
        for (const FileDescriptor& listener : listeners_)
            waiting.push_back({listener.get(), POLLIN, 0});
        ::poll(waiting.data(), waiting.size(), 10);
        for (const pollfd& listener : std::span(waiting).subspan(1))
            if ((listener.revents & POLLIN) != 0)
                answer_call(listener.fd, on_change);
    }

    void answer_call(int listener, const std::function<void(const std::string& call)>& on_change)
    {
        seccomp_notif call{};
        if (::ioctl(listener, SECCOMP_IOCTL_NOTIF_RECV, &call) != 0)
            return;
        const std::string text = call_below(folder_.path(), call);
        if (!text.empty())
            on_change(text);
        seccomp_notif_resp go_on{};
        go_on.id = call.id;
        go_on.flags = SECCOMP_USER_NOTIF_FLAG_CONTINUE;
        ::ioctl(listener, SECCOMP_IOCTL_NOTIF_SEND, &go_on);
    }

    Url folder_;
    std::vector<FileDescriptor> listeners_;
    std::atomic<bool> is_started_ = false;
};

template <class Operation>
std::function<bool()> busy(std::shared_ptr<Operation> operation)
{
    return [operation = std::move(operation)] { return operation->is_busy(); };
}

constexpr auto replace = [](const auto& status) { answer(status, ConflictBehaviour::replace); };

const Locking lockings[] = {
    {"move",
     {"a/", "a/x=1"},
     {"b"},
     [](auto& m, const Url& f) { return busy(m.move(f.appending("a"), f.appending("b"), {})); }},
    {"move_that_replaces",
     {"a/", "a/x=1", "b/", "b/y=2"},
     {"b"},
     [](auto& m, const Url& f) {
         return busy(m.move(f.appending("a"), f.appending("b"), replace));
     }},
    {"move_of_several",
     {"a=1", "to/"},
     {"to/a"},
     [](auto& m, const Url& f) {
         return busy(m.move(std::vector{f.appending("a")}, f.appending("to"), {}));
     }},
    {"rename",
     {"a=1"},
     {"b"},
     [](auto& m, const Url& f) { return busy(m.rename(f.appending("a"), "b", {})); }},
    {"copy_that_replaces",
     {"a/", "a/x=1", "b=2"},
     {"b"},
     [](auto& m, const Url& f) {
         return busy(m.copy(f.appending("a"), f.appending("b"), replace));
     }},
    {"delete",
     {"a/", "a/x=1"},
     {"a"},
     [](auto& m, const Url& f) { return busy(m.delete_item(f.appending("a"), {})); }},
    {"write_that_replaces",
     {"b=2"},
     {"b"},
     [](auto& m, const Url& f) {
         return busy(m.generate_file({std::byte{1}}, f.appending("b"), replace));
     }},
    {"zip",
     {"a/", "a/x=1"},
     {"b"},
     [](auto& m, const Url& f) {
         return busy(m.zip({f.appending("a")}, f.appending("b"), std::nullopt,
                           ConflictBehaviour::stop, {}));
     }},
};

class LocksTest : public EngineTest {};

TEST_F(LocksTest, are_held_whenever_a_request_gives_or_takes_a_name)
{
    Watcher watcher(folder());
    for (const Locking& locking : lockings) {
        SCOPED_TRACE(locking.name);
        const Url place = at(locking.name);
        make_tree(place, locking.before);
        int changes = 0;
        watcher.run(locking.start, place, [&](const std::string& call) {
            ++changes;
            for (const std::string& name : locking.written)
                EXPECT_TRUE(UrlLocker::is_write_locked(place.appending(name))) << call;
        });
        EXPECT_GT(changes, 0);
        expect_no_locks();
    }
}

} // namespace
} // namespace orv::test
