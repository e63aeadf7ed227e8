#include "Tool/ExactCopy.hpp"

#include "Global/TestMode.hpp"
#include "files/CopyNode.hpp"
#include "files/DestinationFolders.hpp"
#include "files/FileContent.hpp"
#include "files/Flush.hpp"
#include "files/HardLinks.hpp"
#include "files/ItemMetadata.hpp"
#include "files/ItemStatus.hpp"
#include "files/OpenFolder.hpp"
#include "files/ReadWrite.hpp"
#include "files/Removability.hpp"
#include "files/TreeWalk.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orv {
namespace {

/// An open item, and its facts at the time.
struct OpenedItem {
    FileDescriptor descriptor;
    struct stat status {};
};

OpenedItem open_file(const SourceItem& source)
{
    OpenedItem item{
        FileDescriptor(::openat(source.folder, source.name.c_str(),
                                O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC)),
        {}};
    if (!item.descriptor || ::fstat(item.descriptor.get(), &item.status) != 0)
        throw platform_error(errno, source.url);
    if (!S_ISREG(item.status.st_mode))
        throw changed_while_moved(source.url);
    return item;
}

/// Within one tick of the clock for file dates a further change leaves no trace. A file changed in
/// this very tick gets a second look after it.
void let_tick_pass(OpenedItem& file)
{
    timespec now{};
    timespec tick{};
    ::clock_gettime(CLOCK_REALTIME_COARSE, &now);
    ::clock_getres(CLOCK_REALTIME_COARSE, &tick);
    const timespec& changed = file.status.st_ctim;
    const auto stamp = [](const timespec& time) { return std::tuple(time.tv_sec, time.tv_nsec); };
    const bool is_of_another_clock = changed.tv_sec > now.tv_sec + 1;
    if (stamp(changed) < stamp(now) || is_of_another_clock)
        return;
    ::clock_nanosleep(CLOCK_MONOTONIC, 0, &tick, nullptr);
    ::fstat(file.descriptor.get(), &file.status);
}

void close_written(FileDescriptor file, const Url& url)
{
    if (::close(file.release()) != 0 && errno != EINTR)
        throw platform_error(errno, url);
}

void create_folder(const DestinationItem& target)
{
    if (::mkdirat(target.folder.fd, target.name.c_str(), S_IRWXU) != 0)
        throw platform_error(errno, target.url());
}

/// The copy of a link or a node, through `make`. Returns the status of the source at that time.
template <class Make>
struct stat made_copy(Make make, const SourceItem& source, const DestinationItem& target)
{
    try {
        return make(source, target);
    } catch (const Error& error) {
        if (error.code() == ESTALE && error.path() == source.url)
            throw changed_while_moved(source.url);
        throw;
    }
}

class ExactCopy {
public:
    ExactCopy(const DestinationItem& destination, CopyRecord& record, const MoveWatch& watch)
        : destination_(destination), record_(record), watch_(watch), links_(destination.folder.fd),
          destination_folder_(identity_of(item_facts(destination.folder.fd, "", destination.url())))
    {
    }

    void run(const SourceItem& source)
    {
        const struct statx facts = item_facts(source.folder, source.name.c_str(), source.url);
        const struct statx above = item_facts(source.folder, "", source.url);
        check_can_take_from(source.folder, source.url.deleting_last_path_component());
        check_can_be_moved(facts, above, source.url);

        if (!S_ISDIR(facts.stx_mode))
            return copy(source, facts.stx_mode, destination_);
        flushes_each_ = !can_flush_volume(destination_.folder.fd);
        create_folder(destination_);
        // The folder around it may be unreadable, and so impossible to flush.
        OpenFolder top = open_folder(destination_.folder.fd, destination_.name.c_str());
        if (top.error != 0)
            throw platform_error(top.error, destination_.url());
        copy_contents(source);
        if (!flushes_each_)
            flush_all(std::move(top.descriptor));
    }

private:
    void flush_all(FileDescriptor folder)
    {
        const auto opened = std::make_shared<FileDescriptor>(std::move(folder));
        watch_.do_long([opened, url = destination_.url()] { flush_volume(opened->get(), url); });
    }

