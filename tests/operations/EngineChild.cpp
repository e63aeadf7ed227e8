// The engine in a process of its own: engine_child ROOT [nobody] COMMAND ARGUMENT…
//
// With "nobody" it first gives up the rights of the root user. Every line that it writes is
// complete when it is written.

#include "files/Staging.hpp"
#include "support/Statuses.hpp"

#include <cerrno>
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <grp.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace orv::test {
namespace {

using Arguments = std::vector<std::string>;

void become_nobody()
{
    constexpr unsigned nobody = 65534;
    if (::setgroups(0, nullptr) != 0 || ::setgid(nobody) != 0 || ::setuid(nobody) != 0)
        std::_Exit(2);
    ::prctl(PR_SET_DUMPABLE, 1);
}

void configure(const Url& root)
{
    Locations locations;
    locations.home_dir = root.appending("home");
    locations.docs_dir = root.appending("home/Documents");
    locations.app_support_dir = root.appending("support");
    locations.temp_dir = root.appending("tmp");
    OrvFileManager::configure(locations);
}

void say(const std::string& line)
{
    std::cout << line << std::endl;
}

template <class Status>
void say_status(const Status& status)
{
    std::string line = text_of(status);
    if (const auto* failed = std::get_if<status::error>(&status)) {
        line += " " + std::to_string(failed->error.code().value_or(0));
        line += " " + failed->error.path().value_or(Url()).path();
    }
    say(line);
}

template <class Operation>
void wait_for(const std::shared_ptr<Operation>& operation)
{
    MainQueue::instance().run_until([&] { return !operation->is_busy(); });
}

/// Saves attributes, with nothing of the library used before.
void save_rows(const std::string& prefix, int count)
{
    for (int i = 0; i < count; ++i)
        save_all({{.url = prefix + std::to_string(i), .order_no = i}}, false);
    say("saved");
}

/// Builds a file for the folder under a name, as where files cannot be without one.
void build_without_end(const Url& folder)
{
    const FileDescriptor opened(::open(folder.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    Staging staging;
    staging.can_do_otherwise(EPERM);
    const PartialFile file = staging.create({opened.get(), folder});
    say("building");
    for (;;)
        ::pause();
}

/// Moves the item that is at one of two places, or at neither, as often as asked.
void move_to_and_fro(const Url& one, const Url& other, int times)
{
    const auto stop_if_taken = [](const auto& status) { answer(status, ConflictBehaviour::stop); };
    for (int i = 0; i < times; ++i) {
        wait_for(OrvFileManager::singleton().move(one, other, stop_if_taken));
        wait_for(OrvFileManager::singleton().move(other, one, stop_if_taken));
    }
    say("moved");
}

/// Tells what a sum, a listing and a search of the folder leave out: the codes and the names.
void tell_what_is_left_out(const Url& folder)
{
    auto& manager = OrvFileManager::singleton();
    const std::vector<SearchItemsOperation::Criteria> by_name = {
        SearchItemsOperation::Criteria::file_name};
    std::string line;
    for (const std::shared_ptr<OrvOperation>& operation :
         std::initializer_list<std::shared_ptr<OrvOperation>>{
             manager.calculate_folder_size(folder, {}),
             manager.fetch_items(folder, true, {}, true, {}),
             manager.search_items(folder, "b", true, true, by_name, {})}) {
        wait_for(operation);
        for (const Failure& failure : operation->failures())
            line += std::to_string(failure.error.code().value_or(0)) + " " +
                    failure.url.last_path_component() + ", ";
    }
    say(line);
}

void run(const std::string& command, const Arguments& arguments)
{
    if (command == "save")
        return save_rows(arguments.at(0), std::stoi(arguments.at(1)));
    auto& manager = OrvFileManager::singleton();
    const auto take = [](const auto& status) { say_status(status); };
    const auto take_final = [](const auto& status) {
        if (is_final(status))
            say_status(status);
    };
    if (command == "start")
        say("started");
    else if (command == "move-to-and-fro")
        move_to_and_fro(arguments.at(0), arguments.at(1), std::stoi(arguments.at(2)));
    else if (command == "copy")
        wait_for(manager.copy(arguments.at(0), arguments.at(1), take_final));
    else if (command == "size")
        wait_for(manager.calculate_folder_size(arguments.at(0), take));
    else if (command == "list")
        wait_for(manager.fetch_items(arguments.at(0), true, {}, true, take));
    else if (command == "left-out")
        tell_what_is_left_out(arguments.at(0));
    else if (command == "delete")
        wait_for(manager.delete_item(arguments.at(0), take));
    else if (command == "build-without-end")
        build_without_end(arguments.at(0));
    else if (command == "slow-single-copy") {
        OrvFileManager::set_test_mode(true);
        wait_for(manager.single_copy(arguments.at(0), arguments.at(1), false, take));
    }
}

} // namespace
} // namespace orv::test

int main(int count, char** values)
{
    orv::test::Arguments arguments(values + 1, values + count);
    const orv::Url root = arguments.at(0);
    arguments.erase(arguments.begin());
    if (arguments.at(0) == "nobody") {
        orv::test::become_nobody();
        arguments.erase(arguments.begin());
    }
    const std::string command = arguments.at(0);
    arguments.erase(arguments.begin());
    orv::test::configure(root);
    orv::test::run(command, arguments);
    std::fflush(stdout);
    std::_Exit(0);
}
