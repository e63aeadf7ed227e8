#pragma once

#include "picture/Decoder.hpp"
#include "utility/FileDescriptor.hpp"

#include <string>
#include <variant>

namespace orv::picture {

/// Why a helper made no picture of a file: a sentence.
struct Refusal {
    std::string sentence;
};

/// A helper process at work, killed and waited for at the end.
///
/// Threading: one thread at a time.
class DecoderProcess {
public:
    /// Starts the program.
    ///
    /// Errors: an `Error` when it cannot be started.
    explicit DecoderProcess(const Url& program);
    ~DecoderProcess();
    DecoderProcess(const DecoderProcess&) = delete;
    DecoderProcess& operator=(const DecoderProcess&) = delete;

    [[nodiscard]] bool is_alive() const;

    /// Has it make a picture from the open file.
    ///
    /// Errors: an `Error` when it has died, takes too long or does not answer as agreed; it is of
    /// no use then.
    std::variant<DecodedPicture, Refusal> decode(int file, Medium medium, SizeWanted wanted);

private:
    FileDescriptor socket_;
    FileDescriptor process_;
};

} // namespace orv::picture
