#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace orv {

/// A trash folder's text about an item.
struct TrashInfo {
    using Date = std::chrono::sys_seconds;

    static constexpr std::string_view ending = ".trashinfo"; ///< of its file

    std::string path;         ///< where the item was; relative ones begin at the trash's base
    std::optional<Date> date; ///< when it was thrown away

    /// The text, with the date in local time, as other programs expect it.
    [[nodiscard]] std::string text() const;

    /// Reads a text of any program. No value if it tells no path.
    [[nodiscard]] static std::optional<TrashInfo> parsed(std::string_view text);
};

} // namespace orv
