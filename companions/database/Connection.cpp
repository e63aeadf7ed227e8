#include "database/Connection.hpp"

#include "database/DatabaseFault.hpp"
#include "utility/FileDescriptor.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <string>

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orv {
namespace {

constexpr std::chrono::milliseconds busy_time_out = std::chrono::seconds(10);

// SQLite's own default, also where a build raises it: a statement of more placeholders costs tens
// of megabytes to prepare and gains nothing.
constexpr int most_placeholders = 32'766;

bool is_something_else_than_a_file(const Url& url)
{
    struct stat description = {};
    return ::stat(url.path().c_str(), &description) == 0 && !S_ISREG(description.st_mode);
}

std::optional<Identity> identity_at(const std::string& path)
{
    struct statx facts {};
    if (::statx(AT_FDCWD, path.c_str(), 0, STATX_INO, &facts) != 0)
        return std::nullopt;
    return identity_of(facts);
}

/// Counts a statement while it runs.
class Running {
public:
    explicit Running(int& count) : count_(count) { ++count_; }
    ~Running() { --count_; }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

private:
    int& count_;
};

} // namespace

void Connection::Close::operator()(sqlite3* connection) const noexcept
{
    sqlite3_close(connection);
}

Connection::Connection(const Url& file_url, bool create_if_absent) : file_url_(file_url)
{
    open_file(create_if_absent);
    configure();
}

void Connection::open_file(bool create_if_absent)
{
    if (file_url_.empty() || is_something_else_than_a_file(file_url_))
        fail(SQLITE_CANTOPEN, "unable to open database file, since it is no regular file");

    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE |
                      (create_if_absent ? SQLITE_OPEN_CREATE : 0);
    sqlite3* handle = nullptr;
    const int code = sqlite3_open_v2(file_url_.path().c_str(), &handle, flags, nullptr);
    handle_.reset(handle);
    if (code != SQLITE_OK)
        fail(code);
    if (sqlite3_db_readonly(handle, "main") == 1)
        fail(SQLITE_READONLY, "the database is read-only");
}

void Connection::configure()
{
    sqlite3_busy_timeout(handle_.get(), static_cast<int>(busy_time_out.count()));
    sqlite3_limit(handle_.get(), SQLITE_LIMIT_VARIABLE_NUMBER, most_placeholders);
    sqlite3_db_config(handle_.get(), SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(handle_.get(), SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    control("PRAGMA cell_size_check = ON");
    volume_ = DatabaseVolume::of(file_url_);
    if (volume_.shares_memory)
        use_write_ahead_log();
    else
        use_rollback_journal();
    relax_commits();
    control("SELECT 1 FROM sqlite_master"); // opens the log, or gives exclusive locks back
    log_ = identity_at(file_url_.path() + "-wal");
}

// Two connections that change the mode of a new file would wait for each other for ever, so SQLite
// refuses at once, whatever the busy time-out. A refused connection waits for its turn and then
// finds the mode changed.
void Connection::use_write_ahead_log()
{
    constexpr int most_turns = 10;
    for (int turn = 1;; ++turn) {
        try {
            control("PRAGMA journal_mode = WAL");
            return;
        } catch (const Error& error) {
            if (database_fault(error) != DatabaseFault::busy || turn == most_turns)
                throw;
        }
        control("BEGIN IMMEDIATE");
        control("COMMIT");
    }
}

// With the file to itself, a connection reads a leftover write-ahead log without shared memory.
void Connection::use_rollback_journal()
{
    if (has_write_ahead_log())
        control("PRAGMA locking_mode = EXCLUSIVE");
    control("PRAGMA journal_mode = DELETE");
    control("PRAGMA locking_mode = NORMAL");
}

bool Connection::has_write_ahead_log() const
{
    constexpr int place_in_header = 19; // the format's version for reading: 2 with a log
    sqlite3_file* file = nullptr;
    unsigned char version = 0;
    return sqlite3_file_control(handle_.get(), "main", SQLITE_FCNTL_FILE_POINTER, &file) ==
               SQLITE_OK &&
           file->pMethods &&
           file->pMethods->xRead(file, &version, 1, place_in_header) == SQLITE_OK && version == 2;
}

void Connection::execute(std::string_view sql, Arguments args)
{
    query(sql, args, [](const Row&) { return true; }, {});
}

void Connection::query(std::string_view sql, Arguments args, FunctionRef<bool(const Row&)> on_row,
                       std::span<const std::string_view> columns)
{
    const StatementInUse statement = take(sql);
    check_is_allowed(statement);
    bind(statement, args);
    const Running running(running_);
    has_written_ = has_written_ || sqlite3_stmt_readonly(statement.get()) == 0;
    const std::vector<int> places = places_of(statement, columns);
    const Row row(statement.get(), places);
    while (step(statement))
        if (!on_row(row))
            return;
}

StatementInUse Connection::take(std::string_view sql)
{
    try {
        return {statements_, handle_.get(), sql};
    } catch (const StatementCache::Refused& refused) {
        fail(refused.code, refused.text);
    }
}

void Connection::check_is_allowed(const StatementInUse& statement) const
{
    check_is_not_undone();
    if (reads_ > 0 && save_points_ == 0 && sqlite3_stmt_readonly(statement.get()) == 0)
        fail(SQLITE_MISUSE, "writing inside a read transaction was refused");
}

// On a full disk and the like SQLite rolls the whole transaction back at once. Later statements
// would be stored alone.
void Connection::check_is_not_undone() const
{
    if (save_points_ > 0 && sqlite3_get_autocommit(handle_.get()) != 0)
        fail(SQLITE_ABORT_ROLLBACK, "the transaction was undone after an earlier failure");
}

void Connection::bind(const StatementInUse& statement, Arguments args) const
{
    const int code = statement.bind(args.values());
    if (code == SQLITE_RANGE)
        fail(code, "the number of arguments differs from that of the placeholders");
    if (code != SQLITE_OK)
        fail(code);
}

std::vector<int> Connection::places_of(const StatementInUse& statement,
                                       std::span<const std::string_view> columns) const
{
    std::vector<int> places;
    places.reserve(columns.size());
    const int count = columns.empty() ? 0 : sqlite3_column_count(statement.get());
    for (const std::string_view column : columns) {
        int place = 0;
        while (place < count && column != sqlite3_column_name(statement.get(), place))
            ++place;
        if (place == count)
            fail(SQLITE_ERROR, "no such column in the result: " + std::string(column));
        places.push_back(place);
    }
    return places;
}

bool Connection::step(const StatementInUse& statement) const
{
    const int code = sqlite3_step(statement.get());
    if (code != SQLITE_ROW && code != SQLITE_DONE)
        fail(code);
    return code == SQLITE_ROW;
}

void Connection::control(std::string_view sql)
{
    const StatementInUse statement = take(sql);
    while (step(statement)) {
    }
}

// A write-ahead log survives a power cut with an occasional flush. A rollback journal does not.
void Connection::relax_commits() noexcept
{
    const char* level = !volume_.flushes        ? "PRAGMA synchronous = OFF"
                        : volume_.shares_memory ? "PRAGMA synchronous = NORMAL"
                                                : "PRAGMA synchronous = FULL";
    sqlite3_exec(handle_.get(), level, nullptr, nullptr, nullptr);
}

void Connection::begin_durable()
{
    if (volume_.flushes)
        control("PRAGMA synchronous = EXTRA");
    try {
        control("BEGIN IMMEDIATE");
    } catch (const Error&) {
        relax_commits();
        throw;
    }
}

void Connection::begin(TransactionKind kind)
{
    const bool in_transaction = save_points_ > 0 || reads_ > 0;
    if (kind == TransactionKind::read) {
        if (!in_transaction)
            control("BEGIN");
        ++reads_;
        return;
    }
    // To begin writing after reading fails as soon as another process has written in between.
    if (reads_ > 0 && save_points_ == 0)
        fail(SQLITE_MISUSE, "a save point inside a read transaction was refused");
    check_is_not_undone();
    if (kind == TransactionKind::durable_write && in_transaction)
        fail(SQLITE_MISUSE, "a durable save point inside a transaction was refused");
    if (kind == TransactionKind::durable_write)
        begin_durable();
    else
        control(save_points_ == 0 ? "BEGIN IMMEDIATE" : "SAVEPOINT inner");
    ++save_points_;
}

void Connection::commit(TransactionKind kind)
{
    check_is_not_undone();
    if (kind == TransactionKind::read) {
        if (reads_ == 1 && save_points_ == 0)
            control("COMMIT");
        --reads_;
    } else {
        control(save_points_ == 1 ? "COMMIT" : "RELEASE inner");
        --save_points_;
    }
    if (kind == TransactionKind::durable_write)
        relax_commits();
}

void Connection::roll_back(TransactionKind kind) noexcept
{
    --(kind == TransactionKind::read ? reads_ : save_points_);
    const bool is_undone_already = sqlite3_get_autocommit(handle_.get()) != 0;
    if (is_undone_already)
        ; // by SQLite itself
    else if (save_points_ + reads_ == 0)
        sqlite3_exec(handle_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
    else if (kind != TransactionKind::read)
        sqlite3_exec(handle_.get(), "ROLLBACK TO inner; RELEASE inner", nullptr, nullptr, nullptr);
    if (kind == TransactionKind::durable_write)
        relax_commits();
}

bool Connection::is_in_place() const
{
    int has_moved = 0;
    const int code =
        sqlite3_file_control(handle_.get(), "main", SQLITE_FCNTL_HAS_MOVED, &has_moved);
    return code != SQLITE_OK || has_moved == 0;
}

bool Connection::put_back()
{
    // Several processes may have the file open. One puts it back, the others find it there.
    const std::string folder = file_url_.deleting_last_path_component().path();
    const FileDescriptor turn(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (turn)
        ::flock(turn.get(), LOCK_EX);
    if (identity_at(file_url_.path())) {
        remove_own_log();
        return false;
    }
    try {
        copy_to_path();
    } catch (const Error& error) {
        fail(error.code().value_or(SQLITE_CANTOPEN),
             "the file was deleted while it was open, and can't be put back");
    }
    return true;
}

void Connection::copy_to_path()
{
    const std::string path = file_url_.path();
    const std::string copy = path + "-back";
    ::unlink(copy.c_str());
    query("VACUUM INTO ?", {copy}, [](const Row&) { return true; }, {});
    // They belong to the lost file; the new one would take them for its own.
    for (const char* end : {"-wal", "-shm", "-journal"})
        ::unlink((path + end).c_str());
    if (::rename(copy.c_str(), path.c_str()) != 0)
        throw platform_error(errno, file_url_);
}

/// The log of the open file, in case it still stands beside the file in its place.
void Connection::remove_own_log() const
{
    const std::string path = file_url_.path();
    if (!log_ || identity_at(path + "-wal") != log_)
        return;
    ::unlink((path + "-wal").c_str());
    ::unlink((path + "-shm").c_str());
}

int Connection::user_version()
{
    std::int64_t version = 0;
    query("PRAGMA user_version", {},
          [&](const Row& row) {
              version = row.integer(0);
              return true;
          },
          {});
    return static_cast<int>(version);
}

std::size_t Connection::max_placeholders() const
{
    return static_cast<std::size_t>(sqlite3_limit(handle_.get(), SQLITE_LIMIT_VARIABLE_NUMBER, -1));
}

void Connection::fail(int code, std::string_view text) const
{
    std::string reason(text);
    if (reason.empty())
        reason = handle_ ? sqlite3_errmsg(handle_.get()) : sqlite3_errstr(code);
    reason.append(" (").append(file_url_.path()).append(")");
    const Error error = database_error(code, reason).at(file_url_);
    throw error.known_as(cause_of(database_fault(error)));
}

} // namespace orv
