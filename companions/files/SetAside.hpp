#pragma once

#include "files/HiddenName.hpp"
#include "files/NoReplaceRename.hpp"

#include <orv/utility/Url.hpp>

#include <cstdint>
#include <optional>
#include <string>

namespace orv {

/// An item that makes room for its replacement: it waits under a hidden name beside its own.
///
/// A note in the processed-files folder tells the next start of the library about it; see
/// `HiddenName`.
class SetAside {
public:
    /// Renames the item `name` of the open folder. `replacement` is the inode number of the next
    /// item with the name, if it exists already. The open folder and `rename` must outlive this
    /// object.
    ///
    /// Errors: the platform's; then the item is where it was.
    SetAside(const DestinationFolder& folder, std::string name,
             std::optional<std::uint64_t> replacement, NoReplaceRename& rename);

    /// Puts the item back unless it was discarded. If its name is taken by now, it gets one like
    /// it.
    ~SetAside();
    SetAside(const SetAside&) = delete;
    SetAside& operator=(const SetAside&) = delete;

    /// Removes the item, a folder with all its contents. The next start removes a leftover.
    void discard() noexcept;

private:
    DestinationFolder folder_;
    std::string name_;
    HiddenName hidden_name_;
    NoReplaceRename& rename_;
    bool is_aside_ = false;
};

/// Renames the hidden item `hidden` of an open folder to `name` or, if that is taken, to a free
/// name like it.
///
/// Errors: returns 0 or the errno.
[[nodiscard]] int put_back(const DestinationFolder& folder, const std::string& hidden,
                           const std::string& name, NoReplaceRename& rename) noexcept;

} // namespace orv
