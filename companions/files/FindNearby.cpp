#include "files/FindNearby.hpp"

#include "files/FolderReader.hpp"
#include "files/OpenFolder.hpp"

#include <chrono>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <dirent.h>
#include <fcntl.h>

namespace orv {
namespace {

class NearbySearch {
public:
    NearbySearch(std::unordered_set<std::uint64_t> inodes, std::size_t most_entries)
        : missing_(std::move(inodes)), entries_left_(most_entries)
    {
    }

    /// Reads `top` and all folders below it, those near the top first, without `left_out`.
    void search(const Url& top, const Url& left_out)
    {
        std::deque<Url> folders{top};
        while (!folders.empty() && !is_over()) {
            read(folders.front(), left_out, folders);
            folders.pop_front();
        }
    }

    [[nodiscard]] bool is_over() const
    {
        return missing_.empty() || entries_left_ == 0 ||
               std::chrono::steady_clock::now() > last_moment_;
    }
    [[nodiscard]] std::unordered_map<std::uint64_t, Url> take_found() { return std::move(found_); }

private:
    void read(const Url& url, const Url& left_out, std::deque<Url>& folders)
    {
        const OpenFolder folder = open_folder(AT_FDCWD, url.path().c_str());
        if (!folder.descriptor || !is_on_volume(folder))
            return;
        FolderReader reader(std::move(buffer_));
        while (entries_left_ != 0) {
            const auto entry = reader.next(folder.descriptor.get());
            if (!entry)
                break;
            --entries_left_;
            if (missing_.erase(entry->inode) != 0)
                found_.emplace(entry->inode, url.appending(entry->name));
            const bool may_be_folder = entry->type == DT_DIR || entry->type == DT_UNKNOWN;
            if (may_be_folder && url.appending(entry->name) != left_out)
                folders.push_back(url.appending(entry->name));
        }
        buffer_ = reader.release();
    }

    /// True if the folder lies on the volume of the first one.
    bool is_on_volume(const OpenFolder& folder)
    {
        const Identity identity = folder.identity();
        const std::pair device(identity.device_major, identity.device_minor);
        if (!device_)
            device_ = device;
        return device == device_;
    }

    // A volume across a network may take a millisecond for each entry.
    std::chrono::steady_clock::time_point last_moment_ =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
    std::unordered_set<std::uint64_t> missing_;
    std::size_t entries_left_;
    std::optional<std::pair<std::uint32_t, std::uint32_t>> device_;
    FolderReader::Buffer buffer_ =
        std::make_unique_for_overwrite<std::byte[]>(FolderReader::buffer_bytes);
    std::unordered_map<std::uint64_t, Url> found_;
};

} // namespace

std::unordered_map<std::uint64_t, Url>
find_nearby(const Url& folder, std::unordered_set<std::uint64_t> inodes, std::size_t most_entries)
{
    NearbySearch search(std::move(inodes), most_entries);
    Url searched;
    for (Url top = folder; !search.is_over(); top = top.deleting_last_path_component()) {
        search.search(top, searched);
        if (top == top.deleting_last_path_component())
            break;
        searched = top;
    }
    return search.take_found();
}

} // namespace orv
