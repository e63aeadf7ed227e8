#include "picture/Decoder.hpp"
#include "picture/DecoderPool.hpp"
#include "picture/Media.hpp"
#include "picture/MemoryBudget.hpp"
#include "support/Scratch.hpp"
#include "support/Tree.hpp"
#include "utility/FileDescriptor.hpp"

#include <orv/utility/Error.hpp>
#include <orv/utility/Locations.hpp>

#include <array>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <optional>
#include <set>
#include <stop_token>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orv::test {
namespace {

using namespace std::chrono_literals;

/// The processes that this one has started, dead ones included.
std::set<pid_t> children()
{
    std::set<pid_t> ids;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream list(thread.path() / "children");
        for (pid_t id = 0; list >> id;)
            ids.insert(id);
    }
    return ids;
}

std::size_t open_descriptors()
{
    const std::filesystem::directory_iterator open("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(open), end(open)));
}

class Helpers : public testing::Test {
protected:
    Helpers()
    {
        write_file(root_ / "a.png", text_of(quarters(64, 48, upright).png()));
        file_ = FileDescriptor(::open((root_ / "a.png").path().c_str(), O_RDONLY | O_CLOEXEC));
    }

    [[nodiscard]] std::string outcome_with(picture::DecoderPool& pool,
                                           SizeWanted wanted = {24, {}}) const
    {
        try {
            const auto decoded = pool.decode(file_.get(), wanted);
            return shows(decoded.picture, upright) ? "right" : "wrong";
        } catch (const Error& error) {
            return error.sentence();
        }
    }

    /// A program that answers as told, after it has done something else.
    [[nodiscard]] Url liar(const std::string& answer, const std::string& work = "pass") const
    {
        const Url program = root_ / "liar";
        write_file(program, "#!/usr/bin/python3\n"
                            "import os, struct, time\n"
                            "os.read(3, 64)\n" +
                                work +
                                "\n"
                                "os.write(3, " +
                                answer +
                                ")\n"
                                "os.read(3, 64)\n");
        ::chmod(program.path().c_str(), 0700);
        return program;
    }

    const Scratch root_;
    FileDescriptor file_;
    const std::string version_ = "struct.pack('IIIIQ', 0x4F525636, ";
    const Url program_ = helper_dir().appending("orv-picture-decoder");
};

TEST_F(Helpers, are_replaced_when_they_are_killed)
{
    picture::DecoderPool pool(program_, Medium::image, 2);
    ASSERT_EQ(outcome_with(pool), "right");
    const std::size_t descriptors = open_descriptors();
    for (int i = 0; i < 40; ++i) {
        const auto helpers = children();
        ASSERT_EQ(helpers.size(), 1U);
        ::kill(*helpers.begin(), SIGKILL);
        // It may still be taken for living when it is asked, and then that one file fails.
        const std::string outcome = outcome_with(pool);
        if (outcome != "right") {
            EXPECT_EQ(outcome, "The helper that decodes pictures ended over this file.");
            EXPECT_EQ(outcome_with(pool), "right");
        }
    }
    EXPECT_EQ(open_descriptors(), descriptors);
}

TEST_F(Helpers, work_on_several_files_at_once_while_they_are_killed)
{
    const auto before = children();
    const std::size_t descriptors = open_descriptors();
    {
        picture::DecoderPool pool(program_, Medium::image, 3);
        std::atomic<int> answers = 0;
        std::atomic<bool> is_done = false;
        std::vector<std::thread> askers;
        for (int i = 0; i < 6; ++i)
            askers.emplace_back([&] {
                for (int n = 0; n < 20; ++n, ++answers)
                    EXPECT_NE(outcome_with(pool), "wrong");
            });
        std::thread killer([&] {
            while (!is_done) {
                const auto helpers = children();
                if (!helpers.empty())
                    ::kill(*helpers.rbegin(), SIGKILL);
                std::this_thread::yield();
            }
        });
        for (std::thread& asker : askers)
            asker.join();
        is_done = true;
        killer.join();
        EXPECT_EQ(answers, 120);
        EXPECT_EQ(outcome_with(pool), "right");
    }
    EXPECT_EQ(children(), before);
    EXPECT_EQ(open_descriptors(), descriptors);
}

TEST_F(Helpers, may_be_waited_for_by_the_application)
{
    for (const auto handler : {SIG_DFL, SIG_IGN}) {
        ::signal(SIGCHLD, handler);
        picture::DecoderPool pool(program_, Medium::image, 1);
        EXPECT_EQ(outcome_with(pool), "right");
        const auto helpers = children();
        ASSERT_EQ(helpers.size(), 1U);
        ::kill(*helpers.begin(), SIGKILL);
        const pid_t waited_for = ::waitpid(-1, nullptr, 0);
        EXPECT_EQ(waited_for, handler == SIG_IGN ? -1 : *helpers.begin());
        static_cast<void>(outcome_with(pool));
        EXPECT_EQ(outcome_with(pool), "right");
    }
    ::signal(SIGCHLD, SIG_DFL);
    EXPECT_TRUE(children().empty());
}

TEST_F(Helpers, that_do_not_answer_as_agreed_are_errors_within_two_seconds)
{
    const std::string odd = "The helper that decodes pictures does not answer as agreed.";
    const std::string dead = "The helper that decodes pictures ended over this file.";
    struct Case {
        const char* what;
        Url program;
        std::string sentence;
    };
    const auto check = [&](const Case& row) {
        const auto start = std::chrono::steady_clock::now();
        picture::DecoderPool pool(row.program, Medium::image, 1, {300ms, 300ms});
        EXPECT_EQ(outcome_with(pool, {}), row.sentence) << row.what;
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2)) << row.what;
        EXPECT_LE(children().size(), 1U);
    };
    check({"none", "/no/such/helper", "The helper that decodes pictures cannot be started."});
    check({"no program", root_ / "a.png", "The helper that decodes pictures cannot be started."});
    check({"one that ends", "/bin/true", dead});
    check({"one that computes", "/usr/bin/yes", "The file takes too long to decode."});
    check({"another version", liar("struct.pack('IIIIQ', 7, 0, 64, 48, 0)"),
           "The helper that decodes pictures is of another version."});
    check({"no end of words", liar(version_ + "0xFFFFFFFF, 64, 48, 0)"), odd});
    check({"no end of pixels", liar(version_ + "0, 0xFFFFFFFF, 0xFFFFFFFF, 0)"), odd});
    check({"no pixels", liar(version_ + "0, 0, 48, 0)"), odd});
    check({"no end of needs", liar(version_ + "0, 64, 48, 1)"), odd});
    check({"too few pixels", liar(version_ + "0, 64, 48, 0) + b'x' * 9"),
           "The file takes too long to decode."});
    check({"words for a terminal", liar(version_ + "5, 64, 48, 0) + b'a\\x1b[2J'"), "a [2J"});
    EXPECT_TRUE(children().empty());
}

