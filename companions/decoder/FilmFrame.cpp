#include "decoder/FilmFrame.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <cerrno>
#include <new>
#include <thread>

#include <time.h>

namespace orv::decoder {
namespace {

// The largest common size of films: 8192 by 4320.
constexpr std::int64_t most_frame_pixels = std::int64_t{8192} * 4352;

Codec open_codec(const AVStream& stream)
{
    const AVCodec* decoder = ::avcodec_find_decoder(stream.codecpar->codec_id);
    Codec codec(decoder ? ::avcodec_alloc_context3(decoder) : nullptr);
    if (!codec)
        throw Error("The film is of a kind that cannot be decoded.");
    if (::avcodec_parameters_to_context(codec.get(), stream.codecpar) < 0)
        throw Error("The film is damaged.");
    codec->pkt_timebase = stream.time_base;
    codec->max_pixels = most_frame_pixels;
    codec->thread_count = static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1U, 4U));
    if (::avcodec_open2(codec.get(), decoder, nullptr) < 0)
        throw Error("The film cannot be decoded.");
    return codec;
}

int check_memory(int result)
{
    if (result == AVERROR(ENOMEM))
        throw std::bad_alloc();
    return result;
}

/// Decodes a stream in order until it comes to a time.
class Decoding {
public:
    Decoding(const AVStream& stream, std::int64_t time)
        : codec_(open_codec(stream)), frame_(::av_frame_alloc()), time_(time)
    {
    }

    /// Skips frames well before the time if no other frame needs them.
    void pass_over(bool frames_that_no_other_needs) { passes_over_ = frames_that_no_other_needs; }

    /// Decodes a packet; an empty one stands for the end. True if it found the frame.
    bool decode(const AVPacket* packet)
    {
        const bool is_early = packet && packet->pts != AV_NOPTS_VALUE && packet->duration > 0 &&
                              packet->pts + spare_frames * packet->duration < time_;
        codec_->skip_frame = passes_over_ && is_early ? AVDISCARD_NONREF : AVDISCARD_DEFAULT;
        // A damaged packet yields no frame, and the next may do without it.
        check_memory(::avcodec_send_packet(codec_.get(), packet));
        while (check_memory(::avcodec_receive_frame(codec_.get(), frame_.get())) == 0) {
            const std::int64_t shown_at = frame_->best_effort_timestamp;
            // The frame before is still on screen at that time.
            if (shown_at != AV_NOPTS_VALUE && shown_at > time_ && last_)
                return true;
            last_.reset(::av_frame_clone(frame_.get()));
            if (shown_at == AV_NOPTS_VALUE || shown_at >= time_)
                return true;
        }
        return false;
    }

    [[nodiscard]] bool has_frame() const { return last_ != nullptr; }
    Frame take_frame() { return std::move(last_); }

private:
    // With reordered frames, the durations are rough values.
    static constexpr std::int64_t spare_frames = 4;

    Codec codec_;
    Frame frame_;
    Frame last_;
    std::int64_t time_;
    bool passes_over_ = false;
};

/// True for the frame, false at the end or the limit of time.
enum class Outcome { found, late, at_end };

/// Of all threads: on a busy machine and from a slow disk, the frame is the same.
double processor_seconds()
{
    timespec time{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

Outcome decode_up_to_time(FilmInput& input, const AVStream& stream, Decoding& decoding)
{
    constexpr double longest = 3;
    const double deadline = processor_seconds() + longest;
    const Packet packet(::av_packet_alloc());
    while (input.read(*packet)) {
        if (packet->stream_index == stream.index && decoding.decode(packet.get()))
            return Outcome::found;
        if (decoding.has_frame() && processor_seconds() > deadline)
            return Outcome::late;
    }
    return decoding.decode(nullptr) ? Outcome::found : Outcome::at_end;
}

} // namespace

Frame frame_at(FilmInput& input, const AVStream& stream, std::int64_t time)
{
    const std::int64_t start = stream.start_time == AV_NOPTS_VALUE ? 0 : stream.start_time;
    const std::int64_t from_start = std::max(time, start);
    // A film that ends too early may have its last frame among the skipped ones: then again.
    for (const bool passes_over : {true, false}) {
        input.seek(stream, from_start);
        Decoding decoding(stream, from_start);
        decoding.pass_over(passes_over);
        const Outcome outcome = decode_up_to_time(input, stream, decoding);
        if (decoding.has_frame() && (outcome != Outcome::at_end || !passes_over))
            return decoding.take_frame();
    }
    throw Error("No frame of the film can be decoded.");
}

Frame cover(const AVStream& stream)
{
    Decoding decoding(stream, 0);
    if (!decoding.decode(&stream.attached_pic))
        decoding.decode(nullptr);
    if (!decoding.has_frame())
        throw Error("The cover cannot be decoded.");
    return decoding.take_frame();
}

} // namespace orv::decoder
