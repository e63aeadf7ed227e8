#pragma once

#include "picture/Decoder.hpp"

#include <cstdint>

namespace orv::picture {

// What the application and a helper say to each other on a stream socket, which the helper has as
// its descriptor `decoder_socket`. The program's argument is the number of the medium of all files
// that it will get. The application sends a request, and with it a descriptor of the
// file; the helper answers, and ends when the socket does. Each request is answered before the
// next.

constexpr int decoder_socket = 3;

/// A pipe that is never written to. The application's end closes when the application ends, and the
/// helper has the kernel kill it then.
constexpr int decoder_lifeline = 4;

/// How much of it a helper may use for one file, all its threads together.
constexpr int longest_processor_seconds = 10;

/// Changes with these structures: a helper of another version gives no answer.
constexpr std::uint32_t decoder_version = 0x4F525635;

struct DecodeRequest {
    std::uint32_t version = decoder_version;
    std::uint8_t has_width = 0;
    std::uint8_t has_height = 0;
    std::uint8_t is_all_memory = 0; ///< there is no more to be had
    Delivery delivery = Delivery::thumbnail;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint64_t memory = 0; ///< that the helper may take for this file, in bytes
};

/// Followed by the pixels, in the size that `delivered_size` tells; or, when `text_size` is not 0,
/// by a sentence that says why there are none; or, when `memory_needed` is not 0, by nothing: the
/// file was not read, and can be sent again with that much memory.
struct DecodeAnswer {
    std::uint32_t version = decoder_version;
    std::uint32_t text_size = 0;
    PictureSize full_size;
    std::uint64_t memory_needed = 0;
};

constexpr std::uint32_t longest_answer_text = 400;

} // namespace orv::picture
