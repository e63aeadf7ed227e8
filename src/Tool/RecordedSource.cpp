#include "Tool/RecordedSource.hpp"

#include "Tool/ExactCopy.hpp"
#include "files/FolderStack.hpp"
#include "files/OpenFolder.hpp"
#include "files/ReadBack.hpp"
#include "utility/FileDescriptor.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orv {
namespace {

/// The current place in the source: its parent folder, or somewhere inside it.
class Position {
public:
    explicit Position(const SourceItem& source)
        : outside_(source.folder), path_(source.url.deleting_last_path_component().path())
    {
        if (path_ == "/")
            path_.clear();
    }

    [[nodiscard]] int folder() const { return stack_ ? stack_->folder() : outside_; }
    [[nodiscard]] Url url() const { return path_; }
    [[nodiscard]] Url url_of(const std::string& name) const { return path_ + "/" + name; }

    /// Goes into the folder `name`, opened as `folder`.
    void enter(OpenFolder folder, const std::string& name)
    {
        if (stack_)
            stack_->enter(std::move(folder));
        else
            stack_.emplace(std::move(folder));
        path_.append("/").append(name);
    }

    /// Goes back and returns the name of the folder left.
    std::string leave()
    {
        const std::size_t slash = path_.rfind('/');
        std::string name = path_.substr(slash + 1);
        path_.resize(slash);
        if (stack_->depth() == 0)
            stack_.reset();
        else if (const int error = stack_->leave())
            throw error == ESTALE ? changed_while_moved(path_) : platform_error(error, path_);
        return name;
    }

private:
    int outside_;
    std::string path_;
    std::optional<FolderStack> stack_;
};

bool means_gone(int error)
{
    return error == ENOENT || error == ENOTDIR || error == ELOOP;
}

ItemVersion version_of(int folder, const Url& url)
{
    struct stat status {};
    if (::fstat(folder, &status) != 0)
        throw platform_error(errno, url);
    return ItemVersion(status);
}

/// The item as it is now; no value when it is gone.
///
/// Errors: the platform's.
std::optional<ItemVersion> version_now(const Position& position, const std::string& name)
{
    struct stat status {};
    if (::fstatat(position.folder(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0)
        return ItemVersion(status);
    if (means_gone(errno))
        return std::nullopt;
    throw platform_error(errno, position.url_of(name));
}

/// The folder, opened.
///
/// Errors: a change, if it is another item; the platform's.
OpenFolder opened_folder(const Position& position, const std::string& name,
                         const ItemVersion& version)
{
    OpenFolder folder = open_folder(position.folder(), name.c_str());
    const Url url = position.url_of(name);
    if (folder.error != 0)
        throw means_gone(folder.error) ? changed_while_moved(url)
                                       : platform_error(folder.error, url);
    if (!version.is_same_item(version_of(folder.descriptor.get(), url)))
        throw changed_while_moved(url);
    return folder;
}

FileDescriptor opened_file(const Position& position, const std::string& name)
{
    FileDescriptor file(::openat(position.folder(), name.c_str(),
                                 O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file)
        throw platform_error(errno, position.url_of(name));
    return file;
}

void compare(const Position& source, const std::string& name, const Position& copy,
             const std::string& copy_name, const MoveWatch& watch)
{
    const FileDescriptor original = opened_file(source, name);
    const FileDescriptor copied = opened_file(copy, copy_name);
    const Url url = source.url_of(name);
    const Url copy_url = copy.url_of(copy_name);
    check_reads_back({original.get(), url}, {copied.get(), copy_url},
                     [&] { watch.progress(0, 0); });
}

class Removal {
public:
    Removal(const SourceItem& source, const MoveWatch& watch) : position_(source), watch_(watch) {}

    void run(const CopyRecord& record)
    {
        CopyRecord::Reader reader(record);
        while (reader.next()) {
            switch (reader.step()) {
            case CopyRecord::Step::item:
                if (skipped_levels_ == 0)
                    attempt([&] { remove_item(reader.name(), reader.version()); });
                break;
            case CopyRecord::Step::entered:
                if (skipped_levels_ > 0 ||
                    !attempt([&] { enter(reader.name(), reader.version()); }))
                    ++skipped_levels_;
                break;
            case CopyRecord::Step::left:
                if (skipped_levels_ > 0)
                    --skipped_levels_;
                else if (!leave())
                    throw *first_error_;
                break;
            }
        }
        if (first_error_)
            throw *first_error_;
    }

private:
    /// Does `step`, returns true on success, and keeps the first error.
    template <class Step>
    bool attempt(Step step)
    {
        try {
            step();
            return true;
        } catch (const Error& error) {
            if (!first_error_)
                first_error_ = error;
            return false;
        }
    }

    void remove_item(const std::string& name, const ItemVersion& version)
    {
        const auto now = version_now(position_, name);
        if (!now)
            return;
        if (!version.is_same_with_fewer_links(*now))
            throw changed_while_moved(position_.url_of(name));
        if (::unlinkat(position_.folder(), name.c_str(), 0) != 0 && !means_gone(errno))
            throw platform_error(errno, position_.url_of(name));
    }

    void enter(const std::string& name, const ItemVersion& version)
    {
        position_.enter(opened_folder(position_, name, version), name);
    }

    /// Leaves the folder and removes it. True if the way back was there.
    bool leave()
    {
        std::string name;
        if (!attempt([&] { name = position_.leave(); }))
            return false;
        attempt([&] { remove_emptied_folder(name); });
        return true;
    }

    void remove_emptied_folder(const std::string& name)
    {
        if (::unlinkat(position_.folder(), name.c_str(), AT_REMOVEDIR) == 0 || errno == ENOENT)
            return;
        const int error = errno;
        const Url url = position_.url_of(name);
        const bool is_not_empty = error == ENOTEMPTY || error == EEXIST;
        if (is_not_empty && watch_.holds_left_out(url))
            return;
        throw is_not_empty ? changed_while_moved(url) : platform_error(error, url);
    }

    Position position_;
    const MoveWatch& watch_;
    int skipped_levels_ = 0; // below a folder closed to the user
    std::optional<Error> first_error_;
};

} // namespace

void check_unchanged(const SourceItem& source, const CopyRecord& record)
{
    Position position(source);
    std::vector<ItemVersion> folders; // the folders down to the current place
    CopyRecord::Reader reader(record);
    while (reader.next()) {
        switch (reader.step()) {
        case CopyRecord::Step::item:
            if (version_now(position, reader.name()) != reader.version())
                throw changed_while_moved(position.url_of(reader.name()));
            break;
        case CopyRecord::Step::entered:
            position.enter(opened_folder(position, reader.name(), reader.version()), reader.name());
            folders.push_back(reader.version());
            break;
        case CopyRecord::Step::left:
            // An error about an item says more than the folder around the change.
            if (version_of(position.folder(), position.url()) != folders.back())
                throw changed_while_moved(position.url());
            folders.pop_back();
            position.leave();
            break;
        }
    }
}

void check_reads_back(const SourceItem& source, const DestinationItem& copy,
                      const CopyRecord& record, const MoveWatch& watch)
{
    Position there({copy.folder.fd, copy.name, copy.url()});
    Position here(source);
    int depth = 0;
    CopyRecord::Reader reader(record);
    while (reader.next()) {
        // The copy itself still has its hidden name.
        const std::string& copy_name = depth == 0 ? copy.name : reader.name();
        switch (reader.step()) {
        case CopyRecord::Step::item:
            if (S_ISREG(reader.version().mode))
                compare(here, reader.name(), there, copy_name, watch);
            break;
        case CopyRecord::Step::entered:
            here.enter(opened_folder(here, reader.name(), reader.version()), reader.name());
            there.enter(open_folder(there.folder(), copy_name.c_str()), reader.name());
            ++depth;
            break;
        case CopyRecord::Step::left:
            here.leave();
            there.leave();
            --depth;
            break;
        }
    }
}

void remove_copied(const SourceItem& source, const CopyRecord& record, const MoveWatch& watch)
{
    Removal(source, watch).run(record);
}

} // namespace orv
