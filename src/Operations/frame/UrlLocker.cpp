#include "Operations/frame/UrlLocker.hpp"

#include "Operations/frame/ErrorPlace.hpp"
#include "files/Place.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <mutex>
#include <optional>

namespace orv {
namespace {

constexpr ErrorPlace lock_place{"src/Operations/UrlLocker", "lock(sources:dest:allow_conflict:)"};

bool contains(const std::string& folder, const std::string& path)
{
    if (folder == "/")
        return path.starts_with('/');
    return path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/');
}

/// Both standardized, or both keys.
bool conflict(const Url& one, const Url& other)
{
    return !one.empty() && !other.empty() &&
           (contains(one.path(), other.path()) || contains(other.path(), one.path()));
}

/// What stands for a location, however it is spelled. Looks at the disk, so never inside the lock.
Url key_of(const Url& url)
{
    return resolving_folders(url).standardized();
}

struct Wanted {
    explicit Wanted(const LockType& type) : kind(type.kind), url(type.url), key(key_of(type.url)) {}

    LockType::Kind kind;
    Url url;
    Url key;
};

struct Entry {
    LockType::Kind kind;
    Url key;
    UrlLocker::Registration registration;
};

/// The registrations in force. A mutex and not the main thread guards them: a request of 4,000
/// items takes 4,000 locks, and each hand-over would wait for the application's loop.
class Registry {
public:
    /// Calls `use` with the registry, which is locked meanwhile.
    template <class Use>
    static auto with_instance(Use use)
    {
        Registry& registry = instance();
        const std::lock_guard lock(registry.mutex_);
        return use(registry);
    }

    [[nodiscard]] bool is_locked(LockType::Kind kind, const Url& key) const
    {
        return std::any_of(entries_.begin(), entries_.end(), [&](const Entry& entry) {
            return entry.kind == kind && conflict(entry.key, key);
        });
    }

    UrlLocker::Registration add(const std::vector<Wanted>& sources, const Wanted& dest)
    {
        const auto registration = UrlLocker::Registration{++last_registration_};
        for (const Wanted& source : sources)
            entries_.push_back({source.kind, source.key, registration});
        entries_.push_back({LockType::Kind::write, dest.key, registration});
        return registration;
    }

    void remove(UrlLocker::Registration registration)
    {
        std::erase_if(entries_,
                      [&](const Entry& entry) { return entry.registration == registration; });
    }

private:
    static Registry& instance()
    {
        static auto* registry = new Registry;
        return *registry;
    }

    std::mutex mutex_;
    std::vector<Entry> entries_;
    std::uint64_t last_registration_ = 0;
};

std::optional<Error> clash(const Registry& registry, const std::vector<Wanted>& sources,
                           const Wanted& dest, bool allow_conflict)
{
    using Kind = LockType::Kind;
    for (const Wanted& source : sources) {
        if (registry.is_locked(Kind::write, source.key))
            return lock_place("Source item is being written by another operation.")
                .known_as(Cause::locked)
                .at(source.url);
        if (!allow_conflict && UrlLocker::do_urls_conflict(source.url, dest.url))
            return source_conflict(source.url);
    }
    if (registry.is_locked(Kind::read, dest.key))
        return lock_place("Destination item is being read by another operation.")
            .known_as(Cause::locked)
            .at(dest.url);
    if (registry.is_locked(Kind::write, dest.key))
        return lock_place("Destination item is being written by another operation.")
            .known_as(Cause::locked)
            .at(dest.url);
    return std::nullopt;
}

} // namespace

UrlLocker::Registration UrlLocker::lock(const std::vector<LockType>& sources, const LockType& dest,
                                        bool allow_conflict)
{
    const std::vector<Wanted> wanted_sources(sources.begin(), sources.end());
    const Wanted wanted_dest(dest);
    Registration registration{};
    const auto error = Registry::with_instance([&](Registry& registry) {
        auto found = clash(registry, wanted_sources, wanted_dest, allow_conflict);
        if (!found)
            registration = registry.add(wanted_sources, wanted_dest);
        return found;
    });
    if (error)
        throw *error;
    return registration;
}

Error source_conflict(const Url& source)
{
    return lock_place("Source path conflicts with destination path.")
        .known_as(Cause::invalid)
        .at(source);
}

void UrlLocker::unlock(Registration registration)
{
    Registry::with_instance([&](Registry& registry) { registry.remove(registration); });
}

bool UrlLocker::do_urls_conflict(const Url& one, const Url& other)
{
    return conflict(one.standardized(), other.standardized());
}

bool UrlLocker::is_read_locked(const Url& url)
{
    const Url key = key_of(url);
    return Registry::with_instance(
        [&](Registry& registry) { return registry.is_locked(LockType::Kind::read, key); });
}

bool UrlLocker::is_write_locked(const Url& url)
{
    const Url key = key_of(url);
    return Registry::with_instance(
        [&](Registry& registry) { return registry.is_locked(LockType::Kind::write, key); });
}

} // namespace orv
