#pragma once

#include "picture/Decoder.hpp"

#include <orv/utility/Error.hpp>

#include <optional>

namespace orv::decoder {

/// Answers what the application asks on its socket, until the application ends. Reads the files
/// that come with it as the medium, or none of them where there is a fault, which is the answer
/// then.
void serve(Medium medium, const std::optional<Error>& fault);

} // namespace orv::decoder