    void copy_contents(const SourceItem& source)
    {
        OpenFolder folder = open_folder(source.folder, source.name.c_str());
        if (folder.error != 0)
            throw platform_error(folder.error, source.url);
        TreeWalkOptions options{.unreadable = TreeWalkOptions::Unreadable::fail};
        if (watch_.leaves_out) {
            options.unreadable = TreeWalkOptions::Unreadable::pass_over;
            options.on_passed_over = [this](const Error& error) { pass_over(error); };
        }
        TreeWalk walk(std::move(folder), source.url, options);
        for (;;) {
            switch (walk.next()) {
            case TreeWalk::Event::item:
                come_to_item(walk);
                break;
            case TreeWalk::Event::entered:
                enter(walk);
                break;
            case TreeWalk::Event::left:
                leave(walk);
                break;
            case TreeWalk::Event::end:
                return;
            }
        }
    }

    void come_to_item(TreeWalk& walk)
    {
        for (;;) {
            try {
                return transfer_item(walk);
            } catch (const Error& error) {
                const Url url = walk.path();
                const auto choice = watch_.on_failure(url, error);
                if (choice == MoveWatch::Choice::fail)
                    throw;
                remove_unfinished();
                if (choice == MoveWatch::Choice::leave_out)
                    return walk.skip_contents();
            }
        }
    }

    void transfer_item(const TreeWalk& walk)
    {
        made_.clear();
        if (is_first_in_folder_)
            check_can_take_from(walk.folder(), walk.folder_path());
        is_first_in_folder_ = false;
        const SourceItem source{walk.folder(), walk.name(), walk.path()};
        check_can_be_moved(walk.facts(), walk.folder_facts(), source.url);
        const DestinationItem target{folders_->innermost(), source.name};
        if (walk.is_folder()) {
            create_folder(target);
            made_ = target.name;
        } else if (walk.facts().stx_nlink == 1 || !S_ISREG(walk.facts().stx_mode))
            copy(source, walk.facts().stx_mode, target);
        else
            copy_linked_file(source, target, destination_.name + "/" + walk.relative_path());
    }

    /// Asks about an unreadable folder. A skipped one loses its copy. A retry begins the whole move
    /// anew.
    void pass_over(const Error& error)
    {
        const Url url = error.path().value_or(destination_.url());
        if (watch_.on_failure(url, error) != MoveWatch::Choice::leave_out)
            throw error;
        remove_unfinished();
    }

    /// Removes the copy of the current item. On a volume that takes "A" and "a" for one name that
    /// name may be another item's, so this removes only its own.
    void remove_unfinished()
    {
        if (made_.empty())
            return;
        const int folder = folders_->innermost().fd;
        if (::unlinkat(folder, made_.c_str(), 0) != 0)
            ::unlinkat(folder, made_.c_str(), AT_REMOVEDIR);
        made_.clear();
    }

    void enter(const TreeWalk& walk)
    {
        const ModeAndTimes kept(walk.facts());
        if (folders_)
            folders_->enter(walk.name(), kept);
        else
            folders_.emplace(destination_.folder, destination_.name, destination_.url(), kept);
        struct stat status {};
        if (::fstat(walk.folder(), &status) != 0)
            throw platform_error(errno, walk.path());
        made_.clear();
        record_.add_entered(walk.name(), ItemVersion(status));
        is_first_in_folder_ = true;
    }

    void leave(const TreeWalk& walk)
    {
        is_first_in_folder_ = false;
        folders_->leave(walk.folder(), flushes_each_);
        record_.add_left();
    }

    void check_can_be_moved(const struct statx& facts, const struct statx& above,
                            const Url& url) const
    {
        check_can_be_taken(facts, above, url);
        if (identity_of(facts) == destination_folder_)
            throw platform_error(EINVAL, url);
    }

