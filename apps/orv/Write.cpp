#include "Commands.hpp"
#include "Conflicts.hpp"
#include "Failure.hpp"
#include "ProgressBar.hpp"
#include "Terminal.hpp"
#include "Waiting.hpp"

#include <orv/orv.hpp>

#include <cerrno>
#include <cstddef>
#include <new>

#include <poll.h>
#include <unistd.h>

namespace orv::app {
namespace {

constexpr std::size_t block_size = 256 * 1024;

using Bytes = std::vector<std::byte>;

void check_file(const WriteCommand& command)
{
    const Url file(command.file);
    if (command.file.ends_with('/') || OrvFileManager::singleton().is_directory(file))
        throw Error("Data can't be written to a folder.").at(file);
}

/// Reads what there is, at most a block. False at the end.
bool read_some(Bytes& data)
{
    const std::size_t held = data.size();
    data.resize(held + block_size);
    ssize_t length = 0;
    while ((length = ::read(STDIN_FILENO, data.data() + held, block_size)) < 0) {
        if (errno != EINTR && errno != EAGAIN)
            throw Error("Couldn't read the input.").because_of(platform_error(errno, Url()));
        // Standard input may have been made non-blocking by a process that shares it.
        pollfd input{STDIN_FILENO, POLLIN, 0};
        ::poll(&input, 1, -1);
    }
    data.resize(held + static_cast<std::size_t>(length));
    return length > 0;
}

Bytes standard_input()
try {
    Bytes data;
    while (read_some(data)) {
    }
    return data;
} catch (const std::bad_alloc&) {
    throw Error("The input does not fit into the memory.");
}

/// The writing of a file as the person at the terminal takes part in it.
class Writing {
public:
    Writing(const WriteCommand& command, const Surroundings& surroundings)
        : file_(command.file), conflicts_(command.on_conflict, surroundings.can_ask),
          bar_(surroundings.shows_progress)
    {
    }

    void run(Bytes data)
    {
        bar_.set_total(static_cast<std::int64_t>(data.size()));
        const auto start = [&](auto closure) {
            return OrvFileManager::singleton().generate_file(
                std::move(data), file_, [this, closure](const DataToFileOpr::Status& status) {
                    take(status);
                    closure(status);
                });
        };
        const auto status = final_status<DataToFileOpr>(
            start, {.tick = bar_.ticker(), .question = &conflicts_.question()});
        if (const auto* failed = std::get_if<status::error>(&status))
            throw told_of(file_, failed->error);
        if (std::holds_alternative<status::cancelled>(status))
            conflicts_.throw_cancelled();
        bar_.finish();
    }

private:
    void take(const DataToFileOpr::Status& status)
    {
        match(
            status,
            [&](const status::progress<GeneralProgress>& s) { show_progress(s.record.value); },
            [&](const status::conflict_occured& s) { conflicts_.settle(s.resolver); },
            [](const status::error&) {}, [](const status::success&) {},
            [](const status::cancelled&) {});
    }

    void show_progress(float value)
    {
        if (value == 0)
            bar_.start();
        bar_.set_progress({file_.last_path_component(), false, value});
    }

    Url file_;
    Conflicts conflicts_;
    ProgressBar bar_;
};

} // namespace

void run(const WriteCommand& command, const Surroundings& surroundings)
{
    check_file(command);
    Bytes data = standard_input();
    Surroundings now = surroundings;
    if (!command.on_conflict && !now.is_quiet && !now.can_ask)
        now.can_ask = take_terminal_as_input();
    Writing(command, now).run(std::move(data));
}

} // namespace orv::app