TEST_F(Helpers, have_time_to_wait_for_the_machine_and_to_work_little_by_little)
{
    // While a process is made, its maker waits as for a disk; here until somebody opens a pipe.
    const std::string pipe = "'" + (root_ / "pipe").path() + "'";
    const std::string waiting = "os.mkfifo(" + pipe +
                                ")\n"
                                "if os.fork() == 0: time.sleep(0.8), open(" +
                                pipe +
                                ", 'w'), os._exit(0)\n"
                                "os.posix_spawn('/bin/true', ['true'], {}, file_actions="
                                "[(os.POSIX_SPAWN_OPEN, 0, " +
                                pipe + ", os.O_RDONLY, 0)])";
    const std::string refusal = version_ + "4, 0, 0, 0) + b'done'";
    for (const std::string& work : {waiting, std::string("for n in range(30): time.sleep(0.02)")}) {
        picture::DecoderPool pool(liar(refusal, work), Medium::image, 1, {2s, 300ms});
        EXPECT_EQ(outcome_with(pool), "done") << work;
    }
}

TEST_F(Helpers, are_waited_for_no_longer_when_the_request_is_cancelled)
{
    const Url asked = root_ / "asked";
    const Url silent = liar("b''", "open('" + asked.path() + "', 'w')");
    picture::DecoderPool pool(silent, Medium::image, 1);
    std::stop_source stop;
    std::atomic<int> ended = 0;
    std::vector<std::thread>
        askers; // one has the helper, which says nothing, the others their turn
    for (int i = 0; i < 3; ++i)
        askers.emplace_back([&] {
            EXPECT_THROW(static_cast<void>(pool.decode(file_.get(), {24, {}}, stop.get_token())),
                         Exception);
            ++ended;
        });
    while (!std::filesystem::exists(asked))
        std::this_thread::yield();
    EXPECT_EQ(ended, 0);
    const auto start = std::chrono::steady_clock::now();
    stop.request_stop();
    for (std::thread& asker : askers)
        asker.join();
    EXPECT_LT(std::chrono::steady_clock::now() - start, 200ms);
    EXPECT_TRUE(children().empty());
}

