#include "Operations/frame/UrlLocker.hpp"

#include "Operations/frame/ErrorPlace.hpp"
#include "Operations/frame/LockTurn.hpp"
#include "files/Place.hpp"
#include "utility/WorkerPool.hpp"

#include <orv/utility/Error.hpp>
#include <orv/utility/FunctionRef.hpp>

#include <algorithm>
#include <condition_variable>
#include <iterator>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace orv {
namespace {

constexpr ErrorPlace lock_place{"src/Operations/UrlLocker", "lock(sources:dest:allow_conflict:)"};

/// A path with a slash at its end: the paths below begin with it.
std::string as_folder(const std::string& path)
{
    return path.ends_with('/') ? path : path + "/";
}

/// Both standardized, or both keys.
bool conflict(const Url& one, const Url& other)
{
    if (one.empty() || other.empty())
        return false;
    const std::string a = as_folder(one.path());
    const std::string b = as_folder(other.path());
    return a.starts_with(b) || b.starts_with(a);
}

/// The one key of a location, in any spelling. Looks at the disk, so never inside the lock.
Url key_of(const Url& url)
{
    return resolving_folders(url).standardized();
}

struct Wanted {
    explicit Wanted(const LockType& type) : kind(type.kind), url(type.url), key(key_of(type.url)) {}
    Wanted(LockType::Kind wanted_kind, Url resolved)
        : kind(wanted_kind), url(std::move(resolved)), key(url.standardized())
    {
    }

    LockType::Kind kind;
    Url url;
    Url key;
};

std::vector<Wanted> resolved_already(std::vector<LockType> types)
{
    std::vector<Wanted> wanted;
    wanted.reserve(types.size());
    for (LockType& type : types)
        wanted.emplace_back(type.kind, std::move(type.url));
    return wanted;
}

/// Locations in use, with owner and kind of use. Finds the locations in a folder and the folders
/// around an item without a look at all others.
class UsedLocations {
public:
    void add(LockType::Kind kind, const Url& key, UrlLocker::Registration registration)
    {
        if (!key.empty())
            uses_.insert({as_folder(key.path()), Use{kind, registration}});
    }

    void remove(const Url& key, UrlLocker::Registration registration)
    {
        const auto [begin, end] = uses_.equal_range(as_folder(key.path()));
        for (auto use = begin; use != end;)
            use = use->second.registration == registration ? uses_.erase(use) : std::next(use);
    }

    [[nodiscard]] bool is_used(LockType::Kind kind, const Url& key) const
    {
        if (key.empty())
            return false;
        const std::string path = as_folder(key.path());
        for (auto use = uses_.lower_bound(path); use != uses_.end(); ++use) {
            if (!use->first.starts_with(path))
                break;
            if (use->second.kind == kind)
                return true;
        }
        for (std::size_t slash = path.find('/'); slash != std::string::npos;
             slash = path.find('/', slash + 1))
            if (is_used_itself(kind, path.substr(0, slash + 1)))
                return true;
        return false;
    }

private:
    struct Use {
        LockType::Kind kind;
        UrlLocker::Registration registration;
    };

    [[nodiscard]] bool is_used_itself(LockType::Kind kind, const std::string& path) const
    {
        const auto [begin, end] = uses_.equal_range(path);
        return std::any_of(begin, end, [&](const auto& use) { return use.second.kind == kind; });
    }

    std::multimap<std::string, Use> uses_; // by path, as a folder
};

} // namespace

struct LockTurn::Waiter {
    std::vector<Wanted> wanted;

    std::mutex mutex;
    std::condition_variable ended;
    bool is_given_up = false;
    std::optional<UrlLocker::Registration> granted = {};
};

namespace {

using Waiter = LockTurn::Waiter;

/// The registrations in force, and those who wait. A mutex and not the main thread guards them: a
/// request of 4,000 items takes 4,000 locks, and each hand-over would wait for the application's
/// loop.
class Registry {
public:
    /// Calls `use` with the locked registry.
    template <class Use>
    static auto with_instance(Use use)
    {
        Registry& registry = instance();
        const std::lock_guard lock(registry.mutex_);
        return use(registry);
    }

    [[nodiscard]] bool is_locked(LockType::Kind kind, const Url& key) const
    {
        return used_.is_used(kind, key);
    }

    UrlLocker::Registration add(const std::vector<Wanted>& wanted)
    {
        const auto registration = UrlLocker::Registration{++last_registration_};
        std::vector<Url>& keys = keys_[registration];
        keys.reserve(wanted.size());
        for (const Wanted& location : wanted) {
            used_.add(location.kind, location.key, registration);
            keys.push_back(location.key);
        }
        return registration;
    }

    void remove(UrlLocker::Registration registration)
    {
        const auto found = keys_.find(registration);
        if (found == keys_.end())
            return;
        for (const Url& key : found->second)
            used_.remove(key, registration);
        keys_.erase(found);
        grant();
    }

    void add_waiter(std::shared_ptr<Waiter> waiter)
    {
        waiting_.push_back(std::move(waiter));
        grant();
    }

