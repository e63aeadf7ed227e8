#include "decoder/FilmFrame.hpp"
#include "decoder/FramePicture.hpp"
#include "decoder/Reading.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>

namespace orv::decoder {
namespace {

/// Reference frames, the frames of all threads, and the picture. Units: bytes.
std::uint64_t memory_for(const AVCodecParameters& film)
{
    constexpr std::uint64_t always = std::uint64_t{48} << 20;
    constexpr std::uint64_t most_frames = 24;
    // In the usual form a pixel takes a byte and a half, or two of each.
    const std::uint64_t bits = film.bits_per_raw_sample > 8 ? 24 : 12;
    const auto width = static_cast<std::uint64_t>(std::max(film.width, 0));
    const auto height = static_cast<std::uint64_t>(std::max(film.height, 0));
    return always + width * height * bits / 8 * most_frames;
}

} // namespace

void prepare_reading(Medium)
{
    ::av_log_set_level(AV_LOG_QUIET);
}

DecodedPicture read_picture(int file, Medium, SizeWanted wanted, MemoryAllowed memory)
{
    FilmInput input(file);
    AVStream& stream = input.picture_stream();
    memory.check(memory_for(*stream.codecpar));
    const bool is_cover = (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
    const Frame frame =
        is_cover ? cover(stream) : frame_at(input, stream, input.a_third_in(stream));
    const AVRational pixel_shape =
        ::av_guess_sample_aspect_ratio(input.get(), &stream, frame.get());
    return picture_of(*frame, pixel_shape, turn_of(stream), wanted);
}

} // namespace orv::decoder
