#include "archive/UnpackingPlan.hpp"

#include "archive/LinkJudge.hpp"
#include "archive/PathNames.hpp"
#include "archive/PlannedTree.hpp"
#include "files/FreeName.hpp"
#include "utility/FileNames.hpp"

#include <algorithm>
#include <array>
#include <unordered_map>
#include <utility>
#include <vector>

#include <sys/stat.h>

namespace orv::archive {
namespace {

constexpr std::string_view leads_outside = "The archive holds a name that leads outside of it.";

bool is_unix(const Entry& entry)
{
    constexpr std::uint8_t unix_host = 3;
    constexpr std::uint8_t darwin_host = 19;
    return entry.host == unix_host || entry.host == darwin_host;
}

/// True if a backslash in the entry's name separates folders.
bool is_from_windows(const Entry& entry)
{
    constexpr std::array<std::uint8_t, 4> hosts{0, 6, 10, 14}; // FAT, HPFS, NTFS, VFAT
    return std::find(hosts.begin(), hosts.end(), entry.host) != hosts.end();
}

bool has_drive_letter(std::string_view name, bool is_windows)
{
    const auto is_letter = [](char c) { return (c | 32) >= 'a' && (c | 32) <= 'z'; };
    return name.size() > 1 && is_letter(name[0]) && name[1] == ':' &&
           (is_windows || name.substr(2, 1) == "/");
}

bool goes_up(std::string_view path)
{
    bool found = false;
    for_each_name(path, [&](std::string_view name) { found = found || name == ".."; });
    return found;
}

/// Lays out the tree of an archive.
class Planner {
public:
    Planner(const ArchiveToRead& archive, const ExpansionLimits& limits, const Job& job)
        : archive_(archive), limits_(limits), job_(job)
    {
    }

    void add(Entry& entry)
    {
        job_.check();
        const ItemKind kind = make_safe(entry);
        if (entry.name.empty()) {
            if (kind != ItemKind::folder)
                throw refused(leads_outside, entry);
            return;
        }
        const PathParts parts = path_parts(entry.name);
        const PlannedItem* folder = folder_at(parts.folder, entry);
        PlannedItem* const known = tree_.find(folder, parts.name);
        if (!known)
            return describe(new_item(kind, folder, entry.name), entry);
        if (known->kind == ItemKind::folder && kind == ItemKind::folder)
            return describe(*known, entry);
        if (known->kind == ItemKind::folder || kind == ItemKind::folder)
            throw refused(both_file_and_folder, entry);
        describe(new_item(kind, folder, free_path(folder, parts)), entry);
    }

    void judge_links(EntryReader& reader)
    {
        if (limits_.links_outside == LinksOutside::keep)
            return;
        LinkJudge judge(archive_, tree_, reader, job_);
        for (PlannedItem& item : plan_.items) {
            item.is_left_out = item.kind == ItemKind::link && judge.leads_outside(item);
            if (item.is_left_out && limits_.links_outside == LinksOutside::refuse)
                throw refused("The archive holds a link that leads outside of it.", *item.entry);
        }
    }

    UnpackingPlan take() { return std::move(plan_); }

private:
    static constexpr std::string_view both_file_and_folder =
        "The archive holds a file and a folder of one name, or an item inside a file or a link.";

    [[nodiscard]] Error refused(std::string_view sentence, const Entry& entry) const
    {
        return archive_error(sentence, archive_.url, entry.name);
    }

    /// Turns the entry's name into a path inside the tree, on this platform and on others.
    ItemKind make_safe(Entry& entry) const
    {
        if (entry.name.find('\0') != std::string::npos)
            throw refused("The archive holds a name that no item can have.", entry);
        std::string name = entry.name;
        if (!entry.has_exact_name) {
            std::replace(name.begin(), name.end(), '\\', '/');
            if (name.starts_with('/') || goes_up(name) ||
                has_drive_letter(name, is_from_windows(entry)))
                throw refused(leads_outside, entry);
            if (!is_from_windows(entry))
                name = entry.name;
        }
        if (name.starts_with('/') || goes_up(name))
            throw refused(leads_outside, entry);
        const ItemKind kind = kind_of(entry, name.ends_with('/'));
        std::string path;
        for_each_name(name, [&](std::string_view part) {
            if (part == ".")
                return;
            if (part.size() > max_name_size)
                throw refused("The archive holds a name that is too long.", entry)
                    .known_as(Cause::too_large);
            if (!path.empty())
                path += '/';
            path += part;
        });
        entry.name = std::move(path);
        return kind;
    }

    [[nodiscard]] ItemKind kind_of(const Entry& entry, bool ends_with_slash) const
    {
        constexpr std::uint32_t dos_folder = 0x10;
        const std::uint32_t type = is_unix(entry) ? entry.attributes >> 16 & S_IFMT : 0;
        if (type != 0 && type != S_IFREG && type != S_IFDIR && type != S_IFLNK)
            throw refused("The archive holds a socket, a pipe or a device.", entry);
        const bool is_folder = type == S_IFDIR || ends_with_slash ||
                               (type == 0 && (entry.attributes & dos_folder) != 0);
        if (is_folder && (entry.size != 0 || type == S_IFLNK))
            throw damaged(archive_.url, entry.name);
        if (is_folder)
            return ItemKind::folder;
        return type == S_IFLNK ? ItemKind::link : ItemKind::file;
    }

