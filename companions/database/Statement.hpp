#pragma once

#include "database/Value.hpp"

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace orv {

struct FinalizeStatement {
    void operator()(sqlite3_stmt* statement) const noexcept;
};

/// A prepared statement and its text.
struct Statement {
    std::string sql;
    std::unique_ptr<sqlite3_stmt, FinalizeStatement> handle;
};

/// The latest prepared statements of a connection, ready for another use.
///
/// A statement in use is not among them, so the same text may execute again meanwhile.
class StatementCache {
public:
    StatementCache();

    /// The statement of `sql`, from the cache or newly prepared.
    ///
    /// Errors: throws a `Refused` when `sql` is not exactly one statement.
    Statement take(sqlite3* connection, std::string_view sql);

    /// Resets `statement` and keeps it, unless its text is too long to come again.
    void give_back(Statement statement) noexcept;

    /// The reason for a refused statement; `text` is empty if the connection holds the message.
    struct Refused {
        int code;
        std::string_view text;
    };

private:
    std::vector<Statement> statements_; // the one used last stands last
};

/// A statement for the length of one execution.
class StatementInUse {
public:
    StatementInUse(StatementCache& cache, sqlite3* connection, std::string_view sql)
        : cache_(cache), statement_(cache.take(connection, sql))
    {
    }
    ~StatementInUse() { cache_.give_back(std::move(statement_)); }
    StatementInUse(const StatementInUse&) = delete;
    StatementInUse& operator=(const StatementInUse&) = delete;

    [[nodiscard]] sqlite3_stmt* get() const noexcept { return statement_.handle.get(); }

    /// Binds the arguments, one for each placeholder, and returns a result code.
    [[nodiscard]] int bind(std::span<const Argument> arguments) const noexcept;

private:
    StatementCache& cache_;
    Statement statement_;
};

} // namespace orv
