#pragma once

#include <orv/utility/Url.hpp>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

/// What an item's row is stored under: its path relative to the home folder, or its full path where
/// it lies outside that folder or below "/Users/Shared/". The home folder's own key is empty.
class RecordKey {
public:
    explicit RecordKey(std::string text) : text_(std::move(text)) {}

    [[nodiscard]] const std::string& text() const noexcept { return text_; }

    /// The key of what `name`, a path of one name or several, leads to from this folder. Asks no
    /// disk: there must be no symbolic link among the names.
    [[nodiscard]] RecordKey appending(std::string_view name) const;

    bool operator==(const RecordKey&) const = default;

private:
    std::string text_;
};

/// The key of what is found at `url`, symbolic links resolved.
///
/// Errors: an empty `url` has no key.
[[nodiscard]] RecordKey record_key(const Url& url);

/// The key of the directory entry at `url`, which may itself be a symbolic link: only the links on
/// the way to it are resolved. For what acts on the link, such as deleting.
///
/// Errors: an empty `url` has no key.
[[nodiscard]] RecordKey record_key_of_entry(const Url& url);

/// The keys of what is found at `urls`, in their order; faster than one by one where items share a
/// folder.
///
/// Errors: an empty Url has no key.
[[nodiscard]] std::vector<RecordKey> record_keys(const std::vector<Url>& urls);

/// Where the item with the key `relative_path` is found, symbolic links resolved.
[[nodiscard]] Url url_from_relative_path(std::string_view relative_path);

/// The same for a key just made from an existing item, whose links were resolved then.
[[nodiscard]] Url url_from_resolved_path(std::string_view relative_path);

} // namespace orv

template <>
struct std::hash<orv::RecordKey> {
    std::size_t operator()(const orv::RecordKey& key) const noexcept
    {
        return std::hash<std::string>{}(key.text());
    }
};
