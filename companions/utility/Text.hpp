#pragma once

#include <compare>
#include <cstddef>
#include <string>
#include <string_view>

namespace orv {

/// `text` as it is compared without regard to case: the order of two keys as bytes is that of
/// their texts. Full case folding; composed and decomposed forms of a letter have the same key.
/// Bytes that are no UTF-8 count as a character each, different from every other.
///
/// Threading: any.
[[nodiscard]] std::string fold_key(std::string_view text);

/// Compares two texts as their keys would. Cheaper than keys for a single comparison; a sort takes
/// keys.
///
/// Threading: any.
[[nodiscard]] std::weak_ordering compare_case_insensitively(std::string_view a, std::string_view b);

/// `text` with its letters in lower case, each by itself, in no particular language. Bytes that are
/// no UTF-8 stay.
[[nodiscard]] std::string lower_case(std::string_view text);

/// The longest beginning of `text` that has at most `max_size` bytes and cuts no character in two.
[[nodiscard]] std::string_view fitting_prefix(std::string_view text, std::size_t max_size);

} // namespace orv
