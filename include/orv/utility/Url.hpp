#pragma once

// <string> brings <compare>, and the moc of Qt 6.4 cannot read that first.
#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

/// The location of a file or folder, as an absolute path.
///
/// The bytes of a path stay as they are: a name need not be UTF-8. The constructor makes a relative
/// path absolute and drops trailing slashes. A path no item can have, the empty one or one with a
/// NUL byte, makes an empty Url. So does a relative path if the current folder is gone.
class Url {
public:
    Url() = default;
    // NOLINTBEGIN(google-explicit-constructor): text and paths are meant to pass for locations
    Url(std::string_view path);
    Url(const std::string& path) : Url(std::string_view(path)) {}
    Url(const char* path) : Url(std::string_view(path)) {}
    Url(const std::filesystem::path& path) : Url(std::string_view(path.native())) {}

    operator std::filesystem::path() const { return path_; }
    // NOLINTEND(google-explicit-constructor)

    /// The location of a "file://" URI of this computer, percent-decoded; no value for any other
    /// text.
    [[nodiscard]] static std::optional<Url> from_uri(std::string_view uri);

    [[nodiscard]] const std::string& path() const noexcept { return path_; }
    [[nodiscard]] bool empty() const noexcept { return path_.empty(); }

    /// The same location without ".", ".." and doubled slashes, by its text alone: it does not ask
    /// the disk, so "a/link/.." becomes "a".
    [[nodiscard]] Url standardized() const;

    /// The same location with every symbolic link in its path replaced by its target, as far as the
    /// path exists. A loop of links yields the standardized location.
    [[nodiscard]] Url resolving_symlinks() const;

    /// The names along the path, the root first: "/a/b" gives "/", "a", "b".
    [[nodiscard]] std::vector<std::string> components() const;

    /// The name of the item itself; "/" for the root, empty for an empty Url.
    [[nodiscard]] std::string last_path_component() const;

    /// The part of the name after its last dot, without the dot. Empty for a name without a dot,
    /// with the dot at its end, or for a hidden name such as ".profile".
    [[nodiscard]] std::string path_extension() const;

    [[nodiscard]] Url deleting_path_extension() const;

    /// The location of `name` inside this folder. `name` may be a path of several names. Nothing
    /// lies inside an empty Url.
    [[nodiscard]] Url appending(std::string_view name) const;

    /// The enclosing folder; the root encloses itself.
    [[nodiscard]] Url deleting_last_path_component() const;

    /// "file://" and the path, percent-encoded.
    [[nodiscard]] std::string description() const;

    bool operator==(const Url&) const = default;
    std::strong_ordering operator<=>(const Url&) const = default;

private:
    std::string path_;
};

/// The path from `base` to `url`, without a leading slash. Empty if they are equal; no value if
/// `url` does not lie under `base`. Compares whole names, by their text alone.
[[nodiscard]] std::optional<std::string> relative_path(const Url& url, const Url& base);

} // namespace orv

template <>
struct std::hash<orv::Url> {
    std::size_t operator()(const orv::Url& url) const noexcept
    {
        return std::hash<std::string>{}(url.path());
    }
};
