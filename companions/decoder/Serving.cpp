#include "decoder/Serving.hpp"

#include "decoder/Limits.hpp"
#include "decoder/Reading.hpp"
#include "picture/DecoderProtocol.hpp"
#include "utility/FileDescriptor.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <exception>
#include <limits>
#include <new>
#include <optional>
#include <string>

#include <sys/socket.h>

namespace orv::decoder {
namespace {

struct ReceivedRequest {
    picture::DecodeRequest request;
    FileDescriptor file;
};

FileDescriptor received_file(msghdr& message)
{
    const cmsghdr* header = CMSG_FIRSTHDR(&message);
    int file = -1;
    if (header && header->cmsg_type == SCM_RIGHTS && header->cmsg_len == CMSG_LEN(sizeof file))
        std::memcpy(&file, CMSG_DATA(header), sizeof file);
    return FileDescriptor(file);
}

/// The next request; none when the application has ended, or speaks otherwise than this program.
std::optional<ReceivedRequest> next_request()
{
    ReceivedRequest received;
    iovec part{&received.request, sizeof received.request};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    ssize_t size = -1;
    do
        size = ::recvmsg(picture::decoder_socket, &message, MSG_CMSG_CLOEXEC);
    while (size < 0 && errno == EINTR);
    if (size != static_cast<ssize_t>(sizeof received.request))
        return std::nullopt;
    received.file = received_file(message);
    if (received.request.version != picture::decoder_version || !received.file)
        return std::nullopt;
    return received;
}

/// True if the application is still there to take all of it.
bool send(const void* bytes, std::size_t size)
{
    const auto* next = static_cast<const char*>(bytes);
    while (size > 0) {
        const ssize_t sent = ::send(picture::decoder_socket, next, size, MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR)
            continue;
        if (sent <= 0)
            return false;
        next += sent;
        size -= static_cast<std::size_t>(sent);
    }
    return true;
}

bool send_picture(const DecodedPicture& decoded)
{
    picture::DecodeAnswer answer;
    answer.full_size = decoded.full_size;
    const auto rgba = decoded.picture.rgba();
    return send(&answer, sizeof answer) && send(rgba.data(), rgba.size());
}

bool send_refusal(std::string text)
{
    if (text.empty())
        text = "The file cannot be decoded.";
    text.resize(std::min<std::size_t>(text.size(), picture::longest_answer_text));
    picture::DecodeAnswer answer;
    answer.text_size = static_cast<std::uint32_t>(text.size());
    return send(&answer, sizeof answer) && send(text.data(), text.size());
}

SizeWanted size_wanted(const picture::DecodeRequest& request)
{
    SizeWanted wanted;
    if (request.has_width)
        wanted.width = request.width;
    if (request.has_height)
        wanted.height = request.height;
    wanted.delivery = request.delivery;
    wanted.fit = request.fit;
    return wanted;
}

bool send_needed(MemoryNeeded needed)
{
    picture::DecodeAnswer answer;
    answer.memory_needed = needed.bytes;
    return send(&answer, sizeof answer);
}

bool answer(const ReceivedRequest& received, Medium medium)
{
    const auto& request = received.request;
    const MemoryAllowed memory{request.memory, request.is_all_memory != 0};
    const FileMemory limit(memory.bytes);
    try {
        return send_picture(
            read_picture(received.file.get(), medium, size_wanted(request), memory));
    } catch (const Error& error) {
        return send_refusal(error.sentence());
    } catch (const MemoryNeeded& needed) {
        return send_needed(needed);
    } catch (const std::bad_alloc&) {
        constexpr auto all_there_is = std::numeric_limits<std::uint64_t>::max();
        return memory.is_all ? send_refusal("The file takes too much memory to decode.")
                             : send_needed({all_there_is});
    }
}

} // namespace

void serve(Medium medium, const std::optional<Error>& fault)
{
    bool is_heard = true;
    while (is_heard) {
        const auto received = next_request();
        if (!received)
            return;
        allow_time_for_a_file();
        is_heard = fault ? send_refusal(fault->sentence()) : answer(*received, medium);
    }
}

} // namespace orv::decoder
