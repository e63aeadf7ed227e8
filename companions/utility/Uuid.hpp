#pragma once

#include <string>
#include <string_view>

namespace orv {

/// The text of a new random UUID: 36 lower-case characters.
[[nodiscard]] std::string new_uuid();

[[nodiscard]] bool is_uuid(std::string_view text);

} // namespace orv
