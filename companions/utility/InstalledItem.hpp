#pragma once

#include <orv/utility/Url.hpp>

#include <string_view>

namespace orv {

/// A file or folder of the library's own: `in_prefix` below the prefix that it is installed under,
/// `in_tree` where the library was built.
///
/// The prefix is told from where the file lies that holds the library's code, the shared library or
/// the program that it is linked into, so that an installed tree may be moved. Failing that, it is
/// the one that was configured, then `in_tree`; which comes first for code that was never
/// installed.
[[nodiscard]] Url installed_item(std::string_view in_prefix, std::string_view in_tree);

/// The same for code in the file `library`.
[[nodiscard]] Url installed_item(std::string_view in_prefix, std::string_view in_tree,
                                 const Url& library);

} // namespace orv
