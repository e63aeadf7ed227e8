#include "Operations/undo/UndoJournal.hpp"

#include "Database/DBManager.hpp"
#include "database/RecordConvertible.hpp"

#include <array>
#include <exception>
#include <limits>
#include <string_view>

namespace orv {
namespace {

using LineState = UndoLine::State;

/// A row of the table.
struct StepRow {
    std::int64_t request;
    std::int64_t step;
    LineState state;
    UndoStep content;

    static constexpr std::array<std::string_view, 15> columns{
        "request", "step",  "state", "verb",     "action", "url",          "origin",     "device",
        "inode",   "birth", "size",  "modified", "noted",  "attrs_before", "attrs_after"};

    [[nodiscard]] static StepRow from_row(const Row& row)
    {
        return {row.integer(0),
                row.integer(1),
                static_cast<LineState>(row.integer(2)),
                {.verb = static_cast<UndoVerb>(row.integer(3)),
                 .action = static_cast<UndoAction>(row.integer(4)),
                 .url = Url(row.text(5)),
                 .origin = Url(row.text(6)),
                 .identity = {row.integer(7), row.integer(8), row.integer(9), row.integer(10),
                              row.integer(11)},
                 .noted = row.integer(12),
                 .before = std::string(row.text(13)),
                 .after = std::string(row.text(14))}};
    }

    [[nodiscard]] std::array<Argument, 15> values() const
    {
        const UndoIdentity& identity = content.identity;
        return {request,
                step,
                static_cast<std::int64_t>(state),
                static_cast<std::int64_t>(content.verb),
                static_cast<std::int64_t>(content.action),
                std::string_view(content.url.path()),
                std::string_view(content.origin.path()),
                identity.device,
                identity.inode,
                identity.birth,
                identity.size,
                identity.modified,
                content.noted,
                std::string_view(content.before),
                std::string_view(content.after)};
    }
};

constexpr std::string_view journal_table = "undo_steps";

Database& journal_database()
{
    return shared_db_manager().db();
}

void make_journal()
{
    journal_database().execute(
        "CREATE TABLE IF NOT EXISTS undo_steps (request INTEGER, step INTEGER, state INTEGER,"
        " verb INTEGER, action INTEGER, url TEXT, origin TEXT, device INTEGER, inode INTEGER,"
        " birth INTEGER, size INTEGER, modified INTEGER, noted INTEGER, attrs_before TEXT,"
        " attrs_after TEXT, PRIMARY KEY (request, step))");
}

/// The first value of the query; 0 if it is null.
std::int64_t number_in(std::string_view sql, Arguments args)
{
    std::int64_t number = 0;
    journal_database().query(sql, args, [&](const Row& row) {
        number = row.integer(0);
        return false;
    });
    return number;
}

std::int64_t last_number_before(std::int64_t number)
{
    return number_in("SELECT ifnull(max(request), 0) FROM undo_steps WHERE request < ?", {number});
}

constexpr std::int64_t after_all = std::numeric_limits<std::int64_t>::max();

} // namespace

std::string UndoLine::text() const
{
    return undo_text(steps.front().verb, steps.front().url,
                     static_cast<std::int64_t>(steps.size()));
}

std::int64_t UndoJournal::add(const std::vector<UndoStep>& steps) noexcept
try {
    if (steps.empty())
        return 0;
    return journal_database().save_point([&] {
        make_journal();
        const std::int64_t number = last_number_before(after_all) + 1;
        std::vector<StepRow> rows;
        rows.reserve(steps.size());
        for (const UndoStep& step : steps)
            rows.push_back(
                {number, static_cast<std::int64_t>(rows.size()), LineState::fresh, step});
        replace_in(journal_database(), journal_table, rows);
        journal_database().execute("DELETE FROM undo_steps WHERE request <= ?", {number - longest});
        return number;
    });
} catch (const std::exception&) {
    return 0;
}

std::optional<UndoLine> UndoJournal::last_before(std::int64_t number)
{
    return journal_database().save_point([&]() -> std::optional<UndoLine> {
        make_journal();
        const std::int64_t last = last_number_before(number);
        const auto rows = array<StepRow>(
            journal_database(), "SELECT * FROM undo_steps WHERE request = ? ORDER BY step", {last});
        if (rows.empty())
            return std::nullopt;
        UndoLine line{last, rows.front().state, {}};
        for (const StepRow& row : rows)
            line.steps.push_back(row.content);
        return line;
    });
}

std::vector<UndoSummary> UndoJournal::summaries()
{
    std::vector<UndoSummary> summaries;
    journal_database().save_point([&] {
        make_journal();
        const auto firsts =
            array<StepRow>(journal_database(), "SELECT * FROM undo_steps WHERE step = 0"
                                               " ORDER BY request DESC");
        for (const StepRow& first : firsts) {
            const std::int64_t steps =
                1 +
                number_in("SELECT max(step) FROM undo_steps WHERE request = ?", {first.request});
            summaries.push_back({first.request, first.state,
                                 undo_text(first.content.verb, first.content.url, steps),
                                 first.content.noted});
        }
    });
    return summaries;
}

void UndoJournal::set_state(std::int64_t number, UndoLine::State state)
{
    journal_database().execute("UPDATE undo_steps SET state = ? WHERE request = ?",
                               {static_cast<std::int64_t>(state), number});
}

void UndoJournal::forget(std::int64_t number) noexcept
try {
    remove(number);
} catch (const std::exception&) {
    return;
}

void UndoJournal::remove(std::int64_t number)
{
    journal_database().execute("DELETE FROM undo_steps WHERE request = ?", {number});
}

} // namespace orv
