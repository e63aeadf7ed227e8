#pragma once

#include "utility/ByteScan.hpp"
#include "utility/FoldedKeyword.hpp"
#include "utility/KeywordAnchor.hpp"

#include <orv/utility/FunctionRef.hpp>

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
    static constexpr auto no_check = [] {};

    TextSearch(std::string_view keyword, FoldingRules rules);

    /// The time is linear in the size of `text`. `check` is called several times a millisecond
    /// where that is slow; what it throws ends the search.
    [[nodiscard]] bool found_in(std::string_view text, FunctionRef<void()> check = no_check) const;

    /// The most bytes that the keyword takes in a text.
    [[nodiscard]] std::size_t reach() const { return reach_; }

    /// The last place at or before `at` at which a text can be cut in two so that nothing else is
    /// found in the parts than in the whole, but for what goes across. Where too many marks stand
    /// in a row, between any two characters.
    [[nodiscard]] std::size_t cut_before(std::string_view text, std::size_t at) const;

private:
    [[nodiscard]] FoldedKeyword::Verdict verdict_at(std::string_view text, std::size_t place,
                                                    std::size_t& steps) const;
    [[nodiscard]] bool found_by_folding(std::string_view text, std::size_t from, std::size_t to,
                                        FunctionRef<void()> check) const;
    [[nodiscard]] std::size_t cut_after(std::string_view text, std::size_t at) const;

    FoldedKeyword keyword_;
    std::vector<AnchorForm> anchor_;
    ByteScan scan_;
    std::size_t reach_;
};

} // namespace orv
