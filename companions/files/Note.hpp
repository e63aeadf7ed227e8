#pragma once

#include "files/MountedVolume.hpp"

#include <orv/utility/Url.hpp>

#include <optional>
#include <string>
#include <string_view>

namespace orv {

/// The content of a note in the processed-files folder: it announces a hidden item to the next
/// start of the library.
struct Note {
    Url hidden;
    std::string original_name; ///< of an item set aside; empty for an unfinished one
    std::string replacement;   ///< the inode number of the item that will take its name
    MountedVolume volume;      ///< of the hidden item

    [[nodiscard]] std::string text() const;

    /// Reads a text. No value for one cut short or without sense.
    static std::optional<Note> parsed(std::string_view text);
};

} // namespace orv
