#include "Commands.hpp"
#include "Failure.hpp"
#include "HumanText.hpp"
#include "LargeOutput.hpp"
#include "SelfNames.hpp"
#include "Text.hpp"
#include "Waiting.hpp"

#include <orv/orv.hpp>

#include <memory>

namespace orv::app {
namespace {

std::vector<Url> urls_to_delete(const RemoveCommand& command)
{
    std::vector<Url> urls;
    for (const std::string& path : command.paths) {
        urls.emplace_back(path);
        refuse_self_name(urls.back(), "deleted");
    }
    return urls;
}

/// "Deleting 1200 of 5000 items", once the items are counted.
std::string activity_of(const OrvOperation* operation)
{
    const Amount amount = operation ? operation->amount() : Amount{};
    if (amount.items_total <= 1)
        return "Deleting";
    return "Deleting " + std::to_string(amount.items_done) + " of " +
           std::to_string(amount.items_total) + " items";
}

/// The outcome of a deletion.
struct Deletion {
    std::vector<Url> deleted;
    std::optional<Error> failure; ///< of the item after them
};

/// Deletes the items up to the first failure.
Deletion delete_some(const std::vector<Url>& urls, const Surroundings& surroundings)
{
    std::shared_ptr<MultiDeleteOperation> operation;
    const auto status = final_status<MultiDeleteOperation>(
        [&](auto closure) {
            return operation = OrvFileManager::singleton().delete_items(urls, std::move(closure));
        },
        show_activity([&] { return activity_of(operation.get()); }, surroundings.shows_progress));
    Deletion deletion{operation->results(), {}};
    if (const auto* failed = std::get_if<status::error>(&status))
        deletion.failure = failed->error;
    return deletion;
}

void tell_deleted(const std::vector<Url>& urls)
{
    LargeOutput output;
    for (const Url& url : urls)
        output.write(printable(url.path()) + "\n");
    output.finish();
}

} // namespace

void run(const RemoveCommand& command, const Surroundings& surroundings)
{
    std::vector<Url> urls = urls_to_delete(command);
    bool is_all_deleted = true;
    while (!urls.empty() && !was_interrupted()) {
        const Deletion deletion = delete_some(urls, surroundings);
        if (command.is_verbose)
            tell_deleted(deletion.deleted);
        if (!deletion.failure)
            break;
        const std::size_t failed = deletion.deleted.size();
        if (!command.ignores_missing || deletion.failure->cause() != Cause::missing) {
            print_failure(told_of(urls.at(failed), *deletion.failure));
            is_all_deleted = false;
        }
        urls.erase(urls.begin(), urls.begin() + static_cast<std::ptrdiff_t>(failed) + 1);
    }
    if (!is_all_deleted)
        throw ToldFailure();
}

} // namespace orv::app
