#include "Commands.hpp"
#include "Failure.hpp"
#include "LargeOutput.hpp"
#include "Listing.hpp"
#include "Terminal.hpp"
#include "Waiting.hpp"

#include <orv/orv.hpp>

#include <span>

namespace orv::app {
namespace {

using Criteria = SearchItemsOperation::Criteria;
using Status = SearchItemsOperation::Status;

std::vector<Criteria> criterias_of(const FindCommand& command)
{
    if (command.in_contents)
        return {Criteria::file_name, Criteria::file_content};
    return {Criteria::file_name};
}

/// Writes the matches of a search as soon as they are known.
class Results {
public:
    explicit Results(bool json)
        : stream_(output_, json ? ItemStream::Form::json : ItemStream::Form::ways)
    {
    }

    void write(std::span<const FileItem> items)
    {
        erase_line();
        stream_.write(items);
        output_.finish();
        written_ += items.size();
    }

    /// Writes the rest of all matches.
    void finish(std::span<const FileItem> all)
    {
        stream_.write(all.subspan(written_));
        stream_.finish();
    }

private:
    LargeOutput output_;
    ItemStream stream_;
    std::size_t written_ = 0;
};

} // namespace

void run(const FindCommand& command, const Surroundings& surroundings)
{
    const Url folder(command.folder);
    Results results(command.json);
    const auto start = [&](auto take_final) {
        return OrvFileManager::singleton().search_items(
            folder, command.keyword, command.recursive, command.all, criterias_of(command),
            [&results, take_final](Status status) {
                if (const auto* found =
                        std::get_if<SearchItemsOperation::currently_fetched>(&status))
                    results.write(found->items);
                else
                    take_final(std::move(status));
            });
    };
    const Status status = final_status<SearchItemsOperation>(
        start, show_activity("Searching", surroundings.shows_progress));
    match(
        status, [](const SearchItemsOperation::currently_fetched&) {},
        [&](const SearchItemsOperation::completed& found) { results.finish(found.all_items); },
        [&](const status::error& failed) { throw told_of(folder, failed.error); },
        [](const status::cancelled&) { throw Interrupted(); });
}

} // namespace orv::app
