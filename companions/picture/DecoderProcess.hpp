#pragma once

#include "picture/Decoder.hpp"
#include "picture/HelperWatch.hpp"
#include "picture/MemoryBudget.hpp"
#include "picture/StartedProgram.hpp"
#include "utility/FileDescriptor.hpp"

#include <optional>
#include <stop_token>
#include <string>
#include <variant>

namespace orv::picture {

/// Why a helper made no picture of a file: a sentence.
struct Refusal {
    std::string sentence;
};

/// A helper refused a file because it takes more memory than allowed.
struct NeedsMemory {
    std::uint64_t bytes = 0;
};

/// A helper's result for a file.
using Outcome = std::variant<DecodedPicture, Refusal, NeedsMemory>;

/// A helper process at work, killed and waited for at the end.
///
/// Threading: one thread at a time.
class DecoderProcess {
public:
    /// Starts the program for files of that medium.
    ///
    /// Errors: an `Error` if it does not start.
    DecoderProcess(const Url& program, Medium medium);
    ~DecoderProcess() = default;
    DecoderProcess(const DecoderProcess&) = delete;
    DecoderProcess& operator=(const DecoderProcess&) = delete;

    [[nodiscard]] bool is_alive() const { return program_->is_alive(); }

    /// Has it make a picture from the open file, with as much memory as its share is.
    ///
    /// Cancel: `stop` ends the waiting at once, with an `Exception`.
    /// Errors: an `Error` if it has died, takes too long or breaks the protocol. It is useless
    /// after that, or after a cancel.
    Outcome decode(int file, SizeWanted wanted, const MemoryBudget::Share& memory,
                   DecodingLimits limits, const std::stop_token& stop);

private:
    FileDescriptor socket_;
    /// The kernel kills the program when this end of a pipe to it closes, however this process
    /// ends.
    FileDescriptor lifeline_;
    std::optional<StartedProgram> program_;
};

} // namespace orv::picture
