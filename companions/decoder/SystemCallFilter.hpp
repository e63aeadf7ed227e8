#pragma once

namespace orv::decoder {

/// Makes the system calls fail from here on that change files, reach the network or other
/// processes, or run programs. Does nothing on a machine whose calls are not known here.
void forbid_system_calls();

} // namespace orv::decoder
