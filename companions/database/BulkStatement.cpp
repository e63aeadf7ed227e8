#include "database/BulkStatement.hpp"

#include <algorithm>

namespace orv {
namespace {

std::string repeated(std::string_view text, std::string_view separator, std::size_t count)
{
    std::string result;
    result.reserve(count * (text.size() + separator.size()));
    for (std::size_t i = 0; i < count; ++i) {
        if (i > 0)
            result += separator;
        result += text;
    }
    return result;
}

std::string list_statement(std::string_view sql_up_to_list, std::size_t count)
{
    return std::string(sql_up_to_list) + make_placeholders(count) + ")";
}

std::string replace_statement(std::string_view table, std::span<const std::string_view> columns,
                              std::size_t rows)
{
    std::string sql = "REPLACE INTO ";
    sql.append(table).append(" (");
    for (const std::string_view column : columns)
        sql.append(column).append(", ");
    sql.resize(sql.size() - 2);
    const std::string row = "(" + make_placeholders(columns.size()) + ")";
    return sql + ") VALUES " + repeated(row, ", ", rows);
}

} // namespace

bool has_rows(Database& database, std::string_view table, std::size_t count)
{
    const auto limit = static_cast<std::int64_t>(count);
    std::int64_t found = 0;
    database.query(std::string("SELECT count(*) FROM (SELECT 1 FROM ").append(table) + " LIMIT ?)",
                   {limit}, [&](const Row& row) {
                       found = row.integer(0);
                       return false;
                   });
    return found == limit;
}

std::string make_placeholders(std::size_t count)
{
    return repeated("?", ", ", count);
}

void for_each_slice(const Database& database, std::span<const Argument> values,
                    std::size_t row_size, FunctionRef<void(std::span<const Argument>)> run)
{
    const std::size_t rows = std::max<std::size_t>(1, database.max_placeholders() / row_size);
    while (!values.empty()) {
        const std::size_t count = std::min(values.size(), rows * row_size);
        run(values.first(count));
        values = values.subspan(count);
    }
}

void execute_in(Database& database, std::string_view sql_up_to_list,
                std::span<const Argument> values)
{
    if (values.empty())
        return;
    database.save_point([&] {
        for_each_slice(database, values, 1, [&](std::span<const Argument> slice) {
            database.execute(list_statement(sql_up_to_list, slice.size()), slice);
        });
    });
}

void query_in(Database& database, std::string_view sql_up_to_list, std::span<const Argument> values,
              FunctionRef<void(const Row&)> on_row, std::span<const std::string_view> columns)
{
    if (values.empty())
        return;
    const auto consume = [&](const Row& row) {
        on_row(row);
        return true;
    };
    database.read_transaction([&] {
        for_each_slice(database, values, 1, [&](std::span<const Argument> slice) {
            database.query(list_statement(sql_up_to_list, slice.size()), slice, consume, columns);
        });
    });
}

void replace_rows(Database& database, std::string_view table,
                  std::span<const std::string_view> columns, std::span<const Argument> values)
{
    if (values.empty())
        return;
    database.save_point([&] {
        for_each_slice(database, values, columns.size(), [&](std::span<const Argument> slice) {
            const std::size_t rows = slice.size() / columns.size();
            database.execute(replace_statement(table, columns, rows), slice);
        });
    });
}

} // namespace orv
