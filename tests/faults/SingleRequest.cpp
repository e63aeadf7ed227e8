/// The documented request to copy or move one item, which the command does by transfers:
///
///     single_request --home HOME cp|mv FROM TO    replaces the item at TO

#include <orv/orv.hpp>

#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include <unistd.h>

namespace {

using namespace orv;

void work_in(const Url& home)
{
    Locations locations;
    locations.app_id = "orv";
    locations.home_dir = home;
    locations.docs_dir = home.appending("Documents");
    locations.app_support_dir = home.appending(".local/share/orv");
    locations.temp_dir = home.appending(".cache/orv/tmp");
    OrvFileManager::configure(locations);
    set_fatal_handler([](std::string_view) { ::_exit(1); }); // as in the command
}

/// The error that ends the request; none after a success.
template <class Operation, class Start>
std::optional<Error> failure_of(Start start)
{
    std::optional<Error> failure;
    const auto operation = start([&](const typename Operation::Status& status) {
        if (const auto* taken = std::get_if<status::conflict_occured>(&status))
            taken->resolver->resume(ConflictBehaviour::replace, false);
        if (const auto* failed = std::get_if<status::error>(&status))
            failure = failed->error;
    });
    MainQueue::instance().run_until([&] { return !operation->is_busy(); });
    return failure;
}

} // namespace

int main(int count, char** arguments)
{
    if (count != 6)
        return 2;
    work_in(arguments[2]);
    auto& manager = OrvFileManager::singleton();
    const Url from = arguments[4];
    const Url to = arguments[5];
    const auto failure =
        arguments[3] == std::string("cp")
            ? failure_of<CopyOperation>([&](auto take) { return manager.copy(from, to, take); })
            : failure_of<MoveOperation>([&](auto take) { return manager.move(from, to, take); });
    if (!failure)
        return 0;
    std::fprintf(stderr, "%s %s: %s\n", failure->sentence().c_str(),
                 failure->path().value_or(from).path().c_str(), failure->reason().c_str());
    return 1;
}
