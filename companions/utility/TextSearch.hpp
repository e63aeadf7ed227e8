#pragma once

#include "utility/ByteScan.hpp"
#include "utility/FoldedKeyword.hpp"
#include "utility/KeywordAnchor.hpp"

#include <cstddef>
#include <string_view>
#include <vector>

namespace orv {

/// A keyword, made ready to be looked for in many texts. Case does not count, nor whether a letter
/// is composed or decomposed; a letter with a mark is another one than that without. An empty
/// keyword is found nowhere.
///
/// Threading: any, several at a time.
class TextSearch {
public:
    TextSearch(std::string_view keyword, FoldingRules rules);

    [[nodiscard]] bool found_in(std::string_view text) const;

    /// The most bytes that the keyword takes in a text.
    [[nodiscard]] std::size_t reach() const { return reach_; }

    /// The last place at or before `at` at which a text can be cut in two so that nothing else is
    /// found in the parts than in the whole, but for what goes across. Where too many marks stand
    /// in a row, between any two characters.
    [[nodiscard]] std::size_t cut_before(std::string_view text, std::size_t at) const;

private:
    [[nodiscard]] FoldedKeyword::Verdict verdict_at(std::string_view text, std::size_t place) const;
    [[nodiscard]] std::size_t cut_after(std::string_view text, std::size_t at) const;

    FoldedKeyword keyword_;
    std::vector<AnchorForm> anchor_;
    ByteScan scan_;
    std::size_t reach_;
};

} // namespace orv
