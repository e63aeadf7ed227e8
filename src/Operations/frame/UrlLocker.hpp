#pragma once

#include <orv/utility/Error.hpp>
#include <orv/utility/Url.hpp>

#include <cstdint>
#include <vector>

namespace orv {

/// A request's use of an item: a read, or a change, removal or creation.
struct LockType {
    enum class Kind { read, write } kind;
    Url url;
};

[[nodiscard]] inline LockType read(Url url)
{
    return {LockType::Kind::read, std::move(url)};
}

[[nodiscard]] inline LockType write(Url url)
{
    return {LockType::Kind::write, std::move(url)};
}

/// The locations in use by the process's requests: no two of them work on the same part of the
/// tree. Nobody waits for a lock: a clash ends the later request. A location below a linked folder
/// and its resolved form are one.
///
/// Threading: any. All functions but `unlock` and `do_urls_conflict` look at the disk.
class UrlLocker {
public:
    /// The registrations of one call of `lock`; never used twice.
    enum class Registration : std::uint64_t {};

    /// Registers all of `sources` and `dest`, or none of them.
    ///
    /// Errors, in this order: "Source item is being written by another operation."; unless
    /// `allow_conflict`, "Source path conflicts with destination path."; "Destination item is being
    /// read by another operation."; "Destination item is being written by another operation."
    [[nodiscard]] static Registration lock(const std::vector<LockType>& sources,
                                           const LockType& dest, bool allow_conflict);

    /// Takes back the registrations of `lock`. Does nothing the second time.
    static void unlock(Registration registration);

    /// True if one lies inside the other, or both are the same, as spelled.
    [[nodiscard]] static bool do_urls_conflict(const Url& one, const Url& other);

    [[nodiscard]] static bool is_read_locked(const Url& url);
    [[nodiscard]] static bool is_write_locked(const Url& url);
};

/// The error of a source around the destination, or inside it.
[[nodiscard]] Error source_conflict(const Url& source);

/// Holds locations for as long as it lives.
class [[nodiscard]] UrlLock {
public:
    /// Errors: those of `UrlLocker::lock`.
    UrlLock(const std::vector<LockType>& sources, const LockType& dest, bool allow_conflict = false)
        : registration_(UrlLocker::lock(sources, dest, allow_conflict))
    {
    }
    explicit UrlLock(const LockType& dest) : UrlLock({}, dest) {}
    ~UrlLock() { UrlLocker::unlock(registration_); }
    UrlLock(const UrlLock&) = delete;
    UrlLock& operator=(const UrlLock&) = delete;

private:
    UrlLocker::Registration registration_;
};

} // namespace orv
