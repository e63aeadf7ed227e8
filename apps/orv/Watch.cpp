#include "Watch.hpp"

#include "Failure.hpp"
#include "Json.hpp"
#include "LargeOutput.hpp"
#include "Listing.hpp"
#include "Names.hpp"
#include "Terminal.hpp"
#include "Waiting.hpp"

#include <orv/orv.hpp>

#include <iterator>
#include <optional>
#include <string>
#include <utility>

#include <fmt/format.h>

namespace orv::app {
namespace {

/// Writes changes, one a line.
class ChangeLines {
public:
    explicit ChangeLines(bool is_json) : is_json_(is_json) {}

    /// An item of the list at first.
    void listed(const FileItem& item)
    {
        if (is_json_)
            object("listed", item.name, {});
        else
            output_.write(shown_(item.name) + "\n");
    }

    void change(std::string_view change, const std::string& name,
                const std::optional<std::string>& from = {})
    {
        if (is_json_)
            object(change, name, from);
        else if (from)
            output_.write(fmt::format("{} {} -> {}\n", change, shown_(*from), shown_(name)));
        else
            output_.write(fmt::format("{} {}\n", change, shown_(name)));
    }

    void complete()
    {
        if (is_json_)
            object("complete", {}, {});
    }

    void gone()
    {
        if (is_json_)
            object("gone", {}, {});
        else
            output_.write("gone\n");
    }

    void flush() { output_.finish(); }

private:
    void object(std::string_view change, const std::optional<std::string>& name,
                const std::optional<std::string>& from)
    {
        const auto text = [](const std::optional<std::string>& value) {
            return value ? json_string(*value) : "null";
        };
        output_.write(fmt::format(R"({{"change": "{}", "name": {}, "from": {}}})", change,
                                  text(name), text(from)) +
                      "\n");
    }

    LargeOutput output_;
    Names shown_;
    bool is_json_;
};

/// The output of a watched folder's statuses.
class Watching {
public:
    Watching(const ListCommand& command, SortType sort, bool is_quiet)
        : lines_(command.form == ListCommand::Form::json), sort_(sort), is_quiet_(is_quiet)
    {
    }

    void take(OrvFolder::Status status)
    {
        match(
            std::move(status), [&](OrvFolder::added&& told) { add(std::move(told.items)); },
            [&](OrvFolder::removed&& told) {
                for (const std::string& name : told.names)
                    lines_.change("removed", name);
            },
            [&](OrvFolder::changed&& told) {
                for (const FileItem& item : told.items)
                    lines_.change("changed", item.name);
            },
            [&](OrvFolder::renamed&& told) {
                for (const auto& [from, item] : told.items)
                    lines_.change("renamed", item.name, from);
            },
            [&](OrvFolder::complete&&) { write_list(); },
            [&](OrvFolder::compared&& told) {
                if (!is_quiet_)
                    print_failure(told.reason);
            },
            [&](OrvFolder::gone&& told) { end(told.error); });
        lines_.flush();
    }

    [[nodiscard]] bool is_gone() const { return is_gone_; }
    [[nodiscard]] const std::optional<Error>& failure() const { return failure_; }

private:
    void add(std::vector<FileItem> items)
    {
        if (is_complete_)
            for (const FileItem& item : items)
                lines_.change("added", item.name);
        else
            list_.insert(list_.end(), std::make_move_iterator(items.begin()),
                         std::make_move_iterator(items.end()));
    }

    void write_list()
    {
        erase_line();
        is_complete_ = true;
        orv_sort(list_, sort_);
        for (const FileItem& item : list_)
            lines_.listed(item);
        list_.clear();
        lines_.complete();
    }

    void end(const Error& error)
    {
        is_gone_ = true;
        if (is_complete_)
            lines_.gone();
        else
            failure_ = error;
    }

    ChangeLines lines_;
    SortType sort_;
    bool is_quiet_;
    std::vector<FileItem> list_; // until it is complete
    bool is_complete_ = false;
    bool is_gone_ = false;
    std::optional<Error> failure_;
};

/// Drives the main queue until `done` or Ctrl-C, and Ctrl-C ends the work.
template <class Done>
void drive_until_interrupt(const Done& done, const Meanwhile& meanwhile = {})
{
    bool is_interrupted = false;
    const Stoppable stoppable([&] { is_interrupted = true; });
    drive_until([&] { return is_interrupted || done(); }, meanwhile);
    erase_line();
    if (is_interrupted)
        throw Interrupted();
}

} // namespace

void watch(const Url& folder, const ListCommand& command, SortType stored_sort,
           const Surroundings& surroundings)
{
    const SortType sort = command.sort.value_or(stored_sort);
    Watching watching(command, sort, surroundings.is_quiet);
    const OrvFolder watched(folder, sort, {.include_hidden_files = command.all},
                            [&](OrvFolder::Status status) { watching.take(std::move(status)); });
    drive_until_interrupt([&] { return watching.is_gone(); });
    if (watching.failure())
        throw told_of(folder, *watching.failure());
}

void write_unsorted(const Url& folder, const ListCommand& command, const Surroundings& surroundings)
{
    LargeOutput output;
    ItemStream stream(output, command.form == ListCommand::Form::json ? ItemStream::Form::json
                                                                      : ItemStream::Form::ways);
    bool is_done = false;
    std::optional<Error> failure;
    const auto take = [&](const OrvFolder::Status& status) {
        if (const auto* told = std::get_if<OrvFolder::added>(&status)) {
            erase_line();
            stream.write(told->items);
        } else if (const auto* gone = std::get_if<OrvFolder::gone>(&status)) {
            failure = gone->error;
        }
        is_done = failure || std::holds_alternative<OrvFolder::complete>(status);
    };
    const OrvFolder listed(folder, SortType::by_name(SortOrder::asc),
                           {.include_hidden_files = command.all, .recursive = command.recursive},
                           take);
    drive_until_interrupt([&] { return is_done; },
                          show_activity("Listing", surroundings.shows_progress));
    if (failure)
        throw told_of(folder, *failure);
    stream.finish();
}

} // namespace orv::app
