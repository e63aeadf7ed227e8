#include "database/Database.hpp"

#include "database/Connection.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <string>
#include <utility>

namespace orv {

Database::Database() = default;
Database::~Database() = default;

void Database::open(const Url& file_url, bool create_if_absent)
{
    const Turn turn(*this);
    if (connection_)
        throw Error("The database is open already.").at(file_url);
    connection_ = std::make_unique<Connection>(file_url, create_if_absent);
}

void Database::set_when_reopened(std::function<void()> when_reopened)
{
    const Turn turn(*this);
    when_reopened_ = std::move(when_reopened);
}

void Database::execute(std::string_view sql, Arguments args)
{
    const Turn turn(*this);
    connection_in_place().execute(sql, args);
    check_was_stored();
}

void Database::query(std::string_view sql, Arguments args, FunctionRef<bool(const Row&)> on_row,
                     std::span<const std::string_view> columns)
{
    const Turn turn(*this);
    connection_in_place().query(sql, args, on_row, columns);
    check_was_stored();
}

bool Database::upgrade(Upgrader& upgrader)
{
    const int latest_version = upgrader.latest_version();
    const auto version = [&] { return std::max(connection().user_version(), 1); };

    const Turn turn(*this);
    if (version() >= latest_version)
        return false;
    return save_point([&] {
        const int stored_version = version(); // another process may have been faster
        for (int next = stored_version + 1; next <= latest_version; ++next)
            upgrader.upgrade_step(*this, next - 1, next);
        if (stored_version < latest_version)
            execute("PRAGMA user_version = " + std::to_string(latest_version));
        return stored_version < latest_version;
    });
}

std::size_t Database::max_placeholders() const
{
    return connection().max_placeholders();
}

Connection& Database::connection() const
{
    if (!connection_)
        throw Error("The database was not opened.");
    return *connection_;
}

Connection& Database::connection_in_place()
{
    if (connection().is_idle())
        follow_file();
    return connection();
}

/// The restored file holds the writes to the deleted one.
void Database::check_was_stored()
{
    if (connection().is_idle() && connection().take_has_written() && !follow_file())
        throw Error("The database was replaced while it was written to.")
            .known_as(Cause::changed)
            .at(connection().file_url());
}

/// Returns false if the writes of the connection are in no file at the path any more.
bool Database::follow_file()
{
    if (connection_->is_in_place())
        return true;
    const bool was_put_back = connection_->put_back();
    connection_ = std::make_unique<Connection>(connection_->file_url(), false);
    if (when_reopened_)
        when_reopened_();
    return was_put_back;
}

Database::Transaction::Transaction(Database& database, Kind kind) : database_(database), kind_(kind)
{
    database.connection_in_place().begin(kind);
}

Database::Transaction::~Transaction()
{
    if (open_)
        database_.connection().roll_back(kind_);
}

void Database::Transaction::commit()
{
    database_.connection().commit(kind_);
    open_ = false;
    database_.check_was_stored();
}

} // namespace orv
