#pragma once

#include "database/DatabaseVolume.hpp"
#include "database/Statement.hpp"
#include "database/TransactionKind.hpp"
#include "database/Value.hpp"
#include "files/Identity.hpp"

#include <orv/utility/FunctionRef.hpp>
#include <orv/utility/Url.hpp>

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace orv {

/// The open file, its statements and its transactions. Not safe to share: `Database` gives turns.
class Connection {
public:
    Connection(const Url& file_url, bool create_if_absent);

    void execute(std::string_view sql, Arguments args);
    void query(std::string_view sql, Arguments args, FunctionRef<bool(const Row&)> on_row,
               std::span<const std::string_view> columns);

    void begin(TransactionKind kind);
    void commit(TransactionKind kind);
    void roll_back(TransactionKind kind) noexcept;

    /// True if no transaction is open and no statement runs.
    [[nodiscard]] bool is_idle() const { return save_points_ + reads_ + running_ == 0; }

    /// True after any write since the last call.
    [[nodiscard]] bool take_has_written() { return std::exchange(has_written_, false); }

    /// True if the path still leads to the open file.
    [[nodiscard]] bool is_in_place() const;

    /// Makes the path lead to a file for other connections again. If nothing stands there, a new
    /// file gets all the data of this connection. Returns false if another file stands there.
    [[nodiscard]] bool put_back();

    [[nodiscard]] const Url& file_url() const { return file_url_; }

    [[nodiscard]] int user_version();
    [[nodiscard]] std::size_t max_placeholders() const;

private:
    struct Close {
        void operator()(sqlite3* connection) const noexcept;
    };

    void open_file(bool create_if_absent);
    void configure();
    void use_write_ahead_log();
    void use_rollback_journal();
    void relax_commits() noexcept;
    void begin_durable();
    [[nodiscard]] bool has_write_ahead_log() const;
    void copy_to_path();
    void remove_own_log() const;

    /// Executes `sql` without the checks that keep callers within their transaction.
    void control(std::string_view sql);
    [[nodiscard]] StatementInUse take(std::string_view sql);
    void bind(const StatementInUse& statement, Arguments args) const;
    [[nodiscard]] bool step(const StatementInUse& statement) const;
    [[nodiscard]] std::vector<int> places_of(const StatementInUse& statement,
                                             std::span<const std::string_view> columns) const;
    void check_is_allowed(const StatementInUse& statement) const;
    void check_is_not_undone() const;
    [[noreturn]] void fail(int code, std::string_view text = {}) const;

    Url file_url_;
    DatabaseVolume volume_;
    std::unique_ptr<sqlite3, Close> handle_;
    StatementCache statements_; // gone before the connection closes
    int save_points_ = 0;
    int reads_ = 0;
    int running_ = 0; // statements
    bool has_written_ = false;
    std::optional<Identity> log_; // the write-ahead log
};

} // namespace orv
