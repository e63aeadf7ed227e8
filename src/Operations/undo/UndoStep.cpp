#include "Operations/undo/UndoStep.hpp"

#include "files/ItemStatus.hpp"
#include "files/Place.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>
#include <ctime>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>

namespace orv {
namespace {

constexpr std::int64_t ns_per_second = 1'000'000'000;

std::string_view word_of(UndoVerb verb)
{
    switch (verb) {
    case UndoVerb::copying:
        return "copying";
    case UndoVerb::moving:
        return "moving";
    case UndoVerb::renaming:
        return "renaming to";
    case UndoVerb::creating:
        return "creating";
    case UndoVerb::packing:
        return "packing";
    case UndoVerb::unpacking:
        return "unpacking to";
    case UndoVerb::writing:
        return "writing";
    case UndoVerb::trashing:
        return "moving to the trash:";
    case UndoVerb::restoring:
        return "restoring";
    case UndoVerb::attributes:
        return "changing attributes of";
    }
    return "changing"; // by a later version
}

} // namespace

std::optional<UndoIdentity> UndoIdentity::of(int folder, const char* name)
{
    struct statx facts {};
    if (::statx(folder, name, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT,
                STATX_BASIC_STATS | STATX_BTIME, &facts) != 0)
        return std::nullopt;
    const bool has_birth = (facts.stx_mask & STATX_BTIME) != 0;
    return UndoIdentity{
        .device = (std::int64_t{facts.stx_dev_major} << 32) | facts.stx_dev_minor,
        .inode = static_cast<std::int64_t>(facts.stx_ino),
        .birth = has_birth ? nanoseconds(facts.stx_btime) : 0,
        .size = static_cast<std::int64_t>(facts.stx_size),
        .modified = nanoseconds(facts.stx_mtime),
    };
}

std::optional<UndoIdentity> UndoIdentity::at(const Url& url)
try {
    const Place place = Place::of(url);
    const auto identity = of(place.folder(), place.name());
    if (!identity && errno != ENOENT)
        throw platform_error(errno, url);
    return identity;
} catch (const Error& error) {
    if (error.code() != ENOENT && error.code() != ENOTDIR)
        throw;
    return std::nullopt;
}

// File systems date a change by the start of the kernel's tick, some milliseconds long. A finer
// clock would take a change right after the note for an older one.
std::int64_t undo_time()
{
    struct timespec time {};
    ::clock_gettime(CLOCK_REALTIME_COARSE, &time);
    return time.tv_sec * ns_per_second + time.tv_nsec;
}

std::optional<UndoStep> undo_step(UndoVerb verb, UndoAction action, const Url& url,
                                  const Url& origin)
try {
    const auto identity = UndoIdentity::at(url);
    if (!identity)
        return std::nullopt;
    return UndoStep{.verb = verb,
                    .action = action,
                    .url = url.standardized(),
                    .origin = origin.empty() ? origin : origin.standardized(),
                    .identity = *identity,
                    .noted = undo_time()};
} catch (const Error&) {
    return std::nullopt;
}

std::string undo_text(UndoVerb verb, const Url& first, std::int64_t count)
{
    const std::string what =
        count == 1 ? "“" + first.last_path_component() + "”" : std::to_string(count) + " items";
    return std::string(word_of(verb)) + " " + what;
}

} // namespace orv
