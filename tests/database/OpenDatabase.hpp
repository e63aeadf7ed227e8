#pragma once

#include "database/Database.hpp"
#include "support/Scratch.hpp"

#include <orv/utility/Error.hpp>

#include <optional>
#include <string>
#include <vector>

namespace orv::test {

/// The first column of all rows that `sql` finds, as text.
inline std::vector<std::string> texts(Database& database, std::string_view sql, Arguments args = {})
{
    std::vector<std::string> found;
    database.query(sql, args, [&](const Row& row) {
        found.emplace_back(row.text(0));
        return true;
    });
    return found;
}

/// The error that `action` throws, if it does.
template <class Action>
std::optional<Error> error_of(Action action)
{
    try {
        action();
        return std::nullopt;
    } catch (const Error& error) {
        return error;
    }
}

/// A new database with an empty table "t" of one column "v".
struct OpenDatabase {
    Scratch folder;
    Url file = folder / "a.sqlite";
    Database database;

    OpenDatabase()
    {
        database.open(file, true);
        database.execute("CREATE TABLE t (v UNIQUE)");
    }

    void insert(std::string_view value) { database.execute("INSERT INTO t VALUES (?)", {value}); }
    std::vector<std::string> values() { return texts(database, "SELECT v FROM t ORDER BY v"); }
};

using Texts = std::vector<std::string>;

} // namespace orv::test
