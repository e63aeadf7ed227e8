#pragma once

#include <string>
#include <string_view>

namespace orv {

/// How texts are made alike that differ in case only.
struct FoldingRules {
    /// I and ı are one letter, and İ and i another, as in Turkish and Azerbaijani.
    bool turkic = false;
    /// A byte that is no UTF-8 is the character of that number in Latin-1. Else it is a character
    /// of its own, different from every other.
    bool stray_bytes_are_latin_1 = false;
};

/// The rules of the user's language.
[[nodiscard]] FoldingRules users_folding_rules();

/// `text` with full case folding, and decomposed, in UTF-16. A stray byte that is a character of
/// its own becomes a trailing surrogate, which no text has alone.
///
/// Threading: any.
[[nodiscard]] std::u16string folded(std::string_view text, FoldingRules rules = {});

} // namespace orv
