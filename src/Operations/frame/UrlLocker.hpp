#pragma once

#include <orv/utility/Error.hpp>
#include <orv/utility/Url.hpp>

#include <cstdint>
#include <vector>

namespace orv {

/// What a request does with an item: only reads it, or changes, removes or creates it.
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

/// The locations that the process's requests hold, so that two of them never work on the same part
/// of the tree. Nobody waits for a lock: a clash ends the request that meets it. A location below a
/// linked folder and the one that the link leads to are one.
///
/// Threading: any. All functions but `unlock` and `do_urls_conflict` look at the disk.
class UrlLocker {
public:
    /// What one call of `lock` registered; never used twice.
    enum class Registration : std::uint64_t {};

    /// Registers all of `sources` and `dest`, or none of them.
    ///
    /// Errors, in this order: "Source item is being written by another operation."; unless
    /// `allow_conflict`, "Source path conflicts with destination path."; "Destination item is being
    /// read by another operation."; "Destination item is being written by another operation."
    [[nodiscard]] static Registration lock(const std::vector<LockType>& sources,
                                           const LockType& dest, bool allow_conflict);

    /// Takes back what `lock` registered; once it was taken back, nothing.
    static void unlock(Registration registration);

    /// Whether one of the two lies inside the other, or both are the same, as they are spelled.
    [[nodiscard]] static bool do_urls_conflict(const Url& one, const Url& other);

    [[nodiscard]] static bool is_read_locked(const Url& url);
    [[nodiscard]] static bool is_write_locked(const Url& url);
};

/// The error of a source that the destination lies in, or that lies in it.
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