    /// The folder at the path, the beginning of the name of `entry`; null for the destination. Adds
    /// missing folders.
    const PlannedItem* folder_at(std::string_view path, const Entry& entry)
    {
        const PlannedItem* folder = nullptr;
        for (std::size_t begin = 0; begin < path.size();) {
            const std::size_t end = std::min(path.find('/', begin), path.size());
            const PlannedItem* known = tree_.find(folder, path.substr(begin, end - begin));
            if (known && known->kind != ItemKind::folder)
                throw refused(both_file_and_folder, entry);
            folder = known ? known : &new_item(ItemKind::folder, folder, path.substr(0, end));
            begin = end + 1;
        }
        return folder;
    }

    PlannedItem& new_item(ItemKind kind, const PlannedItem* folder, std::string_view path)
    {
        if (plan_.items.size() == limits_.max_items)
            throw too_many_items(archive_.url);
        PlannedItem& item = plan_.items.emplace_back();
        item.kind = kind;
        item.folder = folder;
        item.path = path;
        tree_.add(folder, path_parts(path).name, item);
        return item;
    }

    void describe(PlannedItem& item, const Entry& entry)
    {
        item.entry = &entry;
        item.mode = mode_of(entry);
        plan_.bytes += entry.size; // their sum is within limits
    }

    static std::optional<std::uint32_t> mode_of(const Entry& entry)
    {
        const std::uint32_t mode = entry.attributes >> 16;
        return is_unix(entry) && mode != 0 ? std::optional(mode & ACCESSPERMS) : std::nullopt;
    }

    /// A path like that of an existing item.
    std::string_view free_path(const PlannedItem* folder, const PathParts& taken)
    {
        const std::string name =
            free_names_[folder].next(taken.name, false, [&](const std::string& candidate) {
                job_.check();
                return tree_.find(folder, candidate) != nullptr;
            });
        std::string path(taken.folder);
        path.append(path.empty() ? "" : "/").append(name);
        return plan_.new_paths.emplace_back(std::move(path));
    }

    const ArchiveToRead& archive_;
    const ExpansionLimits& limits_;
    const Job& job_;
    UnpackingPlan plan_;
    PlannedTree tree_;
    std::unordered_map<const PlannedItem*, FreeNames> free_names_;
};

void check_readable(const ArchiveToRead& archive, const Entry& entry, bool has_password)
{
    if (!EntryReader::can_read(entry))
        throw archive_error("The archive is packed or encrypted in a way that is not known.",
                            archive.url, entry.name)
            .known_as(Cause::unsupported);
    if (entry.is_encrypted() && !has_password)
        throw archive_error("The archive needs a password.", archive.url, entry.name)
            .known_as(Cause::needs_password);
}

/// Reports a wrong password before it creates anything.
void check_password(const ArchiveDirectory& directory, EntryReader& reader)
{
    const auto encrypted = std::find_if(directory.entries.begin(), directory.entries.end(),
                                        [](const Entry& entry) { return entry.is_encrypted(); });
    if (encrypted != directory.entries.end())
        reader.check_password(*encrypted);
}

/// Refuses entries that share their packed bytes: a small archive could otherwise become anything.
void check_extents(const ArchiveToRead& archive, const ArchiveDirectory& directory)
{
    std::vector<std::pair<std::uint64_t, std::uint64_t>> extents;
    extents.reserve(directory.entries.size());
    for (const Entry& entry : directory.entries) {
        if (entry.offset > directory.offset ||
            directory.offset - entry.offset < entry_header_size ||
            entry.packed_size > directory.offset - entry.offset - entry_header_size)
            throw damaged(archive.url, entry.name);
        extents.emplace_back(entry.offset, entry.offset + entry_header_size + entry.packed_size);
    }
    std::sort(extents.begin(), extents.end());
    for (std::size_t i = 1; i < extents.size(); ++i)
        if (extents[i].first < extents[i - 1].second)
            throw archive_error("The archive's items overlap.", archive.url);
}

void check_expansion(const ArchiveToRead& archive, const ArchiveDirectory& directory,
                     const ExpansionLimits& limits)
{
    std::uint64_t bytes = 0;
    for (const Entry& entry : directory.entries)
        if (__builtin_add_overflow(bytes, entry.size, &bytes) || bytes > INT64_MAX)
            throw damaged(archive.url, entry.name);
    if (bytes > limits.unquestioned_bytes && bytes / limits.max_ratio > archive.size)
        throw archive_error("The archive unfolds to more than is allowed.", archive.url)
            .known_as(Cause::too_large);
}

} // namespace

UnpackingPlan make_plan(const ArchiveToRead& archive, ArchiveDirectory& directory,
                        EntryReader& reader, bool has_password, const ExpansionLimits& limits,
                        const Job& job)
{
    check_extents(archive, directory);
    check_expansion(archive, directory, limits);
    Planner planner(archive, limits, job);
    for (Entry& entry : directory.entries) {
        check_readable(archive, entry, has_password);
        planner.add(entry);
    }
    check_password(directory, reader);
    planner.judge_links(reader);
    return planner.take();
}

} // namespace orv::archive
