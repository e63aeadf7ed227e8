#pragma once

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

/// An SQLite file. Several processes may have it open at once.
///
/// Threading: any. The calls of several threads take turns; those made inside one `sync` share a
/// turn. During a turn no hand-over to the main thread is allowed, since that may be waiting for
/// the database.
/// Errors: `Error`s of the kind database, whose `path()` is the file; nothing else is thrown, save
/// by the closures and callbacks, whose exceptions are passed on.
class Database {
public:
    Database();
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    /// Opens the file at `file_url`, which stays open for the life of this object. A missing file
    /// is an error, or created empty with `create_if_absent`; its folder must be there.
    ///
    /// If the file is deleted later, it is put back with all that it held; if it is replaced by
    /// another database, that is used from then on. What was written to a file that had just been
    /// replaced is an error.
    void open(const Url& file_url, bool create_if_absent);

    /// Sets what is called, as a turn, when the file has turned out to be lost and what stands in
    /// its place was opened.
    void set_when_reopened(std::function<void()> when_reopened);

    /// Runs `statements_closure` on the calling thread as one turn and hands back its result.
    template <class Closure>
    auto sync(Closure&& statements_closure) -> std::invoke_result_t<Closure&>
    {
        const Turn turn(*this);
        return statements_closure();
    }

    /// Runs `statements_closure` and hands back its result; what it writes is stored as a whole or,
    /// when it throws, not at all. May be nested: an inner one undoes its own part alone.
    ///
    /// Waits for another process that is writing, up to the busy time-out.
    template <class Closure>
    auto save_point(Closure&& statements_closure) -> std::invoke_result_t<Closure&>
    {
        return in_transaction(Kind::write, statements_closure);
    }

    /// The same, and what it writes is on the disk when this returns: a power cut undoes neither
    /// that nor what was written before. Refused inside a transaction.
    template <class Closure>
    auto durable_save_point(Closure&& statements_closure) -> std::invoke_result_t<Closure&>
    {
        return in_transaction(Kind::durable_write, statements_closure);
    }

    /// Runs `statements_closure` and hands back its result; all that it reads is of one moment.
    /// Many reads cost a fraction of what they cost alone. Inside, writing is refused, unless a
    /// save point encloses it all.
    template <class Closure>
    auto read_transaction(Closure&& statements_closure) -> std::invoke_result_t<Closure&>
    {
        return in_transaction(Kind::read, statements_closure);
    }

    /// Executes the one statement in `sql`. Text after it is refused, and so is another number of
    /// arguments than it has placeholders.
    void execute(std::string_view sql, Arguments args = {});

    /// Executes the one statement in `sql` and calls `on_row` for each row of its result, for as
    /// long as it answers true. With `columns`, the row's columns are those, by name, in that
    /// order. `on_row` must not write to the database.
    void query(std::string_view sql, Arguments args, FunctionRef<bool(const Row&)> on_row,
               std::span<const std::string_view> columns = {});

    /// Brings the schema up to date in one transaction and says whether there was anything to do.
    /// A schema newer than the upgrader's is left alone. A new database has version 1.
    bool upgrade(Upgrader& upgrader);

    /// The most placeholders that one statement may have.
    [[nodiscard]] std::size_t max_placeholders() const;

private:
    class Connection;
    enum class Kind { read, write, durable_write };

    class Turn {
    public:
        explicit Turn(Database& database) : lock_(database.mutex_) {}

    private:
        std::lock_guard<std::recursive_mutex> lock_;
        MainQueue::ForbidHandOver forbid_hand_over_;
    };

    /// Undone at the end of its life unless it was committed.
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
