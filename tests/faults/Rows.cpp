#include "faults/Rows.hpp"

#include "support/Scratch.hpp"

#include <filesystem>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <vector>

#include <sqlite3.h>

namespace orv::test {
namespace {

namespace fs = std::filesystem;

struct Finish {
    void operator()(sqlite3* database) const { sqlite3_close(database); }
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Connection = std::unique_ptr<sqlite3, Finish>;
using Statement = std::unique_ptr<sqlite3_stmt, Finish>;

[[noreturn]] void fail(const Connection& connection)
{
    throw std::runtime_error(std::string("database: ") + sqlite3_errmsg(connection.get()));
}

Connection opened(const Url& file)
{
    sqlite3* database = nullptr;
    const int code = sqlite3_open(file.path().c_str(), &database);
    Connection connection(database);
    if (code != SQLITE_OK)
        fail(connection);
    return connection;
}

Statement prepared(const Connection& connection, const char* sql)
{
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(connection.get(), sql, -1, &statement, nullptr) != SQLITE_OK)
        fail(connection);
    return Statement(statement);
}

bool step(const Connection& connection, const Statement& statement)
{
    const int code = sqlite3_step(statement.get());
    if (code != SQLITE_ROW && code != SQLITE_DONE)
        fail(connection);
    return code == SQLITE_ROW;
}

std::string text(const Statement& statement, int column)
{
    const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement.get(), column));
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement.get(), column));
    return bytes ? std::string(bytes, size) : "NULL";
}

void check_integrity(const Connection& connection)
{
    const Statement check = prepared(connection, "PRAGMA integrity_check");
    if (!step(connection, check) || text(check, 0) != "ok")
        throw std::runtime_error("the database is damaged: " + text(check, 0));
}

std::vector<std::string> split(const std::string& row)
{
    std::vector<std::string> columns;
    std::istringstream stream(row);
    for (std::string column; std::getline(stream, column, '|');)
        columns.push_back(column);
    return columns;
}

} // namespace

Rows read_rows(const Url& database)
{
    const Scratch copy;
    for (const char* ending : {"", "-wal"})
        if (fs::exists(database.path() + ending))
            fs::copy_file(database.path() + ending, (copy / "db").path() + ending);
    const Connection connection = opened(copy / "db");
    check_integrity(connection);
    Rows rows;
    const Statement select =
        prepared(connection, "SELECT relative_path, is_protected, order_no, is_custom_sorted,"
                             " was_custom_sorted_at_least_once FROM custom_attributes");
    while (step(connection, select)) {
        std::string row = text(select, 1);
        for (int column = 2; column < 5; ++column)
            row += "|" + text(select, column);
        rows[text(select, 0)] = row;
    }
    return rows;
}

void insert_rows(const Url& database, const Rows& rows)
{
    const Connection connection = opened(database);
    for (const auto& [key, row] : rows) {
        const Statement insert =
            prepared(connection, "INSERT INTO custom_attributes VALUES (?, ?, ?, ?, ?)");
        sqlite3_bind_text(insert.get(), 1, key.c_str(), -1, SQLITE_TRANSIENT);
        int place = 2;
        for (const std::string& column : split(row)) {
            if (column != "NULL")
                sqlite3_bind_int(insert.get(), place, std::stoi(column));
            ++place;
        }
        step(connection, insert);
    }
}

} // namespace orv::test
