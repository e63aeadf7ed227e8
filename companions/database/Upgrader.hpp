#pragma once

namespace orv {

class Database;

/// Brings the schema of a database up to date, one version at a time.
class Upgrader {
public:
    Upgrader() = default;
    virtual ~Upgrader() = default;
    Upgrader(const Upgrader&) = delete;
    Upgrader& operator=(const Upgrader&) = delete;

    [[nodiscard]] virtual int latest_version() const = 0;

    /// Changes the schema of `database` from one version to the next.
    virtual void upgrade_step(Database& database, int from_version, int to_version) = 0;
};

} // namespace orv
