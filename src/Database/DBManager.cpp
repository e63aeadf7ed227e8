#include "Database/DBManager.hpp"

#include "database/DatabaseFault.hpp"

#include <orv/utility/Error.hpp>
#include <orv/utility/Fatal.hpp>

#include <atomic>
#include <cerrno>
#include <string>

#include <sys/stat.h>

namespace orv {
namespace {

std::atomic<DBManager*> shared_manager = nullptr;

void create_folder(const Url& folder)
{
    if (::mkdir(folder.path().c_str(), S_IRWXU) == 0 || errno == EEXIST)
        return;
    const Url enclosing = folder.deleting_last_path_component();
    if (errno != ENOENT || enclosing == folder)
        throw platform_error(errno, folder);
    create_folder(enclosing);
    if (::mkdir(folder.path().c_str(), S_IRWXU) != 0 && errno != EEXIST)
        throw platform_error(errno, folder);
}

std::string_view advice(const Error& error)
{
    switch (database_fault(error)) {
    case DatabaseFault::damaged:
        return "Move the file away to begin with an empty one, or put a backup in its place.";
    case DatabaseFault::inaccessible:
        return "Make sure that its folder exists and that both may be read and written.";
    case DatabaseFault::full:
        return "Free some space on its volume.";
    case DatabaseFault::busy:
        return "End the process that keeps it.";
    case DatabaseFault::other:
        return "Make sure that its folder may be written and that its volume is in order.";
    }
    return {};
}

[[noreturn]] void stop(const Url& file, const Error& error)
{
    std::string text = "The attributes database at " + file.path() + " can't be used. ";
    text.append(error.message()).append(" ").append(advice(error));
    fatal(text.append(" [src/Database/DBManager]"));
}

} // namespace

void DBUpgrader::upgrade_step(Database& database, int /*from_version*/, int to_version)
{
    switch (to_version) {
    case 2:
        database.execute("CREATE TABLE custom_attributes (\n"
                         "    relative_path TEXT UNIQUE,\n"
                         "    is_protected INTEGER,\n"
                         "    order_no INTEGER\n"
                         ");");
        break;
    case 3:
        database.execute("ALTER TABLE custom_attributes\n"
                         "ADD COLUMN is_custom_sorted INTEGER DEFAULT 0;");
        break;
    case 4:
        database.execute("ALTER TABLE custom_attributes\n"
                         "ADD COLUMN was_custom_sorted_at_least_once INTEGER DEFAULT 0;");
        break;
    default:
        break;
    }
}

void DBManager::setup(const Url& file)
{
    try {
        create_folder(file.deleting_last_path_component());
        db_.open(file, true);
        upgrade();
        db_.set_when_reopened([this] { upgrade(); });
    } catch (const Error& error) {
        stop(file, error);
    }
}

void DBManager::upgrade()
{
    db_.sync([&] {
        DBUpgrader upgrader;
        db_.upgrade(upgrader);
    });
}

DBManager& shared_db_manager()
{
    if (DBManager* manager = shared_manager)
        return *manager;
    static DBManager& first = *[] {
        auto* manager = new DBManager; // to the end of the process
        manager->setup();
        return manager;
    }();
    return first;
}

void set_shared_db_manager(DBManager* manager)
{
    shared_manager = manager;
}

} // namespace orv
