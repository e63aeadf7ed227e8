#pragma once

#include <string>
#include <string_view>

namespace orv {

/// Ways to make texts alike that differ in case only.
struct FoldingRules {
    /// I and ı are one letter, and İ and i another, as in Turkish and Azerbaijani.
    bool turkic = false;
    /// A byte outside UTF-8 is the Latin-1 character of its number. Otherwise it is a character of
    /// its own, different from every other.
    bool stray_bytes_are_latin_1 = false;
};

/// The rules of the user's language.
[[nodiscard]] FoldingRules users_folding_rules();

/// `text` with full case folding, decomposed, in UTF-16. A stray byte of its own kind becomes a
/// trailing surrogate; no text has a lone one.
///
/// Threading: any.
[[nodiscard]] std::u16string folded(std::string_view text, FoldingRules rules = {});

} // namespace orv
