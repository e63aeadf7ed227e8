#include "Tool/VolumeMove.hpp"

#include "Tool/CopyRecord.hpp"
#include "Tool/ExactCopy.hpp"
#include "Tool/RecordedSource.hpp"
#include "Tool/ToolErrors.hpp"
#include "files/HiddenItem.hpp"
#include "files/Place.hpp"
#include "files/TransferItems.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>
#include <optional>

namespace orv {
namespace {

void check_is_named(const Place& place, const Url& url)
{
    if (place.path.empty() || place.path == "." || place.path == "..")
        throw platform_error(EBUSY, url);
}

/// Gives the complete copy its name, for good: also after a power cut.
void publish(HiddenItem& copy, bool replaces)
{
    if (replaces)
        return copy.publish_replacing();
    copy.publish();
    try {
        copy.flush_folder();
    } catch (const Error&) {
        copy.withdraw();
        throw;
    }
}

Error remaining_error(const Error& cause)
{
    const bool is_changed = cause.kind() != Error::Kind::platform;
    return error_at_destination(is_changed
                                    ? "what was changed or added meanwhile stays where it was"
                                    : "not all of it could be removed where it was",
                                cause);
}

} // namespace

void move_across_volumes(const Url& from, const Url& to, bool replaces, const AroundNaming& around,
                         const MoveWatch& watch)
{
    CopyRecord record;
    std::optional<Place> place;
    std::optional<SourceItem> source;
    try {
        place = Place::in_resolved_folder(from);
        check_is_named(*place, from);
        source = SourceItem{place->folder(), place->path, from};
        HiddenItem copy(to);
        if (!replaces && copy.is_taken())
            throw platform_error(EEXIST, to);
        copy_exactly(*source, copy.item(), record, watch);
        check_unchanged(*source, record);
        if (watch.verifies)
            check_reads_back(*source, copy.item(), record, watch);
        watch.progress(0, 0); // the last moment for a cancel
        attempt_naming(around, [&] {
            publish(copy, replaces);
            return 0;
        });
    } catch (const Error& cause) {
        throw move_error(cause);
    }
    try {
        remove_copied(*source, record, watch);
    } catch (const Error& cause) {
        throw remaining_error(cause);
    }
}

} // namespace orv
