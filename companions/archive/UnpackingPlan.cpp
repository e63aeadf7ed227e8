#include "archive/UnpackingPlan.hpp"

#include "utility/FileNames.hpp"

#include <algorithm>
#include <array>
#include <unordered_map>
#include <utility>
#include <vector>

#include <sys/stat.h>

namespace orv::archive {
namespace {

constexpr std::size_t max_link_target = 4095;
constexpr int max_links_followed = 40; // as the kernel

constexpr std::string_view leads_outside = "The archive holds a name that leads outside of it.";

bool is_unix(const Entry& entry)
{
    constexpr std::uint8_t unix_host = 3;
    constexpr std::uint8_t darwin_host = 19;
    return entry.host == unix_host || entry.host == darwin_host;
}

/// Whether a backslash in the entry's name stands between folders.
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

/// Calls `use` with one name of the path after the other, without the empty ones.
void for_each_name(std::string_view path, FunctionRef<void(std::string_view name)> use)
{
    while (!path.empty()) {
        const std::size_t size = std::min(path.find('/'), path.size());
        if (size > 0)
            use(path.substr(0, size));
        path.remove_prefix(std::min(size + 1, path.size()));
    }
}

bool goes_up(std::string_view path)
{
    bool found = false;
    for_each_name(path, [&](std::string_view name) { found = found || name == ".."; });
    return found;
}

/// Lays out the tree that an archive becomes.
class Planner {
public:
    Planner(const ArchiveToRead& archive, const Url& destination, const ExpansionLimits& limits,
            const Job& job)
        : archive_(archive), destination_(destination), limits_(limits), job_(job)
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
        add_folders_above(entry);
        const auto known = by_path_.find(entry.name);
        if (known == by_path_.end())
            return place(kind, entry);
        PlannedItem& item = *known->second;
        if (item.kind == ItemKind::folder && kind == ItemKind::folder)
            return describe_again(item, entry);
        if (item.kind == ItemKind::folder || kind == ItemKind::folder)
            throw refused(both_file_and_folder, entry);
        give_free_name(entry);
        place(kind, entry);
    }

    void read_links(EntryReader& reader)
    {
        for (PlannedItem& item : plan_.items)
            if (item.kind == ItemKind::link)
                read_link(item, reader);
        for (const PlannedItem& item : plan_.items)
            if (item.kind == ItemKind::link && !stays_inside(item))
                throw archive_error("The archive holds a link that leads outside of it.",
                                    archive_.url, item.path());
    }

    UnpackingPlan take() { return std::move(plan_); }

private:
    static constexpr std::string_view both_file_and_folder =
        "The archive holds a file and a folder of one name, or an item inside a file or a link.";

    [[nodiscard]] Error refused(std::string_view sentence, const Entry& entry) const
    {
        return archive_error(sentence, archive_.url, entry.name);
    }

    /// Turns the entry's name into a path that leads nowhere else on this platform, and would not
    /// on others either.
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
                throw refused("The archive holds a name that is too long.", entry);
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

    void add_folders_above(const Entry& entry)
    {
        const std::string_view path = entry.name;
        for (std::size_t slash = path.find('/'); slash != std::string_view::npos;
             slash = path.find('/', slash + 1)) {
            const std::string_view above = path.substr(0, slash);
            const auto known = by_path_.find(above);
            if (known == by_path_.end()) {
                PlannedItem& folder = new_item(ItemKind::folder);
                folder.path_without_entry = above;
                by_path_.emplace(folder.path(), &folder);
            } else if (known->second->kind != ItemKind::folder) {
                throw refused(both_file_and_folder, entry);
            }
        }
    }

    PlannedItem& new_item(ItemKind kind)
    {
        if (plan_.items.size() == limits_.max_items)
            throw archive_error("The archive holds too many items.", archive_.url);
        PlannedItem& item = plan_.items.emplace_back();
        item.kind = kind;
        return item;
    }

    void place(ItemKind kind, const Entry& entry)
    {
        PlannedItem& item = new_item(kind);
        item.entry = &entry;
        item.mode = mode_of(entry);
        by_path_.emplace(item.path(), &item);
        plan_.bytes += entry.size; // their sum was found to be within limits
    }

