#pragma once

#include "database/Database.hpp"

#include <orv/utility/Locations.hpp>
#include <orv/utility/Url.hpp>

#include <string_view>

namespace orv {

/// Brings the attributes database from an empty file to the current schema.
class DBUpgrader final : public Upgrader {
public:
    [[nodiscard]] int latest_version() const override { return 4; }
    void upgrade_step(Database& database, int from_version, int to_version) override;
};

/// Owns the attributes database, open for the life of the process.
class DBManager {
public:
    static constexpr std::string_view file_name = "orv_file_manager_db.sqlite";

    DBManager() = default;

    /// Opens the database in the application-support folder and brings its schema up to date.
    /// Creates a missing folder, for its owner alone, and a missing file. A failure is fatal.
    void setup() { setup(app_support_dir().appending(file_name)); }

    /// The same with the database at `file`.
    void setup(const Url& file);

    /// The database; of use after `setup()`.
    [[nodiscard]] Database& db() { return db_; }

private:
    void upgrade();

    Database db_;
};

/// The library's manager, set up with the first use.
///
/// Threading: any.
[[nodiscard]] DBManager& shared_db_manager();

/// Sets the library's manager, to outlive all use; null restores its own.
void set_shared_db_manager(DBManager* manager);

} // namespace orv
