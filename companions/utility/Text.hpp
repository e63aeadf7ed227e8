#pragma once

#include <compare>
#include <cstddef>
#include <string>
#include <string_view>

namespace orv {

/// A sort key of `text` without regard to case: keys compare as bytes like their texts. Full case
/// folding; composed and decomposed forms of a letter have one key. Each byte outside UTF-8 counts
/// as a character, different from every other.
///
/// Threading: any.
[[nodiscard]] std::string fold_key(std::string_view text);

/// Compares two texts as their keys would. Cheaper than keys for a single comparison; a sort takes
/// keys.
///
/// Threading: any.
[[nodiscard]] std::weak_ordering compare_case_insensitively(std::string_view a, std::string_view b);

/// `text` with its letters in lower case, each by itself, in no particular language. Bytes outside
/// UTF-8 stay.
[[nodiscard]] std::string lower_case(std::string_view text);

/// The longest prefix of `text` with at most `max_size` bytes and no character cut in two.
[[nodiscard]] std::string_view fitting_prefix(std::string_view text, std::size_t max_size);

} // namespace orv
