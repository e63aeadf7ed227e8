#pragma once

#include "archive/Job.hpp"
#include "files/FolderCursor.hpp"
#include "files/FreeName.hpp"

#include <orv/utility/FunctionRef.hpp>

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include <sys/stat.h>

namespace orv::archive {

enum class ItemKind { file, folder, link };

/// One item to pack.
struct SourceItem {
    std::string name; ///< in the archive: the path from the root's name on
    std::uint32_t root;
    ItemKind kind;
    mode_t mode;
    timespec time;
    std::uint64_t size; ///< at the look at the tree
};

/// The content of a pack request, by the state of the disk at its construction. Every folder stands
/// before its contents.
///
/// Threading: one thread at a time.
class SourceTree {
public:
    /// Looks at everything below `paths`, without the archive itself, `archive`, and without
    /// sockets and pipes below them.
    ///
    /// Errors: `Zip::Error` for a path without an item; the platform's; a device, and a socket or
    /// pipe among `paths`.
    SourceTree(const std::vector<Url>& paths, const Identity& archive, const Job& job);

    [[nodiscard]] const std::vector<SourceItem>& items() const { return items_; }
    [[nodiscard]] Url url_of(const SourceItem& item) const;

    /// Opens the file for reading. Refuses a link or any other item in its place.
    ///
    /// Errors: the platform's.
    FileDescriptor open_file(const SourceItem& item);

    /// The text of the link.
    std::string link_target(const SourceItem& item);

private:
    struct Root {
        Url url;
        std::string name;
    };

    void add_root(const Url& path);
    std::string free_name(const std::string& name, bool is_folder);
    void add_contents(std::uint32_t root, const struct statx& described_as);
    void add(std::uint32_t root, std::string name, const struct statx& facts);
    [[nodiscard]] OpenFolder open_root(std::uint32_t root) const;
    std::string_view path_in_root(const SourceItem& item) const;
    FolderCursor& cursor_in(std::uint32_t root);
    void at_place_of(const SourceItem& item, FunctionRef<void(int folder, const char* name)> use);

    const Identity archive_;
    const Job& job_;
    std::vector<Root> roots_;
    std::unordered_set<std::string> root_names_;
    FreeNames free_names_;
    std::vector<SourceItem> items_;
    std::unique_ptr<FolderCursor> cursor_;
    std::uint32_t cursor_root_ = 0;
};

} // namespace orv::archive
