#pragma once

#include <orv/utility/Url.hpp>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace orv {

/// The limits of a folder's file system, and its kind of volume.
struct VolumeTraits {
    std::int64_t max_file_size; ///< bytes
    std::size_t max_name_bytes;
    bool ignores_case = false;                ///< "A" and "a" are one name
    bool refuses_reserved_characters = false; ///< control characters and "*:<>?\| among others
    bool may_go_away = false;                 ///< a network volume, or a removable disk

    /// The traits of the volume of the open folder. Unknown ones count as unlimited.
    static VolumeTraits of(int folder);

    /// True if an item can have this name there.
    [[nodiscard]] bool takes_name(std::string_view name) const;
};

} // namespace orv
