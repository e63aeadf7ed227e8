#include "CommandLine.hpp"
#include "Commands.hpp"
#include "Failure.hpp"
#include "Interrupt.hpp"
#include "LargeOutput.hpp"
#include "Terminal.hpp"

#include <orv/orv.hpp>

#include <clocale>
#include <csignal>

#include <malloc.h>
#include <unistd.h>

namespace orv::app {
namespace {

constexpr int done = 0;
constexpr int failed = 1;

Locations locations_for(const GlobalOptions& options)
{
    Locations locations;
    locations.app_id = options.app_id;
    if (!options.home)
        return locations;
    const Url home(*options.home);
    locations.home_dir = home;
    locations.docs_dir = home.appending("Documents");
    locations.app_support_dir = home.appending(".local/share").appending(options.app_id);
    locations.trash_dir = home.appending(".local/share/Trash");
    locations.volumes_dir = home;
    locations.temp_dir = home.appending(".cache").appending(options.app_id).appending("tmp");
    return locations;
}

/// The engine's last words are on standard error by then.
void end_after_fatal_error(std::string_view /*text*/)
{
    ::_exit(failed);
}

void set_up_process(const GlobalOptions& options)
{
    // A long list grows on a background thread, and a heap of its own would grow by single pages.
    ::mallopt(M_ARENA_MAX, 1);
    std::signal(SIGPIPE, SIG_IGN);
    std::setlocale(LC_CTYPE, "C.UTF-8"); // the source of the widths of characters
    handle_interrupts();
    set_fatal_handler(end_after_fatal_error);
    OrvFileManager::configure(locations_for(options));
    OrvFileManager::set_follows_items(true);
}

Surroundings surroundings_for(const GlobalOptions& options)
{
    return {.shows_progress = !options.quiet && is_output_terminal(),
            .can_ask = !options.quiet && app::can_ask(),
            .is_quiet = options.quiet};
}

/// Reports that Ctrl-C came too late to stop the request.
int tell_of_late_interrupt()
{
    write_message("orv: It was done before the interrupt took effect.\n");
    return interrupted_exit;
}

/// Does `work`, and says how it ended.
template <class Work>
int exit_code_of(const Work& work)
{
    try {
        work();
        return was_interrupted() ? tell_of_late_interrupt() : done;
    } catch (const Interrupted&) {
        return interrupted_exit;
    } catch (const Failed&) {
        return failed;
    } catch (const ClosedOutput&) {
        return failed;
    } catch (const ToldFailure&) {
        return was_interrupted() ? interrupted_exit : failed;
    } catch (const Error& error) {
        print_failure(error);
        return was_interrupted() ? interrupted_exit : failed;
    } catch (const std::exception& error) {
        print_failure(Error(error.what()));
        return failed;
    }
}

int carry_out(const Invocation& invocation)
{
    set_up_process(invocation.options);
    const Surroundings surroundings = surroundings_for(invocation.options);
    return exit_code_of([&] {
        OrvFileManager::create_singleton();
        std::visit([&](const auto& command) { run(command, surroundings); }, invocation.command);
    });
}

int tell(const Reply& reply)
{
    std::signal(SIGPIPE, SIG_IGN);
    write_message(reply.complaint);
    const int code = exit_code_of([&] {
        LargeOutput output;
        output.write(reply.output);
        output.finish();
    });
    return code == done ? reply.exit_code : code;
}

int answer(int argc, const char* const* argv)
{
    return match(
        parse_command_line(argc, argv), [](const Reply& reply) { return tell(reply); },
        [](const Invocation& invocation) { return carry_out(invocation); });
}

} // namespace
} // namespace orv::app

int main(int argc, char** argv)
{
    return orv::app::answer(argc, argv);
}
