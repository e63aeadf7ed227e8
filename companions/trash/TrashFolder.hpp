#pragma once

#include "files/DestinationFolder.hpp"
#include "files/FreeName.hpp"
#include "files/HiddenNames.hpp"
#include "files/Identity.hpp"
#include "trash/TrashInfo.hpp"
#include "utility/FileDescriptor.hpp"

#include <orv/utility/Error.hpp>
#include <orv/utility/Url.hpp>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <sys/stat.h>

namespace orv {

/// Where a trash folder lies.
struct TrashPlace {
    enum class Kind {
        home,   ///< the user's own, whose infos tell full paths
        shared, ///< in a folder ".Trash" an administrator made for all users of a volume
        user    ///< the user's own on a volume
    };

    Kind kind;
    Url url;
    Url base; ///< relative paths in the infos begin there
};

/// An item in a trash folder.
struct TrashEntry {
    std::string name;
    std::optional<TrashInfo> info;     ///< none where it is missing or makes no sense
    std::optional<Error> failure = {}; ///< the reason the info is unreadable
    std::int64_t info_time = 0;        ///< time of the info, in seconds
    struct statx facts = {};
};

/// A trash folder, open: "files" holds the items, "info" a text about each.
///
/// Threading: one thread.
class TrashFolder {
public:
    /// Opens the trash folder; no value if there is none.
    ///
    /// Errors: a sentence with the reason not to use it: it is a link, belongs to another user, …;
    /// the platform's.
    static std::unique_ptr<TrashFolder> opened(const TrashPlace& place);

    /// The same, and makes the missing parts, for the user alone.
    static std::unique_ptr<TrashFolder> made(const TrashPlace& place);

    TrashFolder(const TrashFolder&) = delete;
    TrashFolder& operator=(const TrashFolder&) = delete;

    [[nodiscard]] const TrashPlace& place() const { return place_; }
    [[nodiscard]] DestinationFolder folder() const { return {root_.get(), place_.url}; }
    [[nodiscard]] Identity identity() const { return identity_; }
    [[nodiscard]] Url url_of(const std::string& name) const;

    /// Writes the infos of coming items to the disk, and returns the names they reserve, in order.
    /// Needs a descriptor for each item.
    ///
    /// Errors: the platform's; then nothing is there.
    [[nodiscard]] std::vector<std::string> reserve(std::span<const Url> originals,
                                                   TrashInfo::Date date);

    /// Removes the info of an item that did not come or has left.
    void remove_info(const std::string& name) noexcept;

    /// Removes infos of items that never came, after a kill or a removal by hand. Those of the last
    /// hour stay: their items may be on the way.
    void remove_stray_infos() noexcept;

    /// The item `name`; no value if there is none.
    [[nodiscard]] std::optional<TrashEntry> entry(const std::string& name) const;

    /// All items, in no order.
    ///
    /// Errors: the platform's.
    [[nodiscard]] std::vector<TrashEntry> entries() const;

    /// The item's former place. Empty if it is unknown, or if a foreign volume names a place
    /// outside.
    [[nodiscard]] Url original_url(const TrashEntry& entry) const;

    /// Removes the item for good, a folder with all its contents, and its info. Nobody sees a
    /// partial folder, unless it cannot be removed.
    ///
    /// Errors: the platform's.
    void destroy(const TrashEntry& entry);

private:
    TrashFolder(TrashPlace place, FileDescriptor root, Identity identity, FileDescriptor files,
                FileDescriptor info);
    static std::unique_ptr<TrashFolder> open(const TrashPlace& place, bool makes);
    [[nodiscard]] std::string told_path(const Url& original) const;
    [[nodiscard]] bool is_taken(const std::string& name) const;
    struct WrittenInfo {
        std::string name; ///< of the item
        Url url;
        FileDescriptor file;
    };
    [[nodiscard]] WrittenInfo write_first_free(const Url& original, TrashInfo::Date date);
    [[nodiscard]] WrittenInfo write_info(const std::string& name, const std::string& text) const;
    void flush_infos(const std::vector<WrittenInfo>& infos) const;
    void destroy_folder(const std::string& name);

    TrashPlace place_;
    FileDescriptor root_;
    Identity identity_;
    FileDescriptor files_;
    FileDescriptor info_;
    FreeNames names_;
    HiddenNames hidden_names_;
};

} // namespace orv
