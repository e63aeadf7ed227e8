#include "picture/DecoderProcess.hpp"

#include "picture/DecoderProtocol.hpp"
#include "picture/DecoderSocket.hpp"
#include "picture/Scaling.hpp"
#include "picture/StartedProgram.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <cerrno>
#include <vector>

#include <poll.h>
#include <sys/socket.h>

namespace orv::picture {
namespace {

/// From the request to the whole answer, the start of the helper included.
constexpr std::chrono::milliseconds longest_decoding{1800};

/// What a helper says is no more to be trusted than the file that it read.
std::string printable(std::string text)
{
    const auto is_odd = [](char c) { return c < ' ' || c > '~'; };
    std::replace_if(text.begin(), text.end(), is_odd, ' ');
    return text;
}

Refusal read_refusal(DecoderSocket& socket, std::uint32_t size)
{
    if (size > longest_answer_text)
        throw Error("The helper that decodes pictures does not answer as agreed.");
    std::string text(size, '\0');
    socket.read(text.data(), text.size());
    return {printable(std::move(text))};
}

DecodedPicture read_picture(DecoderSocket& socket, PictureSize full, SizeWanted wanted)
{
    const auto [width, height] = delivered_size(full, wanted);
    if (!is_within_bounds(width, height) || width == 0 || height == 0)
        throw Error("The helper that decodes pictures does not answer as agreed.");
    std::vector<std::uint8_t> rgba(std::size_t{width} * height * 4);
    socket.read(rgba.data(), rgba.size());
    return {Picture(width, height, std::move(rgba)), full};
}

} // namespace

DecoderProcess::DecoderProcess(const Url& program)
{
    try {
        auto [own, its] = socket_pair();
        process_ = start_program(program, its.get(), decoder_socket);
        socket_ = std::move(own);
    } catch (const Error& error) {
        throw Error("The helper that decodes pictures cannot be started.").because_of(error);
    }
}

DecoderProcess::~DecoderProcess()
{
    end_program(process_);
}

bool DecoderProcess::is_alive() const
{
    pollfd end{process_.get(), POLLIN, 0};
    return ::poll(&end, 1, 0) == 0;
}

std::variant<DecodedPicture, Refusal> DecoderProcess::decode(int file, Medium medium,
                                                             SizeWanted wanted)
{
    DecoderSocket socket(socket_.get(), std::chrono::steady_clock::now() + longest_decoding);
    DecodeRequest request;
    request.medium = medium;
    request.has_width = wanted.width ? 1 : 0;
    request.has_height = wanted.height ? 1 : 0;
    request.width = wanted.width.value_or(0);
    request.height = wanted.height.value_or(0);
    request.delivery = wanted.delivery;
    socket.send(&request, sizeof request, file);

    DecodeAnswer answer;
    socket.read(&answer, sizeof answer);
    if (answer.version != decoder_version)
        throw Error("The helper that decodes pictures is of another version.");
    if (answer.text_size > 0)
        return read_refusal(socket, answer.text_size);
    return read_picture(socket, answer.full_size, wanted);
}

} // namespace orv::picture