    [[nodiscard]] std::size_t waiter_count() const { return waiting_.size(); }

    void remove_waiter(const std::shared_ptr<Waiter>& waiter)
    {
        if (std::erase(waiting_, waiter) > 0)
            grant();
    }

private:
    static Registry& instance()
    {
        static auto* registry = new Registry;
        return *registry;
    }

    /// Gives those their registrations whom neither a registration nor an earlier one keeps
    /// waiting.
    void grant()
    {
        UsedLocations wanted_before;
        for (auto next = waiting_.begin(); next != waiting_.end();) {
            Waiter& waiter = **next;
            if (clashes(used_, waiter) || clashes(wanted_before, waiter)) {
                for (const Wanted& location : waiter.wanted)
                    wanted_before.add(location.kind, location.key, {});
                ++next;
                continue;
            }
            const std::lock_guard lock(waiter.mutex);
            waiter.granted = add(waiter.wanted);
            waiter.ended.notify_all();
            next = waiting_.erase(next);
        }
    }

    [[nodiscard]] static bool clashes(const UsedLocations& used, const Waiter& waiter)
    {
        return std::ranges::any_of(waiter.wanted, [&](const Wanted& location) {
            return used.is_used(LockType::Kind::write, location.key) ||
                   (location.kind == LockType::Kind::write &&
                    used.is_used(LockType::Kind::read, location.key));
        });
    }

    std::mutex mutex_;
    UsedLocations used_;
    std::map<UrlLocker::Registration, std::vector<Url>> keys_;
    std::vector<std::shared_ptr<Waiter>> waiting_; // in order of arrival
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

std::optional<Error> clash(const Registry& registry, const std::vector<Wanted>& all)
{
    using Kind = LockType::Kind;
    for (const Wanted& wanted : all) {
        if (registry.is_locked(Kind::write, wanted.key))
            return lock_place("Source item is being written by another operation.").at(wanted.url);
        if (wanted.kind == Kind::write && registry.is_locked(Kind::read, wanted.key))
            return lock_place("Source item is being read by another operation.").at(wanted.url);
    }
    return std::nullopt;
}

/// Registers `wanted`, unless `find_clash` finds an error.
UrlLocker::Registration
registered(const std::vector<Wanted>& wanted,
           FunctionRef<std::optional<Error>(const Registry& registry)> find_clash)
{
    UrlLocker::Registration registration{};
    const auto error = Registry::with_instance([&](Registry& registry) {
        auto found = find_clash(registry);
        if (!found)
            registration = registry.add(wanted);
        return found;
    });
    if (error)
        throw *error;
    return registration;
}

} // namespace

UrlLocker::Registration UrlLocker::lock(const std::vector<LockType>& sources, const LockType& dest,
                                        bool allow_conflict)
{
    const std::vector<Wanted> wanted_sources(sources.begin(), sources.end());
    const Wanted wanted_dest(dest);
    std::vector<Wanted> wanted = wanted_sources;
    wanted.emplace_back(LockType::Kind::write, dest.url).key = wanted_dest.key;
    return registered(wanted, [&](const Registry& registry) {
        return clash(registry, wanted_sources, wanted_dest, allow_conflict);
    });
}

LocationLock::LocationLock(std::vector<LockType> wanted)
{
    const std::vector<Wanted> locations = resolved_already(std::move(wanted));
    registration_ =
        registered(locations, [&](const Registry& registry) { return clash(registry, locations); });
}

LocationLock::~LocationLock()
{
    UrlLocker::unlock(registration_);
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

namespace {

/// No value once the wait was given up. The waiter's mutex is free again at the return: whoever
/// grants holds the registry's before it, so nothing may take that one inside.
std::optional<UrlLocker::Registration> wait_for_grant(LockTurn::Waiter& waiter)
{
    const WorkerPool::Blocked blocked;
    std::unique_lock lock(waiter.mutex);
    waiter.ended.wait(lock, [&] { return waiter.is_given_up || waiter.granted; });
    return std::exchange(waiter.granted, std::nullopt);
}

} // namespace

LockTurn::LockTurn(std::vector<LockType> wanted) : waiter_(std::make_shared<Waiter>())
{
    waiter_->wanted = resolved_already(std::move(wanted));
    Registry::with_instance([this](Registry& registry) { registry.add_waiter(waiter_); });
}

LockTurn::~LockTurn()
{
    Registry::with_instance([this](Registry& registry) {
        registry.remove_waiter(waiter_);
        if (waiter_->granted) // too late for the one who waited
            registry.remove(*waiter_->granted);
    });
}

std::optional<LocationLock> LockTurn::wait()
{
    const auto granted = wait_for_grant(*waiter_);
    if (!granted)
        return std::nullopt;
    return LocationLock(*granted);
}

std::size_t LockTurn::count()
{
    return Registry::with_instance([](Registry& registry) { return registry.waiter_count(); });
}

void LockTurn::give_up()
{
    const std::lock_guard lock(waiter_->mutex);
    waiter_->is_given_up = true;
    waiter_->ended.notify_all();
}

} // namespace orv
