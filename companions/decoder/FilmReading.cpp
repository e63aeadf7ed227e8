#include "decoder/FilmFrame.hpp"
#include "decoder/FramePicture.hpp"
#include "decoder/Reading.hpp"

#include <orv/utility/Error.hpp>

namespace orv::decoder {

void prepare_reading(Medium)
{
    ::av_log_set_level(AV_LOG_QUIET);
}

DecodedPicture read_picture(int file, Medium, SizeWanted wanted)
{
    FilmInput input(file);
    AVStream& stream = input.picture_stream();
    const bool is_cover = (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
    const Frame frame =
        is_cover ? cover(stream) : frame_at(input, stream, input.a_third_in(stream));
    const AVRational pixel_shape =
        ::av_guess_sample_aspect_ratio(input.get(), &stream, frame.get());
    return picture_of(*frame, pixel_shape, turn_of(stream), wanted);
}

} // namespace orv::decoder
