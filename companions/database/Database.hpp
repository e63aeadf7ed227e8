#pragma once

#include "database/TransactionKind.hpp"
#include "database/Upgrader.hpp"
#include "database/Value.hpp"

#include <orv/utility/FunctionRef.hpp>
#include <orv/utility/MainQueue.hpp>
#include <orv/utility/Url.hpp>

#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string_view>
#include <type_traits>

namespace orv {

class Connection;

/// An SQLite file. Several processes may have it open at once.
///
/// Threading: any. Threads take turns; all calls inside one `sync` share a turn. During a turn no
/// hand-over to the main thread is allowed: it may be waiting for the database.
/// Errors: `Error`s of the kind database, with the file as `path()`. Exceptions of closures and
/// callbacks pass through; nothing else is thrown.
class Database {
public:
    Database();
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    /// Opens the file at `file_url` for the life of this object. A missing file is an error, or a
    /// new empty file with `create_if_absent`; its folder must exist.
    ///
    /// If another program deletes the file, the database restores it with all its data. If another
    /// database replaces it, the database uses that from then on; a write to the file just replaced
    /// is an error.
    void open(const Url& file_url, bool create_if_absent);

    /// Sets the callback, run as a turn, for a lost file after the database has opened its
    /// successor.
    void set_when_reopened(std::function<void()> when_reopened);

    /// Runs `statements_closure` on the calling thread as one turn and hands back its result.
    template <class Closure>
    auto sync(Closure&& statements_closure) -> std::invoke_result_t<Closure&>
    {
        const Turn turn(*this);
        return statements_closure();
    }

    /// Runs `statements_closure` and returns its result. Stores its writes as a whole or, after an
    /// exception, not at all. May be nested: an inner call rolls back its own part alone.
    ///
    /// Waits for another process in the middle of a write, up to the busy time-out.
    template <class Closure>
    auto save_point(Closure&& statements_closure) -> std::invoke_result_t<Closure&>
    {
        return in_transaction(Kind::write, statements_closure);
    }

    /// The same, with all writes on the disk at the return: a power cut loses neither these nor
    /// earlier ones. Refused inside a transaction.
    template <class Closure>
    auto durable_save_point(Closure&& statements_closure) -> std::invoke_result_t<Closure&>
    {
        return in_transaction(Kind::durable_write, statements_closure);
    }

    /// Runs `statements_closure` and returns its result; all its reads see one moment. Many reads
    /// cost a fraction of single ones. Refuses writes inside, unless a save point encloses it all.
    template <class Closure>
    auto read_transaction(Closure&& statements_closure) -> std::invoke_result_t<Closure&>
    {
        return in_transaction(Kind::read, statements_closure);
    }

    /// Executes the one statement in `sql`. Refuses text after it, and a number of arguments other
    /// than that of its placeholders.
    void execute(std::string_view sql, Arguments args = {});

    /// Executes the one statement in `sql` and calls `on_row` for each row of its result until it
    /// returns false. With `columns`, the row has those columns, by name, in that order. `on_row`
    /// must not write to the database.
    void query(std::string_view sql, Arguments args, FunctionRef<bool(const Row&)> on_row,
               std::span<const std::string_view> columns = {});

    /// Brings the schema up to date in one transaction; true if there was work. Leaves a schema
    /// newer than the upgrader's alone. A new database has version 1.
    bool upgrade(Upgrader& upgrader);

    /// The most placeholders of one statement.
    [[nodiscard]] std::size_t max_placeholders() const;

private:
    using Kind = TransactionKind;

    class Turn {
    public:
        explicit Turn(Database& database) : lock_(database.mutex_) {}

    private:
        std::lock_guard<std::recursive_mutex> lock_;
        MainQueue::ForbidHandOver forbid_hand_over_;
    };

    /// Rolls back at the end of its life unless committed.
    class Transaction {
    public:
        Transaction(Database& database, Kind kind);
        ~Transaction();
        Transaction(const Transaction&) = delete;
        Transaction& operator=(const Transaction&) = delete;
        void commit();

    private:
        Database& database_;
        Kind kind_;
        bool open_ = true;
    };

    template <class Closure>
    auto in_transaction(Kind kind, Closure& closure) -> std::invoke_result_t<Closure&>
    {
        const Turn turn(*this);
        Transaction transaction(*this, kind);
        if constexpr (std::is_void_v<std::invoke_result_t<Closure&>>) {
            closure();
            transaction.commit();
        } else {
            auto result = closure();
            transaction.commit();
            return result;
        }
    }

    [[nodiscard]] Connection& connection() const;
    Connection& connection_in_place();
    void check_was_stored();
    bool follow_file();

    std::recursive_mutex mutex_;
    std::unique_ptr<Connection> connection_;
    std::function<void()> when_reopened_;
};

} // namespace orv
