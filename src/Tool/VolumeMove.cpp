#include "Tool/VolumeMove.hpp"

#include "Tool/CopyRecord.hpp"
#include "Tool/ExactCopy.hpp"
#include "Tool/RecordedSource.hpp"
#include "Tool/Tool.hpp"
#include "files/Flush.hpp"
#include "files/HiddenName.hpp"
#include "files/Identity.hpp"
#include "files/NoReplaceRename.hpp"
#include "files/Place.hpp"
#include "files/ProcessedFiles.hpp"
#include "files/RemoveTree.hpp"
#include "files/TransferItems.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>
#include <optional>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>

namespace orv {
namespace {

std::optional<Identity> identity_at(int folder, const std::string& name)
{
    struct statx facts {};
    if (::statx(folder, name.c_str(), AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS, &facts) != 0)
        return std::nullopt;
    return identity_of(facts);
}

/// The folder may have been cleaned away since the library was started.
FileDescriptor opened_processed_files()
{
    create_processed_files_folder();
    return open_processed_files_folder();
}

/// The copy of an item while it is built under a hidden name beside its destination. Unless it is
/// published, nothing of it remains.
class HiddenCopy {
public:
    /// Errors: the platform's; EEXIST when something stands at `to`.
    explicit HiddenCopy(const Url& to)
        : place_(Place::in_opened_folder(to)), url_(to), folder_(opened_free_place(place_, to)),
          processed_files_(opened_processed_files()),
          name_({processed_files_.get(), processed_files_folder()},
                to.deleting_last_path_component())
    {
    }

    ~HiddenCopy()
    {
        if (is_published_)
            return;
        try {
            remove_tree(folder_.get(), name_.text().c_str(), item().url());
        } catch (const Error& error) {
            if (error.code() != ENOENT)
                name_.leave_behind();
        }
    }

    HiddenCopy(const HiddenCopy&) = delete;
    HiddenCopy& operator=(const HiddenCopy&) = delete;

    /// Where it is to be built.
    [[nodiscard]] DestinationItem item() const
    {
        return {{folder_.get(), url_.deleting_last_path_component()}, name_.text()};
    }

    /// Puts the finished copy to its name, replacing nothing, for good.
    ///
    /// Errors: the platform's; then nothing stands there.
    void publish()
    {
        const auto identity = identity_at(folder_.get(), name_.text());
        if (const int code = rename(name_.text(), place_.path))
            throw platform_error(code, url_);
        try {
            flush(folder_.get(), url_);
        } catch (const Error&) {
            if (identity == identity_at(folder_.get(), place_.path))
                (void)rename(place_.path, name_.text());
            throw;
        }
        is_published_ = true;
    }

private:
    /// Opens the folder, in which nothing may have the name.
    static FileDescriptor opened_free_place(const Place& place, const Url& to)
    {
        FileDescriptor folder(
            ::openat(place.folder(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK));
        if (!folder)
            throw platform_error(errno, to.deleting_last_path_component());
        if (identity_at(folder.get(), place.path))
            throw platform_error(EEXIST, to);
        return folder;
    }

    [[nodiscard]] int rename(const std::string& from, const std::string& to) const
    {
        return rename_no_replace(folder_.get(), from.c_str(), folder_.get(), to.c_str());
    }

    Place place_;
    Url url_;
    FileDescriptor folder_;
    FileDescriptor processed_files_;
    HiddenName name_;
    bool is_published_ = false;
};

void check_is_named(const Place& place, const Url& url)
{
    if (place.path.empty() || place.path == "." || place.path == "..")
        throw platform_error(EBUSY, url);
}

/// The error of a move that has reached its destination: without saying so it would mislead.
Error remaining_error(const Error& cause)
{
    const bool is_changed = cause.kind() != Error::Kind::platform;
    const std::string what = std::string("it is complete at its destination, but ") +
                             (is_changed ? "what was changed or added meanwhile stays where it was"
                                         : "not all of it could be removed where it was");
    const Error told = move_error(Error(what).appending_error(cause));
    return Error("Couldn't move the item: " + what + ".")
        .with_message(told.message())
        .because_of(cause);
}

} // namespace

void move_across_volumes(const Url& from, const Url& to)
{
    CopyRecord record;
    std::optional<Place> place;
    std::optional<SourceItem> source;
    try {
        place = Place::in_opened_folder(from);
        check_is_named(*place, from);
        source = SourceItem{place->folder(), place->path, from};
        HiddenCopy copy(to);
        copy_exactly(*source, copy.item(), to, record);
        check_unchanged(*source, record);
        copy.publish();
    } catch (const Error& cause) {
        throw move_error(cause);
    }
    try {
        remove_copied(*source, record);
    } catch (const Error& cause) {
        throw remaining_error(cause);
    }
}

} // namespace orv
