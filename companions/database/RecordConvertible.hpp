#pragma once

#include "database/BulkStatement.hpp"
#include "database/Database.hpp"

#include <concepts>
#include <iterator>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace orv {

/// A type that stands for a row: it lists its columns, gives a value for each, and can be built
/// from a row with these columns in this order.
template <class Record>
concept RecordConvertible = requires(const Record& record, const Row& row)
{
    std::span<const std::string_view>(Record::columns);
    std::span<const Argument>(record.values());
    // clang-format off
    { Record::from_row(row) } -> std::same_as<Record>;
    // clang-format on
};

/// The first row of the query in `sql`.
template <RecordConvertible Record>
std::optional<Record> instance(Database& database, std::string_view sql, Arguments args = {})
{
    std::optional<Record> record;
    const auto take = [&](const Row& row) {
        record = Record::from_row(row);
        return false;
    };
    database.query(sql, args, take, Record::columns);
    return record;
}

/// All rows of the query in `sql`.
template <RecordConvertible Record>
std::vector<Record> array(Database& database, std::string_view sql, Arguments args = {})
{
    std::vector<Record> records;
    const auto take = [&](const Row& row) {
        records.push_back(Record::from_row(row));
        return true;
    };
    database.query(sql, args, take, Record::columns);
    return records;
}

/// All rows of the query `sql_up_to_list`, up to and including "IN (", for any number of values.
template <RecordConvertible Record>
std::vector<Record> array_in(Database& database, std::string_view sql_up_to_list,
                             std::span<const Argument> values)
{
    std::vector<Record> records;
    const auto take = [&](const Row& row) { records.push_back(Record::from_row(row)); };
    query_in(database, sql_up_to_list, values, take, Record::columns);
    return records;
}

/// Writes all `records` into `table`, each in place of a row with the same unique key, or none.
template <RecordConvertible Record>
void replace_in(Database& database, std::string_view table, std::span<const Record> records)
{
    std::vector<Argument> values;
    values.reserve(records.size() * std::size(Record::columns));
    for (const Record& record : records)
        for (const Argument& value : record.values())
            values.push_back(value);
    replace_rows(database, table, Record::columns, values);
}

template <RecordConvertible Record>
void replace_in(Database& database, std::string_view table, const std::vector<Record>& records)
{
    replace_in(database, table, std::span<const Record>(records));
}

template <RecordConvertible Record>
void replace_in(Database& database, std::string_view table, const Record& record)
{
    replace_in(database, table, std::span<const Record>(&record, 1));
}

} // namespace orv