    /// Copies any item but a folder.
    void copy(const SourceItem& source, mode_t mode, const DestinationItem& target)
    {
        if (S_ISREG(mode))
            copy_file(source, target);
        else if (S_ISLNK(mode))
            record(source, made_copy(copy_link, source, target));
        else if (S_ISFIFO(mode) || S_ISSOCK(mode))
            record(source, made_copy(copy_node, source, target));
        else
            throw Error("Device files can't be moved to another volume.")
                .known_as(Cause::unsupported)
                .at(source.url);
    }

    struct stat copy_file(const SourceItem& source, const DestinationItem& target)
    {
        const Url url = target.url();
        OpenedItem original = open_file(source);
        let_tick_pass(original);
        FileDescriptor file(::openat(target.folder.fd, target.name.c_str(),
                                     O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                                     S_IRUSR | S_IWUSR));
        if (!file)
            throw platform_error(errno, url);
        made_ = target.name;
        const int from = original.descriptor.get();
        std::int64_t told = 0;
        content_.copy(
            {from, source.url}, {file.get(), url}, original.status,
            [&](std::int64_t done) { watch_.progress(done - std::exchange(told, done), 0); });
        keep_extended_attributes(from, file.get(), url);
        keep_mode_and_times(file.get(), ModeAndTimes(original.status), url);
        if (flushes_each_)
            flush(file.get(), url);
        close_written(std::move(file), url);
        const struct stat copied = status_of_copied(original, source.url, target);
        record(source, copied);
        return copied;
    }

    /// The status of a file with the same content as its copy. Some network volumes give a file a
    /// new date once they have stored it; there the content decides.
    static struct stat status_of_copied(OpenedItem& original, const Url& url,
                                        const DestinationItem& copy)
    {
        const ItemVersion before(original.status);
        ItemVersion now = look_again(original, url);
        if (now == before)
            return original.status;
        const int file = original.descriptor.get();
        if (!now.is_same_but_for_dates(before) || reports_faults(file))
            throw changed_while_moved(url);
        let_tick_pass(original);
        now = ItemVersion(original.status);
        const FileDescriptor copied(
            ::openat(copy.folder.fd, copy.name.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
        if (!copied)
            throw platform_error(errno, copy.url());
        const Url copy_url = copy.url();
        if (!has_same_content({file, url}, {copied.get(), copy_url}, [] {}) ||
            look_again(original, url) != now)
            throw changed_while_moved(url);
        return original.status;
    }

    static ItemVersion look_again(OpenedItem& original, const Url& url)
    {
        if (::fstat(original.descriptor.get(), &original.status) != 0)
            throw platform_error(errno, url);
        return ItemVersion(original.status);
    }

    void copy_linked_file(const SourceItem& source, const DestinationItem& target, std::string path)
    {
        struct stat status {};
        if (::fstatat(source.folder, source.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
            throw platform_error(errno, source.url);
        if (links_.make(status, target.folder.fd, target.name))
            record(source, status);
        else
            links_.add(copy_file(source, target), std::move(path));
    }

    void record(const SourceItem& source, const struct stat& status)
    {
        watch_.progress(0, 1);
        record_.add_item(source.name, ItemVersion(status));
    }

    const DestinationItem& destination_;
    CopyRecord& record_;
    const MoveWatch& watch_;
    FileContent content_{chunk_pause_in_test_mode()};
    HardLinks links_;
    std::optional<DestinationFolders> folders_;
    Identity destination_folder_;
    std::string made_; // name of the current item's copy
    bool flushes_each_ = true;
    bool is_first_in_folder_ = false;
};

} // namespace

void copy_exactly(const SourceItem& source, const DestinationItem& destination, CopyRecord& record,
                  const MoveWatch& watch)
{
    ExactCopy(destination, record, watch).run(source);
}

Error changed_while_moved(const Url& url)
{
    const std::string sentence = "It was changed while it was being moved.";
    return Error(sentence).with_message(sentence + " (" + url.path() + ")").at(url);
}

} // namespace orv
