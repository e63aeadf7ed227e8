#pragma once

namespace orv::decoder {

/// Answers what the application asks on its socket, until the application ends.
void serve();

} // namespace orv::decoder
