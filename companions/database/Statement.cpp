#include "database/Statement.hpp"

#include <orv/utility/Match.hpp>

#include <algorithm>

#include <sqlite3.h>

namespace orv {
namespace {

constexpr std::size_t most_kept = 32;

// A longer text belongs to a bulk statement and differs with every number of rows.
constexpr std::size_t longest_kept = 512;

bool holds_a_statement(sqlite3* connection, std::string_view sql)
{
    sqlite3_stmt* handle = nullptr;
    const int code = sqlite3_prepare_v3(connection, sql.data(), static_cast<int>(sql.size()), 0,
                                        &handle, nullptr);
    const std::unique_ptr<sqlite3_stmt, FinalizeStatement> statement(handle);
    return code != SQLITE_OK || statement;
}

Statement prepare(sqlite3* connection, std::string_view sql)
{
    if (sql.find('\0') != std::string_view::npos)
        throw StatementCache::Refused{SQLITE_MISUSE, "a statement with a NUL byte was refused"};
    if (sql.size() >
        static_cast<std::size_t>(sqlite3_limit(connection, SQLITE_LIMIT_SQL_LENGTH, -1)))
        throw StatementCache::Refused{SQLITE_TOOBIG, "a statement that is too long was refused"};

    const unsigned flags = sql.size() <= longest_kept ? SQLITE_PREPARE_PERSISTENT : 0;
    sqlite3_stmt* handle = nullptr;
    const char* rest = nullptr;
    const int code = sqlite3_prepare_v3(connection, sql.data(), static_cast<int>(sql.size()), flags,
                                        &handle, &rest);
    Statement statement{std::string(sql), {}};
    statement.handle.reset(handle);
    if (code != SQLITE_OK)
        throw StatementCache::Refused{code, {}};
    if (!statement.handle)
        throw StatementCache::Refused{SQLITE_MISUSE, "an empty statement was refused"};
    if (const auto tail = sql.substr(static_cast<std::size_t>(rest - sql.data()));
        !tail.empty() && holds_a_statement(connection, tail))
        throw StatementCache::Refused{SQLITE_MISUSE, "text after the statement was refused"};
    return statement;
}

int length_of(std::string_view bytes)
{
    // SQLite refuses a text above its own, lower limit.
    return static_cast<int>(std::min<std::size_t>(bytes.size(), 0x7FFFFFFF));
}

const char* not_null(std::string_view bytes)
{
    return bytes.data() ? bytes.data() : "";
}

} // namespace

void FinalizeStatement::operator()(sqlite3_stmt* statement) const noexcept
{
    sqlite3_finalize(statement);
}

StatementCache::StatementCache()
{
    statements_.reserve(most_kept + 1);
}

Statement StatementCache::take(sqlite3* connection, std::string_view sql)
{
    const auto found = std::find_if(statements_.rbegin(), statements_.rend(),
                                    [&](const Statement& kept) { return kept.sql == sql; });
    if (found == statements_.rend())
        return prepare(connection, sql);
    Statement statement = std::move(*found);
    statements_.erase(std::next(found).base());
    return statement;
}

void StatementCache::give_back(Statement statement) noexcept
{
    sqlite3_reset(statement.handle.get());
    if (statement.sql.size() > longest_kept)
        return;
    sqlite3_clear_bindings(statement.handle.get());
    statements_.push_back(std::move(statement));
    if (statements_.size() > most_kept)
        statements_.erase(statements_.begin());
}

int StatementInUse::bind(std::span<const Argument> arguments) const noexcept
{
    sqlite3_stmt* statement = get();
    if (static_cast<std::size_t>(sqlite3_bind_parameter_count(statement)) != arguments.size())
        return SQLITE_RANGE;
    int place = 0;
    int code = SQLITE_OK;
    for (const Argument& argument : arguments) {
        ++place;
        code = match(
            argument, [&](std::monostate) { return sqlite3_bind_null(statement, place); },
            [&](std::int64_t value) { return sqlite3_bind_int64(statement, place, value); },
            [&](double value) { return sqlite3_bind_double(statement, place, value); },
            [&](std::string_view text) {
                return sqlite3_bind_text(statement, place, not_null(text), length_of(text),
                                         SQLITE_STATIC);
            },
            [&](const Blob& blob) {
                return sqlite3_bind_blob(statement, place, not_null(blob.bytes),
                                         length_of(blob.bytes), SQLITE_STATIC);
            });
        if (code != SQLITE_OK)
            break;
    }
    return code;
}

int Row::place(std::size_t column) const
{
    return places_.empty() ? static_cast<int>(column) : places_[column];
}

std::int64_t Row::integer(std::size_t column) const
{
    return sqlite3_column_int64(statement_, place(column));
}

std::optional<std::int64_t> Row::optional_integer(std::size_t column) const
{
    if (is_null(column))
        return std::nullopt;
    return integer(column);
}

std::string_view Row::text(std::size_t column) const
{
    const unsigned char* text = sqlite3_column_text(statement_, place(column));
    const int length = sqlite3_column_bytes(statement_, place(column));
    if (!text)
        return {};
    return {reinterpret_cast<const char*>(text), static_cast<std::size_t>(length)};
}

bool Row::is_null(std::size_t column) const
{
    return sqlite3_column_type(statement_, place(column)) == SQLITE_NULL;
}

} // namespace orv
