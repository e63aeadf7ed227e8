#include "database/Database.hpp"

#include "database/Connection.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <string>

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

void Database::execute(std::string_view sql, Arguments args)
{
    const Turn turn(*this);
    connection().execute(sql, args);
}

void Database::query(std::string_view sql, Arguments args, FunctionRef<bool(const Row&)> on_row,
                     std::span<const std::string_view> columns)
{
    const Turn turn(*this);
    connection().query(sql, args, on_row, columns);
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

Database::Connection& Database::connection() const
{
    if (!connection_)
        throw Error("The database was not opened.");
    return *connection_;
}

Database::Transaction::Transaction(Database& database, Kind kind)
    : connection_(database.connection()), kind_(kind)
{
    connection_.begin(kind);
}

Database::Transaction::~Transaction()
{
    if (open_)
        connection_.roll_back(kind_);
}

void Database::Transaction::commit()
{
    connection_.commit(kind_);
    open_ = false;
}

} // namespace orv
