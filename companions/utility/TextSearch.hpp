#pragma once

#include "utility/ByteScan.hpp"
#include "utility/FoldedKeyword.hpp"
#include "utility/KeywordAnchor.hpp"

#include <orv/utility/FunctionRef.hpp>

#include <cstddef>
#include <string_view>
#include <vector>

namespace orv {

/// A keyword, prepared for a search in many texts. Case does not count; composed and decomposed
/// letters match. A letter with a mark differs from the plain letter. An empty keyword matches
/// nothing.
///
/// Threading: any, several at a time.
class TextSearch {
public:
    static constexpr auto no_check = [] {};

    TextSearch(std::string_view keyword, FoldingRules rules);

    /// The time is linear in the size of `text`. A slow search calls `check` several times a
    /// millisecond; an exception from it ends the search.
    [[nodiscard]] bool found_in(std::string_view text, FunctionRef<void()> check = no_check) const;

    /// The most bytes of the keyword in a text.
    [[nodiscard]] std::size_t reach() const { return reach_; }

    /// The last place at or before `at` to cut a text in two without a change to the matches in the
    /// parts, but for those across the cut. Where too many marks stand in a row, between any two
    /// characters.
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
