#pragma once

#include "utility/Folding.hpp"

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

/// The folded form of one character of a text.
struct FoldedCharacter {
    static constexpr std::size_t max_size = 4;

    std::array<char32_t, max_size> characters{};
    std::size_t size = 0;

    [[nodiscard]] const char32_t* begin() const { return characters.data(); }
    [[nodiscard]] const char32_t* end() const { return characters.data() + size; }
};

/// True if a new composed character begins with `c`. Otherwise `c` changes the character before it,
/// as combining marks do.
[[nodiscard]] bool begins_composed(char32_t c);

/// A keyword in the form for the search: folded, with the characters whose folded forms contain
/// parts of it. A text contains it if the folded text does and a new composed character follows.
class FoldedKeyword {
public:
    /// True if the keyword stands at some place of a text. Where marks might need another order,
    /// the folded text alone decides.
    enum class Verdict { no, unsure, yes };

    /// A character and its folded form.
    struct Variant {
        char32_t character;
        FoldedCharacter folded;
    };

    FoldedKeyword(std::string_view keyword, FoldingRules rules);

    [[nodiscard]] FoldingRules rules() const { return rules_; }
    [[nodiscard]] const std::u32string& text() const { return text_; }

    /// True if a new composed character begins with character `index` of the text.
    [[nodiscard]] bool begins_composed(std::size_t index) const { return begins_[index]; }

    /// All non-ASCII characters whose folded form has a part in the text.
    [[nodiscard]] const std::vector<Variant>& variants() const { return variants_; }

    /// True if a character with the folded form `folded` may provide character `index` of the text.
    [[nodiscard]] bool may_provide(const FoldedCharacter& folded, std::size_t index) const;

    /// True if the keyword stands in `text` with its character number `index` provided by the
    /// character at `at`. Adds the number of compared characters to `steps`.
    [[nodiscard]] Verdict verdict(std::string_view text, std::size_t at, std::size_t index,
                                  std::size_t& steps) const;

    /// True if the keyword stands in the folded `text`. The time is linear in the size of `text`,
    /// whatever the keyword, unless many marks stand in a row.
    [[nodiscard]] bool stands_in_folded(std::string_view text) const;

private:
    void find_variants();
    void find_borders();
    [[nodiscard]] bool holds(char32_t c) const;
    [[nodiscard]] FoldedCharacter folded(char32_t c) const;
    [[nodiscard]] char32_t code_point(std::string_view text, std::size_t at, int decoded) const;
    [[nodiscard]] bool fits(const FoldedCharacter& folded, std::ptrdiff_t index) const;
    [[nodiscard]] bool depends_on_neighbours(std::string_view text, char32_t c,
                                             std::size_t end) const;
    [[nodiscard]] Verdict mismatch(std::ptrdiff_t index) const;
    [[nodiscard]] Verdict ending(std::string_view text, std::size_t at) const;
    [[nodiscard]] Verdict forward(std::string_view text, std::size_t at, std::ptrdiff_t index,
                                  std::size_t& steps) const;
    [[nodiscard]] Verdict backward(std::string_view text, std::size_t at, std::ptrdiff_t index,
                                   std::size_t& steps) const;

    FoldingRules rules_;
    std::u16string folded_;
    std::vector<std::size_t> borders_; // of each beginning of `folded_`, as Knuth, Morris and Pratt
    std::u32string text_;
    std::u32string characters_; // those of `text_`, sorted
    std::vector<bool> begins_;
    std::vector<Variant> variants_; // sorted
};

} // namespace orv
