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
    std::string original_name; ///< of an item that is set aside; empty for an unfinished one
    MountedVolume volume;      ///< of the hidden item

    [[nodiscard]] std::string text() const;

    /// Reads a text. No value if it was cut short.
    static std::optional<Note> parsed(std::string_view text);
};

} // namespace orv
