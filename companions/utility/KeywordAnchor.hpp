#pragma once

#include "utility/ByteScan.hpp"
#include "utility/FoldedKeyword.hpp"

#include <cstddef>
#include <vector>

namespace orv {

/// Two bytes that stand wherever one character of a keyword does, in one of its forms.
struct AnchorForm {
    BytePair bytes;
    std::size_t bytes_before; ///< of the character, before these two
    std::size_t index;        ///< of the character in the folded keyword
};

/// The forms of that character of `keyword` that promises the fewest hits. Every place where the
/// keyword stands has one of them. None when no character is fit for it.
[[nodiscard]] std::vector<AnchorForm> rarest_anchor(const FoldedKeyword& keyword);

} // namespace orv
