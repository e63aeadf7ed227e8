#include "decoder/FilmInput.hpp"

#include <orv/utility/Error.hpp>

#include <array>
#include <cerrno>
#include <new>
#include <string_view>

#include <sys/stat.h>
#include <unistd.h>

namespace orv::decoder {
namespace {

constexpr AVRational microseconds{1, AV_TIME_BASE};

int refuse_to_open(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**)
{
    return AVERROR(EPERM);
}

/// The format by its first bytes, for FFmpeg to try nothing else: other formats may point to other
/// files.
const char* format_of(int file)
{
    std::array<char, 4> first{};
    static_cast<void>(::pread(file, first.data(), first.size(), 0));
    const std::string_view beginning(first.data(), first.size());
    if (beginning == "\x1A\x45\xDF\xA3")
        return "matroska";
    if (beginning == "fLaC")
        return "flac";
    // Without such a tag, an MP3 file has no cover.
    return beginning.starts_with("ID3") ? "mp3" : "mov";
}

} // namespace

FilmInput::FilmInput(int file) : file_(file)
{
    constexpr int buffer_size = 64 * 1024;
    auto* buffer = static_cast<unsigned char*>(::av_malloc(buffer_size));
    io_.reset(
        ::avio_alloc_context(buffer, buffer_size, 0, this, &read_bytes, nullptr, &seek_bytes));
    AVFormatContext* context = ::avformat_alloc_context();
    if (!buffer || !io_ || !context)
        throw Error("There is no memory for the film.");
    context->pb = io_.get();
    context->io_open = &refuse_to_open;
    const AVInputFormat* format = ::av_find_input_format(format_of(file));
    const int result = ::avformat_open_input(&context, "", format, nullptr);
    context_.reset(context);
    // A long film has long tables of its frames.
    if (result == AVERROR(ENOMEM))
        throw std::bad_alloc();
    if (result < 0)
        throw Error("The file is no film, or damaged.");
}

AVStream& FilmInput::picture_stream()
{
    const int index = ::av_find_best_stream(context_.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (index < 0)
        throw Error("The film has no pictures.");
    for (unsigned i = 0; i < context_->nb_streams; ++i)
        context_->streams[i]->discard =
            static_cast<int>(i) == index ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    return *context_->streams[index];
}

std::int64_t FilmInput::a_third_in(const AVStream& stream) const
{
    std::int64_t duration = context_->duration;
    if (duration <= 0 && stream.duration > 0)
        duration = ::av_rescale_q(stream.duration, stream.time_base, microseconds);
    if (duration <= 0)
        return 0;
    constexpr AVRational timescale{1, 600};
    const std::int64_t third = ::av_rescale_q(duration / 3, microseconds, timescale);
    return ::av_rescale_q(third, timescale, stream.time_base);
}

void FilmInput::seek(const AVStream& stream, std::int64_t time)
{
    // The index knows decoding times, perhaps long before a frame is on screen.
    const Packet packet(::av_packet_alloc());
    std::int64_t decoded_at = time;
    std::int64_t found_at = time;
    // One step back is common, more are odd, many a film made to stall.
    for (int step = 0; step < 8 && go_to(stream, decoded_at); ++step) {
        found_at = decoded_at;
        if (!read(*packet) || packet->pts <= time || packet->dts == AV_NOPTS_VALUE)
            break;
        decoded_at = packet->dts - 1;
    }
    // Where there is none, reading goes on from the first.
    go_to(stream, found_at);
}

bool FilmInput::go_to(const AVStream& stream, std::int64_t time)
{
    return ::av_seek_frame(context_.get(), stream.index, time, AVSEEK_FLAG_BACKWARD) >= 0;
}

bool FilmInput::read(AVPacket& packet)
{
    ::av_packet_unref(&packet);
    return ::av_read_frame(context_.get(), &packet) >= 0;
}

int FilmInput::read_bytes(void* self, std::uint8_t* buffer, int size)
{
    auto& input = *static_cast<FilmInput*>(self);
    const ssize_t count =
        ::pread(input.file_, buffer, static_cast<std::size_t>(size), input.position_);
    if (count < 0)
        return AVERROR(errno);
    input.position_ += count;
    return count == 0 ? AVERROR_EOF : static_cast<int>(count);
}

std::int64_t FilmInput::seek_bytes(void* self, std::int64_t offset, int whence)
{
    auto& input = *static_cast<FilmInput*>(self);
    struct stat facts {};
    if (::fstat(input.file_, &facts) != 0)
        return AVERROR(errno);
    switch (whence & ~AVSEEK_FORCE) {
    case AVSEEK_SIZE:
        return facts.st_size;
    case SEEK_CUR:
        offset += input.position_;
        break;
    case SEEK_END:
        offset += facts.st_size;
        break;
    default:
        break;
    }
    if (offset < 0)
        return AVERROR(EINVAL);
    return input.position_ = offset;
}

} // namespace orv::decoder
