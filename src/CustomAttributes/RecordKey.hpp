#pragma once

#include <orv/utility/Url.hpp>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

/// The key of an item's row: its path relative to the home folder, or its full path if it lies
/// outside that folder or below "/Users/Shared/". The home folder's own key is empty.
class RecordKey {
public:
    explicit RecordKey(std::string text) : text_(std::move(text)) {}

    [[nodiscard]] const std::string& text() const noexcept { return text_; }

    /// The key of `name`, a path of one name or several, relative to this folder. Does not ask the
    /// disk: no name among them may be a symbolic link.
    [[nodiscard]] RecordKey appending(std::string_view name) const;

    bool operator==(const RecordKey&) const = default;

private:
    std::string text_;
};

/// The key of the item at `url`, with symbolic links resolved.
///
/// Errors: an empty `url` has no key.
[[nodiscard]] RecordKey record_key(const Url& url);

/// The key of the directory entry at `url`, perhaps a symbolic link itself: resolves only the links
/// on the way to it. For requests on the link itself, such as delete.
///
/// Errors: an empty `url` has no key.
[[nodiscard]] RecordKey record_key_of_entry(const Url& url);

/// The keys of the items at `urls`, in their order; faster than single calls if items share a
/// folder.
///
/// Errors: an empty Url has no key.
[[nodiscard]] std::vector<RecordKey> record_keys(const std::vector<Url>& urls);

/// The place of the item with the key `relative_path`, with symbolic links resolved.
[[nodiscard]] Url url_from_relative_path(std::string_view relative_path);

/// The same for a key just made from an existing item, after the resolution of its links.
[[nodiscard]] Url url_from_resolved_path(std::string_view relative_path);

} // namespace orv

template <>
struct std::hash<orv::RecordKey> {
    std::size_t operator()(const orv::RecordKey& key) const noexcept
    {
        return std::hash<std::string>{}(key.text());
    }
};
