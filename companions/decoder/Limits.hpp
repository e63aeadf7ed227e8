#pragma once

namespace orv::decoder {

/// Takes from this process what a decoder has no use for, for good: memory beyond a few pictures,
/// writing to files, running other programs, the network.
void confine_process();

/// From here on one file is read: the kernel ends the process when that takes too much processor
/// time, also while the application is stopped.
void allow_time_for_a_file();

} // namespace orv::decoder
