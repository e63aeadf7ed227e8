#pragma once

#include "picture/Decoder.hpp"

#include <orv/utility/Error.hpp>

#include <optional>

namespace orv::decoder {

/// Answers the application's requests on its socket, until the application ends. Reads the attached
/// files as the medium. After a fault it reads none, and the fault is the answer.
void serve(Medium medium, const std::optional<Error>& fault);

} // namespace orv::decoder