    static std::optional<std::uint32_t> mode_of(const Entry& entry)
    {
        const std::uint32_t mode = entry.attributes >> 16;
        return is_unix(entry) && mode != 0 ? std::optional(mode & ACCESSPERMS) : std::nullopt;
    }

    /// A folder known from the paths of others, or told of twice.
    void describe_again(PlannedItem& folder, const Entry& entry)
    {
        const auto known = by_path_.extract(folder.path());
        folder.entry = &entry;
        folder.mode = mode_of(entry);
        by_path_.emplace(folder.path(), &folder);
        folder.path_without_entry.clear();
    }

    void give_free_name(Entry& entry)
    {
        std::string& latest = latest_names_.try_emplace(entry.name, entry.name).first->second;
        do {
            const Url taken = destination_.appending(latest);
            const auto next = generate_non_conflicting_file_url(taken, {taken});
            if (!next)
                throw platform_error(EEXIST, taken);
            const PathParts parts = path_parts(latest);
            latest = parts.folder.empty()
                         ? next->last_path_component()
                         : std::string(parts.folder) + "/" + next->last_path_component();
        } while (by_path_.contains(latest));
        entry.name = latest;
    }

    void read_link(PlannedItem& item, EntryReader& reader)
    {
        const Entry& entry = *item.entry;
        if (entry.size > max_link_target)
            throw damaged(archive_.url, entry.name);
        reader.read(entry, [&](ByteView part) {
            item.link_target.append(reinterpret_cast<const char*>(part.data()), part.size());
        });
        if (item.link_target.empty() || item.link_target.find('\0') != std::string::npos)
            throw damaged(archive_.url, entry.name);
    }

    /// Goes where the link leads, through all other links of the archive, as the kernel would.
    [[nodiscard]] bool stays_inside(const PlannedItem& link) const
    {
        std::string place(path_parts(link.path()).folder);
        std::vector<std::string> ahead; // the next name last
        const auto follow = [&](const std::string& target) {
            std::vector<std::string> names;
            for_each_name(target, [&](std::string_view name) { names.emplace_back(name); });
            ahead.insert(ahead.end(), std::make_move_iterator(names.rbegin()),
                         std::make_move_iterator(names.rend()));
            return !target.starts_with('/');
        };
        if (!follow(link.link_target))
            return false;
        for (int followed = 0; !ahead.empty();) {
            const std::string name = std::move(ahead.back());
            ahead.pop_back();
            if (name == ".")
                continue;
            if (name == "..") {
                if (place.empty())
                    return false;
                place = path_parts(place).folder;
                continue;
            }
            const std::size_t above = place.size();
            place.append(place.empty() ? "" : "/").append(name);
            const auto known = by_path_.find(place);
            if (known == by_path_.end() || known->second->kind != ItemKind::link)
                continue;
            job_.check();
            place.resize(above);
            if (++followed > max_links_followed)
                return true; // leads nowhere
            if (!follow(known->second->link_target))
                return false;
        }
        return true;
    }

    const ArchiveToRead& archive_;
    const Url& destination_;
    const ExpansionLimits& limits_;
    const Job& job_;
    UnpackingPlan plan_;
    std::unordered_map<std::string_view, PlannedItem*> by_path_;
    std::unordered_map<std::string, std::string> latest_names_;
};

void check_readable(const ArchiveToRead& archive, const Entry& entry, bool has_password)
{
    if (!EntryReader::can_read(entry))
        throw archive_error("The archive is packed or encrypted in a way that is not known.",
                            archive.url, entry.name);
    if (entry.is_encrypted() && !has_password)
        throw archive_error("The archive needs a password.", archive.url, entry.name);
}

/// That no two entries share what they unfold from: a small archive could else become anything.
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
        throw archive_error("The archive unfolds to more than is allowed.", archive.url);
}

} // namespace

UnpackingPlan make_plan(const ArchiveToRead& archive, ArchiveDirectory& directory,
                        EntryReader& reader, const Url& destination, bool has_password,
                        const ExpansionLimits& limits, const Job& job)
{
    check_extents(archive, directory);
    check_expansion(archive, directory, limits);
    Planner planner(archive, destination, limits, job);
    for (Entry& entry : directory.entries) {
        check_readable(archive, entry, has_password);
        planner.add(entry);
    }
    planner.read_links(reader);
    return planner.take();
}

} // namespace orv::archive
