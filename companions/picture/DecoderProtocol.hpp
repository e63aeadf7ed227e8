#pragma once

#include "picture/Decoder.hpp"

#include <cstdint>

namespace orv::picture {

// The protocol between the application and a helper, on a stream socket; the helper has it as its
// descriptor `decoder_socket`. The program's argument is the number of the medium of all its files.
// The application sends a request, with a descriptor of the file; the helper answers, and ends with
// the socket. Each request gets its answer before the next.

constexpr int decoder_socket = 3;

/// A pipe without writes. The application's end closes when the application ends, and then the
/// kernel kills the helper.
constexpr int decoder_lifeline = 4;

/// How much of it a helper may use for one file, all its threads together.
constexpr int longest_processor_seconds = 10;

/// Changes with these structures: a helper of another version gives no answer.
constexpr std::uint32_t decoder_version = 0x4F525636;

struct DecodeRequest {
    std::uint32_t version = decoder_version;
    std::uint8_t has_width = 0;
    std::uint8_t has_height = 0;
    std::uint8_t is_all_memory = 0; ///< there is no more to be had
    Delivery delivery = Delivery::thumbnail;
    Fit fit = Fit::stretched;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint64_t memory = 0; ///< the helper's memory for this file, in bytes
};

/// Followed by the pixels, in the size of `delivered_size`; or, if `text_size` is not 0, by a
/// sentence with the reason for a missing picture; or, if `memory_needed` is not 0, by nothing: the
/// helper did not read the file, and the application can send it again with that much memory.
struct DecodeAnswer {
    std::uint32_t version = decoder_version;
    std::uint32_t text_size = 0;
    PictureSize full_size;
    std::uint64_t memory_needed = 0;
};

constexpr std::uint32_t longest_answer_text = 400;

} // namespace orv::picture