TEST_F(Helpers, take_no_more_memory_than_there_is_for_all)
{
    if (lacks_tools())
        GTEST_SKIP();
    // Progressive: 66 MB of coefficients have to be there before the first row is.
    run_in(root_.url(), "vips zoom a.png b.v 60 60 && vips jpegsave b.v b.jpg --interlace -Q 95");
    file_ = FileDescriptor(::open((root_ / "b.jpg").path().c_str(), O_RDONLY | O_CLOEXEC));
    constexpr std::uint64_t mebibyte = std::uint64_t{1} << 20;
    for (const auto& [total, is_enough] :
         {std::pair{40 * mebibyte, false}, {60 * mebibyte, false}, {200 * mebibyte, true}}) {
        picture::MemoryBudget budget(total);
        picture::DecoderPool pool(program_, Medium::image, 2, {}, budget);
        std::vector<std::thread> askers;
        for (int i = 0; i < 3; ++i)
            askers.emplace_back([&] { EXPECT_EQ(outcome_with(pool) == "right", is_enough); });
        for (std::thread& asker : askers)
            asker.join();
    }
}

TEST(MemoryBudget, never_gives_more_than_there_is_and_forgets_nobody)
{
    constexpr std::uint64_t total = 100;
    picture::MemoryBudget budget(total);
    std::atomic<std::uint64_t> taken = 0;
    std::vector<std::thread> askers;
    for (unsigned i = 0; i < 4; ++i)
        askers.emplace_back([&, i] {
            for (unsigned n = 0; n < 300; ++n) {
                const picture::MemoryBudget::Share share(budget, (n * 37 + i * 11) % 130, {});
                EXPECT_LE(taken += share.size(), total);
                std::this_thread::yield();
                taken -= share.size();
            }
        });
    for (std::thread& asker : askers)
        asker.join();

    std::optional<picture::MemoryBudget::Share> most;
    most.emplace(budget, 90, std::stop_token());
    std::stop_source stop;
    std::thread first([&] { // waits for all of it, and keeps those after it waiting
        EXPECT_THROW(picture::MemoryBudget::Share(budget, total, stop.get_token()), Exception);
    });
    std::thread second([&] { const picture::MemoryBudget::Share share(budget, 5, {}); });
    stop.request_stop();
    first.join();
    second.join();
    most.reset();
    EXPECT_TRUE(picture::MemoryBudget::Share(budget, 1000, {}).is_all());
}

