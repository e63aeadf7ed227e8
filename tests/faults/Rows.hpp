#pragma once

#include <orv/utility/Url.hpp>

#include <map>
#include <string>

namespace orv::test {

/// The attribute rows in a database by their key; the other columns joined by "|", such as
/// "1|7|0|0".
using Rows = std::map<std::string, std::string>;

/// Reads the rows without the library and without touching the database or its log: what a dead
/// process left stays for the next one to settle.
///
/// Errors: `std::runtime_error` for a damaged database.
[[nodiscard]] Rows read_rows(const Url& database);

/// Puts `rows` into a database that nobody uses.
///
/// Errors: `std::runtime_error`.
void insert_rows(const Url& database, const Rows& rows);

} // namespace orv::test
