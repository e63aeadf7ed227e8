#include "picture/DecoderProcess.hpp"

#include "picture/DecoderProtocol.hpp"
#include "picture/DecoderSocket.hpp"
#include "picture/Scaling.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <vector>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace orv::picture {
namespace {

/// A helper's answer is no more to be trusted than the file it read.
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

DecodeRequest request_for(SizeWanted wanted, const MemoryBudget::Share& memory)
{
    DecodeRequest request;
    request.has_width = wanted.width ? 1 : 0;
    request.has_height = wanted.height ? 1 : 0;
    request.width = wanted.width.value_or(0);
    request.height = wanted.height.value_or(0);
    request.delivery = wanted.delivery;
    request.fit = wanted.fit;
    request.memory = memory.size();
    request.is_all_memory = memory.is_all() ? 1 : 0;
    return request;
}

Outcome read_answer(DecoderSocket& socket, SizeWanted wanted)
{
    DecodeAnswer answer;
    socket.read(&answer, sizeof answer);
    if (answer.version != decoder_version)
        throw Error("The helper that decodes pictures is of another version.");
    if (answer.text_size > 0)
        return read_refusal(socket, answer.text_size);
    if (answer.memory_needed > 0)
        return NeedsMemory{answer.memory_needed};
    return read_picture(socket, answer.full_size, wanted);
}

/// A pipe: its reading end, and its writing end.
std::pair<FileDescriptor, FileDescriptor> new_pipe()
{
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        throw platform_error(errno, {});
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

} // namespace

DecoderProcess::DecoderProcess(const Url& program, Medium medium)
{
    try {
        auto [own, its] = socket_pair();
        auto [its_lifeline, lifeline] = new_pipe();
        static_assert(decoder_socket == 3 && decoder_lifeline == 4);
        const std::array<int, 2> given{its.get(), its_lifeline.get()};
        program_.emplace(program, std::to_string(static_cast<int>(medium)), given);
        socket_ = std::move(own);
        lifeline_ = std::move(lifeline);
    } catch (const Error& error) {
        throw Error("The helper that decodes pictures cannot be started.").because_of(error);
    }
}

Outcome DecoderProcess::decode(int file, SizeWanted wanted, const MemoryBudget::Share& memory,
                               DecodingLimits limits, const std::stop_token& stop)
{
    auto outcome = [&]() -> Outcome {
        // A wait on the socket takes the socket's end for the helper's.
        const std::stop_callback end_waiting(stop, [&] { ::shutdown(socket_.get(), SHUT_RDWR); });
        try {
            DecoderSocket socket(socket_.get(), HelperWatch(program_->id(), limits));
            const DecodeRequest request = request_for(wanted, memory);
            socket.send(&request, sizeof request, file);
            return read_answer(socket, wanted);
        } catch (const Error&) {
            if (!stop.stop_requested())
                throw;
            return Refusal();
        }
    }();
    if (stop.stop_requested())
        throw Exception();
    return outcome;
}

} // namespace orv::picture
