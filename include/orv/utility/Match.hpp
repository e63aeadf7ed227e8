#pragma once

#include <utility>
#include <variant>

namespace orv {

template <class... Visitors>
struct Overloaded : Visitors... {
    using Visitors::operator()...;
};

/// Calls the visitor for the alternative `variant` holds. Every alternative needs a visitor: a
/// forgotten one does not compile.
template <class Variant, class... Visitors>
decltype(auto) match(Variant&& variant, Visitors&&... visitors)
{
    return std::visit(Overloaded<std::decay_t<Visitors>...>{std::forward<Visitors>(visitors)...},
                      std::forward<Variant>(variant));
}

} // namespace orv
