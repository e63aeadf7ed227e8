#pragma once

#include "utility/ByteScan.hpp"
#include "utility/FoldedKeyword.hpp"

#include <cstddef>
#include <vector>

namespace orv {

/// Two bytes present wherever one character of a keyword stands, in one of its forms.
struct AnchorForm {
    BytePair bytes;
    std::size_t bytes_before; ///< of the character, before these two
    std::size_t index;        ///< of the character in the folded keyword
};

/// The forms of the character of `keyword` with the fewest expected hits. Every match of the
/// keyword has one of them. None if no character is fit.
[[nodiscard]] std::vector<AnchorForm> rarest_anchor(const FoldedKeyword& keyword);

} // namespace orv
