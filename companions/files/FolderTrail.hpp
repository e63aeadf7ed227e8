#pragma once

#include "files/FolderReader.hpp"
#include "files/FolderStack.hpp"

#include <orv/utility/Error.hpp>

#include <optional>
#include <string>
#include <vector>

namespace orv {

/// The way from the root of a tree down to the reader's place, with the unread entries of every
/// folder on it and the text of its path.
///
/// A folder the stack closes has its remaining entries in memory; otherwise memory does not grow
/// with the width of a folder.
class FolderTrail {
public:
    /// `path` is the root's path for display.
    FolderTrail(OpenFolder root, std::string path, std::size_t max_open);

    [[nodiscard]] std::size_t depth() const { return stack_.depth(); }

    /// The innermost folder: its descriptor, facts, path and name.
    [[nodiscard]] int folder() const { return stack_.folder(); }
    [[nodiscard]] const Identity& identity() const { return stack_.identity(); }
    [[nodiscard]] const std::string& path() const { return path_; }
    [[nodiscard]] const char* name() const { return path_.c_str() + levels_.back().name_start; }

    /// The path of the entry `name` in the innermost folder.
    [[nodiscard]] std::string path_of(const char* name) const;

    /// The innermost folder's next entry. No value at its end and after a failed read; `read_error`
    /// (an errno or 0) tells which.
    std::optional<FolderReader::Entry> next_entry();
    [[nodiscard]] int read_error() const { return levels_.back().reader.error(); }

    /// Makes the folder `name` in the innermost folder, opened as `folder`, the innermost one.
    void enter(OpenFolder folder, const char* name);

    /// Goes back to the folder above.
    ///
    /// Errors: the platform's, and `folder_replaced` when it is no longer where it was.
    void leave();

private:
    struct Level {
        FolderReader reader;
        std::size_t path_size;
        std::size_t name_start;
    };

    FolderReader::Buffer spare_buffer();

    FolderStack stack_;
    std::vector<Level> levels_;
    std::vector<FolderReader::Buffer> spare_buffers_;
    std::string path_;
};

/// The error of another folder in the place of the one at `path`.
[[nodiscard]] Error folder_replaced(const std::string& path);

} // namespace orv