TEST_F(Helpers, end_with_the_application_however_it_ends)
{
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    const pid_t application = ::fork();
    if (application == 0) {
        picture::DecoderPool pool(program_, Medium::image, 1);
        static_cast<void>(outcome_with(pool));
        const pid_t helper = *children().begin();
        ::kill(helper, SIGSTOP); // so that it notices nothing itself
        static_cast<void>(::write(ends[1], &helper, sizeof helper));
        ::pause();
    }
    pid_t helper = 0;
    ASSERT_EQ(::read(ends[0], &helper, sizeof helper), ssize_t{sizeof helper});
    const FileDescriptor process(static_cast<int>(::syscall(SYS_pidfd_open, helper, 0)));
    ::kill(application, SIGKILL);
    ::waitpid(application, nullptr, 0);
    pollfd end{process.get(), POLLIN, 0};
    EXPECT_EQ(::poll(&end, 1, 5000), 1);
    for (const int descriptor : ends)
        ::close(descriptor);
}

TEST_F(Helpers, cannot_reach_anything_but_their_file)
{
    picture::DecoderPool pool(program_, Medium::image, 1);
    ASSERT_EQ(outcome_with(pool), "right");
    const std::string process = "/proc/" + std::to_string(*children().begin());
    const std::string status = read_file(Url(process + "/status"));
    EXPECT_NE(status.find("\nNoNewPrivs:\t1\n"), std::string::npos);
    EXPECT_NE(status.find("\nSeccomp:\t2\n"), std::string::npos);
    std::ifstream limits(process + "/limits");
    for (std::string line; std::getline(limits, line);)
        for (const char* what : {"Max cpu time", "Max file size", "Max address space"})
            EXPECT_FALSE(line.starts_with(what) && line.find("unlimited") == 26) << line;
    for (const auto& entry : std::filesystem::directory_iterator(process + "/fd")) {
        const std::string target = std::filesystem::read_symlink(entry).string();
        // It closes its file a moment after it has answered.
        EXPECT_TRUE(target == "/dev/null" || target == (root_ / "a.png").path() ||
                    target.starts_with("socket:") || target.starts_with("pipe:") ||
                    target.starts_with("anon_inode:"))
            << target;
    }
}

TEST_F(Helpers, start_where_standard_descriptors_are_closed)
{
    for (unsigned closed = 1; closed < 8; ++closed) {
        std::array<FileDescriptor, 3> kept;
        for (int i = 0; i < 3; ++i)
            if (closed >> i & 1U) {
                kept.at(static_cast<std::size_t>(i)) =
                    FileDescriptor(::fcntl(i, F_DUPFD_CLOEXEC, 3));
                ::close(i);
            }
        const std::string outcome = [&] {
            picture::DecoderPool pool(program_, Medium::image, 1);
            return outcome_with(pool);
        }();
        for (int i = 0; i < 3; ++i)
            if (const auto& own = kept.at(static_cast<std::size_t>(i)))
                ::dup2(own.get(), i);
        EXPECT_EQ(outcome, "right") << closed;
    }
}

TEST_F(Helpers, are_out_of_reach_of_the_keys_of_a_terminal)
{
    picture::DecoderPool pool(program_, Medium::image, 1);
    ASSERT_EQ(outcome_with(pool), "right");
    const pid_t helper = *children().begin();
    EXPECT_EQ(::getsid(helper), helper);
}

TEST_F(Helpers, leave_no_file_behind)
{
    const Url home = root_ / "home";
    std::filesystem::create_directory(home);
    for (const char* name : {"HOME", "TMPDIR", "XDG_RUNTIME_DIR"})
        ::setenv(name, home.path().c_str(), 1);
    const Url file = root_ / "b.jpg"; // for which code is made while it is decoded
    write_file(file, text_of(quarters(640, 480, upright).jpeg(1)));
    EXPECT_TRUE(shows(decode_picture(file, Medium::image, {24, {}}).picture, upright));
    EXPECT_EQ(tree(home), std::vector<std::string>{});
}

} // namespace
} // namespace orv::test
