#pragma once

#include "utility/Folding.hpp"

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

/// What one character of a text becomes when it is folded.
struct FoldedCharacter {
    static constexpr std::size_t max_size = 4;

    std::array<char32_t, max_size> characters{};
    std::size_t size = 0;

    [[nodiscard]] const char32_t* begin() const { return characters.data(); }
    [[nodiscard]] const char32_t* end() const { return characters.data() + size; }
};

/// Whether a new composed character begins with `c`. Else it changes what stands before it, as
/// combining marks do.
[[nodiscard]] bool begins_composed(char32_t c);

/// A keyword as it is looked for: folded, with the characters that fold to parts of it. A text
/// contains it when the folded text does, and a new composed character follows.
class FoldedKeyword {
public:
    /// Whether the keyword stands at some place of a text. Where marks might have to be put in
    /// order, that is told by the folded text alone.
    enum class Verdict { no, unsure, yes };

    /// A character that folding changes, and what it becomes.
    struct Variant {
        char32_t character;
        FoldedCharacter folded;
    };

    FoldedKeyword(std::string_view keyword, FoldingRules rules);

    [[nodiscard]] FoldingRules rules() const { return rules_; }
    [[nodiscard]] const std::u32string& text() const { return text_; }

    /// Whether a new composed character begins with the character number `index` of the text.
    [[nodiscard]] bool begins_composed(std::size_t index) const { return begins_[index]; }

    /// All characters but ASCII ones that become something else, a part of which is in the text.
    [[nodiscard]] const std::vector<Variant>& variants() const { return variants_; }

    /// Whether a character that becomes `folded` may provide the character `index` of the text.
    [[nodiscard]] bool may_provide(const FoldedCharacter& folded, std::size_t index) const;

    /// Whether the keyword stands in `text` so that the character at `at` provides its character
    /// number `index`. Adds the number of characters looked at to `steps`.
    [[nodiscard]] Verdict verdict(std::string_view text, std::size_t at, std::size_t index,
                                  std::size_t& steps) const;

    /// Whether the keyword stands in `text`, told by folding all of it. Where hardly any marks
    /// stand in a row, the time is linear in the size of `text`, whatever the keyword.
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
