#pragma once

#include "database/Database.hpp"

#include <orv/utility/FunctionRef.hpp>

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace orv {

/// True if `table` has at least `count` rows.
[[nodiscard]] bool has_rows(Database& database, std::string_view table, std::size_t count);

/// "?, ?, ?" for three.
[[nodiscard]] std::string make_placeholders(std::size_t count);

/// Hands `values` to `run` in as few slices as one statement's placeholders allow, none of them
/// dividing a row of `row_size` values.
void for_each_slice(const Database& database, std::span<const Argument> values,
                    std::size_t row_size, FunctionRef<void(std::span<const Argument>)> run);

/// Executes `sql_up_to_list`, up to and including "IN (", for any number of values: all of them or
/// none. An empty list executes nothing.
void execute_in(Database& database, std::string_view sql_up_to_list,
                std::span<const Argument> values);

/// Queries `sql_up_to_list`, up to and including "IN (", for any number of values, all of one
/// moment.
void query_in(Database& database, std::string_view sql_up_to_list, std::span<const Argument> values,
              FunctionRef<void(const Row&)> on_row, std::span<const std::string_view> columns);

/// Writes rows into `table`, each of as many `values` as there are `columns`, in place of those
/// with the same unique key. They are all written, or none; an empty list is no statement.
void replace_rows(Database& database, std::string_view table,
                  std::span<const std::string_view> columns, std::span<const Argument> values);

} // namespace orv
