#include "archive/Unpacking.hpp"

#include "archive/LinkJudge.hpp"
#include "archive/NewFile.hpp"
#include "archive/PathNames.hpp"
#include "files/CopyNode.hpp"
#include "files/FolderCursor.hpp"
#include "files/FolderReader.hpp"
#include "files/FreeName.hpp"
#include "files/FreeSpace.hpp"
#include "files/ItemMetadata.hpp"
#include "files/OpenFolder.hpp"
#include "utility/Ahead.hpp"

#include <algorithm>
#include <cerrno>
#include <deque>
#include <memory>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orv::archive {
namespace {

// Each may keep a folder open.
constexpr std::size_t max_files_ahead = 24;

OpenFolder opened_again(const DestinationFolder& folder)
{
    OpenFolder opened = open_folder(folder.fd, ".");
    if (opened.error != 0)
        throw platform_error(opened.error, folder.url);
    return opened;
}

Keepsakes keepsakes_of(const PlannedItem& item)
{
    return {item.mode, item.entry ? item.entry->time : std::nullopt};
}

class Unpacking {
public:
    Unpacking(const ArchiveToRead& archive, const UnpackingPlan& plan, EntryReader& reader,
              const DestinationFolder& destination, Job& job)
        : archive_(archive), plan_(plan), reader_(reader), job_(job), destination_(destination),
          hidden_names_(destination), cursor_(opened_again(destination), destination.url),
          ahead_(job.test_mode() ? 0 : std::max(1U, std::thread::hardware_concurrency()))
    {
    }

    void run()
    {
        check_space();
        create_folders_and_files();
        create_links();
        complete_folders();
    }

private:
    /// A file another thread writes.
    struct FileAhead {
        const PlannedItem* item;
        Ahead::Handle task;
    };

    void check_space()
    {
        const auto free = free_bytes(destination_.url);
        if (free && plan_.bytes > static_cast<std::uint64_t>(*free))
            throw platform_error(ENOSPC, destination_.url);
    }

    void create_folders_and_files()
    {
        const std::size_t wanted = job_.test_mode() ? 1 : max_files_ahead;
        for (const PlannedItem& item : plan_.items) {
            job_.check();
            if (item.kind == ItemKind::folder) {
                create_folder(item);
            } else if (item.kind == ItemKind::file) {
                files_.push_back({&item, begin_file(item)});
                while (files_.size() >= wanted)
                    finish_first_file();
            }
        }
        while (!files_.empty())
            finish_first_file();
    }

    /// A folder's own permissions may forbid to fill it, so they come last. The open fails if
    /// another item stands there, and proves the folder new: nobody else's is empty.
    void create_folder(const PlannedItem& item)
    {
        const PathParts parts = path_parts(item.path);
        const mode_t mode = item.mode ? 0700 : 0777;
        const int above = cursor_.go_to(parts.folder);
        const bool is_new = ::mkdirat(above, std::string(parts.name).c_str(), mode) == 0;
        if (!is_new && errno != EEXIST)
            throw platform_error(errno, cursor_.url_of(item.path));
        const int folder = cursor_.go_to(item.path);
        if (is_new && !is_empty_folder(folder))
            throw platform_error(ESTALE, cursor_.url_of(item.path));
        if (item.entry)
            finish_item(item);
    }

    Ahead::Handle begin_file(const PlannedItem& item)
    {
        const PathParts parts = path_parts(item.path);
        if (!folder_ || folder_->url != cursor_.url_of(parts.folder))
            folder_ = open_folder(parts.folder);
        return ahead_.add([this, &item, name = std::string(parts.name), folder = folder_] {
            job_.check();
            NewFile file(folder, name, hidden_names_);
            reader_.read(*item.entry, [&](ByteView part) {
                file.write(part);
                job_.add_bytes(part.size());
                job_.report_if_due(folder->url.appending(name));
            });
            file.publish(keepsakes_of(item), rename_way_);
        });
    }

    std::shared_ptr<const NewItemFolder> open_folder(std::string_view path)
    {
        const Url url = cursor_.url_of(path);
        FileDescriptor copy(::fcntl(cursor_.go_to(path), F_DUPFD_CLOEXEC, 0));
        if (!copy)
            throw platform_error(errno, url);
        return std::make_shared<const NewItemFolder>(NewItemFolder{std::move(copy), url});
    }

    void finish_first_file()
    {
        const FileAhead file = files_.front();
        while (!ahead_.done_in_a_moment(file.task)) {
            job_.check();
            job_.report_if_due(cursor_.url_of(file.item->path));
        }
        files_.pop_front();
        finish_item(*file.item);
    }

    void finish_item(const PlannedItem& item)
    {
        job_.add_item();
        job_.report(cursor_.url_of(item.path));
        job_.pause();
    }

    /// After all files, to write nothing through a link.
    void create_links()
    {
        for (const PlannedItem& item : plan_.items) {
            if (item.kind != ItemKind::link)
                continue;
            job_.check();
            job_.add_bytes(item.entry->size);
            if (item.is_left_out) {
                job_.leave_out(
                    archive_error("The link leads outside of the archive.", archive_.url, item.path)
                        .at(cursor_.url_of(item.path)));
                finish_item(item);
                continue;
            }
            const PathParts parts = path_parts(item.path);
            const int folder = cursor_.go_to(parts.folder);
            const std::string name = create_link(item, folder, std::string(parts.name));
            if (item.entry->time) {
                keep_times_of_link(folder, name, {0, UTIME_OMIT}, *item.entry->time,
                                   cursor_.url_of(parts.folder).appending(name));
            }
            finish_item(item);
        }
    }

    /// The final name of the link.
    std::string create_link(const PlannedItem& item, int folder, std::string name)
    {
        const std::string target = read_link_target(archive_, *item.entry, reader_);
        while (::symlinkat(target.c_str(), folder, name.c_str()) != 0) {
            const int code = errno;
            const Url url = cursor_.url_of(path_parts(item.path).folder).appending(name);
            const auto free =
                code == EEXIST ? generate_non_conflicting_file_url(url, {url}) : std::nullopt;
            if (!free)
                throw link_error(code, folder, url);
            name = free->last_path_component();
        }
        return name;
    }

    /// A folder gets its contents before its time and its permissions.
    void complete_folders()
    {
        for (auto item = plan_.items.rbegin(); item != plan_.items.rend(); ++item) {
            if (item->kind != ItemKind::folder || !item->entry)
                continue;
            job_.check();
            apply(keepsakes_of(*item), cursor_.go_to(item->path), cursor_.url_of(item->path));
        }
    }

    const ArchiveToRead& archive_;
    const UnpackingPlan& plan_;
    EntryReader& reader_;
    Job& job_;
    const DestinationFolder& destination_;
    HiddenNames hidden_names_; // in the destination
    FolderCursor cursor_;
    std::shared_ptr<const NewItemFolder> folder_;
    RenameWay rename_way_ = NoReplaceRename::Way::by_flag;
    std::deque<FileAhead> files_;
    Ahead ahead_; // last: no thread may work on destroyed members
};

} // namespace

void unpack(const ArchiveToRead& archive, const UnpackingPlan& plan, EntryReader& reader,
            const DestinationFolder& destination, Job& job)
{
    Unpacking(archive, plan, reader, destination, job).run();
}

} // namespace orv::archive
