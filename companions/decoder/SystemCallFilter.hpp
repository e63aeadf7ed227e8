#pragma once

namespace orv::decoder {

/// From here on the process, with all its threads, can make only the system calls of a decoder: it
/// computes, reads its open descriptors, answers on its socket and makes threads. Every other call
/// fails; a call of another machine's kind ends the process.
///
/// Errors: an `Error` when the kernel has no such filter; the process is as it was before then.
void allow_system_calls_of_decoding();

} // namespace orv::decoder
